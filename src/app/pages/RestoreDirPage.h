#pragma once

#include <QWidget>

class QBoxLayout;
class QVBoxLayout;

namespace qormin::window {
class MainWindowContext;
}

namespace qormin::app {

// "Restore Dir": a source folder of backups and data files (txtRestoreDir) and its two lists.
class RestoreDirPage : public QWidget {
    Q_OBJECT
public:
    explicit RestoreDirPage(window::MainWindowContext& context, QWidget* parent = nullptr);
    QBoxLayout* toolArea() const;

private:
    QVBoxLayout* m_toolArea;
};

} // namespace qormin::app
