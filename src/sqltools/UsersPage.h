#pragma once

#include "window/Tab.h"

#include <QWidget>

namespace qormin::window {
class MainWindowContext;
}

namespace qormin::controls {
class FlexGrid;
}

namespace qormin::sqltools {

// "Users": the left server's sessions (sp_who2) in GridT.
class UsersPage : public QWidget {
    Q_OBJECT
public:
    static constexpr int pageIndex = window::Tab::Users;

    UsersPage(window::MainWindowContext& context, QWidget* parent = nullptr);
    static UsersPage* install(window::MainWindowContext& context);

    void cmdReadGrid_Click();

    controls::FlexGrid* GridT() const { return m_GridT; }

private:
    window::MainWindowContext& m_context;
    controls::FlexGrid* m_GridT;
};

} // namespace qormin::sqltools
