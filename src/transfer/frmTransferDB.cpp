#include "transfer/frmTransferDB.h"

#include "controls/FlexGrid.h"
#include "platform/SettingsStore.h"
#include "transfer/TransferDBTools.h"
#include "transfer/TransferStatements.h"
#include "window/MainWindowContext.h"

#include <QBoxLayout>
#include <QCheckBox>
#include <QCloseEvent>
#include <QDate>
#include <QFormLayout>
#include <QLineEdit>
#include <QPushButton>
#include <QTimer>

namespace qormin::transfer {

namespace {

const QString section = QStringLiteral("MAIN");
const QString defaultRow = QStringLiteral("Patient_Files..tbPatientDocs\tConversionTime");

} // namespace

frmTransferDB::frmTransferDB(window::MainWindowContext& context, QWidget* parent)
    : TransferWindow(context, parent), m_startDate(addTextBox(QStringLiteral("txtStartDate"))),
      m_endDate(addTextBox(QStringLiteral("txtEndDate"))),
      m_toDatabase(addTextBox(QStringLiteral("txtToDatabase"))),
      m_where(addTextBox(QStringLiteral("txtWHERE"))), m_timer(new QTimer(this)) {
    setWindowTitle(QStringLiteral("Transfer DB"));
    m_timer->setObjectName(QStringLiteral("Timer1"));
    layOut(buildTransferPage(), QStringLiteral("1. Select table to Transfer"),
           QStringLiteral("2. Delete old data"));
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
              [this] { cmdDefault_Click(); });
    addButton(page, buttons, QStringLiteral("cmdTransfer"), QStringLiteral("Transfer Data"),
              [this] { cmdTransfer_Click(); });
    addButton(page, buttons, QStringLiteral("cmdStop"), QStringLiteral("Stop"), [this] { cmdStop_Click(); });
    addStructureButtons(page, buttons);
    // The stop button is read by the running transfer, so it stays live while it runs.
    m_context.allowWhileBusy(page->findChild<QPushButton*>(QStringLiteral("cmdStop")));
    auto* layout = new QVBoxLayout(page);
    layout->addLayout(top, 1);
    layout->addLayout(buttons);
    return page;
}

std::vector<QLineEdit*> frmTransferDB::textBoxes() const {
    return {m_startDate, m_endDate, m_years, m_recordsAtATime, m_toDatabase, m_where};
}

// The text boxes come back from the main window's section under their own names; the log is a
// progress list, not a setting, and is neither loaded nor saved.
void frmTransferDB::Form_Load() {
    fillGrids({defaultRow}, {defaultRow});
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

QString frmTransferDB::destinationTable(const QString& sourceTable) const {
    return TransferStatements::destinationTable(m_toDatabase->text(), sourceTable);
}

std::vector<std::pair<QString, QString>> frmTransferDB::extraNames() const {
    return {{QStringLiteral("database"), m_toDatabase->text()}};
}

std::vector<QString> frmTransferDB::indexedTables() const {
    return {m_sourceTable, m_destTable};
}

void frmTransferDB::cmdTransfer_Click() {
    if (!SelectTransferTable()) {
        return;
    }
    TransferQuery query{m_recordsAtATime->text(), m_sourceTable, m_dateColumn, m_where->text(), {}, {}, {}};
    const QDate today = QDate::currentDate();
    if (!m_years->text().isEmpty() &&
        !(query.olderThan = TransferStatements::olderThan(today, m_years->text()))) {
        refuseYears();
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
    if (transferConfirmed(job)) {
        m_tools->transfer(job);
    }
}

void frmTransferDB::cmdStop_Click() {
    m_tools->requestStop();
}

} // namespace qormin::transfer
