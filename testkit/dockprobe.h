// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "tarvolinedock.h"

/// Access to the dock's private members.
class DockProbe
{
public:
    explicit DockProbe(TarvolineDock &probedDock) : dock(probedDock) {}

    [[nodiscard]] QSettings &settings() const { return dock.settings; }
    [[nodiscard]] SrtlaEngine &engine() const { return dock.engine; }

    [[nodiscard]] QLabel *statusLabel() const { return dock.statusLabel; }
    [[nodiscard]] QLineEdit *listenPortEdit() const { return dock.listenPortEdit; }
    [[nodiscard]] QLineEdit *targetPortEdit() const { return dock.targetPortEdit; }
    [[nodiscard]] QLineEdit *publicHostEdit() const { return dock.publicHostEdit; }
    [[nodiscard]] QLineEdit *streamIdEdit() const { return dock.streamIdEdit; }
    [[nodiscard]] QLineEdit *passwordEdit() const { return dock.passwordEdit; }
    [[nodiscard]] QLineEdit *moblinAddressEdit() const { return dock.moblinAddressEdit; }
    [[nodiscard]] QLineEdit *obsAddressEdit() const { return dock.obsAddressEdit; }
    [[nodiscard]] QCheckBox *autoStartCheck() const { return dock.autoStartCheck; }
    [[nodiscard]] QCheckBox *autoSourceCheck() const { return dock.autoSourceCheck; }
    [[nodiscard]] QCheckBox *linkPortsCheck() const { return dock.linkPortsCheck; }
    [[nodiscard]] QPushButton *startButton() const { return dock.startButton; }
    [[nodiscard]] QPushButton *stopButton() const { return dock.stopButton; }
    [[nodiscard]] QPushButton *showPasswordButton() const { return dock.showPasswordButton; }
    [[nodiscard]] QPushButton *queryIpButton() const { return dock.queryIpButton; }
    [[nodiscard]] QLabel *ipHintLabel() const { return dock.ipHintLabel; }
    [[nodiscard]] QLabel *versionLabel() const { return dock.versionLabel; }
    [[nodiscard]] QTextEdit *logView() const { return dock.logView; }

    [[nodiscard]] QPushButton *&updateCheckButton() const { return dock.updateCheckButton; }
    [[nodiscard]] QPushButton *&installUpdateButton() const { return dock.installUpdateButton; }
    [[nodiscard]] QNetworkAccessManager *&networkManager() const { return dock.networkManager; }
    [[nodiscard]] QString &pendingUpdateUrl() const { return dock.pendingUpdateUrl; }
    [[nodiscard]] QString &pendingUpdateSha256() const { return dock.pendingUpdateSha256; }
    [[nodiscard]] QString &pendingUpdateVersion() const { return dock.pendingUpdateVersion; }
    [[nodiscard]] bool unloading() const { return dock.unloading; }
    [[nodiscard]] quint64 lastPacketCount() const { return dock.lastPacketCount; }

    [[nodiscard]] bool ensureMediaSource() const { return dock.ensureMediaSource(); }
    static quint16 parsePort(QLineEdit *edit, quint16 fallback) { return TarvolineDock::parsePort(edit, fallback); }
    void handlePublicIpReply(const QJsonObject &reply, int httpStatus) const
    {
        dock.handlePublicIpReply(reply, httpStatus);
    }
    void handleUpdateReply(QNetworkReply *reply, bool manual) const { dock.handleUpdateReply(reply, manual); }
    void handleInstallerProgress(qint64 bytesReceived, qint64 bytesTotal) const
    {
        dock.handleInstallerProgress(bytesReceived, bytesTotal);
    }
    void startSavedInstaller(const QString &path, const QString &sha256) const
    {
        dock.startSavedInstaller(path, sha256);
    }

private:
    TarvolineDock &dock;
};
