#pragma once

class QProcess;

namespace qormin::platform {

// Makes a program started by process end when this program ends, however it ends (killed
// included), so no helper is left running without its owner. Call before start(). Linux: the
// parent-death signal; elsewhere nothing yet (the owner still ends it on an orderly exit).
void endWithThisProcess(QProcess& process);

} // namespace qormin::platform
