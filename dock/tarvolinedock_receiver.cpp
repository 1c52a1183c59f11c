// SPDX-License-Identifier: GPL-2.0-or-later
// Start and stop of the receiver, connection addresses, passphrase button.
#include "accessiblenames.h"
#include "connectionaddresses.h"
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
#include <QTextDocument>

// No member may be used after a message box: the dock may be destroyed in its event loop.
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
    moblinAddressEdit->setText(
        ConnectionAddresses::ofSenderApp(publicHostEdit->text(), listenPortEdit->text(), streamIdEdit->text()));
    obsAddressEdit->setText(ConnectionAddresses::ofMediaSource(targetPortEdit->text(), passwordEdit->text()));
    // Escaped, because a tooltip interprets markup. The other address has no tooltip: it contains the passphrase.
    const QString address = moblinAddressEdit->text();
    moblinAddressEdit->setToolTip(Qt::mightBeRichText(address) ? Qt::convertFromPlainText(address) : address);
    // Scroll to the beginning: by default an edit shows the end of a new text, here the passphrase.
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
