// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <QSettings>
#include <QTemporaryDir>

/// The dock's settings store for one test, empty at first and gone with this object. Where the native store is a file
/// it lies in a folder of its own; where it is the registry, the key is cleared before and after.
class SettingsStore
{
public:
    SettingsStore()
    {
        QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, folder.path());
        open().clear();
    }
    ~SettingsStore() { open().clear(); }
    Q_DISABLE_COPY_MOVE(SettingsStore)

    [[nodiscard]] QVariant value(const QString &key) const { return open().value(key); }
    [[nodiscard]] bool contains(const QString &key) const { return open().contains(key); }
    [[nodiscard]] QStringList keys() const { return open().allKeys(); }
    void set(const QString &key, const QVariant &value) { open().setValue(key, value); }

private:
    // QSettings can be neither copied nor moved; a fresh one sees what others have written.
    struct Store : QSettings
    {
        Store() : QSettings(QStringLiteral("Tarvoline"), QStringLiteral("SRTLA OBS Plugin")) {}
    };
    static Store open() { return {}; }

    QTemporaryDir folder;
};
