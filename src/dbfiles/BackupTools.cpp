#include "dbfiles/BackupTools.h"

#include "db/NameGuard.h"
#include "db/ServerAccess.h"
#include "dbfiles/AllDatabasesPass.h"
#include "dbfiles/BackupStatements.h"
#include "dbfiles/ProgressWatch.h"
#include "dbfiles/RunLogRecorder.h"
#include "window/MainWindowContext.h"

#include <QCheckBox>
#include <QLineEdit>
#include <QVariant>

namespace qormin::dbfiles {

BackupTools::BackupTools(window::MainWindowContext& context, ProgressWatch& watch,
                         std::function<bool()> withChecksum)
    : m_context(context), m_watch(watch), m_withChecksum(std::move(withChecksum)) {}

void BackupTools::cmdBackup_Click(int index) {
    forEachDatabase(m_context, index, StopBox::Ignored, [this, index] {
        const QString folder = m_context.txtBackupDrive()->text();
        const bool logOnly = m_context.chkLogOnly()->isChecked();
        if (!admitted(Position::Unbracketed, {database()}) || !admitted(Position::Quoted, {folder}))
            return;
        {
            RunLogRecorder record(m_context, QStringLiteral("backup"), database());
            const QStringList statements =
                BackupStatements::backupDatabase(database(), folder, logOnly, m_withChecksum());
            const QStringList files = BackupStatements::backupFiles(database(), folder, logOnly);
            for (qsizetype step = 0; step < statements.size(); ++step)
                record.add(files.at(step), m_watch.execute(index, statements.at(step),
                                                           QStringLiteral("Backup ") + database()));
        }
        // The new files should show in the backup-folder lists at once.
        m_context.Timer1_Timer();
    });
}

void BackupTools::cmdVerify_Click(int index) {
    forEachDatabase(m_context, index, StopBox::Ignored, [this, index] {
        const QString folder = m_context.txtBackupDrive()->text();
        const bool logOnly = m_context.chkLogOnly()->isChecked();
        if (!admitted(Position::Quoted, {database(), folder}))
            return;
        RunLogRecorder record(m_context, QStringLiteral("verify"), database());
        for (const QString& file : BackupStatements::backupFiles(database(), folder, logOnly))
            record.add(file, m_watch.execute(index, BackupStatements::verifyOnly(file),
                                             QStringLiteral("Verify ") + database()));
    });
}

void BackupTools::cmdFullRecovery_Click(int index) {
    forEachDatabase(m_context, index, StopBox::Ignored, [this, index] {
        if (admitted(Position::Unbracketed, {database()}))
            execute(index, BackupStatements::fullRecovery(database()));
    });
}

void BackupTools::cmdMakeSimple_Click() {
    constexpr int rightSide = 1;
    forEachDatabase(m_context, rightSide, StopBox::EndsPass, [this] {
        if (admitted(Position::Unbracketed, {database()}))
            execute(rightSide, BackupStatements::simpleRecovery(database()));
    });
}

void BackupTools::Command1_Click() {
    if (admitted(Position::Unbracketed, {database()}))
        openOnLeft(BackupStatements::singleUser(database()));
}

void BackupTools::Command2_Click() {
    if (admitted(Position::Unbracketed, {database()}))
        openOnLeft(BackupStatements::multiUser(database()));
}

void BackupTools::execute(int side, const QString& sql) {
    m_context.serverAccess().ExecuteSQL(side, sql);
}

void BackupTools::openOnLeft(const QString& sql) {
    // The statement's outcome is not shown anywhere; the record set only carries it.
    QString result;
    m_context.serverAccess().OpenRecordset(0, sql, QVariant(), result);
}

bool BackupTools::admitted(Position position, std::initializer_list<QString> names) {
    return db::NameGuard::admit(m_context.serverAccess(), position, names);
}

QString BackupTools::database() const {
    return m_context.txtDB()->text();
}

} // namespace qormin::dbfiles
