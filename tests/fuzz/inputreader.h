// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

/// Reads numbers and bytes from a fuzzer's input; zeros past its end.
class InputReader
{
public:
    InputReader(const std::uint8_t *data, std::size_t size) : rest(data, size) {}

    [[nodiscard]] bool atEnd() const { return rest.empty(); }

    std::uint8_t byte()
    {
        if (rest.empty()) {
            return 0;
        }
        const std::uint8_t taken = rest.front();
        rest = rest.subspan(1);
        return taken;
    }

    /// A number below \a limit.
    int below(int limit) { return byte() % limit; }

    /// \a count bytes.
    std::string bytes(std::size_t count)
    {
        std::string taken;
        taken.reserve(count);
        while (taken.size() < count) {
            taken.push_back(static_cast<char>(byte()));
        }
        return taken;
    }

private:
    std::span<const std::uint8_t> rest;
};
