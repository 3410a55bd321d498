// Cost of showing log lines in the window's log box: 100,000 and 200,000 lines put on top of
// txtLog one by one, with the view following each line. Linear growth shows as a ratio near 2.
#include "app/LogView.h"
#include "db/LogBuffer.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QTextStream>

namespace {

double secondsFor(int lines) {
    qormin::db::LogBuffer buffer;
    qormin::app::LogView view(buffer);
    view.resize(500, 400);
    view.show();
    QElapsedTimer clock;
    clock.start();
    for (int i = 0; i < lines; ++i) {
        buffer.prepend(QStringLiteral("Running SQL.. statement number ") + QString::number(i));
        if (i % 1000 == 0)
            QCoreApplication::processEvents();
    }
    QCoreApplication::processEvents();
    return static_cast<double>(clock.nsecsElapsed()) / 1e9;
}

} // namespace

int main(int argc, char** argv) {
    if (qEnvironmentVariableIsEmpty("DISPLAY"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication application(argc, argv);
    QTextStream out(stdout);
    const double first = secondsFor(100000);
    const double second = secondsFor(200000);
    out << "log view: 100000 lines " << first << " s, 200000 lines " << second << " s, ratio "
        << second / first << Qt::endl;
    return 0;
}
