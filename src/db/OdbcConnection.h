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
    // The database the session is in, as the driver last heard it from the server.
    QString currentCatalog() const;
    bool isConnected() const { return m_connected; }
    void* handle() const { return m_handle; }

private:
    void* m_handle = nullptr;
    bool m_connected = false;
};

} // namespace qormin::db
