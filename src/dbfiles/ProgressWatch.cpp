#include "dbfiles/ProgressWatch.h"

#include "db/LogBuffer.h"
#include "db/RequestProgressPoller.h"
#include "db/ServerAccess.h"
#include "db/ServerMessageLog.h"
#include "db/SideConnection.h"
#include "dbfiles/ProgressText.h"
#include "window/MainWindowContext.h"

#include <cmath>

namespace qormin::dbfiles {

namespace {
// A little over the poll interval: the reading stays up until the next one, and goes soon after
// the statement's end.
constexpr int statusMilliseconds = 1500;
} // namespace

ProgressWatch::ProgressWatch(window::MainWindowContext& context, QObject* parent)
    : QObject(parent), m_context(context) {
    // The side's statement is over: a reading still on its way would describe the past.
    connect(&context.serverAccess(), &db::ServerAccess::statementFinished, this, [this](int side) {
        if (side == m_side)
            stopPolling();
    });
}

ProgressWatch::~ProgressWatch() = default;

bool ProgressWatch::execute(int side, const QString& sql, const QString& label) {
    db::ServerAccess& access = m_context.serverAccess();
    // A side that ExecuteSQL still has to connect is left to it, so its log reads as always;
    // under Script only nothing runs that could be watched.
    if (!access.scriptOnly() && access.IsConnected(side))
        startPolling(side, label);
    const bool succeeded = access.ExecuteSQL(side, sql);
    stopPolling();
    return succeeded;
}

void ProgressWatch::startPolling(int side, const QString& label) {
    db::SideConnection& connection = m_context.serverAccess().side(side);
    const int sessionId = connection.sessionId();
    if (sessionId <= 0)
        return;
    // The last pass's thread has long ended; this only collects it.
    m_poller.reset();
    m_poller = std::make_unique<db::RequestProgressPoller>(connection.connectionString(),
                                                           connection.loginTimeout(), sessionId, m_interval);
    connect(m_poller.get(), &db::RequestProgressPoller::progressRead, this, &ProgressWatch::show);
    connect(m_poller.get(), &db::RequestProgressPoller::failed, this, &ProgressWatch::giveUp);
    m_label = label;
    m_side = side;
    m_shownPercent = -1;
    m_poller->start();
}

void ProgressWatch::stopPolling() {
    m_side = -1;
    if (!m_poller)
        return;
    m_poller->stop();
    m_poller->disconnect(this);
}

void ProgressWatch::show(double percent, qint64 millisecondsLeft) {
    if (m_side < 0)
        return;
    const QString text = ProgressText::describe(m_label, percent, millisecondsLeft);
    m_context.showStatusMessage(text, statusMilliseconds);
    const int whole = static_cast<int>(std::floor(percent));
    if (whole == m_shownPercent)
        return;
    m_shownPercent = whole;
    db::ServerMessage message;
    message.text = text;
    m_context.serverAccess().serverMessages().add(m_side, message);
}

void ProgressWatch::giveUp(const QString& reason) {
    if (m_side < 0)
        return;
    // Written straight into the log: a yield here would run inside the statement's wait.
    m_context.serverAccess().log().prepend(ProgressText::unavailable(m_label, reason));
    stopPolling();
}

} // namespace qormin::dbfiles
