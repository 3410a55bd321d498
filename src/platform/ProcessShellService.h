#pragma once

#include "platform/ShellService.h"

namespace qormin::platform {

class PathMapper;

// The real shell: cmd.exe on Windows, /bin/sh elsewhere; folders open in the desktop's file manager.
class ProcessShellService : public ShellService {
public:
    explicit ProcessShellService(const PathMapper& paths) : m_paths(paths) {}
    int run(const QString& commandLine, bool wait) override;
    bool openFolder(const QString& folder) override;

private:
    const PathMapper& m_paths;
};

} // namespace qormin::platform
