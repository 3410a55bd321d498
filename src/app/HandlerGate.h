#pragma once

#include "platform/OverrideCursor.h"

#include <QElapsedTimer>
#include <QObject>
#include <QPointer>
#include <QString>
#include <functional>
#include <optional>
#include <vector>

class QLabel;
class QTabBar;
class QTimer;
class QWidget;

namespace qormin::app {

// One handler at a time. While a handler runs, the windows it may be started from take no
// input except what the handlers read on purpose as they run (allowWhileBusy: chkALL,
// chkStop, Cancel, the log views), scroll bars, splitters and tab switches that start nothing;
// timers keep running. The status line names what runs and for how long, and the wait cursor
// shows, until the handler ends.
//
// How a running handler is known: input reaches a widget only while the event loop turns, and
// while a handler runs the loop turns only inside its waits and yields (statement waits, the
// yields between log lines and rows), each of which opens a db::EventLoopYield. So input that
// arrives inside one is input during a handler, and is swallowed unless allowed. Handlers
// started without input (batch mode, start-up) are marked for their whole length by a Run.
// The status line starts with the first yield and ends when the window's event loop is idle
// again, so it covers the stretches between statements too.
class HandlerGate : public QObject {
    Q_OBJECT
public:
    HandlerGate(QWidget& mainWindow, QLabel& statusLine);
    ~HandlerGate() override;

    // A subsidiary window, gated like the main window.
    void addWindow(QWidget* window);
    // The control and everything inside it stay live while a handler runs.
    void allowWhileBusy(QWidget* control);
    // A click on a tab stays live while busy when switching to it starts nothing.
    void setTabBar(QTabBar* tabs, std::function<bool(int index)> switchStartsHandler);

    bool busy() const;
    QString statusText() const;   // "Backup (left) — 00:42"; empty when nothing runs
    QString runningLabel() const; // "Backup (left)"; empty when nothing runs
    // The window whose control started the running handler; null when nothing runs or when it
    // was started without a control.
    QWidget* runningWindow() const;
    // The per-statement wait cursor of the execution layer; the cursor waits while either is on.
    void setStatementBusy(bool busy);

    // A handler started without input, for its whole length.
    class Run {
    public:
        // control: what the run stands for (a batch command's control), if any.
        Run(HandlerGate& gate, const QString& label, const QWidget* control = nullptr);
        ~Run();
        Run(const Run&) = delete;
        Run& operator=(const Run&) = delete;

    private:
        HandlerGate& m_gate;
    };

    // What a control starts, for the status line: "Backup (left)" for cmdBackup(0), the tab's
    // caption for the tab strip, "frmHistorical: Start" inside a subsidiary window.
    static QString describe(const QWidget* control, const QWidget* mainWindow);

Q_SIGNALS:
    // The handler has returned: the window's event loop is idle again, or the last Run ended.
    void handlerEnded();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    bool isGated(const QWidget* widget) const;
    bool isAllowed(const QWidget* widget, const QEvent* event) const;
    bool isAllowedTabClick(const QWidget* widget, const QEvent* event) const;
    void noticeRunning();
    void loopAboutToBlock();
    void showRun(const QString& label, const QElapsedTimer& since, const QWidget* control);
    void endRun();
    void updateStatus();
    void updateCursor();

    QWidget& m_main;
    QLabel& m_statusLine;
    QTimer* m_tick;
    std::vector<QPointer<QWidget>> m_windows;
    std::vector<QPointer<QWidget>> m_allowed;
    QPointer<QTabBar> m_tabBar;
    std::function<bool(int)> m_switchStartsHandler;
    QPointer<QWidget> m_lastInput; // the control the latest input went to while not busy
    QElapsedTimer m_lastInputTime;
    int m_runs = 0;
    bool m_showing = false;
    QString m_label;
    QPointer<QWidget> m_runningWindow;
    QElapsedTimer m_since;
    bool m_statementBusy = false;
    std::optional<platform::OverrideCursor> m_waitCursor;
};

} // namespace qormin::app
