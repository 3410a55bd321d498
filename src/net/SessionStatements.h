#pragma once

#include <QString>

namespace qormin::net {

// Statements that end the user sessions holding a database open.
class SessionStatements {
public:
    SessionStatements() = delete;

    // One batch for cmdClearConnections: kills every session of the database until none
    // is left or five minutes have passed. The name is quoted as typed, unescaped, and the
    // server cuts it to 30 characters.
    static QString clearConnections(const QString& database);
};

} // namespace qormin::net
