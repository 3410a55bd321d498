#include "dbfiles/MirroringTools.h"

#include "controls/FlexGrid.h"
#include "db/EventLoopYield.h"
#include "db/HeaderRowPass.h"
#include "db/NameGuard.h"
#include "db/ServerAccess.h"
#include "dbfiles/AllDatabasesPass.h"
#include "dbfiles/AttachTools.h"
#include "dbfiles/BackupFileCopier.h"
#include "dbfiles/BackupTools.h"
#include "dbfiles/MirroringStatements.h"
#include "dbfiles/RestoreTools.h"
#include "platform/MessageBoxService.h"
#include "window/DestructiveConfirmation.h"
#include "window/MainWindowContext.h"

#include <QCheckBox>
#include <QLineEdit>
#include <QRegularExpression>
#include <array>

namespace qormin::dbfiles {

namespace {
constexpr int restartScript = 4;
}

MirroringTools::MirroringTools(window::MainWindowContext& context, BackupTools& backup, RestoreTools& restore,
                               AttachTools& attach, BackupFileCopier& copier,
                               std::function<QString(int)> scriptText)
    : m_context(context), m_backup(backup), m_restore(restore), m_attach(attach), m_copier(copier),
      m_scriptText(std::move(scriptText)) {}

void MirroringTools::cmdSetPartner_Click(int index) {
    forEachDatabase(m_context, index, StopBox::EndsPass, [this, index] {
        const QString database = m_context.txtDB()->text();
        const QString partner = m_context.txtServer(1 - index)->text();
        if (!db::NameGuard::admit(m_context.serverAccess(), db::NameGuard::Position::Bracketed, {database}) ||
            !db::NameGuard::admit(m_context.serverAccess(), db::NameGuard::Position::Quoted, {partner}))
            return;
        for (const QString& sql : MirroringStatements::setPartner(database, partner))
            m_context.serverAccess().ExecuteSQL(index, sql);
    });
}

void MirroringTools::cmdMakeOnline_Click(int index) {
    forEachDatabase(m_context, index, StopBox::EndsPass, [this, index] {
        const QString database = m_context.txtDB()->text();
        if (!db::NameGuard::admit(m_context.serverAccess(), db::NameGuard::Position::Unbracketed, {database}))
            return;
        for (const QString& sql : MirroringStatements::makeOnline(database))
            m_context.serverAccess().ExecuteSQL(index, sql);
    });
}

// The called handlers see chkALL unticked, so each works on txtDB alone; it stays unticked.
void MirroringTools::cmdMirrorAll_Click(int index) {
    QCheckBox* all = m_context.chkALL();
    const bool allDatabases = all->isChecked();
    if (allDatabases)
        all->setChecked(false);
    if (!allDatabases) {
        runChain(index);
        return;
    }
    controls::FlexGrid* grid = m_context.GridDB(0);
    const int rows = grid->Rows();
    for (int row = 0; row < rows; ++row) {
        const db::HeaderRowPass headerRow(m_context.serverAccess(), row == 0);
        m_context.txtDB()->setText(grid->TextMatrix(row, 0));
        runChain(index);
        yieldToEventLoop();
        if (m_context.stopRequested())
            return;
    }
}

// Backup on the left (from step 1 only), copy to the right share, restore NORECOVERY on the
// right, then the mirror names the principal and the principal names the mirror.
void MirroringTools::runChain(int index) {
    if (!db::NameGuard::admit(m_context.serverAccess(), db::NameGuard::Position::Unbracketed,
                              {m_context.txtDB()->text()}))
        return;
    if (index == 0) {
        m_chainSide = 0;
        m_backup.cmdBackup_Click(m_chainSide);
        yieldToEventLoop();
    }
    m_chainSide = 0;
    m_attach.cmdCopy_Click(m_chainSide);
    yieldToEventLoop();
    m_chainSide = 1;
    m_restore.cmdRestore_Click(m_chainSide);
    yieldToEventLoop();
    m_chainSide = 1;
    cmdSetPartner_Click(m_chainSide);
    yieldToEventLoop();
    m_chainSide = 0;
    cmdSetPartner_Click(m_chainSide);
    yieldToEventLoop();
}

void MirroringTools::cmdCopyCert_Click(int index) {
    if (const auto order = MirroringStatements::certificateCopy(index))
        m_copier.copy(*order);
    m_context.messageBoxes().MsgBox(QStringLiteral("done."));
}

void MirroringTools::cmdRunScript_Click(int index) {
    db::ServerAccess& access = m_context.serverAccess();
    if (!scriptConfirmed(index))
        return;
    switch (index) {
    case 0:
        access.ExecuteScript(0, m_scriptText(0));
        access.ExecuteScript(1, m_scriptText(0));
        return;
    case 1:
        access.ExecuteScript(0, m_scriptText(1));
        return;
    case 2:
        access.ExecuteScript(1, m_scriptText(2));
        return;
    case 3:
        access.ExecuteScript(0, m_scriptText(3));
        return;
    default:
        return;
    }
}

// The scripts are the operator's own text; one that drops something (the reset script drops the
// endpoint, certificates, master key and logins) asks first.
bool MirroringTools::scriptConfirmed(int index) {
    static const QRegularExpression drop(QStringLiteral("\\bdrop\\b"),
                                         QRegularExpression::CaseInsensitiveOption);
    static constexpr std::array<int, 4> sides{window::DestructiveAction::bothSides, 0, 1, 0};
    if (index < 0 || index >= static_cast<int>(sides.size()) || !drop.match(m_scriptText(index)).hasMatch())
        return true;
    return m_context.confirmations().confirm({QStringLiteral("Run script %1 (it drops)").arg(index + 1),
                                              sides.at(static_cast<std::size_t>(index)),
                                              {}});
}

void MirroringTools::cmdRestartEndpoint_Click(int side) {
    m_context.serverAccess().ExecuteScript(side, m_scriptText(restartScript));
}

void MirroringTools::yieldToEventLoop() {
    db::EventLoopYield::processEvents();
}

} // namespace qormin::dbfiles
