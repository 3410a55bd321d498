#pragma once

#include <QString>
#include <memory>

class QSettings;

namespace qormin::platform {

// The per-user settings store: string values by section and key under the application
// "QORMIN DB Tools". Every save reaches the disk before it returns, so a killed process
// loses nothing.
class SettingsStore {
public:
    // Windows: the user's registry. Elsewhere: settings.ini in the user's configuration folder.
    static std::unique_ptr<SettingsStore> openDefault();
    // An INI file of the caller's choice (tests, batch jobs). Created readable by the user only.
    static std::unique_ptr<SettingsStore> openFile(const QString& path);
    static QString defaultFilePath();

    ~SettingsStore();
    SettingsStore(const SettingsStore&) = delete;
    SettingsStore& operator=(const SettingsStore&) = delete;

    QString getSetting(const QString& section, const QString& key, const QString& defaultValue = {}) const;
    void saveSetting(const QString& section, const QString& key, const QString& value);

    QString location() const;

private:
    explicit SettingsStore(std::unique_ptr<QSettings> settings);
    std::unique_ptr<QSettings> m_settings;
};

} // namespace qormin::platform
