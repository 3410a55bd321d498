#include "dbfiles/RestoreTools.h"

#include "controls/FileListBox.h"
#include "db/EventLoopYield.h"
#include "db/NameGuard.h"
#include "db/Recordset.h"
#include "db/ServerAccess.h"
#include "dbfiles/BackupFileNames.h"
#include "dbfiles/BackupStatements.h"
#include "dbfiles/ProgressWatch.h"
#include "dbfiles/RestoreDrive.h"
#include "dbfiles/RestoreStatements.h"
#include "dbfiles/RunLogRecorder.h"
#include "window/MainWindowContext.h"

#include <QCheckBox>
#include <QLineEdit>
#include <QStringList>
#include <QVariant>

namespace qormin::dbfiles {

namespace {
constexpr int leftSide = 0;
const QString restoreOperation = QStringLiteral("restore");

QString backupFile(const QString& folder, const QString& database, const char* suffix) {
    return folder + database + QLatin1String(suffix);
}
} // namespace

RestoreTools::RestoreTools(window::MainWindowContext& context, ProgressWatch& watch)
    : m_context(context), m_watch(watch) {}

void RestoreTools::cmdRestoreFileList_Click(int index) {
    readFileList(index);
}

// The names come from the backup file, which may have been made anywhere: a logical or file
// name that would end its quoted place in a MOVE clause stops the restore of that database.
bool RestoreTools::readFileList(int index) {
    const QString database = m_context.txtDB()->text();
    restoreDriveFor(database, index);
    m_restoreFiles.clear();
    if (!admitted(Position::Quoted, {database, m_context.txtBackupDrive()->text()}))
        return false;
    const QString query = RestoreStatements::fileListQuery(m_context.txtBackupDrive()->text(), database);
    db::ServerAccess& access = m_context.serverAccess();
    QString result;
    access.OpenRecordset(index, query, QVariant(), result);
    // A failed query leaves the record set closed, so the list stays empty and the restore
    // goes out without MOVE clauses, for the server to refuse.
    for (db::Recordset& files = access.sharedRecordset(); !files.eof(); files.MoveNext())
        m_restoreFiles.append(
            RestoreFile::fromFileListRow(files.field(0).toString(), files.field(1).toString()));
    for (const RestoreFile& file : std::as_const(m_restoreFiles)) {
        if (!admitted(Position::Quoted, {file.logicalName, file.fileName})) {
            m_restoreFiles.clear();
            return false;
        }
    }
    return true;
}

QString RestoreTools::GetRestoreDrive(QString& databaseName, int side) const {
    QStringList restoreTo;
    for (int box = 0; box < window::MainWindowContext::restoreTargetCount; ++box)
        restoreTo.append(m_context.txtRestoreTO(box)->text());
    return RestoreDrive::GetRestoreDrive(databaseName, side, restoreTo);
}

void RestoreTools::cmdRestore_Click(int index) {
    if (!m_context.chkALL()->isChecked()) {
        restoreDatabase(index);
        return;
    }
    controls::FileListBox* files = m_context.FileB();
    const int count = files->ListCount();
    for (int file = 0; file < count; ++file) {
        m_context.txtDB()->setText(BackupFileNames::databaseNameFromFile(files->List(file)));
        const bool logOnly = m_context.chkLogOnly()->isChecked();
        if (!BackupFileNames::skippedInAllFilesPass(m_context.txtDB()->text(), logOnly)) {
            restoreDatabase(index);
            if (!m_context.chkALL()->isChecked())
                return;
        }
        yieldToEventLoop();
        if (m_context.stopRequested())
            return;
    }
}

void RestoreTools::restoreDatabase(int index) {
    const QString database = m_context.txtDB()->text();
    const QString folder = m_context.txtBackupDrive()->text();
    if (!admitted(Position::Unbracketed, {database}) ||
        !admitted(Position::Quoted,
                  {folder, restoreDriveFor(database, index), m_context.txtLogDrive(index)->text()}))
        return;
    if (!readFileList(index))
        return;
    const QString moves = RestoreStatements::moveClauses(m_restoreFiles, restoreDriveFor(database, index),
                                                         m_context.txtLogDrive(index)->text());
    {
        RunLogRecorder record(m_context, restoreOperation, database);
        if (!m_context.chkLogOnly()->isChecked()) {
            m_context.serverAccess().LogMessage(
                RestoreStatements::restoreDatabaseArguments(database, folder, moves, index));
            record.add(
                backupFile(folder, database, ".bak"),
                restore(index, RestoreStatements::restoreDatabase(database, folder, moves, index), database));
        }
        record.add(backupFile(folder, database, "_log.bak"),
                   restore(index, RestoreStatements::restoreLog(database, folder, moves, index), database));
    }
    m_context.cmdRefreshDB_Click(index);
}

void RestoreTools::RestoreToMain() {
    const QString folder = RestoreStatements::mainBackupFolder();
    m_context.txtBackupDrive()->setText(folder);
    const QString database = m_context.txtDB()->text();
    if (!admitted(Position::Unbracketed, {database}) ||
        !admitted(Position::Quoted, {restoreDriveFor(database, leftSide)}))
        return;
    if (!readFileList(leftSide))
        return;
    const QString moves = RestoreStatements::moveClauses(m_restoreFiles, restoreDriveFor(database, leftSide));
    {
        RunLogRecorder record(m_context, restoreOperation, database);
        record.add(backupFile(folder, database, ".bak"),
                   restore(leftSide, RestoreStatements::restoreToMain(database, folder, moves), database));
    }
    m_context.cmdRefreshDB_Click(leftSide);
    // Whatever the folder was before, the mirror folder is what the other tools expect next.
    m_context.txtBackupDrive()->setText(BackupStatements::defaultBackupFolder());
}

void RestoreTools::cmdRestoreMain_Click() {
    controls::FileListBox* files = m_context.File1();
    const int count = files->ListCount();
    for (int file = 0; file < count; ++file) {
        m_context.txtDB()->setText(BackupFileNames::databaseNameFromFile(files->List(file)));
        RestoreToMain();
        if (takeStopRequest())
            return;
    }
}

void RestoreTools::File1_DblClick() {
    controls::FileListBox* files = m_context.File1();
    if (files->ListIndex() < 0)
        return;
    m_context.txtDB()->setText(BackupFileNames::databaseNameFromFile(files->List(files->ListIndex())));
    RestoreToMain();
}

void RestoreTools::cmdRestoretoMain_Click() {
    m_context.txtBackupDrive()->setText(m_context.txtRestoreDir()->text());
    controls::FileListBox* files = m_context.File2();
    const int count = files->ListCount();
    for (int file = 0; file < count; ++file) {
        m_context.txtDB()->setText(BackupFileNames::databaseNameFromFile(files->List(file)));
        const QString database = m_context.txtDB()->text();
        if (!admitted(Position::Unbracketed, {database}) ||
            !admitted(Position::Quoted,
                      {m_context.txtBackupDrive()->text(), restoreDriveFor(database, leftSide),
                       m_context.txtLogDrive(leftSide)->text()})) {
            continue;
        }
        if (!readFileList(leftSide))
            continue;
        const QString moves = RestoreStatements::moveClauses(
            m_restoreFiles, restoreDriveFor(database, leftSide), m_context.txtLogDrive(leftSide)->text());
        {
            const QString folder = m_context.txtBackupDrive()->text();
            RunLogRecorder record(m_context, restoreOperation, database);
            record.add(
                backupFile(folder, database, ".bak"),
                restore(leftSide, RestoreStatements::restoreToMain(database, folder, moves), database));
        }
        if (takeStopRequest())
            return;
    }
}

QString RestoreTools::restoreDriveFor(const QString& database, int side) const {
    QString upperCased = database;
    return GetRestoreDrive(upperCased, side);
}

bool RestoreTools::restore(int side, const QString& sql, const QString& database) {
    return m_watch.execute(side, sql, QStringLiteral("Restore ") + database);
}

bool RestoreTools::admitted(Position position, std::initializer_list<QString> names) {
    return db::NameGuard::admit(m_context.serverAccess(), position, names);
}

void RestoreTools::yieldToEventLoop() const {
    db::EventLoopYield::processEvents();
}

bool RestoreTools::takeStopRequest() {
    if (!m_context.stopRequested())
        return false;
    m_context.chkStop()->setChecked(false);
    return true;
}

} // namespace qormin::dbfiles
