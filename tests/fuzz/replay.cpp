// SPDX-License-Identifier: GPL-2.0-or-later
// Runs a fuzz target with the files of the command line, for compilers without libFuzzer.
#include <cstdint>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <span>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size);

int main(int argc, char **argv)
{
    const std::span arguments(argv, static_cast<std::size_t>(argc));
    if (arguments.size() < 2) {
        std::fputs("usage: give the inputs to replay\n", stderr);
        return 2;
    }
    for (const char *const name : arguments.subspan(1)) {
        std::ifstream file(name, std::ios::binary);
        if (!file) {
            std::fprintf(stderr, "%s cannot be read\n", name);
            return 2;
        }
        const std::vector<char> input(std::istreambuf_iterator<char>(file), {});
        // Printed first, so that an input that aborts the process is the last one named.
        std::fprintf(stderr, "%s\n", name);
        LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t *>(input.data()), input.size());
    }
    return 0;
}
