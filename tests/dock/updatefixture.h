// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "dock/dockfixture.h"
#include "testkit/httpsservers.h"
#include "testkit/timelimits.h"
#include "testkit/vendornetwork.h"

#include <QDir>
#include <QFile>
#include <QLabel>
#include <QProcess>
#include <QPushButton>
#include <QTest>

#include <algorithm>

/// The sorted header lines of a request, with names in lower case as in Qt 6.8, without accept-encoding and
/// accept-language, which depend on Qt's build and on the locale.
inline QByteArrayList headerLines(const QByteArray &head)
{
    QByteArrayList lines = head.split('\n').mid(1);
    for (QByteArray &line : lines) {
        const qsizetype name = line.indexOf(':') + 1;
        line = line.first(name).toLower() + line.sliced(name);
    }
    lines.removeIf([](const QByteArray &line) {
        return line.startsWith("accept-encoding: ") || line.startsWith("accept-language: ");
    });
    std::ranges::sort(lines);
    return lines;
}

/// A quiet dock with updates enabled: it has a network manager and the two buttons.
class UpdateFixture : public DockFixture
{
public:
    explicit UpdateFixture(const QString &endpoint = QStringLiteral("proxy"))
        : network(std::make_unique<VendorNetwork>(servers, endpoint)), probe(buildQuiet()),
          checkButton(new QPushButton(dock.get())), installButton(new QPushButton(dock.get()))
    {
        installButton->setVisible(false);
        probe.updateCheckButton() = checkButton;
        probe.installUpdateButton() = installButton;
        probe.networkManager() = network.get();
    }
    ~UpdateFixture() { dock.reset(); }
    Q_DISABLE_COPY_MOVE(UpdateFixture)

    [[nodiscard]] QString label() const { return probe.versionLabel()->text(); }
    [[nodiscard]] QStringList pending() const
    {
        return {probe.pendingUpdateUrl(), probe.pendingUpdateSha256(), probe.pendingUpdateVersion()};
    }
    void setPending(const QStringList &urlDigestVersion) const
    {
        probe.pendingUpdateUrl() = urlDigestVersion.at(0);
        probe.pendingUpdateSha256() = urlDigestVersion.at(1);
        probe.pendingUpdateVersion() = urlDigestVersion.at(2);
    }
    void invoke(const char *slot) const { QVERIFY(QMetaObject::invokeMethod(dock.get(), slot)); }

    /// Starts a check as the button does and waits for its end.
    void check() const
    {
        invoke("checkForUpdatesManually");
        QVERIFY(!checkButton->isEnabled());
        QTRY_VERIFY_WITH_TIMEOUT(checkButton->isEnabled(), waitMs);
        QTRY_COMPARE_WITH_TIMEOUT(network->openReplies(), 0, waitMs);
    }

    /// Publishes \a installer as version 1.2.3 at "/Setup-v1.2.3.exe" of the real service, with \a notes.
    void publish(const QByteArray &installer, const QByteArray &notes = {}) const
    {
        const QDir root(servers.text(QStringLiteral("serviceRoot")));
        const auto write = [&root](const QString &name, const QByteArray &data) {
            QFile file(root.filePath(name));
            QVERIFY2(file.open(QIODevice::WriteOnly) && file.write(data) == data.size(),
                     qPrintable(file.errorString()));
        };
        const QString installerName = QStringLiteral("Setup-v1.2.3.exe");
        const QString notesName = QStringLiteral("notes.txt");
        write(installerName, installer);
        write(notesName, notes);
        QProcess script;
        script.start(QStringLiteral("python3"),
                     {servers.text(QStringLiteral("serviceScripts")) + QStringLiteral("/makemanifest.py"),
                      QStringLiteral("1.2.3"), root.filePath(installerName), QStringLiteral("--notes"),
                      root.filePath(notesName)});
        QVERIFY(script.waitForFinished(waitMs));
        QVERIFY2(script.exitCode() == 0, script.readAllStandardError().constData());
    }

    HttpsServers servers;
    std::unique_ptr<VendorNetwork> network;
    DockProbe probe;
    QPushButton *checkButton = nullptr;
    QPushButton *installButton = nullptr;
};
