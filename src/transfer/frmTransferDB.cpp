#include "transfer/frmTransferDB.h"

#include "controls/FlexGrid.h"
#include "platform/SettingsStore.h"
#include "transfer/TransferDBTools.h"
#include "transfer/TransferStatements.h"
#include "window/MainWindowContext.h"

#include <QBoxLayout>
#include <QCheckBox>
#include <QCloseEvent>
#include <QFormLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QTabWidget>
#include <QTimer>

namespace qormin::transfer {

namespace {

const QString section = QStringLiteral("MAIN");
const QString defaultRow = QStringLiteral("Patient_Files..tbPatientDocs\tConversionTime");

void fillGrid(controls::FlexGrid& grid, const QString& line) {
    grid.setCols(2);
    grid.setRows(1);
    grid.setTextMatrix(0, 0, QStringLiteral("Table"));
    grid.setTextMatrix(0, 1, QStringLiteral("Date Column"));
    grid.AddItem(line);
    grid.setColWidth(0, 3000);
    grid.setColWidth(1, 2000);
}

} // namespace

frmTransferDB::frmTransferDB(window::MainWindowContext& context, QWidget* parent)
    : QWidget(parent), m_context(context), m_tabs(new QTabWidget(this)),
      m_transferGrid(new controls::FlexGrid(this)), m_purgeGrid(new controls::FlexGrid(this)),
      m_startDate(addTextBox(QStringLiteral("txtStartDate"))),
      m_endDate(addTextBox(QStringLiteral("txtEndDate"))), m_years(addTextBox(QStringLiteral("txtYears"))),
      m_recordsAtATime(addTextBox(QStringLiteral("txtRecsAtATime"))),
      m_toDatabase(addTextBox(QStringLiteral("txtToDatabase"))),
      m_where(addTextBox(QStringLiteral("txtWHERE"))), m_log(new QPlainTextEdit(this)),
      m_delete(new QCheckBox(QStringLiteral("Delete after transfer"), this)),
      m_allTables(new QCheckBox(QStringLiteral("All Tables"), this)), m_progress(new QProgressBar(this)),
      m_status(new QLabel(this)), m_timer(new QTimer(this)) {
    setWindowTitle(QStringLiteral("Transfer DB"));
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
    m_timer->setObjectName(QStringLiteral("Timer1"));
    m_recordsAtATime->setText(QStringLiteral("1000"));

    m_tabs->addTab(buildTransferPage(), QStringLiteral("1. Select table to Transfer"));
    m_tabs->addTab(buildPurgePage(), QStringLiteral("2. Delete old data"));
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

    m_tools = std::make_unique<TransferDBTools>(TransferDBControls{
        context.serverAccess(), context.messageBoxes(), *m_log, *m_progress, *m_status, *m_purgeGrid});
    Form_Load();
}

frmTransferDB::~frmTransferDB() = default;

QWidget* frmTransferDB::buildTransferPage() {
    auto* page = new QWidget(this);
    auto* fields = new QFormLayout;
    fields->addRow(QStringLiteral("Start Date"), m_startDate);
    fields->addRow(QStringLiteral("End Date"), m_endDate);
    fields->addRow(QStringLiteral("To Database"), m_toDatabase);
    fields->addRow(QStringLiteral("WHERE"), m_where);
    fields->addRow(m_delete);
    auto* top = new QHBoxLayout;
    top->addWidget(m_transferGrid, 3);
    top->addLayout(fields, 2);
    auto* buttons = new QHBoxLayout;
    addButton(page, buttons, QStringLiteral("cmdDefault"), QStringLiteral("default"),
              &frmTransferDB::cmdDefault_Click);
    addButton(page, buttons, QStringLiteral("cmdTransfer"), QStringLiteral("Transfer Data"),
              &frmTransferDB::cmdTransfer_Click);
    addButton(page, buttons, QStringLiteral("cmdStop"), QStringLiteral("Stop"),
              &frmTransferDB::cmdStop_Click);
    addButton(page, buttons, QStringLiteral("cmdCreateTable"), QStringLiteral("Create Table"),
              &frmTransferDB::cmdCreateTable_Click);
    addButton(page, buttons, QStringLiteral("cmdDeleteDestTable"), QStringLiteral("Delete Dest Table"),
              &frmTransferDB::cmdDeleteDestTable_Click);
    addButton(page, buttons, QStringLiteral("cmdCreateIndex"), QStringLiteral("Create Index"),
              &frmTransferDB::cmdCreateIndex_Click);
    addButton(page, buttons, QStringLiteral("cmdSyncStructure"), QStringLiteral("Sync Structure"),
              &frmTransferDB::cmdSyncStructure_Click);
    // The stop button is read by the running transfer, so it stays live while it runs.
    m_context.allowWhileBusy(page->findChild<QPushButton*>(QStringLiteral("cmdStop")));
    auto* layout = new QVBoxLayout(page);
    layout->addLayout(top, 1);
    layout->addLayout(buttons);
    return page;
}

QWidget* frmTransferDB::buildPurgePage() {
    auto* page = new QWidget(this);
    auto* buttons = new QHBoxLayout;
    buttons->addWidget(m_allTables);
    addButton(page, buttons, QStringLiteral("cmdSelect"), QStringLiteral("Query"),
              &frmTransferDB::cmdSelect_Click);
    addButton(page, buttons, QStringLiteral("cmdDeleteData"), QStringLiteral("Delete Data"),
              &frmTransferDB::cmdDeleteData_Click);
    buttons->addStretch(1);
    auto* layout = new QVBoxLayout(page);
    layout->addWidget(m_purgeGrid, 1);
    layout->addLayout(buttons);
    return page;
}

std::vector<QLineEdit*> frmTransferDB::textBoxes() const {
    return {m_startDate, m_endDate, m_years, m_recordsAtATime, m_toDatabase, m_where};
}

QLineEdit* frmTransferDB::addTextBox(const QString& name) {
    auto* box = new QLineEdit(this);
    box->setObjectName(name);
    return box;
}

void frmTransferDB::addButton(QWidget* parent, QBoxLayout* layout, const QString& name,
                              const QString& caption, void (frmTransferDB::*handler)()) {
    auto* button = new QPushButton(caption, parent);
    button->setObjectName(name);
    layout->addWidget(button);
    connect(button, &QPushButton::clicked, this, handler);
}

// The text boxes come back from the main window's section under their own names; the log is a
// progress list, not a setting, and is neither loaded nor saved.
void frmTransferDB::Form_Load() {
    fillGrid(*m_transferGrid, defaultRow);
    fillGrid(*m_purgeGrid, defaultRow);
    for (QLineEdit* box : textBoxes()) {
        box->setText(m_context.settings().getSetting(section, box->objectName(), QString()));
    }
    if (m_toDatabase->text().isEmpty()) {
        cmdDefault_Click();
    }
}

void frmTransferDB::Form_Unload() {
    for (QLineEdit* box : textBoxes()) {
        m_context.settings().saveSetting(section, box->objectName(), box->text());
    }
}

void frmTransferDB::closeEvent(QCloseEvent* event) {
    Form_Unload();
    event->accept();
}

void frmTransferDB::cmdDefault_Click() {
    m_startDate->setText(QStringLiteral("1/1/2020"));
    m_endDate->setText(QStringLiteral("12/31/2020"));
    m_years->setText(QString());
    m_recordsAtATime->setText(QStringLiteral("1000"));
    m_toDatabase->setText(QStringLiteral("Patient_Files_2020"));
    m_where->setText(QStringLiteral("DocType = 'PHIC Docs'"));
}

bool frmTransferDB::SelectTransferTable() {
    const int row = m_transferGrid->Row();
    m_sourceTable = m_transferGrid->TextMatrix(row, 0);
    m_destTable = TransferStatements::destinationTable(m_toDatabase->text(), m_sourceTable);
    m_dateColumn = m_transferGrid->TextMatrix(row, 1);
    return m_tools->admitNames({{QStringLiteral("table"), m_sourceTable},
                                {QStringLiteral("date column"), m_dateColumn},
                                {QStringLiteral("database"), m_toDatabase->text()}});
}

void frmTransferDB::cmdTransfer_Click() {
    if (!SelectTransferTable()) {
        return;
    }
    TransferQuery query{m_recordsAtATime->text(), m_sourceTable, m_dateColumn, m_where->text(), {}, {}, {}};
    const QDate today = QDate::currentDate();
    if (!m_years->text().isEmpty() &&
        !(query.olderThan = TransferStatements::olderThan(today, m_years->text()))) {
        m_tools->refuseInput(QStringLiteral("\"") + m_years->text() +
                             QStringLiteral("\" is not a number of years."));
        return;
    }
    for (auto [box, bound] :
         {std::pair{m_startDate, &query.startDate}, std::pair{m_endDate, &query.endDate}}) {
        if (box->text().isEmpty()) {
            continue;
        }
        *bound = TransferStatements::parseDate(box->text());
        if (!*bound) {
            m_tools->refuseInput(QStringLiteral("\"") + box->text() +
                                 QStringLiteral("\" is not a date (month/day/year)."));
            return;
        }
    }
    TransferDBJob job;
    job.query = TransferStatements::transferQuery(query);
    job.sourceTable = m_sourceTable;
    job.destinationTable = m_destTable;
    job.dateColumn = m_dateColumn;
    job.toDatabase = m_toDatabase->text();
    job.recordsAtATime = m_recordsAtATime->text().toInt();
    job.skipIdColumn = true;
    job.updateClaimsDocuments = true;
    job.deleteAfterTransfer = m_delete->isChecked();
    job.stoppable = true;
    job.announceDone = true;
    m_tools->transfer(job);
}

void frmTransferDB::cmdStop_Click() {
    m_tools->requestStop();
}

void frmTransferDB::cmdSelect_Click() {
    m_tools->preview(m_recordsAtATime->text());
}

void frmTransferDB::cmdDeleteData_Click() {
    m_tools->purge(m_allTables->isChecked(), m_years->text(), QDate::currentDate());
}

void frmTransferDB::cmdCreateTable_Click() {
    if (SelectTransferTable()) {
        m_tools->createTable(m_sourceTable, m_destTable);
    }
}

void frmTransferDB::cmdDeleteDestTable_Click() {
    if (SelectTransferTable()) {
        m_tools->dropTable(m_destTable);
    }
}

void frmTransferDB::cmdCreateIndex_Click() {
    if (SelectTransferTable()) {
        m_tools->createIndex(m_dateColumn, {m_sourceTable, m_destTable});
    }
}

void frmTransferDB::cmdSyncStructure_Click() {
    if (SelectTransferTable()) {
        m_tools->syncStructure(m_sourceTable, m_destTable);
    }
}

} // namespace qormin::transfer
