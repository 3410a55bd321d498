#include "platform/SettingsStore.h"

#include "platform/SecretStore.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSettings>
#include <QStandardPaths>

#include <algorithm>

namespace qormin::platform {

namespace {

const QString applicationName = QStringLiteral("QORMIN DB Tools");

// The file holds passwords: it and a folder we create are made private before the first value
// is written. Later saves keep the mode, since Qt's atomic rewrite copies the old permissions.
void preparePrivateFile(const QString& path) {
    const QFileInfo info(path);
    const QDir folder = info.absoluteDir();
    if (!folder.exists()) {
        QDir().mkpath(folder.absolutePath());
        QFile::setPermissions(folder.absolutePath(),
                              QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);
    }
    if (!info.exists()) {
        QFile file(path);
        if (!file.open(QIODevice::WriteOnly))
            return;
    }
    QFile::setPermissions(path, QFileDevice::ReadOwner | QFileDevice::WriteOwner);
}

QString qualifiedKey(const QString& section, const QString& key) {
    return section + u'/' + key;
}

} // namespace

SettingsStore::SettingsStore(std::unique_ptr<QSettings> settings) : m_settings(std::move(settings)) {}

// Writes still on their way when the program ends get the store's time limit; what it did not
// take stays in the file, and the next run moves it.
SettingsStore::~SettingsStore() {
    if (m_secretsInUse && !m_secrets->flush())
        writeChangedSecretsToFile();
}

std::unique_ptr<SettingsStore> SettingsStore::openDefault() {
#ifdef Q_OS_WIN
    auto settings = std::make_unique<QSettings>(
        QStringLiteral("HKEY_CURRENT_USER\\Software\\") + applicationName, QSettings::NativeFormat);
    return std::unique_ptr<SettingsStore>(new SettingsStore(std::move(settings)));
#else
    return openFile(defaultFilePath());
#endif
}

namespace {

bool holdsControlBytes(const QByteArray& bytes) {
    return std::any_of(bytes.cbegin(), bytes.cend(), [](char byte) {
        const auto code = static_cast<unsigned char>(byte);
        return code < 0x20 && byte != '\t' && byte != '\r' && byte != '\n';
    });
}

// A line QSettings takes: blank, a comment, a [section] or key=value. It reads much garbage
// without complaint, drops every other line and only finds out when it writes the file back,
// by which time what it dropped is gone; a file it wrote itself never has such a line.
bool onlySettingsLines(const QByteArray& bytes) {
    const QList<QByteArray> lines = bytes.split('\n');
    return std::all_of(lines.cbegin(), lines.cend(), [](const QByteArray& line) {
        const QByteArray trimmed = line.trimmed();
        return trimmed.isEmpty() || trimmed.startsWith(';') || trimmed.startsWith('#') ||
               trimmed.startsWith('[') || trimmed.contains('=');
    });
}

bool unreadable(const QString& path, const QSettings& settings) {
    if (settings.status() == QSettings::FormatError)
        return true;
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return false;
    const QByteArray bytes = file.readAll();
    return holdsControlBytes(bytes) || !onlySettingsLines(bytes);
}

} // namespace

// A file that does not read as settings is set aside under a new name, never written over: the
// operator can still recover what it held. Where it cannot be moved, nothing is written to it.
std::unique_ptr<SettingsStore> SettingsStore::openFile(const QString& path) {
    preparePrivateFile(path);
    auto settings = std::make_unique<QSettings>(path, QSettings::IniFormat);
    QString problem;
    bool writable = true;
    if (unreadable(path, *settings)) {
        settings.reset();
        const QString aside = path + QStringLiteral(".unreadable-") +
                              QDateTime::currentDateTime().toString(QStringLiteral("yyyyMMdd-hhmmss"));
        const bool moved = QFile::rename(path, aside);
        problem = moved ? QStringLiteral("The settings file %1 could not be read; it was kept as %2 and the "
                                         "defaults are used.")
                              .arg(path, aside)
                        : QStringLiteral("The settings file %1 could not be read and could not be set aside; "
                                         "the defaults are used and changes are not saved.")
                              .arg(path);
        writable = moved;
        if (moved)
            preparePrivateFile(path);
        settings = std::make_unique<QSettings>(moved ? path : QString(), QSettings::IniFormat);
    } else if (settings->status() == QSettings::AccessError) {
        problem = QStringLiteral("The settings file %1 could not be read; the defaults are used.").arg(path);
    }
    auto store = std::unique_ptr<SettingsStore>(new SettingsStore(std::move(settings)));
    store->m_writable = writable;
    store->m_path = path;
    if (!problem.isEmpty())
        store->report(problem);
    return store;
}

QString SettingsStore::defaultFilePath() {
    return QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation) + u'/' + applicationName +
           QStringLiteral("/settings.ini");
}

QString SettingsStore::getSetting(const QString& section, const QString& key,
                                  const QString& defaultValue) const {
    const QString address = qualifiedKey(section, key);
    if (m_secretKeys.contains(address) && (m_secretsInUse || !m_settings->contains(address)))
        return m_secretValues.value(address, defaultValue);
    if (m_unsaved.contains(address))
        return m_unsaved.value(address);
    const QVariant value = m_settings->value(address);
    if (!value.isValid())
        return defaultValue;
    // A hand-edited INI value with an unquoted comma reads back as a list.
    if (value.typeId() == QMetaType::QStringList)
        return value.toStringList().join(QStringLiteral(", "));
    return value.toString();
}

void SettingsStore::saveSetting(const QString& section, const QString& key, const QString& value) {
    const QString address = qualifiedKey(section, key);
    if (m_secretsInUse && m_secretKeys.contains(address)) {
        // Start-up writes back every value it has just read, and an empty one it did not find;
        // the store needs none of those.
        const bool unchanged = m_secretValues.value(address) == value;
        m_secretValues.insert(address, value);
        if (unchanged)
            return;
        m_changedSecrets.insert(address);
        m_secrets->writeLater(address, value);
        return;
    }
    writeFile(address, value);
}

void SettingsStore::writeFile(const QString& qualifiedKey, const QString& value) {
    if (!m_writable) {
        m_unsaved.insert(qualifiedKey, value);
        return;
    }
    m_settings->setValue(qualifiedKey, value);
    m_settings->sync();
    if (m_settings->status() == QSettings::NoError || m_saveProblemTold)
        return;
    m_saveProblemTold = true;
    report(QStringLiteral("Settings cannot be saved to %1; changes are kept only until the program ends.")
               .arg(location()));
}

void SettingsStore::keepSecretsIn(std::unique_ptr<SecretStore> secrets, const QStringList& keys) {
    const SecretStore::Loaded loaded = secrets->load(keys);
    m_secretKeys = QSet<QString>(keys.cbegin(), keys.cend());
    if (!loaded.reachable) {
        keepSecretsInFile(loaded.problem);
        return;
    }
    m_secrets = std::move(secrets);
    m_secretsInUse = true;
    m_secretValues = loaded.values;
    for (const QString& key : keys) {
        if (!moveIntoSecretStore(key))
            return;
    }
    m_secrets->setFailureHandler([this](const QString& problem) { keepSecretsInFile(problem); });
}

// The file's value wins over the store's: it was written last, by an older version or by a
// run that could not reach the store.
bool SettingsStore::moveIntoSecretStore(const QString& qualifiedKey) {
    const QVariant inFile = m_settings->value(qualifiedKey);
    if (!inFile.isValid())
        return true;
    QString problem;
    if (!m_secrets->writeNow(qualifiedKey, inFile.toString(), problem)) {
        keepSecretsInFile(problem);
        return false;
    }
    m_secretValues.insert(qualifiedKey, inFile.toString());
    m_settings->remove(qualifiedKey);
    m_settings->sync();
    return true;
}

void SettingsStore::keepSecretsInFile(const QString& problem) {
    writeChangedSecretsToFile();
    // The store stays alive: this may run inside its own answer to a write.
    m_secretsInUse = false;
    tell(m_notices, QStringLiteral("Passwords are kept in the settings file %1 (readable by this user only): "
                                   "the credential store cannot be used (%2).")
                        .arg(location(), problem));
}

// Only what was typed in this run: a password the store still holds from before is not copied
// into the file, and stays readable for the rest of the run from memory.
void SettingsStore::writeChangedSecretsToFile() {
    for (const QString& key : std::as_const(m_changedSecrets))
        writeFile(key, m_secretValues.value(key));
}

void SettingsStore::setProblemReporter(std::function<void(const QString&)> reporter) {
    setReporter(m_problems, std::move(reporter));
}

void SettingsStore::setNoticeReporter(std::function<void(const QString&)> reporter) {
    setReporter(m_notices, std::move(reporter));
}

void SettingsStore::setReporter(Channel& channel, std::function<void(const QString&)> reporter) {
    channel.reporter = std::move(reporter);
    const QStringList pending = std::exchange(channel.pending, {});
    for (const QString& text : pending)
        tell(channel, text);
}

void SettingsStore::tell(Channel& channel, const QString& text) {
    if (channel.reporter)
        channel.reporter(text);
    else
        channel.pending.append(text);
}

void SettingsStore::report(const QString& problem) {
    tell(m_problems, problem);
}

QString SettingsStore::location() const {
    return m_path.isEmpty() ? m_settings->fileName() : m_path;
}

} // namespace qormin::platform
