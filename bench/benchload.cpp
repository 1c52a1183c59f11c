// SPDX-License-Identifier: GPL-2.0-or-later
// Sends the same load through four kinds of relay and prints the cost of each.
//   benchload [--json FILE] [--rounds N] [--compare RELAY_ENGINE]
// RELAY_ENGINE is the absolute path of another build's relay_engine, which is measured alternately.

#include "load.h"
#include "relayprocess.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <sched.h>
#include <string>
#include <sys/resource.h>
#include <vector>

namespace {

struct RelayUnderTest
{
    const char *key;
    const char *label;
    const char *program;
    std::size_t groups;
    std::size_t linksPerGroup;
    std::unique_ptr<Load> load{};
    std::unique_ptr<RelayProcess> relay{};
    std::uint16_t port = 0;
    std::vector<double> usPerDatagram{}; ///< of each round
    LoadResult total{};

    [[nodiscard]] bool isEngine() const { return std::strncmp(key, "engine", std::strlen("engine")) == 0; }
};

struct Spread
{
    double median;
    double min;
    double max;
};

Spread spread(std::vector<double> values)
{
    std::ranges::sort(values);
    const std::size_t middle = values.size() / 2;
    const double median = values.size() % 2 == 1 ? values[middle] : (values[middle - 1] + values[middle]) / 2;
    return {median, values.front(), values.back()};
}

/// The ratios of two relays per round, so that other load affects both.
Spread ratio(const RelayUnderTest &above, const RelayUnderTest &below)
{
    std::vector<double> values;
    values.reserve(above.usPerDatagram.size());
    for (std::size_t round = 0; round < above.usPerDatagram.size(); ++round) {
        values.push_back(above.usPerDatagram[round] / below.usPerDatagram[round]);
    }
    return spread(values);
}

/// The first and the last core that this process may use.
std::pair<int, int> cores()
{
    cpu_set_t set;
    CPU_ZERO(&set);
    sched_getaffinity(0, sizeof set, &set);
    int first = -1;
    int last = 0;
    for (int core = 0; core < CPU_SETSIZE; ++core) {
        if (CPU_ISSET(static_cast<std::size_t>(core), &set)) {
            first = first < 0 ? core : first;
            last = core;
        }
    }
    return {first, last};
}

void allowManyFiles()
{
    rlimit limit{};
    getrlimit(RLIMIT_NOFILE, &limit);
    limit.rlim_cur = limit.rlim_max;
    setrlimit(RLIMIT_NOFILE, &limit);
}

/// The engine's memory use as members of a JSON object.
std::string memory()
{
    std::array<char, 256> line{};
    FILE *const pipe = popen((programPath("relay_engine") + " --memory").c_str(), "r");
    if (pipe == nullptr || std::fgets(line.data(), line.size(), pipe) == nullptr || pclose(pipe) != 0) {
        std::fprintf(stderr, "relay_engine has printed no memory figures\n");
        std::exit(1);
    }
    const std::string text = line.data();
    return text.substr(1, text.rfind('}') - 1);
}

double lossPercent(const LoadResult &result)
{
    return 100.0 * static_cast<double>(result.sent - result.delivered) / static_cast<double>(result.sent);
}

/// One round of one relay; false if the loss is too high for a valid figure, for example because links timed out on a
/// loaded machine.
bool measure(RelayUnderTest &relay, const LoadShape &shape, bool counts)
{
    constexpr double usableLossPercent = 1.0;
    if (relay.isEngine()) {
        relay.load->registerLinks(relay.port); // they may have timed out
    }
    const std::int64_t before = relay.relay->cpuNs();
    const LoadResult result = relay.load->run(relay.port, shape);
    const std::int64_t used = relay.relay->cpuNs() - before;
    if (lossPercent(result) > usableLossPercent) {
        return false;
    }
    if (counts) {
        constexpr double nsPerUs = 1000.0;
        relay.usPerDatagram.push_back(static_cast<double>(used) / nsPerUs / static_cast<double>(result.sent));
        relay.total.sent += result.sent;
        relay.total.delivered += result.delivered;
    }
    return true;
}

void writeJson(const char *path, const std::vector<RelayUnderTest> &relays, const std::string &memoryText, int rounds)
{
    FILE *const file = std::fopen(path, "w");
    if (file == nullptr) {
        std::perror(path);
        std::exit(1);
    }
    const RelayUnderTest &raw = relays[0];
    const RelayUnderTest &qt = relays[1];
    std::fprintf(file, "{\n  \"rounds\": %d,\n", rounds);
    for (std::size_t i = 2; i < relays.size(); ++i) {
        for (const auto &[name, base] : {std::pair{"qt", &qt}, std::pair{"raw", &raw}}) {
            const Spread value = ratio(relays[i], *base);
            std::fprintf(file, "  \"%s_per_%s\": %.4f,\n  \"%s_per_%s_range\": [%.4f, %.4f],\n", relays[i].key, name,
                         value.median, relays[i].key, name, value.min, value.max);
        }
    }
    for (const RelayUnderTest &relay : relays) {
        const Spread value = spread(relay.usPerDatagram);
        std::fprintf(file,
                     "  \"%s_us_per_datagram\": %.4f,\n  \"%s_us_per_datagram_range\": [%.4f, %.4f],\n"
                     "  \"%s_loss_percent\": %.4f,\n",
                     relay.key, value.median, relay.key, value.min, value.max, relay.key, lossPercent(relay.total));
    }
    std::fprintf(file, "  %s\n}\n", memoryText.c_str());
    std::fclose(file);
}

void printTable(const std::vector<RelayUnderTest> &relays, const std::string &memoryText, const LoadShape &shape,
                int rounds)
{
    std::printf("%d rounds of %d datagrams of 1316 bytes, %d a second in bursts of %d; median (min to max)\n\n", rounds,
                shape.bursts * shape.datagramsPerBurst, shape.burstsPerSecond * shape.datagramsPerBurst,
                shape.datagramsPerBurst);
    std::printf("%-30s %-24s %-24s %-24s %s\n", "relay", "CPU us per datagram", "per bare Qt relay",
                "per plain C relay", "loss");
    for (const RelayUnderTest &relay : relays) {
        const auto text = [](const Spread &value) {
            std::array<char, 64> buffer{};
            std::snprintf(buffer.data(), buffer.size(), "%.2f (%.2f to %.2f)", value.median, value.min, value.max);
            return std::string(buffer.data());
        };
        std::printf("%-30s %-24s %-24s %-24s %.2f %%\n", relay.label, text(spread(relay.usPerDatagram)).c_str(),
                    text(ratio(relay, relays[1])).c_str(), text(ratio(relay, relays[0])).c_str(),
                    lossPercent(relay.total));
    }
    std::printf("\nuser memory: %s\n", memoryText.c_str());
}

} // namespace

int main(int argc, char **argv)
{
    const char *json = nullptr;
    const char *compared = nullptr;
    int rounds = 21;
    constexpr int maxAttempts = 10;
    for (int i = 1; i < argc; ++i) {
        if (std::strcmp(argv[i], "--json") == 0 && i + 1 < argc) {
            json = argv[++i];
        } else if (std::strcmp(argv[i], "--compare") == 0 && i + 1 < argc) {
            compared = argv[++i];
        } else if (std::strcmp(argv[i], "--rounds") == 0 && i + 1 < argc && std::atoi(argv[i + 1]) > 0) {
            rounds = std::atoi(argv[++i]);
        } else {
            std::fprintf(stderr, "usage: bench [--json FILE] [--rounds N] [--compare RELAY_ENGINE]\n");
            return 2;
        }
    }
    allowManyFiles();
    const auto [relayCore, loadCore] = cores();
    pinTo(loadCore);
    std::printf("relays on core %d, load on core %d%s\n", relayCore, loadCore,
                relayCore == loadCore ? " (the only one: figures are rough)" : "");

    std::vector<RelayUnderTest> relays;
    relays.push_back({"raw", "plain C relay", "relay_raw", 1, 3});
    relays.push_back({"qt", "bare Qt relay", "relay_qt", 1, 3});
    relays.push_back({"qtread", "least with QUdpSocket", "relay_qtread", 1, 3});
    relays.push_back({"engine_1x3", "engine, 1 group x 3 links", "relay_engine", 1, 3});
    relays.push_back({"engine_100x4", "engine, 100 groups x 4 links", "relay_engine", 100, 4});
    relays.push_back({"engine_10000", "engine, 2500 groups x 4 links", "relay_engine", 2500, 4});
    if (compared != nullptr) {
        relays.push_back({"engine_compared", "the other engine, 1 group x 3", compared, 1, 3});
    }
    const LoadShape shape;
    for (RelayUnderTest &relay : relays) {
        relay.load = std::make_unique<Load>(relay.groups, relay.linksPerGroup);
        relay.port = freePort();
        relay.relay = std::make_unique<RelayProcess>(relay.program, relay.port, relay.load->listenerPort(), relayCore);
        relay.load->waitForRelay(relay.port, relay.isEngine());
    }
    for (int round = -1; round < rounds; ++round) { // the first round is a warm-up
        for (RelayUnderTest &relay : relays) {
            int attempts = 0;
            while (!measure(relay, shape, round >= 0)) {
                std::fprintf(stderr, "%s: the round lost too many datagrams and is repeated\n", relay.label);
                if (++attempts == maxAttempts) {
                    return 1;
                }
            }
        }
    }
    const std::string memoryText = memory();
    printTable(relays, memoryText, shape, rounds);
    if (json != nullptr) {
        writeJson(json, relays, memoryText, rounds);
    }
    return 0;
}
