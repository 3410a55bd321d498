#pragma once

#include <QObject>
#include <QString>
#include <chrono>

class QTimer;

namespace qormin::app {

class HandlerGate;
class frmMain;

// Ends the handler under way as soon as it lets itself be ended: the statement running now is
// cancelled, and so is each one it starts afterwards (a loop without a stop flag goes on to its
// next row), and the stop flags the loops read are set (chkStop, each subsidiary window's
// cmdStop). ended() follows once the handler has returned, overdue() when it has not within the
// limit; the cancelling goes on after overdue() until it has. chkStop is put back as it was.
class RunningWorkStopper : public QObject {
    Q_OBJECT
public:
    static constexpr std::chrono::seconds handlerEndLimit{10};

    RunningWorkStopper(frmMain& window, HandlerGate& gate);

    void stop();
    bool stopping() const { return m_stopping; }
    void setLimit(std::chrono::milliseconds limit);

Q_SIGNALS:
    void ended();
    void overdue();

private:
    bool handlerOnStack() const;
    void cancelAgain();
    void finish();

    frmMain& m_window;
    HandlerGate& m_gate;
    QTimer* m_cancelTick;
    QTimer* m_limit;
    bool m_stopping = false;
    bool m_stopWasTicked = false;
};

} // namespace qormin::app
