#include "app/SettingsTable.h"

#include <array>

namespace qormin::app {

namespace {

struct Row {
    const char* control;
    const char* section;
    const char* keyPrefix; // the index follows as a decimal digit
    const char* startupSection;
    const char* defaultValue;
    int passwordCount = 0; // the indexes 0 .. passwordCount - 1 hold passwords
};

// One row per persisted control; startupSection is null when start-up does not read it.
constexpr std::array rows{
    Row{"txtPW", "MIR", "DB", "MIR", "", 2},
    Row{"txtServer", "MIR", "txtServer", "MIR", ""},
    Row{"txtServerPW", "MAIN", "txtServerPW", "MAIN", "", 2},
    Row{"txtServerUser", "MAIN", "txtServerUser", "MAIN", "administrator"},
    Row{"txtLogDrive", "MAIN", "txtLogDrive", "MAIN", ""},
    Row{"txtPath", "MIR", "txtPath", "MAIN", ""},
    Row{"txtUserID", "MAIN", "txtUserID", "MAIN", "sa"},
    Row{"txtRestoreTO", "txtRestoreTO", "DB", "txtRestoreTO", ""},
    Row{"txtBackupDrive", "MAIN", "txtBackupDrive", "MAIN", "p:\\backup\\MIR\\"},
    Row{"txtLastNames", "MAIN", "txtLastNames", nullptr, ""},
    Row{"txtFirstnames", "MAIN", "txtFirstnames", nullptr, ""},
    Row{"txtAnonymize", "MAIN", "txtAnonymize", nullptr, ""},
    Row{"txtAnonymizeField", "MAIN", "txtAnonymizeField", nullptr, ""},
};

const Row* find(const QString& control) {
    for (const Row& row : rows) {
        if (control == QLatin1String(row.control))
            return &row;
    }
    return nullptr;
}

QString key(const Row& row, int index) {
    QString text = QString::fromLatin1(row.keyPrefix);
    if (index >= 0)
        text += QString::number(index);
    return text;
}

} // namespace

SettingAddress changeHandlerAddress(const QString& control, int index) {
    const Row* row = find(control);
    if (row == nullptr)
        return {};
    return {QString::fromLatin1(row->section), key(*row, index)};
}

SettingAddress startupAddress(const QString& control, int index) {
    const Row* row = find(control);
    if (row == nullptr || row->startupSection == nullptr)
        return {};
    return {QString::fromLatin1(row->startupSection), key(*row, index)};
}

QString startupDefault(const QString& control) {
    const Row* row = find(control);
    return row == nullptr ? QString() : QString::fromLatin1(row->defaultValue);
}

QStringList passwordAddresses() {
    QStringList addresses;
    for (const Row& row : rows) {
        for (int index = 0; index < row.passwordCount; ++index) {
            for (const SettingAddress& address : {changeHandlerAddress(QLatin1String(row.control), index),
                                                  startupAddress(QLatin1String(row.control), index)}) {
                const QString text = address.section + u'/' + address.key;
                if (!addresses.contains(text))
                    addresses.append(text);
            }
        }
    }
    return addresses;
}

} // namespace qormin::app
