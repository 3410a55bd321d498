#include "dbfiles/BackupTools.h"

#include "db/NameGuard.h"
#include "db/ServerAccess.h"
#include "dbfiles/AllDatabasesPass.h"
#include "dbfiles/BackupStatements.h"
#include "window/MainWindowContext.h"

#include <QCheckBox>
#include <QLineEdit>
#include <QVariant>

namespace qormin::dbfiles {

BackupTools::BackupTools(window::MainWindowContext& context) : m_context(context) {}

void BackupTools::cmdBackup_Click(int index) {
    forEachDatabase(m_context, index, StopBox::Ignored, [this, index] {
        const QString folder = m_context.txtBackupDrive()->text();
        const bool logOnly = m_context.chkLogOnly()->isChecked();
        if (!admitted({database(), folder}))
            return;
        for (const QString& sql : BackupStatements::backupDatabase(database(), folder, logOnly))
            execute(index, sql);
        // The new files should show in the backup-folder lists at once.
        m_context.Timer1_Timer();
    });
}

void BackupTools::cmdFullRecovery_Click(int index) {
    forEachDatabase(m_context, index, StopBox::Ignored, [this, index] {
        if (admitted({database()}))
            execute(index, BackupStatements::fullRecovery(database()));
    });
}

void BackupTools::cmdMakeSimple_Click() {
    constexpr int rightSide = 1;
    forEachDatabase(m_context, rightSide, StopBox::EndsPass, [this] {
        if (admitted({database()}))
            execute(rightSide, BackupStatements::simpleRecovery(database()));
    });
}

void BackupTools::Command1_Click() {
    if (admitted({database()}))
        openOnLeft(BackupStatements::singleUser(database()));
}

void BackupTools::Command2_Click() {
    if (admitted({database()}))
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

bool BackupTools::admitted(std::initializer_list<QString> names) {
    return db::NameGuard::admit(m_context.serverAccess(), names);
}

QString BackupTools::database() const {
    return m_context.txtDB()->text();
}

} // namespace qormin::dbfiles
