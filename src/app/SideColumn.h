#pragma once

#include <QGroupBox>

class QLabel;
class QLineEdit;
class QPushButton;

namespace qormin::controls {
class FlexGrid;
}

namespace qormin::app {

// One server's column (side 0 left, side 1 right): its login fields, share credentials,
// folders, connect and refresh buttons, and its database grid. The controls carry the names
// of the side's control arrays ("txtServer(0)").
class SideColumn : public QGroupBox {
    Q_OBJECT
public:
    SideColumn(int side, QWidget* parent = nullptr);

    QLineEdit* txtServer;
    QLineEdit* txtUserID;
    QLineEdit* txtPW;
    QLineEdit* txtServerUser;
    QLineEdit* txtServerPW;
    QLineEdit* txtLogDrive;
    QLineEdit* txtPath;
    QPushButton* cmdConnect;
    QPushButton* cmdRefreshDB;
    controls::FlexGrid* GridDB;
    QLabel* lblDBCount;
};

} // namespace qormin::app
