#pragma once

#include <QString>

namespace qormin::platform {

// Commands and folder windows of the operating system's shell, behind an interface so tests
// and batch mode can see what would have run.
class ShellService {
public:
    virtual ~ShellService() = default;
    // Runs a command line through the system's command interpreter. With wait, returns its
    // exit code; otherwise 0 once started. -1 when it could not be started.
    virtual int run(const QString& commandLine, bool wait) = 0;
    // Opens a folder window on a folder (a Windows folder text, mapped where needed).
    virtual bool openFolder(const QString& folder) = 0;
};

} // namespace qormin::platform
