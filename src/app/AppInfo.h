#pragma once

#include <QString>

namespace qormin::app {

// The window caption: the title, " v." and the whole version record.
inline QString applicationTitle() {
    return QStringLiteral("QORMIN DB Tools");
}
inline QString applicationVersion() {
    return QStringLiteral(QORMIN_VERSION);
}

} // namespace qormin::app
