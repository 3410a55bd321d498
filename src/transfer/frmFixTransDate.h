#pragma once

#include <QString>
#include <QVariant>
#include <QWidget>

class QCheckBox;
class QLineEdit;
class QPlainTextEdit;
class QProgressBar;

namespace qormin::db {
class RecordReader;
class ServerAccess;
class SideConnection;
struct StatementOutcome;
} // namespace qormin::db

namespace qormin::platform {
class MessageBoxService;
class SettingsStore;
} // namespace qormin::platform

namespace qormin::transfer {

// "Fix Trans Date": gives daily-bill rows whose TransDate was overwritten their true date back,
// from a backup copy of the table first and then from a fixed chain of other tables, and marks
// in TransDateFixed which source gave it. Works on the left server's connection.
class frmFixTransDate : public QWidget {
    Q_OBJECT
public:
    frmFixTransDate(db::ServerAccess& access, platform::MessageBoxService& messageBoxes,
                    platform::SettingsStore& settings, QWidget* parent = nullptr);
    ~frmFixTransDate() override;

    void Command1_Click();
    void cmdStop_Click();
    // Puts in the condition of a resumed run: the bad date, rows not handled yet.
    void txtWhere_DblClick();
    void WriteLog(const QString& text, bool append);

    bool stopFlag() const { return m_stop; }

protected:
    void closeEvent(QCloseEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void showLine(const QString& text, bool append);
    void buildLayout();
    void loadSettings();
    void saveSettings();
    void addFixedColumns(db::SideConnection& side);
    void showRowCount(db::SideConnection& side);
    bool repairRow(db::RecordReader& reader, db::SideConnection& side);
    bool dateOf(const db::StatementOutcome& outcome, QVariant& date);
    bool saveDate(db::RecordReader& reader, const QVariant& date, int method);
    void endRun(const QString& error);

    db::ServerAccess& m_access;
    platform::MessageBoxService& m_messageBoxes;
    platform::SettingsStore& m_settings;
    bool m_stop = false;
    QString m_error;

    QLineEdit* m_src;
    QLineEdit* m_dest;
    QLineEdit* m_where;
    QCheckBox* m_chkLog;
    QPlainTextEdit* m_log;
    QProgressBar* m_progress;
};

} // namespace qormin::transfer
