// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "dock/dockfixture.h"
#include "support/httpsservers.h"
#include "support/vendornetwork.h"

#include <QLabel>
#include <QPushButton>
#include <QTest>

/** A quiet dock that was given what switches its updates on: a network manager and the two buttons. */
class UpdateFixture : public DockFixture
{
public:
    explicit UpdateFixture(const QString &door = QStringLiteral("proxy"))
        : network(std::make_unique<VendorNetwork>(servers, door)), probe(buildQuiet())
    {
        checkButton = new QPushButton(dock.get());
        installButton = new QPushButton(dock.get());
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
