#pragma once

#include <QWidget>

class QBoxLayout;
class QVBoxLayout;

namespace qormin::window {
class MainWindowContext;
}

namespace qormin::app {

// "Main Tools": the shared backup folders on top, then one tool column per side (buttons added by
// the subsystems, beside the side's backup-folder file list) with a shared tool area between them.
class MainToolsPage : public QWidget {
    Q_OBJECT
public:
    explicit MainToolsPage(window::MainWindowContext& context, QWidget* parent = nullptr);

    QBoxLayout* sideButtons(int side);
    QBoxLayout* toolArea() const;

private:
    QVBoxLayout* m_sideButtons[2];
    QVBoxLayout* m_toolArea;
};

} // namespace qormin::app
