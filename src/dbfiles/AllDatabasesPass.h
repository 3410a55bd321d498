#pragma once

#include <functional>

namespace qormin::window {
class MainWindowContext;
}

namespace qormin::dbfiles {

// The all-databases loop the database-file buttons share: with chkALL ticked, txtDB takes each
// row of the side's grid in turn, row 0 (the header) first, the row count read once; clearing
// chkALL ends the pass after the current database. Without chkALL, step runs once for txtDB.
enum class StopBox { Ignored, EndsPass };
void forEachDatabase(window::MainWindowContext& context, int side, StopBox stopBox,
                     const std::function<void()>& step);

} // namespace qormin::dbfiles
