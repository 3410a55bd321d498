#pragma once

#include <QString>
#include <QStringList>
#include <functional>
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

    // What went wrong with the store, in words for the operator: a file that could not be read
    // (set aside, defaults used) or values that could not be saved. Problems found before a
    // reporter is set wait for it; each kind is told once.
    void setProblemReporter(std::function<void(const QString&)> reporter);

private:
    explicit SettingsStore(std::unique_ptr<QSettings> settings);
    void report(const QString& problem);

    std::unique_ptr<QSettings> m_settings;
    std::function<void(const QString&)> m_reporter;
    QStringList m_pendingProblems;
    bool m_saveProblemTold = false;
};

} // namespace qormin::platform
