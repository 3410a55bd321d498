#pragma once

#include "transfer/TransferWindow.h"

class QTimer;

namespace qormin::transfer {

// "Transfer DB": moves old rows of one table into the same-named table of another database on
// the left server (the scanned claim documents into a yearly database by default) and purges
// old rows of a list of tables in place. Its text boxes are kept in the settings section the
// main window uses.
class frmTransferDB : public TransferWindow {
    Q_OBJECT
public:
    explicit frmTransferDB(window::MainWindowContext& context, QWidget* parent = nullptr);
    ~frmTransferDB() override;

    void Form_Load();
    void Form_Unload();
    void cmdDefault_Click();
    void cmdTransfer_Click();
    void cmdStop_Click();

protected:
    void closeEvent(QCloseEvent* event) override;
    QString destinationTable(const QString& sourceTable) const override;
    std::vector<std::pair<QString, QString>> extraNames() const override;
    std::vector<QString> indexedTables() const override;

private:
    QWidget* buildTransferPage();
    std::vector<QLineEdit*> textBoxes() const;

    QLineEdit* m_startDate;
    QLineEdit* m_endDate;
    QLineEdit* m_toDatabase;
    QLineEdit* m_where;
    QTimer* m_timer;
};

} // namespace qormin::transfer
