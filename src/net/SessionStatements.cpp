#include "net/SessionStatements.h"

namespace qormin::net {

QString SessionStatements::clearConnections(const QString& database) {
    return QStringLiteral("USE master ;  DECLARE @dbname varchar(30), @spid varchar(10), @start datetime "
                          "SELECT @start = current_timestamp, @dbname = '") +
           database +
           QStringLiteral(
               "' while(exists(Select * FROM sysprocesses WHERE dbid = db_id(@dbname)) AND  datediff(mi, "
               "@start, current_timestamp) < 5)     BEGIN      DECLARE spids CURSOR FOR       SELECT "
               "convert(varchar, spid) FROM sysprocesses        WHERE dbid = db_id(@dbname)      OPEN spids  "
               "    While (1 = 1)      BEGIN       FETCH spids INTO @spid       IF @@fetch_status < 0 BREAK  "
               "     exec('kill ' + @spid)      End      DEALLOCATE spids End ");
}

} // namespace qormin::net
