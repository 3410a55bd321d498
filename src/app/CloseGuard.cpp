#include "app/CloseGuard.h"

#include "app/HandlerGate.h"
#include "app/RunningWorkStopper.h"
#include "app/frmMain.h"
#include "db/ServerAccess.h"
#include "platform/MessageBoxService.h"

#include <QCloseEvent>
#include <QWidget>
#include <algorithm>

namespace qormin::app {

CloseGuard::CloseGuard(frmMain& window, HandlerGate& gate, RunningWorkStopper& stopper)
    : QObject(&window), m_main(window), m_gate(gate), m_stopper(stopper) {
    window.installEventFilter(this);
    connect(&stopper, &RunningWorkStopper::ended, this, &CloseGuard::closePending);
    connect(&stopper, &RunningWorkStopper::overdue, this, &CloseGuard::closeOverdue);
}

void CloseGuard::addWindow(QWidget* subsidiary) {
    m_windows.emplace_back(subsidiary);
    subsidiary->installEventFilter(this);
}

void CloseGuard::closeWithoutAsking(const QString& reason) {
    m_main.serverAccess().LogMessage(reason);
    closeAfterStop(&m_main);
}

bool CloseGuard::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() != QEvent::Close || !watched->isWidgetType())
        return false;
    auto* window = static_cast<QWidget*>(watched);
    if (mayClose(window)) {
        if (window == &m_main)
            closeSubsidiaries();
        return false;
    }
    event->ignore();
    return true;
}

namespace {

QString nameOf(const HandlerGate& gate) {
    const QString label = gate.runningLabel();
    return label.isEmpty() ? CloseGuard::tr("The running work") : label;
}

} // namespace

bool CloseGuard::mayClose(QWidget* window) {
    if (window == m_closingNow || !handlerRunsFor(window))
        return true;
    const QString question = nameOf(m_gate) + tr(" is still running. Cancel it and close the window?");
    if (m_main.messageBoxes().MsgBox(question, platform::MessageBoxButtons::YesNo) ==
        platform::MessageBoxAnswer::Yes)
        closeAfterStop(window);
    return false;
}

// Closing the main window ends the program, whichever window's handler runs; a subsidiary
// window closes freely under another window's handler.
bool CloseGuard::handlerRunsFor(const QWidget* window) const {
    if (!m_gate.busy())
        return false;
    const QWidget* running = m_gate.runningWindow();
    return window == &m_main || running == nullptr || running == window;
}

void CloseGuard::closeAfterStop(QWidget* window) {
    m_pending.emplace_back(window);
    m_stopper.stop();
}

void CloseGuard::closePending() {
    std::vector<QPointer<QWidget>> pending;
    pending.swap(m_pending);
    for (const QPointer<QWidget>& window : pending) {
        if (!window.isNull())
            closeNow(window.data());
    }
}

void CloseGuard::closeOverdue() {
    if (m_pending.empty())
        return;
    m_main.serverAccess().LogMessage(nameOf(m_gate) +
                                     tr(" did not end within %1 s of its cancel; the window closes anyway.")
                                         .arg(RunningWorkStopper::handlerEndLimit.count()));
    const bool mainPending =
        std::any_of(m_pending.begin(), m_pending.end(),
                    [this](const QPointer<QWidget>& window) { return window == &m_main; });
    if (mainPending && m_overdueEnd) {
        closeSubsidiaries();
        m_overdueEnd();
        return;
    }
    closePending();
}

void CloseGuard::closeNow(QWidget* window) {
    m_closingNow = window;
    window->close();
    m_closingNow = nullptr;
}

void CloseGuard::closeSubsidiaries() {
    for (const QPointer<QWidget>& subsidiary : m_windows) {
        if (!subsidiary.isNull() && subsidiary->isVisible())
            closeNow(subsidiary.data());
    }
}

} // namespace qormin::app
