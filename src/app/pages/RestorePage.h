#pragma once

#include <QWidget>

class QBoxLayout;
class QVBoxLayout;

namespace qormin::window {
class MainWindowContext;
}

namespace qormin::app {

// "Restore": the restore-target drives of both servers and the shared backup folder's files.
class RestorePage : public QWidget {
    Q_OBJECT
public:
    explicit RestorePage(window::MainWindowContext& context, QWidget* parent = nullptr);
    QBoxLayout* toolArea() const;

private:
    QVBoxLayout* m_toolArea;
};

} // namespace qormin::app
