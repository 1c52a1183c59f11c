// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <QSettings>
#include <QTemporaryDir>

/// The dock's settings store for one test, initially empty and deleted with this object. A file is stored in a
/// temporary folder; in the registry the key is cleared before and after.
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
    // QSettings is neither copyable nor movable; a new object reads what others have written.
    struct Store : QSettings
    {
        Store() : QSettings(QStringLiteral("Tarvoline"), QStringLiteral("SRTLA OBS Plugin")) {}
    };
    static Store open() { return {}; }

    QTemporaryDir folder;
};
