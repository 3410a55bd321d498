#include "dbfiles/AttachTools.h"

#include "controls/FileListBox.h"
#include "controls/FlexGrid.h"
#include "db/EventLoopYield.h"
#include "db/HeaderRowPass.h"
#include "db/NameGuard.h"
#include "db/ServerAccess.h"
#include "dbfiles/AllDatabasesPass.h"
#include "dbfiles/AttachStatements.h"
#include "dbfiles/BackupFileCopier.h"
#include "dbfiles/BackupFileNames.h"
#include "window/MainWindowContext.h"

#include <QCheckBox>
#include <QLineEdit>

namespace qormin::dbfiles {

namespace {

constexpr int rightSide = 1;

} // namespace

AttachTools::AttachTools(window::MainWindowContext& context, BackupFileCopier& copier,
                         std::function<void(int side)> makeOnline)
    : m_context(context), m_copier(copier), m_makeOnline(std::move(makeOnline)) {}

void AttachTools::cmdAttachAll_Click() {
    controls::FileListBox* files = m_context.fileAttach();
    const int count = files->ListCount();
    for (int file = 0; file < count; ++file) {
        m_context.txtDB()->setText(BackupFileNames::databaseNameFromFile(files->List(file)));
        const QString database = m_context.txtDB()->text();
        const QString folder = m_context.txtRestoreDir()->text();
        // No file test: the attempt whose log file exists attaches, the others fail and are logged.
        if (admitted(Position::Quoted, {database, folder})) {
            for (const QString& sql : AttachStatements::attachAttempts(database, folder))
                m_context.serverAccess().ExecuteSQL(rightSide, sql);
        }
        if (m_context.stopRequested()) {
            m_context.chkStop()->setChecked(false);
            return;
        }
    }
}

void AttachTools::cmdDetachAll_Click() {
    forEachDatabase(m_context, rightSide, StopBox::Ignored, [this] {
        const QString database = m_context.txtDB()->text();
        if (!admitted(Position::Quoted, {database}))
            return;
        m_context.serverAccess().ExecuteSQL(rightSide, AttachStatements::detach(database));
        m_context.Timer1_Timer();
    });
}

void AttachTools::cmdDrop_Click(int index) {
    if (index == 0)
        return;
    const QString database = m_context.txtDB()->text();
    if (!admitted(Position::Unbracketed, {database}))
        return;
    m_context.serverAccess().ExecuteSQL(index, AttachStatements::drop(database));
    controls::FlexGrid* grid = m_context.GridDB(rightSide);
    grid->setRow(grid->Rows() > 1 ? 1 : 0);
    m_context.GridDB_Click(rightSide);
    m_context.cmdRefreshDB_Click(index);
}

// The names are taken before the first drop: each drop refreshes the grid, and the pass must
// still reach every database that was listed when the button was pressed.
void AttachTools::cmdDropAll_Click(int index) {
    controls::FlexGrid* grid = m_context.GridDB(index);
    QStringList databases;
    for (int row = 0; row < grid->Rows(); ++row)
        databases.append(grid->TextMatrix(row, 0));
    for (int row = 0; row < databases.size(); ++row) {
        const db::HeaderRowPass headerRow(m_context.serverAccess(), row == 0);
        m_context.txtDB()->setText(databases.at(row));
        if (admitted(Position::Unbracketed, {databases.at(row)})) {
            m_context.cmdClearConnections_Click(index);
            m_makeOnline(index);
            cmdDrop_Click(index);
        }
        yieldToEventLoop();
    }
}

void AttachTools::cmdCopy_Click(int index) {
    yieldToEventLoop();
    // STOP is not read: a STOP left ticked from an earlier pass would copy a full backup
    // without its log backup, and Mirror All would then restore against an old log backup.
    // Unticking ALL DBS ends the pass; Cancel copy ends the file under way.
    forEachDatabase(m_context, index, StopBox::Ignored, [this] {
        copyBackupsOfTxtDB();
        yieldToEventLoop();
    });
}

void AttachTools::copyBackupsOfTxtDB() {
    const QString database = m_context.txtDB()->text();
    if (!admitted(Position::Quoted, {database}))
        return;
    for (const CopyOrder& order :
         AttachStatements::backupCopies(database, m_context.chkLogOnly()->isChecked()))
        m_copier.copy(order);
    m_context.serverAccess().LogMessage(QStringLiteral("Copied"));
    m_context.Timer1_Timer();
}

bool AttachTools::admitted(Position position, std::initializer_list<QString> names) {
    return db::NameGuard::admit(m_context.serverAccess(), position, names);
}

void AttachTools::yieldToEventLoop() {
    db::EventLoopYield::processEvents();
}

} // namespace qormin::dbfiles
