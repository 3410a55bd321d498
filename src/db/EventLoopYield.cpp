#include "db/EventLoopYield.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QThread>

namespace qormin::db {

int EventLoopYield::s_depth = 0;

EventLoopYield::EventLoopYield() {
    ++s_depth;
}

EventLoopYield::~EventLoopYield() {
    --s_depth;
}

bool EventLoopYield::isOpen() {
    return s_depth > 0;
}

void EventLoopYield::processEvents() {
    if (QCoreApplication::instance() == nullptr)
        return;
    const EventLoopYield scope;
    QCoreApplication::processEvents();
}

void yieldToEventLoop() {
    constexpr qint64 frameMilliseconds = 15;
    static QElapsedTimer sinceLastYield;
    const QCoreApplication* application = QCoreApplication::instance();
    if (application == nullptr || QThread::currentThread() != application->thread())
        return;
    if (sinceLastYield.isValid() && sinceLastYield.elapsed() < frameMilliseconds)
        return;
    EventLoopYield::processEvents();
    sinceLastYield.start();
}

} // namespace qormin::db
