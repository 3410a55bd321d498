#include "platform/Win32ConsoleControl.h"

#include <atomic>
#include <windows.h>

namespace qormin::platform {

namespace {

std::atomic<ConsoleRequestHandler> handler{nullptr};

const char* eventName(DWORD type) {
    switch (type) {
    case CTRL_C_EVENT:
        return "CTRL_C_EVENT";
    case CTRL_BREAK_EVENT:
        return "CTRL_BREAK_EVENT";
    case CTRL_CLOSE_EVENT:
        return "CTRL_CLOSE_EVENT";
    case CTRL_LOGOFF_EVENT:
        return "CTRL_LOGOFF_EVENT";
    case CTRL_SHUTDOWN_EVENT:
        return "CTRL_SHUTDOWN_EVENT";
    default:
        return nullptr;
    }
}

BOOL WINAPI onConsoleEvent(DWORD type) {
    const ConsoleRequestHandler current = handler.load();
    const char* name = eventName(type);
    if (current == nullptr || name == nullptr)
        return FALSE;
    current(name);
    return TRUE;
}

} // namespace

bool watchConsoleRequests(ConsoleRequestHandler requestHandler) {
    handler.store(requestHandler);
    return SetConsoleCtrlHandler(onConsoleEvent, TRUE) != 0;
}

void stopWatchingConsoleRequests() {
    SetConsoleCtrlHandler(onConsoleEvent, FALSE);
    handler.store(nullptr);
}

} // namespace qormin::platform
