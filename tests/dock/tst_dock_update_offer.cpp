// SPDX-License-Identifier: GPL-2.0-or-later
// Effect of a check on an existing offer.
#include "dock/updatefixture.h"
#include "testkit/updatecheck.h"

#include <QTest>

using namespace Qt::StringLiterals;
using namespace UpdateCheck;

namespace {

const QStringList earlierOffer{u"https://a/b.exe"_s, u"c"_s, u"0.9.9"_s};
const QStringList noOffer{{}, {}, {}};

} // namespace

class TestDockUpdateOffer : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void changesTheOffer_data();
    void changesTheOffer();
};

void TestDockUpdateOffer::initTestCase()
{
    QVERIFY2(HttpsServers().isUsable(), "run this test through testkit/withservers.py");
}

void TestDockUpdateOffer::changesTheOffer_data()
{
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<bool>("visibleBefore");
    QTest::addColumn<QString>("label");
    QTest::addColumn<QStringList>("offer");
    QTest::addColumn<bool>("visible");

    const QStringList newOffer{installerUrl(), digest, u"1.0"_s};
    for (const bool before : {false, true}) {
        const char *hidden = before ? "" : ", hidden";
        QTest::addRow("replaced%s", hidden) << installableManifest(u"1.0"_s) << before << newText << newOffer << true;
        QTest::addRow("withdrawn, up to date%s", hidden)
            << installableManifest(u"0.9.2"_s) << before << upToDateText << noOffer << false;
        QTest::addRow("withdrawn, not installable%s", hidden)
            << manifest(u"1.0"_s) << before << newText + notInstallableText << noOffer << false;
        QTest::addRow("hidden by an unreadable version%s", hidden)
            << installableManifest(u"abc"_s) << before << invalidVersionText << earlierOffer << false;
        QTest::addRow("kept by an invalid response%s", hidden)
            << QByteArray("[]") << before << invalidReplyText << earlierOffer << before;
    }
}

void TestDockUpdateOffer::changesTheOffer()
{
    QFETCH(QByteArray, body);
    QFETCH(bool, visibleBefore);
    QFETCH(QString, label);
    QFETCH(QStringList, offer);
    QFETCH(bool, visible);
    UpdateFixture fixture;
    fixture.setPending(earlierOffer);
    fixture.installButton->setVisible(visibleBefore);
    fixture.servers.respond(u"/update.json"_s, {.body = body});
    fixture.check();
    QCOMPARE(fixture.label(), label);
    QCOMPARE(fixture.pending(), offer);
    QCOMPARE(!fixture.installButton->isHidden(), visible);
}

QTEST_MAIN(TestDockUpdateOffer)
#include "tst_dock_update_offer.moc"
