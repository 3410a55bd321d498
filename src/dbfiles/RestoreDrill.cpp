#include "dbfiles/RestoreDrill.h"

#include "db/NameGuard.h"
#include "db/Recordset.h"
#include "db/ServerAccess.h"
#include "dbfiles/AllDatabasesPass.h"
#include "dbfiles/BackupFilePresence.h"
#include "dbfiles/DrillStatements.h"
#include "dbfiles/ProgressWatch.h"
#include "dbfiles/RestoreTools.h"
#include "dbfiles/RunLogRecorder.h"
#include "window/MainWindowContext.h"

#include <QElapsedTimer>
#include <QLineEdit>
#include <QVariant>
#include <optional>

namespace qormin::dbfiles {

namespace {

QString sideName(int side) {
    return side == 0 ? QStringLiteral("left") : QStringLiteral("right");
}

// OpenRecordset hands back the error followed by the statement; the log line wants the error.
QString withoutStatement(const QString& result, const QString& sql) {
    return result.endsWith(QLatin1Char(' ') + sql) ? result.left(result.size() - sql.size() - 1) : result;
}

} // namespace

RestoreDrill::RestoreDrill(window::MainWindowContext& context, RestoreTools& restore, ProgressWatch& watch)
    : m_context(context), m_restore(restore), m_watch(watch) {}

void RestoreDrill::cmdRestoreDrill_Click(int index) {
    forEachDatabase(m_context, index, StopBox::EndsPass, [this, index] { drill(index); });
}

void RestoreDrill::drill(int side) {
    db::ServerAccess& access = m_context.serverAccess();
    const QString database = m_context.txtDB()->text();
    const QString scratch = DrillStatements::scratchName(database);
    const QString folder = m_context.txtBackupDrive()->text();
    const QString logDrive = m_context.txtLogDrive(side)->text();
    QString upperCased = database;
    const QString drive = m_restore.GetRestoreDrive(upperCased, side);
    if (!db::NameGuard::admit(access, {database, scratch, folder, drillFolder(side), drive, logDrive}))
        return;
    const QString prefix = QStringLiteral("Drill %1 (%2): ").arg(database, sideName(side));
    // The one promise a drill rests on: whatever it restores, checks and drops is not the original.
    if (scratch.compare(database, Qt::CaseInsensitive) == 0) {
        access.LogMessage(prefix + QStringLiteral("skipped, the scratch name is the database's own"));
        return;
    }
    if (scratchExists(side, scratch)) {
        access.LogMessage(prefix + QStringLiteral("skipped, a database %1 exists").arg(scratch));
        return;
    }
    const QString fullFile = folder + database + QStringLiteral(".bak");
    const QString logFile = folder + database + QStringLiteral("_log.bak");
    const Presence log =
        backupFilePresence(m_context.fileSystem(), folder, database + QStringLiteral("_log.bak"));
    if (log == Presence::Unknown)
        access.LogMessage(prefix +
                          QStringLiteral("%1 did not answer; the full backup is restored alone").arg(folder));
    m_restore.cmdRestoreFileList_Click(side);
    RunLogRecorder record(m_context, QStringLiteral("drill"), database);
    if (m_restore.RestoreFiles().isEmpty()) {
        fail(side, database, QStringLiteral("the file list"),
             QStringLiteral("no files read from ") + fullFile, record);
        return;
    }
    const bool logFollows = log == Presence::Present;
    const QString moves =
        DrillStatements::moveClauses(m_restore.RestoreFiles(), drillFolder(side), drive, logDrive);
    const QString label = QStringLiteral("Drill ") + database;
    QElapsedTimer clock;
    clock.start();
    const bool restored =
        m_watch.execute(side, DrillStatements::restoreDatabase(scratch, fullFile, moves, logFollows), label);
    record.add(fullFile, restored);
    if (!restored) {
        fail(side, database, QStringLiteral("RESTORE DATABASE"), access.lastError(), record);
        dropIfCreated(side, scratch, false);
        return;
    }
    if (logFollows) {
        const bool logRestored = m_watch.execute(side, DrillStatements::restoreLog(scratch, logFile), label);
        record.add(logFile, logRestored);
        if (!logRestored) {
            fail(side, database, QStringLiteral("RESTORE LOG"), access.lastError(), record);
            dropIfCreated(side, scratch, true);
            return;
        }
    }
    const double seconds = static_cast<double>(clock.elapsed()) / 1000.0;
    const std::optional<DrillFigures> figures = checkAndCount(side, database, scratch, record);
    const bool dropped = dropIfCreated(side, scratch, true);
    if (!figures)
        return;
    if (!dropped) {
        fail(side, database, QStringLiteral("DROP DATABASE"), access.lastError(), record);
        return;
    }
    access.LogMessage(access.scriptOnly()
                          ? prefix + QStringLiteral("script only, the statements were collected")
                          : DrillStatements::cleanLine(database, sideName(side), seconds, *figures));
}

std::optional<DrillFigures> RestoreDrill::checkAndCount(int side, const QString& database,
                                                        const QString& scratch, RunLogRecorder& record) {
    db::ServerAccess& access = m_context.serverAccess();
    if (!access.ExecuteSQL(side, DrillStatements::checkDatabase(scratch))) {
        fail(side, database, QStringLiteral("DBCC CHECKDB"), access.lastError(), record);
        return std::nullopt;
    }
    // Nothing was restored to count.
    if (access.scriptOnly())
        return DrillFigures{};
    const QString query = DrillStatements::figuresQuery(scratch);
    QString result;
    if (!access.OpenRecordset(side, query, QVariant(), result)) {
        fail(side, database, QStringLiteral("counting rows"), withoutStatement(result, query), record);
        return std::nullopt;
    }
    DrillFigures figures;
    db::Recordset& row = access.sharedRecordset();
    if (!row.eof()) {
        figures.tables = row.field(0).toLongLong();
        figures.rows = row.field(1).toLongLong();
        figures.megabytes = row.field(2).toLongLong();
    }
    return figures;
}

bool RestoreDrill::scratchExists(int side, const QString& scratch) {
    db::ServerAccess& access = m_context.serverAccess();
    QString result;
    if (!access.OpenRecordset(side, DrillStatements::existsQuery(scratch), QVariant(), result))
        return false;
    return !access.sharedRecordset().eof();
}

bool RestoreDrill::dropIfCreated(int side, const QString& scratch, bool surelyCreated) {
    if (!surelyCreated && !scratchExists(side, scratch))
        return true;
    return m_context.serverAccess().ExecuteSQL(side, DrillStatements::dropDatabase(scratch));
}

void RestoreDrill::fail(int side, const QString& database, const QString& step, const QString& error,
                        RunLogRecorder& record) {
    m_context.serverAccess().LogMessage(DrillStatements::failedLine(database, sideName(side), step, error));
    record.fail(error);
}

QString RestoreDrill::drillFolder(int side) const {
    const QLineEdit* box = m_drillFolder.at(static_cast<size_t>(side));
    return box != nullptr ? box->text().trimmed() : QString();
}

} // namespace qormin::dbfiles
