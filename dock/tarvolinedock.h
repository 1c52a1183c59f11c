// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "srtlaengine.h"
#include "vendorclient.h"

#include <QJsonObject>
#include <QPointer>
#include <QSettings>
#include <QString>
#include <QWidget>

class QCheckBox;
class QFormLayout;
class QGroupBox;
class QLabel;
class QLineEdit;
class QNetworkAccessManager;
class QNetworkReply;
class QPushButton;
class QTextEdit;
class QVBoxLayout;
struct UpdateDecision;
struct UpdateOffer;

/// The panel in the OBS main window: shows and controls the one receiver, keeps its settings and the OBS media source
/// that plays the received stream.
///
/// Lives on the OBS main thread. The widgets are the working copy of the settings. The dock may be destroyed at any
/// time by OBS, also while one of its message boxes is open.
class TarvolineDock : public QWidget
{
    Q_OBJECT

public:
    /// Builds the panel, loads the settings and schedules source repair and receiver start if these are enabled.
    explicit TarvolineDock(QWidget *parent = nullptr);
    ~TarvolineDock() override;

    /// Disconnects the engine, shuts it down and prevents new network work. Called when the module is unloaded.
    void shutdown();

    /// Posts \a request as JSON to \a path (begins with "/") of the vendor's service and returns at once. \a callback
    /// runs later on the main thread, at most once; not if the dock was destroyed before.
    void postJson(const QString &path, const QJsonObject &request, JsonReplyCallback callback);

    // The order of the slots is their index in the meta-object.
public Q_SLOTS:
    /// Starts the receiver on the panel's ports; shows a message box on failure.
    void startReceiver();
    void stopReceiver();
    /// Creates or updates the OBS media source; shows a message box on failure.
    void createOrRepairSource();
    /// Writes every value of the panel to the settings store.
    void saveSettings();
    void copyMoblinAddress();
    void copyPassword();
    void togglePasswordVisibility();
    /// Sets the OBS port to the SRTLA port + 2 while the ports are linked and the result is a valid port.
    void syncTargetPortFromListenPort();
    /// Computes both connection addresses from the panel's values.
    void updateUrls();
    /// Appends \a line to the log view, which keeps the last five lines.
    void appendLog(const QString &line);
    /// Writes the statistics file; the parameters are those of SrtlaEngine::statisticsChanged.
    void updateStatistics(int groups, int paths, double megabitsPerSecond, quint64 packets, quint64 bytes);
    /// Queries the vendor's service for the public address of this internet connection.
    void queryPublicIp();
    /// Checks the vendor's service for a newer version and shows the result in the version group.
    void checkForUpdatesManually();
    /// After confirmation by the user, downloads, checks and starts the offered installer and quits OBS.
    void downloadAndInstallUpdate();

private:
    friend class DockProbe;
    struct PanelParts;

    void buildUi();
    void buildStatusGroup(QVBoxLayout *column);
    void buildSettingsGroup(QVBoxLayout *column, PanelParts &parts);
    void addPortRows(QFormLayout *form);
    void addHostRows(QFormLayout *form);
    void addPasswordRow(QFormLayout *form, PanelParts &parts);
    void addStartUpRow(QFormLayout *form);
    void buildConnectionGroup(QVBoxLayout *column, PanelParts &parts);
    void buildButtonRow(QVBoxLayout *column, PanelParts &parts);
    void buildVersionGroup(QVBoxLayout *column);
    void buildLogGroup(QVBoxLayout *column, PanelParts &parts);
    void connectUi(const PanelParts &parts);
    void connectEdits();

    void loadSettings();
    void applyPortLink(bool linked);
    /// The port in \a edit, or \a fallback when the text is no number between 1 and 65535.
    static quint16 parsePort(QLineEdit *edit, quint16 fallback);

    void connectEngine();
    void scheduleAutomaticStart();
    /// Counts a log line. In a burst of lines the view's layout is suspended and updated every 100 ms.
    void noteLogLine();
    void endLogBurst();
    void showRunning(bool running);
    /// Moves the keyboard focus from one widget to another, if the first one has it. Call before disabling \a from: Qt
    /// would move the focus to the next widget in the tab order, where further key presses have another effect.
    static void passFocus(const QWidget *from, QWidget *to);
    void showStartError(const QString &text);
    void releaseOpenMessageBoxes();
    void releasePanel();

    /// Creates or updates the OBS media source with the current address. False when it could not be created or there is
    /// no current scene; no source is left behind then.
    bool ensureMediaSource();

    void handlePublicIpReply(const QJsonObject &reply, int httpStatus);

    static QString installedVersionText();
    void handleUpdateReply(QNetworkReply *reply, bool manual);
    void applyUpdateDecision(const UpdateDecision &decision);
    /// Stores an installable offer, or none when its texts are empty; the install button is visible with an offer.
    void setPendingUpdate(const UpdateOffer &offer);
    void handleInstallerProgress(qint64 bytesReceived, qint64 bytesTotal);
    /// Aborts a download that exceeds maximumInstallerBytes.
    void endOversizedDownload(QNetworkReply *reply, const UpdateOffer &offer);
    void handleInstallerDownloaded(QNetworkReply *reply, const UpdateOffer &offer);
    /// Checks the installer at \a path against \a sha256 (hexadecimal), starts it and quits OBS.
    void startSavedInstaller(const QString &path, const QString &sha256);
    void showWrongDigest();
    void showInstallerNotSaved();

    QSettings settings;
    SrtlaEngine engine;

    QLabel *statusLabel = nullptr;
    QLineEdit *listenPortEdit = nullptr;
    QLineEdit *targetPortEdit = nullptr;
    QLineEdit *publicHostEdit = nullptr;
    QLineEdit *streamIdEdit = nullptr;
    QLineEdit *passwordEdit = nullptr;
    QLineEdit *moblinAddressEdit = nullptr;
    QLineEdit *obsAddressEdit = nullptr;
    QCheckBox *autoStartCheck = nullptr;
    QCheckBox *autoSourceCheck = nullptr;
    QCheckBox *linkPortsCheck = nullptr;
    QPushButton *startButton = nullptr;
    QPushButton *stopButton = nullptr;
    QPushButton *showPasswordButton = nullptr;
    QPushButton *queryIpButton = nullptr;
    QLabel *ipHintLabel = nullptr;
    QLabel *versionLabel = nullptr;
    QTextEdit *logView = nullptr;
    int logLinesOfBurst = 0;

    // Updates are disabled as long as the network manager and the two buttons are null.
    QPushButton *updateCheckButton = nullptr;
    QPushButton *installUpdateButton = nullptr;
    QNetworkAccessManager *networkManager = nullptr;

    bool unloading = false;
    quint64 lastPacketCount = 0;

    QString pendingUpdateUrl;
    QString pendingUpdateSha256;
    QString pendingUpdateVersion;
};
