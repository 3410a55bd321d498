#pragma once

namespace qormin::platform {

// The console's Ctrl+C, Ctrl+Break, close, log-off and shut-down events. Windows calls the
// handler on a thread of its own with the event's name ("CTRL_CLOSE_EVENT"). Plain C++ and
// windows.h only.
using ConsoleRequestHandler = void (*)(const char* name);
bool watchConsoleRequests(ConsoleRequestHandler handler);
void stopWatchingConsoleRequests();

} // namespace qormin::platform
