#include "db/EventLoopYield.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QThread>

namespace qormin::db {

void yieldToEventLoop() {
    constexpr qint64 frameMilliseconds = 15;
    static QElapsedTimer sinceLastYield;
    const QCoreApplication* application = QCoreApplication::instance();
    if (application == nullptr || QThread::currentThread() != application->thread())
        return;
    if (sinceLastYield.isValid() && sinceLastYield.elapsed() < frameMilliseconds)
        return;
    QCoreApplication::processEvents();
    sinceLastYield.start();
}

} // namespace qormin::db
