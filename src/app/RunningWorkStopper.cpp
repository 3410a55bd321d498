#include "app/RunningWorkStopper.h"

#include "app/HandlerGate.h"
#include "app/frmMain.h"
#include "db/ServerAccess.h"

#include <QAbstractButton>
#include <QCheckBox>
#include <QThread>
#include <QTimer>

namespace qormin::app {

namespace {

constexpr int cancelTickMilliseconds = 100;

} // namespace

RunningWorkStopper::RunningWorkStopper(frmMain& window, HandlerGate& gate)
    : QObject(&window), m_window(window), m_gate(gate), m_cancelTick(new QTimer(this)),
      m_limit(new QTimer(this)) {
    m_cancelTick->setInterval(cancelTickMilliseconds);
    connect(m_cancelTick, &QTimer::timeout, this, &RunningWorkStopper::cancelAgain);
    m_limit->setSingleShot(true);
    m_limit->setInterval(handlerEndLimit);
    connect(m_limit, &QTimer::timeout, this, &RunningWorkStopper::overdue);
    connect(&gate, &HandlerGate::handlerEnded, this, [this] {
        if (m_stopping)
            finish();
    });
}

void RunningWorkStopper::setLimit(std::chrono::milliseconds limit) {
    m_limit->setInterval(limit);
}

// A handler is on the window thread's stack while the gate says so, and also while it shows a
// message box (a nested loop that opens no yield).
bool RunningWorkStopper::handlerOnStack() const {
    return m_gate.busy() || QThread::currentThread()->loopLevel() > 1;
}

void RunningWorkStopper::stop() {
    if (!handlerOnStack()) {
        Q_EMIT ended();
        return;
    }
    if (!m_stopping) {
        m_stopping = true;
        m_stopWasTicked = m_window.chkStop()->isChecked();
        m_limit->start();
        m_cancelTick->start();
        m_window.serverAccess().refuseNewStatements(true);
    }
    m_window.chkStop()->setChecked(true);
    for (QWidget* subsidiary : m_window.subsidiaryWindows()) {
        if (auto* stopButton = subsidiary->findChild<QAbstractButton*>(QStringLiteral("cmdStop")))
            stopButton->click();
    }
    m_window.serverAccess().cancelRunningStatement();
}

// Runs inside the handler's waits; the window's own loop (level 1, or none in batch mode) idle
// and no yield open means the handler is over even when the gate had not shown it.
void RunningWorkStopper::cancelAgain() {
    if (!handlerOnStack()) {
        finish();
        return;
    }
    m_window.serverAccess().cancelRunningStatement();
}

void RunningWorkStopper::finish() {
    m_stopping = false;
    m_cancelTick->stop();
    m_limit->stop();
    m_window.serverAccess().refuseNewStatements(false);
    m_window.chkStop()->setChecked(m_stopWasTicked);
    Q_EMIT ended();
}

} // namespace qormin::app
