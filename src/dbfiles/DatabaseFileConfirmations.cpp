#include "dbfiles/DatabaseFileConfirmations.h"

#include "controls/FileListBox.h"
#include "controls/FlexGrid.h"
#include "dbfiles/BackupFileNames.h"
#include "window/DestructiveConfirmation.h"
#include "window/MainWindowContext.h"

#include <QCheckBox>
#include <QLineEdit>

namespace qormin::dbfiles {

namespace {

constexpr int leftSide = 0;
constexpr int rightSide = 1;

QStringList databasesOf(const controls::FileListBox& files) {
    QStringList databases;
    for (int file = 0; file < files.ListCount(); ++file)
        databases.append(BackupFileNames::databaseNameFromFile(files.List(file)));
    return databases;
}

} // namespace

bool DatabaseFileConfirmations::drop(int side) {
    // The left button is inert: nothing to ask about.
    return side == leftSide || confirm(QStringLiteral("DropDB"), side, {m_context.txtDB()->text()});
}

bool DatabaseFileConfirmations::dropAll(int side) {
    return confirm(QStringLiteral("Drop ALL"), side, listed(side));
}

bool DatabaseFileConfirmations::detachAll() {
    return confirm(QStringLiteral("Detach All"), rightSide, databasesOrTxtDB(rightSide));
}

bool DatabaseFileConfirmations::restore(int side) {
    QStringList databases{m_context.txtDB()->text()};
    if (m_context.chkALL()->isChecked()) {
        const bool logOnly = m_context.chkLogOnly()->isChecked();
        databases = databasesOf(*m_context.FileB());
        databases.removeIf(
            [logOnly](const QString& name) { return BackupFileNames::skippedInAllFilesPass(name, logOnly); });
    }
    const QStringList existing = listedOn(side, databases);
    return existing.isEmpty() || confirm(QStringLiteral("Restore over existing databases"), side, existing);
}

bool DatabaseFileConfirmations::restoreAllToMain(controls::FileListBox& files) {
    const QStringList databases = databasesOf(files);
    return databases.isEmpty() ||
           confirm(QStringLiteral("Restore ALL to Main (WITH REPLACE)"), leftSide, databases);
}

bool DatabaseFileConfirmations::restoreClickedToMain() {
    const controls::FileListBox& files = *m_context.File1();
    if (files.ListIndex() < 0)
        return true;
    return confirm(QStringLiteral("Restore to Main (WITH REPLACE)"), leftSide,
                   {BackupFileNames::databaseNameFromFile(files.List(files.ListIndex()))});
}

// Mirror All restores the left server's databases on the right one, over any listed there.
bool DatabaseFileConfirmations::mirrorAll() {
    const QStringList existing = listedOn(rightSide, databasesOrTxtDB(leftSide));
    return existing.isEmpty() ||
           confirm(QStringLiteral("Mirror All (restore over existing databases)"), rightSide, existing);
}

// Row 0 is the grid's header row: the passes walk it, but it is no database.
QStringList DatabaseFileConfirmations::listed(int side) const {
    const controls::FlexGrid& grid = *m_context.GridDB(side);
    QStringList databases;
    for (int row = 1; row < grid.Rows(); ++row)
        databases.append(grid.TextMatrix(row, 0));
    return databases;
}

QStringList DatabaseFileConfirmations::listedOn(int side, const QStringList& databases) const {
    const QStringList there = listed(side);
    QStringList existing;
    for (const QString& database : databases) {
        if (there.contains(database, Qt::CaseInsensitive) &&
            !existing.contains(database, Qt::CaseInsensitive))
            existing.append(database);
    }
    return existing;
}

QStringList DatabaseFileConfirmations::databasesOrTxtDB(int side) const {
    return m_context.chkALL()->isChecked() ? listed(side) : QStringList{m_context.txtDB()->text()};
}

bool DatabaseFileConfirmations::confirm(const QString& action, int side, const QStringList& databases) {
    return m_context.confirmations().confirm({action, side, databases});
}

} // namespace qormin::dbfiles
