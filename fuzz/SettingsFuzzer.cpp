// The settings store: a file of any bytes opens (set aside when it does not read as settings),
// every value in it reads as text whatever its shape, and a value saved into such a store reads
// back unchanged from the file.
#include "FuzzInput.h"

#include "app/SettingsTable.h"
#include "platform/SettingsStore.h"

#include <QFile>
#include <QSettings>
#include <QTemporaryDir>

using qormin::platform::SettingsStore;

namespace {

void writeFile(const QString& path, const std::uint8_t* data, std::size_t size) {
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly))
        std::abort();
    file.write(reinterpret_cast<const char*>(data), static_cast<qint64>(size));
}

// Reads every key the file holds through the store, and the addresses the window reads.
void readEverything(const SettingsStore& store, const QString& path) {
    QSettings raw(path, QSettings::IniFormat);
    for (const QString& key : raw.allKeys()) {
        const qsizetype slash = key.indexOf(u'/');
        store.getSetting(slash < 0 ? QStringLiteral("General") : key.left(slash), key.mid(slash + 1));
    }
    for (const char* control : {"txtPW", "txtServer", "txtUserID", "txtRestoreTO", "txtBackupDrive"}) {
        const qormin::app::SettingAddress address =
            qormin::app::startupAddress(QString::fromLatin1(control), 1);
        store.getSetting(address.section, address.key,
                         qormin::app::startupDefault(QString::fromLatin1(control)));
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using qormin::fuzz::require;
    // A folder per input: a file set aside lands next to it and goes with it.
    QTemporaryDir folder;
    require(folder.isValid(), "a temporary folder");
    const QString path = folder.filePath(QStringLiteral("settings.ini"));
    writeFile(path, data, size);

    const QString value =
        QString::fromUtf8(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
    {
        const auto store = SettingsStore::openFile(path);
        readEverything(*store, path);
        store->saveSetting(QStringLiteral("MIR"), QStringLiteral("DB1"), value);
        require(store->getSetting(QStringLiteral("MIR"), QStringLiteral("DB1")) == value,
                "a saved value reads back");
    }
    // A copy under a new name is read from its bytes, not from what the first store remembers.
    const QString copy = folder.filePath(QStringLiteral("copy.ini"));
    require(QFile::copy(path, copy), "the saved file can be copied");
    const auto reopened = SettingsStore::openFile(copy);
    require(reopened->getSetting(QStringLiteral("MIR"), QStringLiteral("DB1")) == value,
            "a saved value reads back from the file");
    return 0;
}
