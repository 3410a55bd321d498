#include "sqltools/UsersPage.h"

#include "controls/FlexGrid.h"
#include "db/ServerAccess.h"
#include "db/SideConnection.h"
#include "sqltools/TableSizeStatements.h"
#include "window/MainWindowContext.h"

#include <QBoxLayout>
#include <QPushButton>

namespace qormin::sqltools {

namespace {
constexpr int leftSide = 0;
}

UsersPage::UsersPage(window::MainWindowContext& context, QWidget* parent)
    : QWidget(parent), m_context(context), m_GridT(new controls::FlexGrid(this)) {
    m_GridT->setObjectName(QStringLiteral("GridT"));
    auto* readGrid = new QPushButton(QStringLiteral("Read sessions"), this);
    readGrid->setObjectName(QStringLiteral("cmdReadGrid"));
    connect(readGrid, &QPushButton::clicked, this, &UsersPage::cmdReadGrid_Click);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(readGrid, 0, Qt::AlignLeft);
    layout->addWidget(m_GridT, 1);
}

UsersPage* UsersPage::install(window::MainWindowContext& context) {
    auto* page = new UsersPage(context, context.page(pageIndex));
    context.pageToolArea(pageIndex)->addWidget(page);
    return page;
}

// On the connection itself, as always: nothing is logged of a list that came, and a failure
// leaves the grid as it was and its error in both log boxes.
void UsersPage::cmdReadGrid_Click() {
    db::ServerAccess& access = m_context.serverAccess();
    access.EnsureConnected(leftSide);
    if (!access.IsConnected(leftSide)) {
        return;
    }
    db::StatementOutcome outcome = access.side(leftSide).execute(TableSizeStatements::sessionList(),
                                                                 db::ResultRetention::FirstResultSet);
    if (!outcome.succeeded) {
        const QString line = outcome.errorDescription + QLatin1Char(' ') + TableSizeStatements::sessionList();
        access.LogMessage(line);
        access.LogError(line);
        return;
    }
    if (outcome.resultSets.empty()) {
        return;
    }
    m_GridT->bind(std::make_shared<const db::ResultTable>(std::move(outcome.resultSets.front())));
}

} // namespace qormin::sqltools
