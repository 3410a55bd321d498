#pragma once

#include "transfer/TransferWindow.h"

namespace qormin::transfer {

// "Transfer to History": moves rows older than a number of years from the log and journal
// tables into same-named tables of the HISTORY database, and purges old rows in place. Nothing
// of it is kept in the settings.
class frmHistorical : public TransferWindow {
    Q_OBJECT
public:
    explicit frmHistorical(window::MainWindowContext& context, QWidget* parent = nullptr);
    ~frmHistorical() override;

    void Form_Load();
    void cmdTransfer_Click();

protected:
    QString destinationTable(const QString& sourceTable) const override;
    std::vector<QString> indexedTables() const override;

private:
    QWidget* buildTransferPage();
};

} // namespace qormin::transfer
