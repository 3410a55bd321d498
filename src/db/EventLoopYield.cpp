#include "db/EventLoopYield.h"

#include <QCoreApplication>

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

} // namespace qormin::db
