// SPDX-License-Identifier: GPL-2.0-or-later
// Download, check and start of an installer over a real network.
#include "dock/installfixture.h"

#include <QApplication>
#include <QNetworkReply>
#include <QTest>
#include <QTimer>

#include <algorithm>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

constexpr int waitMs = InstallFixture::waitMs;
constexpr qint64 sizeLimit = 262144000;
constexpr int guardExitCode = 7;

const QByteArray installer = "MZ: the bytes of an installer";
const QStringList oldOffer{u"https://a/b.exe"_s, u"c"_s, u"1.0"_s};

const QString startedText = u"Update 1.0 wird heruntergeladen …"_s;
const QString unsafeText = u"Der Installer konnte nicht sicher heruntergeladen werden."_s;
const QString sizeText = u"Ungültige Größe der Installationsdatei."_s;
const QString digestText = u"Sicherheitsprüfung fehlgeschlagen: SHA-256 stimmt nicht überein."_s;
const QString saveText = u"Der Installer konnte nicht gespeichert werden."_s;
const QString checkedText = u"Installer geprüft. OBS wird beendet und das Update gestartet …"_s;
const QString startText = u"Der Installer konnte nicht gestartet werden."_s;

ServerAnswer redirect(const QString &target)
{
    return {.status = 302, .headers = {{u"Location"_s, target}}};
}

/** Runs the application's own event loop until someone quits it; guardExitCode when nobody does within the time. */
int runApplication(std::chrono::milliseconds atMost)
{
    QTimer guard;
    QObject::connect(&guard, &QTimer::timeout, [] { QCoreApplication::exit(guardExitCode); });
    guard.start(atMost);
    return QCoreApplication::exec();
}

} // namespace

class TestDockInstall : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void needsAWholeOfferAndANetwork_data();
    void needsAWholeOfferAndANetwork();
    void asksTheUserFirst();
    void changesNothingWhenDeclined_data();
    void changesNothingWhenDeclined();
    void survivesTheDockBeingDestroyed_data();
    void survivesTheDockBeingDestroyed();
    void asksToTheLetter();
    void showsProgress_data();
    void showsProgress();
    void showsTheProgressOfADownload();
    void showsNoProgressWithoutALength();
    void refusesUnsafeDownloads_data();
    void refusesUnsafeDownloads();
    void refusesADownloadThatStalls();
    void refusesAnUnknownCertificate();
    void limitsTheSize_data();
    void limitsTheSize();
    void followsRedirectsOfTheVendor();
    void comparesTheDigest_data();
    void comparesTheDigest();
    void tellsAFolderThatIsNotThere();
    void tellsAFileThatDoesNotStart();
    void startsTheInstallerAndQuits();
};

void TestDockInstall::initTestCase()
{
    QVERIFY2(HttpsServers().isUsable(), "run this through tests/support/withservers.py");
    // In OBS there is a main window; here the question is the last window, and must not end the program.
    QApplication::setQuitOnLastWindowClosed(false);
}

void TestDockInstall::needsAWholeOfferAndANetwork_data()
{
    QTest::addColumn<QStringList>("offer");
    QTest::addColumn<bool>("network");
    QTest::newRow("no address") << QStringList{{}, u"b"_s, u"c"_s} << true;
    QTest::newRow("no digest") << QStringList{u"a"_s, {}, u"c"_s} << true;
    QTest::newRow("no version") << QStringList{u"a"_s, u"b"_s, {}} << true;
    QTest::newRow("nothing") << QStringList{{}, {}, {}} << true;
    QTest::newRow("no network") << oldOffer << false;
}

void TestDockInstall::needsAWholeOfferAndANetwork()
{
    QFETCH(QStringList, offer);
    QFETCH(bool, network);
    InstallFixture fixture;
    fixture.setPending(offer);
    if (!network) {
        fixture.probe.networkManager() = nullptr;
    }
    const QString label = fixture.label();
    fixture.invoke("downloadAndInstallUpdate");
    QVERIFY(fixture.boxes.shown().isEmpty());
    QVERIFY(fixture.network->made().isEmpty());
    QCOMPARE(fixture.label(), label);
    QVERIFY(fixture.checkButton->isEnabled());
    QVERIFY(fixture.installButton->isEnabled());
}

void TestDockInstall::asksTheUserFirst()
{
    InstallFixture fixture;
    fixture.setPending(oldOffer);
    QMessageBox::StandardButton defaultButton = QMessageBox::NoButton;
    fixture.boxes.answerWith([&defaultButton](QMessageBox &box) {
        defaultButton = box.standardButton(box.defaultButton());
        MessageBoxes::press(box, QMessageBox::No);
    });
    fixture.invoke("downloadAndInstallUpdate");
    QCOMPARE(fixture.boxes.shown().size(), 1);
    const ShownMessageBox box = fixture.boxes.shown().first();
    QCOMPARE(box.title, u"Update installieren"_s);
    QCOMPARE(box.text, u"Version 1.0 wird heruntergeladen und installiert.\n\nOBS wird danach geschlossen. Nicht "
                       "gespeicherte Änderungen solltest du vorher speichern. Fortfahren?"_s);
    QCOMPARE(box.icon, QMessageBox::Question);
    QCOMPARE(box.buttons, QMessageBox::Yes | QMessageBox::No);
    QCOMPARE(box.parent, fixture.dock.get());
    QCOMPARE(defaultButton, QMessageBox::No);
}

void TestDockInstall::changesNothingWhenDeclined_data()
{
    QTest::addColumn<bool>("escape");
    QTest::newRow("no") << false;
    QTest::newRow("escape") << true;
}

void TestDockInstall::changesNothingWhenDeclined()
{
    QFETCH(bool, escape);
    InstallFixture fixture;
    fixture.setPending(oldOffer);
    fixture.boxes.answerWith(
        [escape](QMessageBox &box) { escape ? box.reject() : MessageBoxes::press(box, QMessageBox::No); });
    const QString label = fixture.label();
    fixture.invoke("downloadAndInstallUpdate");
    QCOMPARE(fixture.boxes.shown().size(), 1);
    QCOMPARE(fixture.label(), label);
    QCOMPARE(fixture.pending(), oldOffer);
    QVERIFY(fixture.checkButton->isEnabled());
    QVERIFY(fixture.installButton->isEnabled());
    QVERIFY(fixture.network->made().isEmpty());
}

void TestDockInstall::survivesTheDockBeingDestroyed_data()
{
    QTest::addColumn<bool>("afterYes");
    QTest::newRow("while the question is open") << false;
    QTest::newRow("in the same turn as the answer") << true;
}

void TestDockInstall::survivesTheDockBeingDestroyed()
{
    QFETCH(bool, afterYes);
    InstallFixture fixture;
    fixture.setPending(oldOffer);
    fixture.boxes.answerWith([&fixture, afterYes](QMessageBox &box) {
        if (afterYes) {
            MessageBoxes::press(box, QMessageBox::Yes);
        }
        fixture.dock.reset();
    });
    fixture.dock->downloadAndInstallUpdate();
    QVERIFY(!fixture.dock);
    QCOMPARE(fixture.boxes.shown().size(), 1);
    QVERIFY(fixture.network->made().isEmpty());
}

void TestDockInstall::asksToTheLetter()
{
    InstallFixture fixture;
    fixture.offer(installer, {.status = 404});
    fixture.install();

    const QList<ServerRequest> requests = fixture.servers.requests();
    QCOMPARE(requests.size(), 1);
    QCOMPARE(requests.first().body, QByteArray());
    QVERIFY(requests.first().head.startsWith("GET /setup.exe HTTP/1.1\r\n"));
    const QByteArrayList expected{"", "\r", "connection: Keep-Alive\r", "host: " + QByteArray(vendorHost) + "\r",
                                  "user-agent: Tarvoline-SRTLA/0.9.2\r"};
    QCOMPARE(headerLines(requests.first().head), expected);

    QCOMPARE(fixture.network->made().size(), 1);
    const QNetworkRequest request = fixture.network->made().first();
    QCOMPARE(request.url(), QUrl(fixture.address(u"/setup.exe"_s)));
    QCOMPARE(request.transferTimeoutAsDuration(), 120000ms);
    QCOMPARE(request.attribute(QNetworkRequest::RedirectPolicyAttribute).toInt(),
             int(QNetworkRequest::NoLessSafeRedirectPolicy));
    QVERIFY(!request.attribute(QNetworkRequest::Http2AllowedAttribute).isValid());
    QVERIFY(!request.attribute(QNetworkRequest::CacheLoadControlAttribute).isValid());
    QCOMPARE(request.rawHeaderList(), QByteArrayList{"user-agent"});
}

void TestDockInstall::showsProgress_data()
{
    QTest::addColumn<qint64>("received");
    QTest::addColumn<qint64>("total");
    QTest::addColumn<QString>("label");
    const auto percent = [](int value) { return u"Update wird heruntergeladen … %1 %"_s.arg(value); };
    QTest::newRow("nothing yet") << qint64(0) << qint64(200) << percent(0);
    QTest::newRow("a quarter") << qint64(50) << qint64(200) << percent(25);
    QTest::newRow("truncated") << qint64(199) << qint64(200) << percent(99);
    QTest::newRow("all") << qint64(200) << qint64(200) << percent(100);
    QTest::newRow("more than 32 bits") << qint64(3000000000) << qint64(4000000000) << percent(75);
    QTest::newRow("total unknown") << qint64(50) << qint64(-1) << startedText;
    QTest::newRow("total of nothing") << qint64(50) << qint64(0) << startedText;
}

void TestDockInstall::showsProgress()
{
    QFETCH(qint64, received);
    QFETCH(qint64, total);
    QFETCH(QString, label);
    InstallFixture fixture;
    fixture.probe.versionLabel()->setText(startedText);
    fixture.probe.handleInstallerProgress(received, total);
    QCOMPARE(fixture.label(), label);
}

void TestDockInstall::showsTheProgressOfADownload()
{
    InstallFixture fixture;
    const QByteArray part(50, 'x');
    // Qt tells the progress ten times a second at most, and nothing in the first tenth.
    fixture.offer(part, {.body = part, .announced = 200, .then = u"stall"_s, .pauseMs = 300});
    fixture.invoke("downloadAndInstallUpdate");
    QCOMPARE(fixture.label(), startedText);
    QTRY_COMPARE_WITH_TIMEOUT(fixture.label(), u"Update wird heruntergeladen … 25 %"_s, waitMs);
    QVERIFY(!fixture.checkButton->isEnabled());
    QVERIFY(!fixture.installButton->isEnabled());
    QVERIFY(fixture.savedFiles().isEmpty());
}

void TestDockInstall::showsNoProgressWithoutALength()
{
    InstallFixture fixture;
    fixture.offer("other", {.body = installer, .framing = u"chunked"_s, .pauseMs = 300});
    QStringList labels;
    fixture.invoke("downloadAndInstallUpdate");
    QTRY_VERIFY_WITH_TIMEOUT(
        [&] {
            labels << fixture.label();
            return fixture.checkButton->isEnabled();
        }(),
        waitMs);
    labels.removeDuplicates();
    QCOMPARE(labels, (QStringList{startedText, digestText}));
}

void TestDockInstall::refusesUnsafeDownloads_data()
{
    QTest::addColumn<int>("status");
    QTest::addColumn<QString>("location");
    QTest::addColumn<QString>("then");
    QTest::addColumn<QString>("framing");
    const QString none;
    const QString end = u"end"_s;
    const QString whole = u"length"_s;
    QTest::newRow("not found") << 404 << none << end << whole;
    QTest::newRow("server error") << 500 << none << end << whole;
    QTest::newRow("cut off") << 200 << none << u"break"_s << whole;
    QTest::newRow("cut off, in chunks") << 200 << none << u"break"_s << u"chunked"_s;
    for (const QString &host : {u"other.example"_s, u"evil%1"_s.arg(QLatin1StringView(vendorHost))}) {
        QTest::addRow("to %s", qPrintable(host)) << 302 << u"https://%1/good.exe"_s.arg(host) << end << whole;
    }
    QTest::newRow("to http") << 302 << u"http://%1/good.exe"_s.arg(QLatin1StringView(vendorHost)) << end << whole;
    QTest::newRow("to a file that is no program") << 302 << u"/good.zip"_s << end << whole;
    QTest::newRow("in a circle") << 302 << u"/setup.exe"_s << end << whole;
}

void TestDockInstall::refusesUnsafeDownloads()
{
    QFETCH(int, status);
    QFETCH(QString, location);
    QFETCH(QString, then);
    QFETCH(QString, framing);
    InstallFixture fixture;
    ServerAnswer answer{.status = status, .body = installer, .framing = framing, .then = then};
    if (!location.isEmpty()) {
        answer.headers = {{u"Location"_s, location}};
    }
    if (then == u"break"_s) {
        answer.announced = installer.size() + 1;
    }
    fixture.offer(installer, answer);
    fixture.servers.answer(u"/good.exe"_s, {.body = installer});
    fixture.servers.answer(u"/good.zip"_s, {.body = installer});
    const QStringList offer = fixture.pending();
    fixture.install();
    QCOMPARE(fixture.label(), unsafeText);
    QCOMPARE(fixture.pending(), offer);
    QVERIFY(fixture.savedFiles().isEmpty());
    for (const ServerRequest &request : fixture.servers.requests()) {
        QCOMPARE(request.door, u"proxy"_s);
    }
}

void TestDockInstall::refusesADownloadThatStalls()
{
    InstallFixture fixture;
    fixture.offer(installer, {.body = installer, .announced = installer.size() + 1, .then = u"stall"_s});
    fixture.network->shortenTimeout(500ms);
    fixture.install();
    QCOMPARE(fixture.label(), unsafeText);
    QVERIFY(fixture.savedFiles().isEmpty());
}

void TestDockInstall::refusesAnUnknownCertificate()
{
    InstallFixture fixture;
    fixture.offer(installer, {.body = installer});
    fixture.network->trustNobody();
    fixture.install();
    QCOMPARE(fixture.label(), unsafeText);
    QVERIFY(fixture.servers.requests().isEmpty());
    QVERIFY(fixture.savedFiles().isEmpty());
}

void TestDockInstall::limitsTheSize_data()
{
    QTest::addColumn<qint64>("bytes");
    QTest::addColumn<QString>("framing");
    QTest::addColumn<QString>("label");
    QTest::newRow("nothing") << qint64(0) << u"length"_s << sizeText;
    QTest::newRow("nothing, in chunks") << qint64(0) << u"chunked"_s << sizeText;
    QTest::newRow("the limit") << sizeLimit << u"length"_s << digestText;
    QTest::newRow("one byte more") << sizeLimit + 1 << u"length"_s << sizeText;
    QTest::newRow("one byte more, unannounced") << sizeLimit + 1 << u"close"_s << sizeText;
}

void TestDockInstall::limitsTheSize()
{
    QFETCH(qint64, bytes);
    QFETCH(QString, framing);
    QFETCH(QString, label);
    InstallFixture fixture;
    // The digest of other bytes: a size that is allowed is told by the check that follows.
    fixture.offer("other", {.fill = bytes, .framing = framing});
    fixture.install();
    QCOMPARE(fixture.label(), label);
    QVERIFY(fixture.savedFiles().isEmpty());
}

void TestDockInstall::followsRedirectsOfTheVendor()
{
    for (const QString &target :
         {u"/moved.EXE"_s, u"https://files.%1/moved.EXE?x=1"_s.arg(QLatin1StringView(vendorHost))}) {
        InstallFixture fixture;
        fixture.offer("other", redirect(target));
        fixture.servers.answer(u"/moved.EXE"_s, {.body = installer});
        fixture.servers.answer(u"/moved.EXE?x=1"_s, {.body = installer});
        fixture.install();
        QCOMPARE(fixture.label(), digestText);
    }
}

void TestDockInstall::comparesTheDigest_data()
{
    QTest::addColumn<QByteArray>("served");
    QTest::newRow("first byte") << 'N' + installer.mid(1);
    QTest::newRow("last byte") << installer.chopped(1) + 'R';
    QTest::newRow("one byte less") << installer.chopped(1);
    QTest::newRow("one byte more") << installer + '\0';
}

void TestDockInstall::comparesTheDigest()
{
    QFETCH(QByteArray, served);
    InstallFixture fixture;
    fixture.offer(installer, {.body = served});
    const QStringList offer = fixture.pending();
    fixture.install();
    QCOMPARE(fixture.label(), digestText);
    QCOMPARE(fixture.pending(), offer);
    QVERIFY(fixture.savedFiles().isEmpty());
}

void TestDockInstall::tellsAFolderThatIsNotThere()
{
    InstallFixture fixture;
    fixture.useTemporaryFolder(fixture.folder.filePath(u"none"_s));
    fixture.offer(installer, {.body = installer});
    fixture.install();
    QCOMPARE(fixture.label(), saveText);
    QVERIFY(fixture.savedFiles().isEmpty());
}

void TestDockInstall::tellsAFileThatDoesNotStart()
{
    InstallFixture fixture;
    const QByteArray data = "these bytes are no program";
    fixture.offer(data, {.body = data});
    const QStringList offer = fixture.pending();
    fixture.install();
    QCOMPARE(fixture.label(), startText);
    QCOMPARE(fixture.pending(), offer);
    QCOMPARE(fixture.savedFiles(), QStringList{u"Tarvoline-SRTLA-Plugin-Setup-v1.0.exe"_s});
    QCOMPARE(fixture.content(fixture.savedPath()), data);
    // OBS keeps running: nobody quits for well over the time after which a started installer would have it.
    QCOMPARE(runApplication(2000ms), guardExitCode);
}

void TestDockInstall::startsTheInstallerAndQuits()
{
    const QTemporaryDir recordFolder;
    InstallFixture fixture;
    const QByteArray program = fixture.content(QStringLiteral(TARVOLINE_TEST_RECORDER));
    QVERIFY(program.size() > 1000);
    fixture.offer(program, {.body = program});

    // An older file of the name is replaced. That it may be executed stays with the name: elsewhere than on Windows no
    // program could be started otherwise, since a new file may never be executed there.
    QFile older(fixture.savedPath());
    QVERIFY(older.open(QIODevice::WriteOnly));
    older.write("older");
    older.close();
    QVERIFY(older.setPermissions(older.permissions() | QFile::ExeOwner));

    const QString record = recordFolder.filePath(u"record"_s);
    qputenv("TARVOLINE_TEST_RECORD", QDir::toNativeSeparators(record).toLocal8Bit());

    QTimer::singleShot(0, fixture.dock.get(), &TarvolineDock::downloadAndInstallUpdate);
    QCOMPARE(runApplication(std::chrono::milliseconds(waitMs)), 0);
    // The quit comes 800 ms after the start, and the start after the end of the download. Qt counts in whole
    // milliseconds, so that one may be missing.
    QVERIFY2(fixture.network->sinceFinished().elapsed() >= 799,
             qPrintable(QString::number(fixture.network->sinceFinished().elapsed())));

    QCOMPARE(fixture.label(), checkedText);
    QVERIFY(fixture.checkButton->isEnabled());
    QVERIFY(fixture.installButton->isEnabled());
    QCOMPARE(fixture.savedFiles(), QStringList{u"Tarvoline-SRTLA-Plugin-Setup-v1.0.exe"_s});
    QCOMPARE(fixture.content(fixture.savedPath()), program);
    QTRY_VERIFY_WITH_TIMEOUT(QFile::exists(record), waitMs);
    QList<QByteArray> arguments = fixture.content(record).split('\n');
    QCOMPARE(QDir::fromNativeSeparators(QString::fromLocal8Bit(arguments.takeFirst()).trimmed()), fixture.savedPath());
    for (QByteArray &argument : arguments) {
        argument = argument.trimmed();
    }
    QCOMPARE(arguments, (QList<QByteArray>{"/SP-", "/CLOSEAPPLICATIONS", "/RESTARTAPPLICATIONS", ""}));
}

QTEST_MAIN(TestDockInstall)
#include "tst_dock_install.moc"
