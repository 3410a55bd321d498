#include "net/SessionStatements.h"
#include "QStringPrinter.h"

#include <gtest/gtest.h>

namespace {

using qormin::net::SessionStatements;

// Long names and quotes go in as typed; the server, not the tool, cuts and rejects them.
TEST(SessionStatementsTest, clearConnectionsIsTheKillLoopBatchWithTheNamePastedUnchanged) {
    const QString expected = QStringLiteral(
        "USE master ;  DECLARE @dbname varchar(30), @spid varchar(10), @start datetime SELECT @start = "
        "current_timestamp, @dbname = 'A_Database_Name_Longer_Than_Thirty_Chars O'Brien' "
        "while(exists(Select * FROM sysprocesses WHERE dbid = db_id(@dbname)) AND  datediff(mi, @start, "
        "current_timestamp) < 5)     BEGIN      DECLARE spids CURSOR FOR       SELECT convert(varchar, "
        "spid) FROM sysprocesses        WHERE dbid = db_id(@dbname)      OPEN spids      While (1 = "
        "1)      BEGIN       FETCH spids INTO @spid       IF @@fetch_status < 0 BREAK       exec('kill ' "
        "+ @spid)      End      DEALLOCATE spids End ");
    EXPECT_EQ(SessionStatements::clearConnections(
                  QStringLiteral("A_Database_Name_Longer_Than_Thirty_Chars O'Brien")),
              expected);
}

} // namespace
