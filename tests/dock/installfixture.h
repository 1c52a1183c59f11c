// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "dock/updatefixture.h"

#include "buildspec.h"

#include <QCryptographicHash>
#include <QTemporaryDir>

/// A dock with updates enabled, message boxes that are answered with Yes, and its own temporary folder.
class InstallFixture : public UpdateFixture
{
public:
    explicit InstallFixture(const QString &endpoint = QStringLiteral("proxy")) : UpdateFixture(endpoint)
    {
        boxes.answerWith([](QMessageBox &box) { MessageBoxes::press(box, QMessageBox::Yes); });
        useTemporaryFolder(folder.path());
    }
    ~InstallFixture()
    {
        for (const auto &[name, value] : before) {
            qputenv(name, value);
        }
    }
    Q_DISABLE_COPY_MOVE(InstallFixture)

    /// Makes \a path the folder for temporary files.
    void useTemporaryFolder(const QString &path) const
    {
        for (const auto &[name, value] : before) {
            qputenv(name, QDir::toNativeSeparators(path).toLocal8Bit());
        }
    }

    /// The address of the path \a target at the vendor's host.
    static QString address(const QString &target)
    {
        return QStringLiteral("https://%1%2").arg(QString::fromUtf8(vendorHost), target);
    }
    /// Hexadecimal, in lower case.
    static QString sha256(const QByteArray &data)
    {
        return QString::fromLatin1(QCryptographicHash::hash(data, QCryptographicHash::Sha256).toHex());
    }

    /// Offers \a data as version 1.0 at "/setup.exe", served with \a answer.
    void offer(const QByteArray &data, const ServerResponse &answer)
    {
        setPending({address(QStringLiteral("/setup.exe")), sha256(data), QStringLiteral("1.0")});
        servers.respond(QStringLiteral("/setup.exe"), answer);
    }

    /// Invokes the slot and waits for the end of the download.
    void install() const
    {
        invoke("downloadAndInstallUpdate");
        QVERIFY(!checkButton->isEnabled());
        QVERIFY(!installButton->isEnabled());
        waitForTheButtons();
        waitForTheNetwork();
    }
    void waitForTheButtons() const
    {
        QTRY_VERIFY_WITH_TIMEOUT(checkButton->isEnabled(), waitMs);
        QVERIFY(installButton->isEnabled());
    }
    void waitForTheNetwork() const { QTRY_COMPARE_WITH_TIMEOUT(network->openReplies(), 0, waitMs); }

    /// Where the dock saves the installer of offer().
    [[nodiscard]] QString savedPath() const
    {
        return folder.filePath(QStringLiteral("Tarvoline-SRTLA-Plugin-Setup-v1.0.exe"));
    }
    [[nodiscard]] QStringList savedFiles() const
    {
        return QDir(folder.path()).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot);
    }
    static QByteArray content(const QString &path)
    {
        QFile file(path);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("(no such file)");
    }

    QTemporaryDir folder;

private:
    // TMPDIR on Unix, the others on Windows.
    QList<std::pair<const char *, QByteArray>> before{
        {"TMPDIR", qgetenv("TMPDIR")}, {"TMP", qgetenv("TMP")}, {"TEMP", qgetenv("TEMP")}};
};
