#pragma once

namespace qormin::db {

// Lets the window repaint and see clicks (STOP, Cancel) while work runs on its thread: turns the
// event loop when it has not been turned for a frame. Once per frame is enough; turning it for
// every log line or row costs more than the line or row itself. Does nothing off the window's
// thread.
void yieldToEventLoop();

} // namespace qormin::db
