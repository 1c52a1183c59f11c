// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

/// How many addresses senders send from.
inline constexpr int endpointCount = 6;

/// What arrived since the last look.
struct Arrivals
{
    /// By endpoint, each in order of arrival.
    std::array<std::vector<std::string>, endpointCount> atEndpoint;
    /// At the SRT listener: the source port and the datagram.
    std::vector<std::pair<std::uint16_t, std::string>> atListener;
};

/// The engine's surroundings on loopback: sockets of a few senders and one SRT listener. The system delivers over
/// loopback within the call that sends, so whatever the engine sent is there to be collected when its call returns.
/// The sockets are the system's own, not Qt's: they cost less, and share no mistake with the engine.
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
