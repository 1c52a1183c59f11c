// SPDX-License-Identifier: GPL-2.0-or-later
// Replaces an installer: writes its arguments, one per line, to the file in TARVOLINE_TEST_RECORD.
#include <cstdio>
#include <cstdlib>
#include <string>

int main(int argc, char *argv[])
{
    const char *record = std::getenv("TARVOLINE_TEST_RECORD");
    if (!record) {
        return EXIT_FAILURE;
    }
    // Renamed when complete, because the test waits for the file.
    const std::string unfinished = std::string(record) + ".part";
    std::FILE *file = std::fopen(unfinished.c_str(), "wb");
    if (!file) {
        return EXIT_FAILURE;
    }
    for (int i = 0; i < argc; ++i) {
        std::fprintf(file, "%s\n", argv[i]);
    }
    std::fclose(file);
    return std::rename(unfinished.c_str(), record) == 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}
