#pragma once

#include <QObject>
#include <QPointer>
#include <QString>
#include <functional>
#include <vector>

class QWidget;

namespace qormin::app {

class HandlerGate;
class RunningWorkStopper;
class frmMain;

// Closing a window while a handler runs asks first. Unasked, the handler carried on unseen,
// and a main window closed under it ended the event loop that the handler's waits turn: each
// wait then returned at once and the window thread spun. Yes stops the handler
// (RunningWorkStopper) and, once it has returned, closes the window the way it always closes,
// so what the window saves on unload is saved; No keeps the handler and the window. A handler
// that has not returned within the stopper's limit is logged and the window closes anyway; for
// the main window that ends the program through the overdue end (Application sets it).
// Closing the main window closes the subsidiary windows first, so they save too.
class CloseGuard : public QObject {
    Q_OBJECT
public:
    CloseGuard(frmMain& window, HandlerGate& gate, RunningWorkStopper& stopper);

    void addWindow(QWidget* subsidiary);
    // A termination request (SIGTERM): the main window closes as after Yes, nobody is asked.
    void closeWithoutAsking(const QString& reason);
    void setOverdueEnd(std::function<void()> end) { m_overdueEnd = std::move(end); }

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    bool mayClose(QWidget* window);
    bool handlerRunsFor(const QWidget* window) const;
    void closeAfterStop(QWidget* window);
    void closePending();
    void closeOverdue();
    void closeNow(QWidget* window);
    void closeSubsidiaries();

    frmMain& m_main;
    HandlerGate& m_gate;
    RunningWorkStopper& m_stopper;
    std::vector<QPointer<QWidget>> m_windows;
    std::vector<QPointer<QWidget>> m_pending; // asked to close once the handler has returned
    QPointer<QWidget> m_closingNow;           // being closed by the guard itself
    std::function<void()> m_overdueEnd;
};

} // namespace qormin::app
