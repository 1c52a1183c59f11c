// SPDX-License-Identifier: GPL-2.0-or-later
#include "options.h"

#include <QTest>

using namespace bondsender;
using namespace std::chrono_literals;

namespace {

const std::vector<std::string> minimum{"--listen", "6000", "--to", "192.0.2.1:5000", "--link", "127.0.0.11"};

std::optional<Options> parsed(std::vector<std::string> more, std::string *reason = nullptr)
{
    std::vector<std::string> arguments = minimum;
    arguments.insert(arguments.end(), more.begin(), more.end());
    std::string error;
    auto options = parseOptions(arguments, error);
    if (reason != nullptr) {
        *reason = error;
    }
    return options;
}

} // namespace

class TestBondsenderOptions : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void parsesRequiredOptions();
    void parsesAllLinkSettings();
    void parsesOptionalOptions();
    void rejectsInvalidValues_data();
    void rejectsInvalidValues();
    void rejectsInvalidDurations_data();
    void rejectsInvalidDurations();
    void namesTheMissingOption();
};

void TestBondsenderOptions::parsesRequiredOptions()
{
    const Options options = parsed({}).value_or(Options{});
    QCOMPARE(options.listenPort, 6000);
    QCOMPARE(options.receiverAddress, "192.0.2.1");
    QCOMPARE(options.receiverPort, 5000);
    QCOMPARE(options.links.size(), 1U);
    QVERIFY(options.links[0].impairment == Impairment{});
    QVERIFY(!options.json && !options.seed && !options.reportEvery && options.id.empty());
}

void TestBondsenderOptions::parsesAllLinkSettings()
{
    std::string error;
    const LinkOptions link =
        parseLink("127.0.0.12,loss=2.5%,delay=20ms,jitter=250us,rate=8M,duplicate=1%,cut=5s-8s,cut=10s-,"
                  "rebind=7s",
                  error)
            .value_or(LinkOptions{});
    QCOMPARE(link.address, "127.0.0.12");
    const Impairment expected{0.025, 0.01, 20ms, 250us, 8'000'000, {{5s, 8s}, {10s, std::nullopt}}};
    QVERIFY(link.impairment == expected);
    QVERIFY(link.rebinds == std::vector<Microseconds>{7s});
}

void TestBondsenderOptions::parsesOptionalOptions()
{
    const Options options = parsed({"--link", "127.0.0.12", "--id", "3fA0", "--seed", "7", "--json", "--every", "1.5s"})
                                .value_or(Options{});
    QCOMPARE(options.links.size(), 2U);
    QVERIFY((options.id == std::vector<std::uint8_t>{0x3F, 0xA0}));
    QCOMPARE(options.seed, std::optional<std::uint64_t>(7));
    QVERIFY(options.json);
    QVERIFY(options.reportEvery == Microseconds(1500ms));
    QVERIFY(parsed({"--help"}).value_or(Options{}).help);
}

void TestBondsenderOptions::rejectsInvalidValues_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("value");
    const auto row = [](const char *name, const char *value) {
        QTest::addRow("%s %s", name, value) << QString::fromLatin1(name) << QString::fromLatin1(value);
    };
    row("--listen", "65536");
    row("--listen", "x");
    row("--to", "192.0.2.1");
    row("--to", ":5000");
    row("--to", "192.0.2.1:0");
    row("--id", "3f0");
    row("--id", "zz");
    row("--id", "");
    row("--seed", "-1");
    row("--every", "0s");
    row("--link", "127.0.0.1,loss");
    row("--link", "127.0.0.1,loss=2");
    row("--link", "127.0.0.1,loss=101%");
    row("--link", "127.0.0.1,loss=-1%");
    row("--link", "127.0.0.1,delay=5");
    row("--link", "127.0.0.1,rate=0");
    row("--link", "127.0.0.1,rate=99999999999999999999M");
    row("--link", "127.0.0.1,cut=5s");
    row("--link", "127.0.0.1,cut=8s-5s");
    row("--link", "127.0.0.1,speed=5M");
    row("--bogus", "1");
}

void TestBondsenderOptions::rejectsInvalidValues()
{
    QFETCH(QString, name);
    QFETCH(QString, value);
    std::string reason;
    QVERIFY(!parsed({name.toStdString(), value.toStdString()}, &reason));
    QVERIFY(!reason.empty());
}

void TestBondsenderOptions::rejectsInvalidDurations_data()
{
    QTest::addColumn<QString>("text");
    for (const char *text : {"", "s", "ms", "5", "5m", "-5s", "5 s", "nans", "infs", "1e99s"}) {
        QTest::addRow("'%s'", text) << QString::fromLatin1(text);
    }
}

void TestBondsenderOptions::rejectsInvalidDurations()
{
    QFETCH(QString, text);
    QVERIFY(!parseDuration(text.toStdString()));
}

void TestBondsenderOptions::namesTheMissingOption()
{
    std::string reason;
    QVERIFY(!parseOptions({}, reason));
    QCOMPARE(reason, "--listen, --to and --link are required");
    QVERIFY(!parsed({"--seed"}, &reason));
    QCOMPARE(reason, "missing value: --seed");
    QVERIFY(!parsed({"--link", "127.0.0.1,loss=2"}, &reason));
    QCOMPARE(reason, "invalid link setting: loss=2");
}

QTEST_GUILESS_MAIN(TestBondsenderOptions)
#include "tst_bondsender_options.moc"
