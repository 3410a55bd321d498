#pragma once

#include <QString>
#include <QStringList>

namespace qormin::db {

// Finds the ODBC driver that stands in for the SQL Server OLE DB provider.
class DriverLocator {
public:
    // The registered driver names, as the driver manager lists them.
    static QStringList installedDrivers();
    // FreeTDS on Unix, the newest SQL Server driver on Windows; the library path when no
    // FreeTDS driver is registered.
    static QString defaultDriver();
    // A driver given by its library, for when the registered name does not load.
    static QString fallbackLibrary();
    // Picks from a list of registered names (pure; the rule behind defaultDriver()).
    static QString choose(const QStringList& installed);
};

} // namespace qormin::db
