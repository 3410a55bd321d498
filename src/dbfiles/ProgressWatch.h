#pragma once

#include <QObject>
#include <QString>
#include <chrono>
#include <memory>

namespace qormin::db {
class RequestProgressPoller;
}

namespace qormin::window {
class MainWindowContext;
}

namespace qormin::dbfiles {

// Shows how far a long BACKUP or RESTORE has come while it runs: a second, short-lived
// connection to the side reads the working session's request about once a second, and each
// reading goes to the status area and the server-messages view (which batch runs print).
// The statement itself runs exactly as ExecuteSQL always ran it.
class ProgressWatch : public QObject {
    Q_OBJECT
public:
    explicit ProgressWatch(window::MainWindowContext& context, QObject* parent = nullptr);
    ~ProgressWatch() override;

    // ExecuteSQL(side, sql) with its progress shown under label ("Backup Billing").
    bool execute(int side, const QString& sql, const QString& label);

    void setInterval(std::chrono::milliseconds interval) { m_interval = interval; }

private:
    void startPolling(int side, const QString& label);
    void stopPolling();
    void show(double percent, qint64 millisecondsLeft);
    void giveUp(const QString& reason);

    window::MainWindowContext& m_context;
    std::chrono::milliseconds m_interval{1000};
    std::unique_ptr<db::RequestProgressPoller> m_poller;
    QString m_label;
    int m_side = -1;
    int m_shownPercent = -1;
};

} // namespace qormin::dbfiles
