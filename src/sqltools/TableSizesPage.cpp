#include "sqltools/TableSizesPage.h"

#include "controls/FlexGrid.h"
#include "db/NameGuard.h"
#include "db/Recordset.h"
#include "db/ServerAccess.h"
#include "db/SideConnection.h"
#include "sqltools/CrLfText.h"
#include "sqltools/TableSizeChart.h"
#include "sqltools/TableSizeStatements.h"
#include "window/MainWindowContext.h"

#include <QBoxLayout>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QSplitter>

namespace qormin::sqltools {

namespace {
constexpr int leftSide = 0;
namespace Statements = TableSizeStatements;

// The error text alone: OpenRecordset puts the statement after it, and this one fills a page.
QString errorOf(const QString& result, const QString& sql) {
    return result.endsWith(sql) ? result.chopped(sql.size()).trimmed() : result;
}
} // namespace

TableSizesPage::TableSizesPage(window::MainWindowContext& context, QWidget* parent)
    : QWidget(parent), m_context(context), m_txtTableSizes(new QPlainTextEdit(this)),
      m_GridTableSizes(new controls::FlexGrid(this)), m_chart(new TableSizeChart(this)) {
    m_txtTableSizes->setObjectName(QStringLiteral("txtTableSizes"));
    m_txtTableSizes->setLineWrapMode(QPlainTextEdit::NoWrap);
    CrLfText::setText(*m_txtTableSizes, Statements::defaultTableSizesText());
    m_GridTableSizes->setObjectName(QStringLiteral("GridTableSizes"));

    auto* buttons = new QHBoxLayout;
    for (int side = 0; side < window::MainWindowContext::sideCount; ++side) {
        auto* button = new QPushButton(side == leftSide ? QStringLiteral("Table sizes (left)")
                                                        : QStringLiteral("Table sizes (right)"),
                                       this);
        button->setObjectName(QStringLiteral("cmdTableSizes(%1)").arg(side));
        connect(button, &QPushButton::clicked, this, [this, side] { cmdTableSizes_Click(side); });
        buttons->addWidget(button);
    }
    auto* bigTables = new QPushButton(QStringLiteral("Big tables"), this);
    bigTables->setObjectName(QStringLiteral("cmdBigTables"));
    connect(bigTables, &QPushButton::clicked, this, &TableSizesPage::cmdBigTables_Click);
    buttons->addWidget(bigTables);
    buttons->addStretch();

    auto* splitter = new QSplitter(Qt::Vertical, this);
    splitter->addWidget(m_txtTableSizes);
    auto* results = new QSplitter(Qt::Horizontal, splitter);
    results->addWidget(m_GridTableSizes);
    results->addWidget(m_chart);
    results->setStretchFactor(0, 1);
    results->setStretchFactor(1, 1);
    splitter->addWidget(results);
    // The query is read once and rarely edited; the results need the room.
    splitter->setStretchFactor(1, 4);
    splitter->setSizes({90, 400});

    auto* layout = new QVBoxLayout(this);
    layout->addLayout(buttons);
    layout->addWidget(splitter, 1);
}

TableSizesPage* TableSizesPage::install(window::MainWindowContext& context) {
    auto* page = new TableSizesPage(context, context.page(pageIndex));
    context.pageToolArea(pageIndex)->addWidget(page);
    return page;
}

void TableSizesPage::cmdTableSizes_Click(int side) {
    const QString database = m_context.txtDB()->text();
    if (!db::NameGuard::admit(m_context.serverAccess(), db::NameGuard::Position::Unbracketed, {database})) {
        return;
    }
    logTableSizes(side);
}

// A failed query or one without the needed fields ends with one log line, not the whole program.
void TableSizesPage::logTableSizes(int side) {
    db::ServerAccess& access = m_context.serverAccess();
    QString result;
    access.OpenRecordset(side, Statements::tableSizesUse(m_context.txtDB()->text()), {}, result);
    const QString query = CrLfText::text(*m_txtTableSizes);
    if (!access.OpenRecordset(side, query, {}, result)) {
        access.LogMessage(QStringLiteral("Table sizes failed: ") + errorOf(result, query));
        return;
    }
    db::Recordset& rows = access.sharedRecordset();
    if (rows.eof()) {
        return;
    }
    for (const char* field : Statements::logFields) {
        if (rows.table()->columnIndex(QString::fromLatin1(field)) < 0) {
            access.LogMessage(QStringLiteral("Table sizes: the query gives no field ") +
                              QString::fromLatin1(field));
            return;
        }
    }
    for (; !rows.eof(); rows.MoveNext()) {
        access.LogMessage(Statements::tableSizeLine(rows.field(QStringLiteral("TableName")),
                                                    rows.field(QStringLiteral("RowCounts")),
                                                    rows.field(QStringLiteral("TotalSpaceMB"))),
                          true);
    }
}

void TableSizesPage::cmdBigTables_Click() {
    db::ServerAccess& access = m_context.serverAccess();
    const QString query = Statements::bigTablesQuery();
    access.LogMessage(query);
    const QString database = m_context.txtDB()->text();
    if (!db::NameGuard::admit(access, db::NameGuard::Position::Unbracketed, {database})) {
        return;
    }
    access.EnsureConnected(leftSide);
    if (access.IsConnected(leftSide)) {
        access.side(leftSide).execute(Statements::bigTablesUse(database), db::ResultRetention::Nothing);
        access.side(leftSide).execute(Statements::defaultDatabase(database), db::ResultRetention::Nothing);
    }
    QString result;
    if (!access.OpenRecordset(leftSide, query, {}, result)) {
        return;
    }
    const auto table = access.sharedRecordset().table();
    if (table && m_GridTableSizes->bind(table)) {
        m_chart->showTables(*table);
    }
}

} // namespace qormin::sqltools
