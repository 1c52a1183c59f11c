// SPDX-License-Identifier: GPL-2.0-or-later
// SRT caller and listener that transfer files, so that tests can compare every byte.
#include "srtfile.h"

#include <syslog.h>

#include <cstdio>
#include <exception>
#include <map>

using namespace srtfile;

namespace {

constexpr int exitUsage = 2;
constexpr const char *usageText =
    "usage: srtfile send --port PORT --file FILE --streamid NAME --rate MBIT [--latency MS] [--passphrase TEXT]\n"
    "                    [--repeat N] [--from MS] [--reconnect 1]\n"
    "       srtfile receive --port PORT --folder FOLDER [--streams N] [--latency MS] [--passphrase TEXT]\n";

bool parse(int argc, char **argv, Options &options)
{
    if (argc < 2 || argc % 2 != 0) {
        return false;
    }
    options.mode = argv[1];
    const std::map<std::string, std::string *> texts{{"--file", &options.file},
                                                     {"--folder", &options.folder},
                                                     {"--streamid", &options.streamId},
                                                     {"--passphrase", &options.passphrase}};
    const std::map<std::string, int *> numbers{{"--port", &options.port},       {"--latency", &options.latencyMs},
                                               {"--streams", &options.streams}, {"--repeat", &options.repeat},
                                               {"--from", &options.fromMs},     {"--reconnect", &options.reconnect}};
    for (int at = 2; at < argc; at += 2) {
        const std::string name = argv[at];
        const std::string value = argv[at + 1];
        if (const auto text = texts.find(name); text != texts.end()) {
            *text->second = value;
        } else if (const auto number = numbers.find(name); number != numbers.end()) {
            *number->second = std::stoi(value);
        } else if (name == "--rate") {
            options.megabitsPerSecond = std::stod(value);
        } else {
            return false;
        }
    }
    const bool sending = options.mode == "send" && options.megabitsPerSecond > 0 && options.repeat > 0;
    return options.port != 0 && (sending || options.mode == "receive");
}

} // namespace

int main(int argc, char **argv)
{
    try {
        Options options;
        if (!parse(argc, argv, options)) {
            std::fputs(usageText, stderr);
            return exitUsage;
        }
        srt_startup();
        srt_setloglevel(LOG_ERR); // losses are in the statistics
        const bool whole = options.mode == "send" ? send(options) : receive(options);
        srt_cleanup();
        return whole ? 0 : 1;
    } catch (const std::exception &failure) {
        std::fprintf(stderr, "srtfile: %s\n", failure.what());
        return 1;
    }
}
