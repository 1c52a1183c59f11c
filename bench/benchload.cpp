// SPDX-License-Identifier: GPL-2.0-or-later
// Sends the same load through four kinds of relay and tells what each costs.
//   benchload [--json FILE] [--rounds N] [--compare RELAY_ENGINE]
// RELAY_ENGINE is the absolute path of another build's relay_engine, which takes turns with the rest.

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

struct Contestant
{
    const char *key;
    const char *what;
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

/// The ratios of two contestants, round by round: what disturbs the machine for longer than a round hits both.
Spread ratio(const Contestant &above, const Contestant &below)
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

/// The engine's own account of its memory: a JSON object without its braces.
std::string memory()
{
    std::array<char, 256> line{};
    FILE *const pipe = popen((besideThis("relay_engine") + " --memory").c_str(), "r");
    if (pipe == nullptr || std::fgets(line.data(), line.size(), pipe) == nullptr || pclose(pipe) != 0) {
        std::fprintf(stderr, "the engine does not tell its memory\n");
        std::exit(1);
    }
    const std::string text = line.data();
    return text.substr(1, text.rfind('}') - 1);
}

double lossPercent(const LoadResult &result)
{
    return 100.0 * static_cast<double>(result.sent - result.delivered) / static_cast<double>(result.sent);
}

/// One round of one relay; false when it lost so much that its figure would not be one of relaying: links that timed
/// out because the machine was busy elsewhere, for instance.
bool measure(Contestant &contestant, const LoadShape &shape, bool counts)
{
    constexpr double usableLossPercent = 1.0;
    if (contestant.isEngine()) {
        contestant.load->registerLinks(contestant.port); // they may have timed out meanwhile
    }
    const std::int64_t before = contestant.relay->cpuNs();
    const LoadResult result = contestant.load->run(contestant.port, shape);
    const std::int64_t used = contestant.relay->cpuNs() - before;
    if (lossPercent(result) > usableLossPercent) {
        return false;
    }
    if (counts) {
        constexpr double nsPerUs = 1000.0;
        contestant.usPerDatagram.push_back(static_cast<double>(used) / nsPerUs / static_cast<double>(result.sent));
        contestant.total.sent += result.sent;
        contestant.total.delivered += result.delivered;
    }
    return true;
}

void writeJson(const char *path, const std::vector<Contestant> &contestants, const std::string &memoryText, int rounds)
{
    FILE *const file = std::fopen(path, "w");
    if (file == nullptr) {
        std::perror(path);
        std::exit(1);
    }
    const Contestant &raw = contestants[0];
    const Contestant &qt = contestants[1];
    std::fprintf(file, "{\n  \"rounds\": %d,\n", rounds);
    for (std::size_t i = 2; i < contestants.size(); ++i) {
        for (const auto &[name, base] : {std::pair{"qt", &qt}, std::pair{"raw", &raw}}) {
            const Spread value = ratio(contestants[i], *base);
            std::fprintf(file, "  \"%s_per_%s\": %.4f,\n  \"%s_per_%s_range\": [%.4f, %.4f],\n", contestants[i].key,
                         name, value.median, contestants[i].key, name, value.min, value.max);
        }
    }
    for (const Contestant &contestant : contestants) {
        const Spread value = spread(contestant.usPerDatagram);
        std::fprintf(file,
                     "  \"%s_us_per_datagram\": %.4f,\n  \"%s_us_per_datagram_range\": [%.4f, %.4f],\n"
                     "  \"%s_loss_percent\": %.4f,\n",
                     contestant.key, value.median, contestant.key, value.min, value.max, contestant.key,
                     lossPercent(contestant.total));
    }
    std::fprintf(file, "  %s\n}\n", memoryText.c_str());
    std::fclose(file);
}

void printTable(const std::vector<Contestant> &contestants, const std::string &memoryText, const LoadShape &shape,
                int rounds)
{
    std::printf("%d rounds of %d datagrams of 1316 bytes, %d a second in bursts of %d; median (min to max)\n\n", rounds,
                shape.bursts * shape.datagramsPerBurst, shape.burstsPerSecond * shape.datagramsPerBurst,
                shape.datagramsPerBurst);
    std::printf("%-30s %-24s %-24s %-24s %s\n", "relay", "CPU us per datagram", "per bare Qt relay",
                "per plain C relay", "loss");
    for (const Contestant &contestant : contestants) {
        const auto text = [](const Spread &value) {
            std::array<char, 64> buffer{};
            std::snprintf(buffer.data(), buffer.size(), "%.2f (%.2f to %.2f)", value.median, value.min, value.max);
            return std::string(buffer.data());
        };
        std::printf("%-30s %-24s %-24s %-24s %.2f %%\n", contestant.what,
                    text(spread(contestant.usPerDatagram)).c_str(), text(ratio(contestant, contestants[1])).c_str(),
                    text(ratio(contestant, contestants[0])).c_str(), lossPercent(contestant.total));
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

    std::vector<Contestant> contestants;
    contestants.push_back({"raw", "plain C relay", "relay_raw", 1, 3});
    contestants.push_back({"qt", "bare Qt relay", "relay_qt", 1, 3});
    contestants.push_back({"qtread", "Qt's readDatagram and write", "relay_qtread", 1, 3});
    contestants.push_back({"engine_1x3", "engine, 1 group x 3 links", "relay_engine", 1, 3});
    contestants.push_back({"engine_100x4", "engine, 100 groups x 4 links", "relay_engine", 100, 4});
    contestants.push_back({"engine_10000", "engine, 2500 groups x 4 links", "relay_engine", 2500, 4});
    if (compared != nullptr) {
        contestants.push_back({"engine_compared", "the other engine, 1 group x 3", compared, 1, 3});
    }
    const LoadShape shape;
    for (Contestant &contestant : contestants) {
        contestant.load = std::make_unique<Load>(contestant.groups, contestant.linksPerGroup);
        contestant.port = freePort();
        contestant.relay = std::make_unique<RelayProcess>(contestant.program, contestant.port,
                                                          contestant.load->listenerPort(), relayCore);
        contestant.load->waitForRelay(contestant.port, contestant.isEngine());
    }
    for (int round = -1; round < rounds; ++round) { // the first one warms up
        for (Contestant &contestant : contestants) {
            int attempts = 0;
            while (!measure(contestant, shape, round >= 0)) {
                std::fprintf(stderr, "%s lost too much in a round; once more\n", contestant.what);
                if (++attempts == maxAttempts) {
                    return 1;
                }
            }
        }
    }
    const std::string memoryText = memory();
    printTable(contestants, memoryText, shape, rounds);
    if (json != nullptr) {
        writeJson(json, contestants, memoryText, rounds);
    }
    return 0;
}
