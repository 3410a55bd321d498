#pragma once

#include <QHash>
#include <QSet>
#include <QString>
#include <QStringList>
#include <functional>
#include <memory>

class QSettings;

namespace qormin::platform {

class SecretStore;

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

    // From here on the given keys ("section/key") live in the secret store instead of the file.
    // A value still in the file (an older version, or a run that could not reach the store) is
    // moved there and erased from the file. Where the store cannot be reached, or refuses a
    // write later, the file keeps the values saved from then on (and those changed before and
    // perhaps not stored) for the rest of the run, and a notice says so once.
    void keepSecretsIn(std::unique_ptr<SecretStore> secrets, const QStringList& keys);

    // What went wrong with the store, in words for the operator: a file that could not be read
    // (set aside, defaults used) or values that could not be saved. Problems found before a
    // reporter is set wait for it; each kind is told once.
    void setProblemReporter(std::function<void(const QString&)> reporter);
    // Where the secrets are kept, when that is worth knowing; waits for a reporter the same way.
    void setNoticeReporter(std::function<void(const QString&)> reporter);

private:
    struct Channel {
        std::function<void(const QString&)> reporter;
        QStringList pending;
    };

    explicit SettingsStore(std::unique_ptr<QSettings> settings);
    static void setReporter(Channel& channel, std::function<void(const QString&)> reporter);
    static void tell(Channel& channel, const QString& text);
    void report(const QString& problem);
    void writeFile(const QString& qualifiedKey, const QString& value);
    bool moveIntoSecretStore(const QString& qualifiedKey);
    void keepSecretsInFile(const QString& problem);
    void writeChangedSecretsToFile();

    std::unique_ptr<QSettings> m_settings;
    QString m_path;                    // the file's own path, also when it could not be used
    bool m_writable = true;            // false: an unreadable file that could not be set aside
    QHash<QString, QString> m_unsaved; // saved in a run that must not write the file
    Channel m_problems;
    Channel m_notices;
    bool m_saveProblemTold = false;
    std::unique_ptr<SecretStore> m_secrets;
    bool m_secretsInUse = false; // else the file holds every value
    QSet<QString> m_secretKeys;
    QHash<QString, QString> m_secretValues; // as the store gave them, and as changed since
    QSet<QString> m_changedSecrets;
};

} // namespace qormin::platform
