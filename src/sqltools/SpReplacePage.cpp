#include "sqltools/SpReplacePage.h"

#include "db/NameGuard.h"
#include "db/Recordset.h"
#include "db/ServerAccess.h"
#include "db/SideConnection.h"
#include "platform/FileSystemService.h"
#include "sqltools/CrLfText.h"
#include "sqltools/SpReplaceStatements.h"
#include "sqltools/TableSizeStatements.h"
#include "window/MainWindowContext.h"

#include <QBoxLayout>
#include <QDateTime>
#include <QDir>
#include <QFormLayout>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>

namespace qormin::sqltools {

namespace {
constexpr int leftSide = 0;
namespace Statements = SpReplaceStatements;
} // namespace

SpReplacePage::SpReplacePage(window::MainWindowContext& context, QWidget* parent)
    : QWidget(parent), m_context(context), m_txtSearchSP(new QLineEdit(this)),
      m_txtReplaceWith(new QLineEdit(this)), m_txtSPSpec(new QPlainTextEdit(this)) {
    m_txtSearchSP->setObjectName(QStringLiteral("txtSearchSP"));
    m_txtReplaceWith->setObjectName(QStringLiteral("txtReplaceWith"));
    m_txtSPSpec->setObjectName(QStringLiteral("txtSPSpec"));
    m_txtSPSpec->setLineWrapMode(QPlainTextEdit::NoWrap);

    auto* layout = new QVBoxLayout(this);
    auto* fields = new QFormLayout;
    fields->addRow(QStringLiteral("Search"), m_txtSearchSP);
    fields->addRow(QStringLiteral("Replace with"), m_txtReplaceWith);
    layout->addLayout(fields);
    auto* buttons = new QHBoxLayout;
    addButton(buttons, QStringLiteral("cmdReloadSPs"), QStringLiteral("Search SPs"),
              &SpReplacePage::cmdReloadSPs_Click);
    addButton(buttons, QStringLiteral("cmdListSP"), QStringLiteral("List SPs"),
              &SpReplacePage::cmdListSP_Click);
    addButton(buttons, QStringLiteral("cmdReplaceSP"), QStringLiteral("Replace"),
              &SpReplacePage::cmdReplaceSP_Click);
    addButton(buttons, QStringLiteral("cmdSaveSP"), QStringLiteral("Save"), &SpReplacePage::cmdSaveSP_Click);
    buttons->addStretch();
    layout->addLayout(buttons);
    auto* templates = new QHBoxLayout;
    for (int index = 0; index < Statements::templateCount; ++index) {
        auto* button = new QPushButton(QStringLiteral("Template %1").arg(index), this);
        button->setObjectName(QStringLiteral("cmdSPTemplate(%1)").arg(index));
        button->setToolTip(Statements::templatePair(index)->first);
        connect(button, &QPushButton::clicked, this, [this, index] { cmdSPTemplate_Click(index); });
        templates->addWidget(button);
    }
    templates->addStretch();
    layout->addLayout(templates);
    layout->addWidget(m_txtSPSpec, 1);
}

SpReplacePage* SpReplacePage::install(window::MainWindowContext& context) {
    auto* page = new SpReplacePage(context, context.page(pageIndex));
    context.pageToolArea(pageIndex)->addWidget(page);
    return page;
}

void SpReplacePage::addButton(QLayout* layout, const QString& name, const QString& caption,
                              void (SpReplacePage::*handler)()) {
    auto* button = new QPushButton(caption, this);
    button->setObjectName(name);
    connect(button, &QPushButton::clicked, this, handler);
    layout->addWidget(button);
}

void SpReplacePage::cmdReloadSPs_Click() {
    if (!useWorkingDatabase()) {
        return;
    }
    // The table may not exist yet; either way the batch below creates it anew.
    executeOnLeft(Statements::dropTemp());
    executeOnLeft(Statements::searchBatch(m_txtSearchSP->text()));
    ListSPs();
    m_context.serverAccess().LogMessage(QStringLiteral("Done"));
}

void SpReplacePage::cmdListSP_Click() {
    ListSPs();
}

void SpReplacePage::ListSPs() {
    db::ServerAccess& access = m_context.serverAccess();
    if (!useWorkingDatabase()) {
        return;
    }
    m_txtSPSpec->clear();
    QString ignored;
    access.OpenRecordset(leftSide, Statements::listingQuery(), {}, ignored);
    db::Recordset& rows = access.sharedRecordset();
    QString script;
    for (; !rows.eof(); rows.MoveNext()) {
        script += Statements::listingEntry(rows.field(0).toString(),
                                           rows.field(QStringLiteral("Definition")).toString());
    }
    CrLfText::setText(*m_txtSPSpec, script);
    access.LogMessage(QStringLiteral("Done"));
}

void SpReplacePage::cmdReplaceSP_Click() {
    CrLfText::setText(*m_txtSPSpec,
                      Statements::rewriteScript(CrLfText::text(*m_txtSPSpec), m_txtSearchSP->text(),
                                                m_txtReplaceWith->text()));
}

void SpReplacePage::cmdSPTemplate_Click(int index) {
    const auto pair = Statements::templatePair(index);
    if (!pair) {
        return;
    }
    m_txtSearchSP->setText(pair->first);
    m_txtReplaceWith->setText(pair->second);
}

void SpReplacePage::cmdSaveSP_Click() {
    saveScript(QStringLiteral("SPBefore"));
    saveScript(QStringLiteral("SPAfter"));
    m_context.serverAccess().LogMessage(QStringLiteral("Done"));
}

void SpReplacePage::saveScript(const QString& prefix) {
    const QString stamp = Statements::saveStamp(QDateTime::currentDateTime(), QLocale::system());
    const QString path = QDir(m_context.dataDirectory()).filePath(prefix + stamp + QStringLiteral(".txt"));
    m_context.fileSystem().writeFile(path, CrLfText::text(*m_txtSPSpec).toUtf8());
}

bool SpReplacePage::useWorkingDatabase() {
    const QString database = m_context.txtDB()->text();
    if (!db::NameGuard::admit(m_context.serverAccess(), db::NameGuard::Position::Bracketed, {database})) {
        return false;
    }
    executeOnLeft(TableSizeStatements::defaultDatabase(database));
    return true;
}

// Straight on the connection, as the search always ran: nothing is logged and a failure is
// passed over. The connection itself withholds what would change the server under Script only.
void SpReplacePage::executeOnLeft(const QString& sql) {
    db::ServerAccess& access = m_context.serverAccess();
    access.EnsureConnected(leftSide);
    if (!access.IsConnected(leftSide)) {
        return;
    }
    access.side(leftSide).execute(sql, db::ResultRetention::Nothing);
}

} // namespace qormin::sqltools
