#include "db/DriverLocator.h"

#include "db/OdbcEnvironment.h"
#include "db/OdbcText.h"

#include <QFileInfo>
#include <sql.h>
#include <sqlext.h>

namespace qormin::db {

QStringList DriverLocator::installedDrivers() {
    QStringList names;
    void* environment = OdbcEnvironment::shared().handle();
    if (environment == nullptr) {
        return names;
    }
    SQLUSMALLINT direction = SQL_FETCH_FIRST;
    for (;;) {
        SQLWCHAR name[256] = {};
        SQLWCHAR attributes[1024] = {};
        SQLSMALLINT nameLength = 0;
        SQLSMALLINT attributesLength = 0;
        const SQLRETURN rc =
            SQLDriversW(environment, direction, name, 256, &nameLength, attributes, 1024, &attributesLength);
        if (!SQL_SUCCEEDED(rc)) {
            break;
        }
        names.append(fromSqlWide(name, std::min<qsizetype>(nameLength, 255)));
        direction = SQL_FETCH_NEXT;
    }
    return names;
}

QString DriverLocator::choose(const QStringList& installed) {
#ifdef Q_OS_WIN
    for (const char* preferred : {"ODBC Driver 18 for SQL Server", "ODBC Driver 17 for SQL Server",
                                  "SQL Server Native Client 11.0", "SQL Server"}) {
        if (installed.contains(QLatin1String(preferred), Qt::CaseInsensitive)) {
            return QLatin1String(preferred);
        }
    }
    return QStringLiteral("SQL Server");
#else
    for (const QString& name : installed) {
        if (name.contains(QLatin1String("FreeTDS"), Qt::CaseInsensitive)) {
            return name;
        }
    }
    return fallbackLibrary();
#endif
}

QString DriverLocator::defaultDriver() {
    return choose(installedDrivers());
}

QString DriverLocator::fallbackLibrary() {
    for (const char* path :
         {"/usr/lib/x86_64-linux-gnu/odbc/libtdsodbc.so", "/usr/lib/aarch64-linux-gnu/odbc/libtdsodbc.so",
          "/usr/lib64/libtdsodbc.so.0", "/usr/local/lib/libtdsodbc.so"}) {
        if (QFileInfo::exists(QLatin1String(path))) {
            return QLatin1String(path);
        }
    }
    return QStringLiteral("/usr/lib/x86_64-linux-gnu/odbc/libtdsodbc.so");
}

} // namespace qormin::db
