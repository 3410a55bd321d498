#pragma once

namespace qormin::db {

// Open while code that is under way lets the window's event loop turn: a statement wait, the
// yields between log lines and rows. Input can only reach the window while the loop turns, and
// inside one of these the code below on the stack (a handler) has not finished; the window
// keeps its inputs inert while one is open. Handlers never call processEvents() themselves:
// they yield through processEvents() here, so that no input slips past. Window thread only.
class EventLoopYield {
public:
    EventLoopYield();
    ~EventLoopYield();
    EventLoopYield(const EventLoopYield&) = delete;
    EventLoopYield& operator=(const EventLoopYield&) = delete;

    static bool isOpen();
    // QCoreApplication::processEvents() inside a scope; nothing without an application object.
    static void processEvents();

private:
    static int s_depth;
};

// Lets the window repaint and see clicks (STOP, Cancel) while work runs on its thread: turns the
// event loop when it has not been turned for a frame. Once per frame is enough; turning it for
// every log line or row costs more than the line or row itself. Does nothing off the window's
// thread.
void yieldToEventLoop();

} // namespace qormin::db
