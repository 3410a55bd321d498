#include "app/AppInfo.h"

#include <QApplication>
#include <QLabel>

int main(int argc, char** argv) {
    QApplication app(argc, argv);
    QLabel label(qormin::app::applicationTitle() + QStringLiteral(" v.") + qormin::app::applicationVersion());
    label.show();
    return app.exec();
}
