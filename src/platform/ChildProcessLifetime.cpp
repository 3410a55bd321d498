#include "platform/ChildProcessLifetime.h"

#include <QProcess>

#ifdef Q_OS_LINUX
#include <csignal>
#include <sys/prctl.h>
#endif

namespace qormin::platform {

void endWithThisProcess([[maybe_unused]] QProcess& process) {
#ifdef Q_OS_LINUX
    // Runs in the child between fork and exec: a system call and nothing else.
    process.setChildProcessModifier([] { ::prctl(PR_SET_PDEATHSIG, SIGTERM); });
#endif
}

} // namespace qormin::platform
