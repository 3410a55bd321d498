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
    DrillRun run;
    run.side = side;
    run.database = m_context.txtDB()->text();
    run.scratch = DrillStatements::scratchName(run.database);
    const QString folder = m_context.txtBackupDrive()->text();
    const QString logDrive = m_context.txtLogDrive(side)->text();
    QString upperCased = run.database;
    const QString drive = m_restore.GetRestoreDrive(upperCased, side);
    // The database names stand bare in RESTORE, DBCC CHECKDB and DROP; the folders in quotes.
    if (!db::NameGuard::admit(access, db::NameGuard::Position::Unbracketed, {run.database, run.scratch}) ||
        !db::NameGuard::admit(access, db::NameGuard::Position::Quoted,
                              {folder, drillFolder(side), drive, logDrive}) ||
        !scratchIsFree(run))
        return;
    run.fullFile = folder + run.database + QStringLiteral(".bak");
    run.logFile = logBackupOf(run, folder);
    m_restore.cmdRestoreFileList_Click(side);
    RunLogRecorder record(m_context, QStringLiteral("drill"), run.database);
    if (m_restore.RestoreFiles().isEmpty()) {
        fail(run, QStringLiteral("the file list"), QStringLiteral("no files read from ") + run.fullFile,
             record);
        return;
    }
    run.moves = DrillStatements::moveClauses(m_restore.RestoreFiles(), drillFolder(side), drive, logDrive);
    const std::optional<DrillFigures> figures = restoreCheckAndCount(run, record);
    // A restore refused half-way may or may not have left the scratch database behind.
    const bool dropped =
        run.created ? dropScratch(run) : !scratchExists(side, run.scratch) || dropScratch(run);
    if (!figures) {
        fail(run, run.failedStep, run.error, record);
        return;
    }
    if (!dropped) {
        fail(run, QStringLiteral("DROP DATABASE"), access.lastError(), record);
        return;
    }
    access.LogMessage(access.scriptOnly()
                          ? linePrefix(run) + QStringLiteral("script only, the statements were collected")
                          : DrillStatements::cleanLine(run.database, sideName(side), run.seconds, *figures));
}

// The one promise a drill rests on: whatever it restores, checks and drops is not the original.
bool RestoreDrill::scratchIsFree(const DrillRun& run) {
    db::ServerAccess& access = m_context.serverAccess();
    if (run.scratch.compare(run.database, Qt::CaseInsensitive) == 0) {
        access.LogMessage(linePrefix(run) +
                          QStringLiteral("skipped, the scratch name is the database's own"));
        return false;
    }
    if (scratchExists(run.side, run.scratch)) {
        access.LogMessage(linePrefix(run) + QStringLiteral("skipped, a database %1 exists").arg(run.scratch));
        return false;
    }
    return true;
}

QString RestoreDrill::logBackupOf(const DrillRun& run, const QString& folder) {
    const QString name = run.database + QStringLiteral("_log.bak");
    const Presence log = backupFilePresence(m_context.fileSystem(), folder, name);
    if (log == Presence::Unknown)
        m_context.serverAccess().LogMessage(
            linePrefix(run) +
            QStringLiteral("%1 could not be listed here; the full backup is restored alone").arg(folder));
    return log == Presence::Present ? folder + name : QString();
}

std::optional<DrillFigures> RestoreDrill::restoreCheckAndCount(DrillRun& run, RunLogRecorder& record) {
    db::ServerAccess& access = m_context.serverAccess();
    const QString label = QStringLiteral("Drill ") + run.database;
    QElapsedTimer clock;
    clock.start();
    const bool logFollows = !run.logFile.isEmpty();
    const bool restored = m_watch.execute(
        run.side, DrillStatements::restoreDatabase(run.scratch, run.fullFile, run.moves, logFollows), label);
    record.add(run.fullFile, restored);
    if (!restored)
        return run.failed(QStringLiteral("RESTORE DATABASE"), access.lastError());
    run.created = true;
    if (logFollows) {
        const bool logRestored =
            m_watch.execute(run.side, DrillStatements::restoreLog(run.scratch, run.logFile), label);
        record.add(run.logFile, logRestored);
        if (!logRestored)
            return run.failed(QStringLiteral("RESTORE LOG"), access.lastError());
    }
    run.seconds = static_cast<double>(clock.elapsed()) / 1000.0;
    if (!access.ExecuteSQL(run.side, DrillStatements::checkDatabase(run.scratch)))
        return run.failed(QStringLiteral("DBCC CHECKDB"), access.lastError());
    // Nothing was restored to count.
    if (access.scriptOnly())
        return DrillFigures{};
    const QString query = DrillStatements::figuresQuery(run.scratch);
    QString result;
    if (!access.OpenRecordset(run.side, query, QVariant(), result))
        return run.failed(QStringLiteral("counting rows"), withoutStatement(result, query));
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

bool RestoreDrill::dropScratch(const DrillRun& run) {
    return m_context.serverAccess().ExecuteSQL(run.side, DrillStatements::dropDatabase(run.scratch));
}

void RestoreDrill::fail(const DrillRun& run, const QString& step, const QString& error,
                        RunLogRecorder& record) {
    m_context.serverAccess().LogMessage(
        DrillStatements::failedLine(run.database, sideName(run.side), step, error));
    record.fail(error);
}

QString RestoreDrill::linePrefix(const DrillRun& run) {
    return QStringLiteral("Drill %1 (%2): ").arg(run.database, sideName(run.side));
}

QString RestoreDrill::drillFolder(int side) const {
    const QLineEdit* box = m_drillFolder.at(static_cast<size_t>(side));
    return box != nullptr ? box->text().trimmed() : QString();
}

} // namespace qormin::dbfiles
