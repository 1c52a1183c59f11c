// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "dock/dockfixture.h"
#include "support/httpsservers.h"
#include "support/vendornetwork.h"

#include <QLabel>
#include <QPushButton>
#include <QTest>

#include <algorithm>

/**
 * The lines of a request's head below the first, sorted, with the names of the headers in lower case as Qt 6.8 writes
 * them, and without those of Qt's own: what this Qt can unpack, and the user's language.
 */
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

/** A quiet dock that was given what switches its updates on: a network manager and the two buttons. */
class UpdateFixture : public DockFixture
{
public:
    explicit UpdateFixture(const QString &door = QStringLiteral("proxy"))
        : network(std::make_unique<VendorNetwork>(servers, door)), probe(buildQuiet()),
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

    HttpsServers servers;
    std::unique_ptr<VendorNetwork> network;
    DockProbe probe;
    QPushButton *checkButton = nullptr;
    QPushButton *installButton = nullptr;
};
