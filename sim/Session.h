#pragma once

#include "sim/PreparedStatement.h"
#include "sim/ServerCursor.h"

#include <QString>
#include <map>

namespace qormin::sim {

// Per-connection state that outlives a single request.
struct Session {
    int connection = 0;
    QString user;
    QString database = QStringLiteral("master");
    std::map<QString, ServerCursor> cursors; // key: lower-case name
    std::map<qint32, PreparedStatement> prepared;
    qint32 nextHandle = 1;
};

} // namespace qormin::sim
