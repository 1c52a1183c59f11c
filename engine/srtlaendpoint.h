// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <QHashFunctions>
#include <QHostAddress>

/// Address and port of a sender's link: source of its datagrams and destination of the replies.
struct SrtlaEndpoint
{
    QHostAddress address;
    quint16 port = 0;

    friend bool operator==(const SrtlaEndpoint &left, const SrtlaEndpoint &right)
    {
        // The port is cheaper to compare and differs in most cases.
        return left.port == right.port && left.address == right.address;
    }

    friend size_t qHash(const SrtlaEndpoint &endpoint, size_t seed = 0)
    {
        bool isIpv4 = false;
        const quint32 ipv4 = endpoint.address.toIPv4Address(&isIpv4);
        if (isIpv4) {
            // The listen socket is IPv4 only: address and port fit into one word, which is cheap to hash.
            constexpr int portBits = 16;
            return ::qHash((quint64{ipv4} << portBits) | endpoint.port, seed);
        }
        return qHashMulti(seed, endpoint.address, endpoint.port);
    }
};
