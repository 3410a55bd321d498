#pragma once

#include <QWidget>

class QBoxLayout;
class QVBoxLayout;

namespace qormin::app {

class MainWindowContext;

// "Restore Dir": a source folder of backups and data files (txtRestoreDir) and its two lists.
class RestoreDirPage : public QWidget {
    Q_OBJECT
public:
    explicit RestoreDirPage(MainWindowContext& context, QWidget* parent = nullptr);
    QBoxLayout* toolArea() const;

private:
    QVBoxLayout* m_toolArea;
};

} // namespace qormin::app
