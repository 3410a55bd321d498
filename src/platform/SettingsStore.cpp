#include "platform/SettingsStore.h"

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

std::unique_ptr<SettingsStore> SettingsStore::openFile(const QString& path) {
    preparePrivateFile(path);
    auto settings = std::make_unique<QSettings>(path, QSettings::IniFormat);
    return std::unique_ptr<SettingsStore>(new SettingsStore(std::move(settings)));
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
}

QString SettingsStore::location() const {
    return m_settings->fileName();
}

} // namespace qormin::platform
