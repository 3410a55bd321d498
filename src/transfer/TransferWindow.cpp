#include "transfer/TransferWindow.h"

#include "controls/FlexGrid.h"
#include "transfer/TransferDBTools.h"
#include "window/DestructiveConfirmation.h"
#include "window/MainWindowContext.h"

#include <QBoxLayout>
#include <QCheckBox>
#include <QDate>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QTabWidget>

namespace qormin::transfer {

namespace {

void fillGrid(controls::FlexGrid& grid, const QStringList& lines) {
    grid.setCols(2);
    grid.setRows(1);
    grid.setTextMatrix(0, 0, QStringLiteral("Table"));
    grid.setTextMatrix(0, 1, QStringLiteral("Date Column"));
    for (const QString& line : lines) {
        grid.AddItem(line);
    }
    grid.setColWidth(0, 3000);
    grid.setColWidth(1, 2000);
}

} // namespace

TransferWindow::TransferWindow(window::MainWindowContext& context, QWidget* parent)
    : QWidget(parent), m_context(context), m_tabs(new QTabWidget(this)),
      m_transferGrid(new controls::FlexGrid(this)), m_purgeGrid(new controls::FlexGrid(this)),
      m_years(addTextBox(QStringLiteral("txtYears"))),
      m_recordsAtATime(addTextBox(QStringLiteral("txtRecsAtATime"))), m_log(new QPlainTextEdit(this)),
      m_delete(new QCheckBox(QStringLiteral("Delete after transfer"), this)),
      m_allTables(new QCheckBox(QStringLiteral("All Tables"), this)), m_progress(new QProgressBar(this)),
      m_status(new QLabel(this)) {
    m_tabs->setObjectName(QStringLiteral("SSTab1"));
    m_transferGrid->setObjectName(QStringLiteral("Grid1"));
    m_purgeGrid->setObjectName(QStringLiteral("Grid2"));
    m_log->setObjectName(QStringLiteral("txtLog"));
    m_log->setReadOnly(true);
    m_delete->setObjectName(QStringLiteral("chkDelete"));
    m_allTables->setObjectName(QStringLiteral("chkAllTables"));
    m_progress->setObjectName(QStringLiteral("ProgressBar1"));
    m_status->setObjectName(QStringLiteral("lblStatus"));
    m_status->setWordWrap(true);
    m_recordsAtATime->setText(QStringLiteral("1000"));
    m_tools = std::make_unique<TransferDBTools>(TransferDBControls{
        context.serverAccess(), context.messageBoxes(), *m_log, *m_progress, *m_status, *m_purgeGrid});
}

TransferWindow::~TransferWindow() = default;

void TransferWindow::layOut(QWidget* transferPage, const QString& transferCaption,
                            const QString& purgeCaption) {
    m_tabs->addTab(transferPage, transferCaption);
    m_tabs->addTab(buildPurgePage(), purgeCaption);
    auto* limits = new QHBoxLayout;
    limits->addWidget(new QLabel(QStringLiteral("Over Years old"), this));
    limits->addWidget(m_years);
    limits->addWidget(new QLabel(QStringLiteral("Records at a time"), this));
    limits->addWidget(m_recordsAtATime);
    limits->addWidget(m_progress, 1);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(m_tabs, 2);
    layout->addLayout(limits);
    layout->addWidget(m_status);
    layout->addWidget(m_log, 1);
    resize(900, 640);
}

QWidget* TransferWindow::buildPurgePage() {
    auto* page = new QWidget(this);
    auto* buttons = new QHBoxLayout;
    buttons->addWidget(m_allTables);
    addButton(page, buttons, QStringLiteral("cmdSelect"), QStringLiteral("Query"),
              [this] { cmdSelect_Click(); });
    addButton(page, buttons, QStringLiteral("cmdDeleteData"), QStringLiteral("Delete Data"),
              [this] { cmdDeleteData_Click(); });
    buttons->addStretch(1);
    auto* layout = new QVBoxLayout(page);
    layout->addWidget(m_purgeGrid, 1);
    layout->addLayout(buttons);
    return page;
}

void TransferWindow::fillGrids(const QStringList& transferRows, const QStringList& purgeRows) {
    fillGrid(*m_transferGrid, transferRows);
    fillGrid(*m_purgeGrid, purgeRows);
}

QLineEdit* TransferWindow::addTextBox(const QString& name) {
    auto* box = new QLineEdit(this);
    box->setObjectName(name);
    return box;
}

void TransferWindow::addButton(QWidget* page, QBoxLayout* layout, const QString& name, const QString& caption,
                               std::function<void()> handler) {
    auto* button = new QPushButton(caption, page);
    button->setObjectName(name);
    layout->addWidget(button);
    connect(button, &QPushButton::clicked, this, std::move(handler));
}

void TransferWindow::addStructureButtons(QWidget* page, QBoxLayout* layout) {
    addButton(page, layout, QStringLiteral("cmdCreateTable"), QStringLiteral("Create Table"),
              [this] { cmdCreateTable_Click(); });
    addButton(page, layout, QStringLiteral("cmdDeleteDestTable"), QStringLiteral("Delete Dest Table"),
              [this] { cmdDeleteDestTable_Click(); });
    addButton(page, layout, QStringLiteral("cmdCreateIndex"), QStringLiteral("Create Index"),
              [this] { cmdCreateIndex_Click(); });
    addButton(page, layout, QStringLiteral("cmdSyncStructure"), QStringLiteral("Sync Structure"),
              [this] { cmdSyncStructure_Click(); });
}

bool TransferWindow::SelectTransferTable() {
    const int row = m_transferGrid->Row();
    m_sourceTable = m_transferGrid->TextMatrix(row, 0);
    m_destTable = destinationTable(m_sourceTable);
    m_dateColumn = m_transferGrid->TextMatrix(row, 1);
    std::vector<std::pair<QString, QString>> names{{QStringLiteral("table"), m_sourceTable},
                                                   {QStringLiteral("date column"), m_dateColumn}};
    for (auto& name : extraNames()) {
        names.push_back(std::move(name));
    }
    return m_tools->admitNames(names);
}

void TransferWindow::refuseYears() {
    m_tools->refuseInput(QStringLiteral("\"") + m_years->text() +
                         QStringLiteral("\" is not a number of years."));
}

bool TransferWindow::confirmed(const QString& action, const QStringList& tables) {
    constexpr int leftSide = 0;
    return m_context.confirmations().confirm({action, leftSide, tables, QStringLiteral("table")});
}

bool TransferWindow::transferConfirmed(const TransferDBJob& job) {
    return !job.deleteAfterTransfer ||
           confirmed(QStringLiteral("Transfer, deleting each source row after its copy"), {job.sourceTable});
}

void TransferWindow::cmdSelect_Click() {
    m_tools->preview(m_recordsAtATime->text());
}

void TransferWindow::cmdDeleteData_Click() {
    QStringList tables{m_purgeGrid->TextMatrix(m_purgeGrid->Row(), 0)};
    if (m_allTables->isChecked()) {
        tables.clear();
        for (int row = 1; row < m_purgeGrid->Rows(); ++row)
            tables.append(m_purgeGrid->TextMatrix(row, 0));
    }
    if (!confirmed(QStringLiteral("Delete Data"), tables))
        return;
    m_tools->purge(m_allTables->isChecked(), m_years->text(), QDate::currentDate());
}

void TransferWindow::cmdCreateTable_Click() {
    if (SelectTransferTable()) {
        m_tools->createTable(m_sourceTable, m_destTable);
    }
}

void TransferWindow::cmdDeleteDestTable_Click() {
    if (SelectTransferTable() && confirmed(QStringLiteral("Delete Dest Table"), {m_destTable})) {
        m_tools->dropTable(m_destTable);
    }
}

void TransferWindow::cmdCreateIndex_Click() {
    if (SelectTransferTable()) {
        m_tools->createIndex(m_dateColumn, indexedTables());
    }
}

void TransferWindow::cmdSyncStructure_Click() {
    if (SelectTransferTable()) {
        m_tools->syncStructure(m_sourceTable, m_destTable);
    }
}

} // namespace qormin::transfer
