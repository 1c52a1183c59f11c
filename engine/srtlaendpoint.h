// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <QHashFunctions>
#include <QHostAddress>

/// Where a sender's datagrams come from and answers go to.
struct SrtlaEndpoint
{
    QHostAddress address;
    quint16 port = 0;

    friend bool operator==(const SrtlaEndpoint &left, const SrtlaEndpoint &right)
    {
        // The port is the cheaper test and tells most endpoints apart.
        return left.port == right.port && left.address == right.address;
    }

    friend size_t qHash(const SrtlaEndpoint &endpoint, size_t seed = 0)
    {
        bool isIpv4 = false;
        const quint32 ipv4 = endpoint.address.toIPv4Address(&isIpv4);
        if (isIpv4) {
            // The listen socket is IPv4 only: address and port fit one word, and qHash of a word costs next to nothing.
            constexpr int portBits = 16;
            return ::qHash((quint64{ipv4} << portBits) | endpoint.port, seed);
        }
        return qHashMulti(seed, endpoint.address, endpoint.port);
    }
};
