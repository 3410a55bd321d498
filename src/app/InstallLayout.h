#pragma once

#include <QString>

// Where the program's companions are: beside it in a build tree (and in a Windows install),
// under the installed folders (<prefix>/lib/qormin-dbtools, <prefix>/share/qormin-dbtools)
// otherwise. Each function takes the program's folder so that any layout can be checked.
namespace qormin::app::install {

// The simulator program, or empty when neither layout holds it.
QString simulatorProgram(const QString& programDirectory);
// The demo scenario, or empty when neither layout holds it.
QString demoScenario(const QString& programDirectory);
// True when the program runs from an installed tree rather than from its build folder.
bool runsInstalled(const QString& programDirectory);
// The folder of the program's text files when --data-dir is not given: the program's own
// folder in a build tree, as the tool always kept them; a per-user folder when installed, as
// the installed folder is not the user's to write.
QString defaultDataDirectory(const QString& programDirectory);

} // namespace qormin::app::install
