#include "transfer/frmHistorical.h"

#include "controls/FlexGrid.h"
#include "transfer/TransferDBTools.h"
#include "transfer/TransferStatements.h"

#include <QBoxLayout>
#include <QCheckBox>
#include <QDate>
#include <QLineEdit>

namespace qormin::transfer {

namespace {

const QStringList transferRows = {
    QStringLiteral("Station..tbNurseLogBook\tRequestDate"),
    QStringLiteral("Station..tbNurseCommunicationFile\tRequestDate"),
    QStringLiteral("Station..tbstationlogs\tTransDate"),
    QStringLiteral("inventory..tbInvStockCard\tTransDate"),
    QStringLiteral("inventory..tbInvProfile\tTransDate"),
    QStringLiteral("billing..tbBillDailyBill\tTransDate"),
    QStringLiteral("billing..tbBillOPDailyOut\tTransDate"),
    QStringLiteral("billing..tbCashAssessment\tTransDate"),
    QStringLiteral("Billing..tbBilling_UserLogin\tLogInDate"),
    QStringLiteral("laboratory..tbLABLogBook\tTransDate"),
    QStringLiteral("laboratory..tbLABLogBook2\tTransDate"),
    QStringLiteral("laboratory..tbLABMaster\tTransDate"),
};

// The Medicare work tables have no date column: a purge empties them.
const QStringList purgeRows = {
    QStringLiteral("Station..tbstationlogs\tTransDate"),
    QStringLiteral("Billing..tbBilling_UserLogin\tLogInDate"),
    QStringLiteral("Medicare..Medic_ORLogBook\t"),
    QStringLiteral("Medicare..Medic_LogBook\t"),
    QStringLiteral("Medicare..Medic_LabLogBook\t"),
    QStringLiteral("Medicare..Medic_XrayLogBook\t"),
    QStringLiteral("Medicare..medic_DumpAVGDays\t"),
    QStringLiteral("Medicare..Medic_DumpDiscount\t"),
    QStringLiteral("Medicare..Medic_DumpTable_Actual\t"),
    QStringLiteral("Medicare..Medic_DumpTable_Form3And4\t"),
};

} // namespace

frmHistorical::frmHistorical(window::MainWindowContext& context, QWidget* parent)
    : TransferWindow(context, parent) {
    setWindowTitle(QStringLiteral("Transfer to History"));
    layOut(buildTransferPage(), QStringLiteral("Transfer"), QStringLiteral("Delete old data"));
    Form_Load();
}

frmHistorical::~frmHistorical() = default;

QWidget* frmHistorical::buildTransferPage() {
    auto* page = new QWidget(this);
    auto* buttons = new QHBoxLayout;
    buttons->addWidget(m_delete);
    addButton(page, buttons, QStringLiteral("cmdTransfer"), QStringLiteral("Transfer Data"),
              [this] { cmdTransfer_Click(); });
    addStructureButtons(page, buttons);
    auto* layout = new QVBoxLayout(page);
    layout->addWidget(m_transferGrid, 1);
    layout->addLayout(buttons);
    return page;
}

void frmHistorical::Form_Load() {
    fillGrids(transferRows, purgeRows);
}

QString frmHistorical::destinationTable(const QString& sourceTable) const {
    return TransferStatements::historyDestinationTable(sourceTable);
}

std::vector<QString> frmHistorical::indexedTables() const {
    return {m_sourceTable};
}

void frmHistorical::cmdTransfer_Click() {
    if (!SelectTransferTable()) {
        return;
    }
    const auto olderThan = TransferStatements::olderThan(QDate::currentDate(), m_years->text());
    if (!olderThan) {
        refuseYears();
        return;
    }
    TransferDBJob job;
    job.query =
        TransferStatements::historyQuery(m_recordsAtATime->text(), m_sourceTable, m_dateColumn, *olderThan);
    job.sourceTable = m_sourceTable;
    job.destinationTable = m_destTable;
    job.dateColumn = m_dateColumn;
    job.recordsAtATime = m_recordsAtATime->text().toInt();
    job.deleteAfterTransfer = m_delete->isChecked();
    if (transferConfirmed(job)) {
        m_tools->transfer(job);
    }
}

} // namespace qormin::transfer
