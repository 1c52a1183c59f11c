// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

/// Number of sender endpoints.
inline constexpr int endpointCount = 6;

/// Datagrams received since the last call.
struct Arrivals
{
    /// By endpoint, each in order of arrival.
    std::array<std::vector<std::string>, endpointCount> atEndpoint;
    /// At the SRT listener: the source port and the datagram.
    std::vector<std::pair<std::uint16_t, std::string>> atListener;
};

/// Sockets of a few senders and of one SRT listener on loopback. The system delivers a datagram on loopback within the
/// send call, so that everything the engine sent can be read after its call. System sockets instead of Qt's: they are
/// cheaper and independent of the engine.
class Loopback
{
public:
    Loopback();
    ~Loopback();
    Loopback(const Loopback &) = delete;
    Loopback &operator=(const Loopback &) = delete;

    void sendFromEndpoint(int endpoint, const std::string &datagram, std::uint16_t enginePort) const;
    void sendFromListener(const std::string &datagram, std::uint16_t groupPort) const;
    [[nodiscard]] Arrivals collect() const;

    /// In dotted decimal.
    [[nodiscard]] static std::string address(int endpoint);
    [[nodiscard]] std::uint16_t port(int endpoint) const { return ports[static_cast<std::size_t>(endpoint)]; }
    [[nodiscard]] std::uint16_t listenerPort() const { return ports[endpointCount]; }

private:
    /// The endpoints, then the listener.
    std::array<int, endpointCount + 1> sockets{};
    std::array<std::uint16_t, endpointCount + 1> ports{};
};
