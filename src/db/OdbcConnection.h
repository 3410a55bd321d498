#pragma once

#include "db/OdbcDiagnostics.h"

#include <QString>
#include <vector>

namespace qormin::db {

class OdbcEnvironment;

// Owns one ODBC connection handle; disconnects and frees it on destruction.
class OdbcConnection {
public:
    explicit OdbcConnection(OdbcEnvironment& environment);
    ~OdbcConnection();
    OdbcConnection(const OdbcConnection&) = delete;
    OdbcConnection& operator=(const OdbcConnection&) = delete;

    // Returns false and fills diagnostics when the driver refuses the connection.
    bool connect(const QString& connectionString, int loginTimeoutSeconds,
                 std::vector<OdbcDiagnostic>& diagnostics);
    void disconnect();
    bool isConnected() const { return m_connected; }
    void* handle() const { return m_handle; }
    // The database the driver last heard the server switch to (login, USE): no round trip.
    QString currentCatalog() const;

private:
    void* m_handle = nullptr;
    bool m_connected = false;
};

} // namespace qormin::db
