#include "platform/SettingsStore.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSettings>
#include <QStandardPaths>

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

SettingsStore::~SettingsStore() = default;

std::unique_ptr<SettingsStore> SettingsStore::openDefault() {
#ifdef Q_OS_WIN
    auto settings = std::make_unique<QSettings>(
        QStringLiteral("HKEY_CURRENT_USER\\Software\\") + applicationName, QSettings::NativeFormat);
    return std::unique_ptr<SettingsStore>(new SettingsStore(std::move(settings)));
#else
    return openFile(defaultFilePath());
#endif
}

// A file that does not read as settings is set aside under a new name, never written over: the
// operator can still recover what it held.
std::unique_ptr<SettingsStore> SettingsStore::openFile(const QString& path) {
    preparePrivateFile(path);
    auto settings = std::make_unique<QSettings>(path, QSettings::IniFormat);
    QString problem;
    if (settings->status() == QSettings::FormatError) {
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
        if (moved)
            preparePrivateFile(path);
        settings = std::make_unique<QSettings>(path, QSettings::IniFormat);
    } else if (settings->status() == QSettings::AccessError) {
        problem = QStringLiteral("The settings file %1 could not be read; the defaults are used.").arg(path);
    }
    auto store = std::unique_ptr<SettingsStore>(new SettingsStore(std::move(settings)));
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
    const QVariant value = m_settings->value(qualifiedKey(section, key));
    if (!value.isValid())
        return defaultValue;
    // A hand-edited INI value with an unquoted comma reads back as a list.
    if (value.typeId() == QMetaType::QStringList)
        return value.toStringList().join(QStringLiteral(", "));
    return value.toString();
}

void SettingsStore::saveSetting(const QString& section, const QString& key, const QString& value) {
    m_settings->setValue(qualifiedKey(section, key), value);
    m_settings->sync();
    if (m_settings->status() == QSettings::NoError || m_saveProblemTold)
        return;
    m_saveProblemTold = true;
    report(QStringLiteral("Settings cannot be saved to %1; changes are kept only until the program ends.")
               .arg(location()));
}

void SettingsStore::setProblemReporter(std::function<void(const QString&)> reporter) {
    m_reporter = std::move(reporter);
    const QStringList pending = std::exchange(m_pendingProblems, {});
    for (const QString& problem : pending)
        report(problem);
}

void SettingsStore::report(const QString& problem) {
    if (m_reporter)
        m_reporter(problem);
    else
        m_pendingProblems.append(problem);
}

QString SettingsStore::location() const {
    return m_settings->fileName();
}

} // namespace qormin::platform
