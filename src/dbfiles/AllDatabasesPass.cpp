#include "dbfiles/AllDatabasesPass.h"

#include "controls/FlexGrid.h"
#include "db/HeaderRowPass.h"
#include "window/MainWindowContext.h"

#include <QCheckBox>
#include <QLineEdit>

namespace qormin::dbfiles {

void forEachDatabase(window::MainWindowContext& context, int side, StopBox stopBox,
                     const std::function<void()>& step) {
    if (!context.chkALL()->isChecked()) {
        step();
        return;
    }
    controls::FlexGrid* grid = context.GridDB(side);
    const int rows = grid->Rows();
    for (int row = 0; row < rows; ++row) {
        const db::HeaderRowPass headerRow(context.serverAccess(), row == 0);
        context.txtDB()->setText(grid->TextMatrix(row, 0));
        step();
        if (!context.chkALL()->isChecked())
            return;
        if (stopBox == StopBox::EndsPass && context.stopRequested())
            return;
    }
}

} // namespace qormin::dbfiles
