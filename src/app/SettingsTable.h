#pragma once

#include <QString>
#include <QStringList>

namespace qormin::app {

// Where the main window's fields live in the settings store. The addresses keep the
// historical irregularities users' stores already depend on: the SQL password is "MIR"/"DB"+i,
// a path typed into txtPath(i) is written to "MIR" while start-up reads "MAIN", and the restore
// targets use the control name as their section.
struct SettingAddress {
    QString section;
    QString key;
    friend bool operator==(const SettingAddress&, const SettingAddress&) = default;
};

// Where the change handler of control (index -1: no index) writes; empty section when the
// control is not persisted.
SettingAddress changeHandlerAddress(const QString& control, int index = -1);
// Where start-up reads it; empty section when start-up does not read it.
SettingAddress startupAddress(const QString& control, int index = -1);
// What start-up puts into the control when the store holds nothing for it.
QString startupDefault(const QString& control);
// Every address a password is written to or read from, as "section/key": these live in the
// operating system's credential store rather than in the settings file.
QStringList passwordAddresses();

} // namespace qormin::app
