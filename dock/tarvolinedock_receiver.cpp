// SPDX-License-Identifier: GPL-2.0-or-later
// What the user's buttons do to the receiver, and the addresses under which it is reached.
#include "accessiblenames.h"
#include "docksettings.h"
#include "tarvolinedock.h"

#include <QCheckBox>
#include <QClipboard>
#include <QGuiApplication>
#include <QHostAddress>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>

using namespace Qt::StringLiterals;

// Nothing may follow a message box in these functions: its event loop runs everything, also the dock's destruction.
void TarvolineDock::startReceiver()
{
    const quint16 listenPort = parsePort(listenPortEdit, DockSettings::defaultListenPort);
    const quint16 targetPort = parsePort(targetPortEdit, DockSettings::defaultTargetPort);

    if (autoSourceCheck->isChecked() && !ensureMediaSource()) {
        QMessageBox::warning(this, tr("SRT-Quelle fehlt"),
                             tr("Die OBS-Medienquelle konnte nicht erstellt werden. Aktiviere zuerst eine Szene."),
                             QMessageBox::Ok);
        return;
    }
    if (engine.start(listenPort, QHostAddress(QHostAddress::LocalHost), targetPort)) {
        return;
    }
    statusLabel->setText(tr("Fehler"));
    QMessageBox::warning(this, tr("Receiver konnte nicht starten"),
                         tr("UDP-Port %1 konnte nicht geöffnet werden. Möglicherweise läuft bereits ein anderer "
                            "Receiver.")
                             .arg(listenPort),
                         QMessageBox::Ok);
}

void TarvolineDock::stopReceiver()
{
    engine.stop();
}

void TarvolineDock::updateUrls()
{
    QString host = publicHostEdit->text().trimmed();
    if (host.isEmpty()) {
        host = tr("ÖFFENTLICHE-IP-EINTRAGEN");
    }
    moblinAddressEdit->setText(u"srtla://%1:%2/%3"_s.arg(host, listenPortEdit->text(), streamIdEdit->text()));

    QString obsUrl = u"srt://127.0.0.1:%1?mode=listener&latency=2000&lossmaxttl=40"_s.arg(targetPortEdit->text());
    if (!passwordEdit->text().isEmpty()) {
        obsUrl += u"&passphrase=%1"_s.arg(passwordEdit->text());
    }
    obsAddressEdit->setText(obsUrl);
    // From their beginning: an edit shows the end of what it is given, here the passphrase, for every viewer to read.
    moblinAddressEdit->setCursorPosition(0);
    obsAddressEdit->setCursorPosition(0);
}

void TarvolineDock::copyMoblinAddress()
{
    QGuiApplication::clipboard()->setText(moblinAddressEdit->text(), QClipboard::Clipboard);
}

void TarvolineDock::copyPassword()
{
    QGuiApplication::clipboard()->setText(passwordEdit->text(), QClipboard::Clipboard);
}

void TarvolineDock::togglePasswordVisibility()
{
    if (passwordEdit->echoMode() != QLineEdit::Password) {
        passwordEdit->setEchoMode(QLineEdit::Password);
        showPasswordButton->setText(tr("Anzeigen"));
    } else {
        passwordEdit->setEchoMode(QLineEdit::Normal);
        showPasswordButton->setText(tr("Ausblenden"));
    }
    AccessibleNames::nameInRow(showPasswordButton, passwordEdit);
}
