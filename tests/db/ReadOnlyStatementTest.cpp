#include "db/ReadOnlyStatement.h"

#include <cctype>
#include <gtest/gtest.h>

namespace {

std::string statementName(const ::testing::TestParamInfo<const char*>& info) {
    std::string name;
    for (const char* c = info.param; *c != '\0' && name.size() < 40; ++c) {
        if (std::isalnum(static_cast<unsigned char>(*c)) != 0) {
            name += *c;
        }
    }
    return name + "_" + std::to_string(info.index);
}

class HarmlessStatementTest : public ::testing::TestWithParam<const char*> {};
class ChangingStatementTest : public ::testing::TestWithParam<const char*> {};

TEST_P(HarmlessStatementTest, runsInScriptOnlyMode) {
    EXPECT_TRUE(qormin::db::isReadOnlyStatement(QString::fromUtf8(GetParam())));
}

// Anything not certainly harmless is withheld, including what cannot be read to its end.
TEST_P(ChangingStatementTest, isWithheldInScriptOnlyMode) {
    EXPECT_FALSE(qormin::db::isReadOnlyStatement(QString::fromUtf8(GetParam())));
}

INSTANTIATE_TEST_SUITE_P(
    Statements, HarmlessStatementTest,
    ::testing::Values("SELECT name FROM sys.databases where database_id >= 5 order by name ",
                      "  select * from [delete] where [update] = 'drop table x; insert'",
                      "SELECT [x]] DELETE] FROM t", "WITH t AS (SELECT 1 AS a) SELECT a FROM t",
                      "use Patients", "RESTORE FILELISTONLY FROM DISK = 'X:\\a.BAK'",
                      "restore headeronly from disk='a'", "EXEC sp_who2", "sp_who",
                      "EXECUTE master.dbo.sp_who2 'active'", "-- just a note\r\n/* and another */", "",
                      "DECLARE qormin_cursor_3 CURSOR GLOBAL FORWARD_ONLY STATIC READ_ONLY FOR SELECT * FROM "
                      "t\r\nOPEN qormin_cursor_3",
                      "FETCH NEXT FROM qormin_cursor_3\r\nFETCH NEXT FROM qormin_cursor_3",
                      "CLOSE qormin_cursor_3\r\nDEALLOCATE qormin_cursor_3"),
    statementName);

INSTANTIATE_TEST_SUITE_P(
    Statements, ChangingStatementTest,
    ::testing::Values("SELECT * INTO t2 FROM t", "select 1 update t set a = 1", "SELECT 1; DELETE FROM t",
                      "BACKUP DATABASE x TO DISK = 'a'", "RESTORE DATABASE x FROM DISK = 'a'",
                      "SELECT 1 RESTORE DATABASE x FROM DISK='a'",
                      "RESTORE LOG x FROM DISK = 'a' WITH NORECOVERY", "RESTORE VERIFYONLY FROM DISK = 'a'",
                      "DBCC CHECKDB (x, REPAIR_ALLOW_DATA_LOSS)",
                      "EXEC sp_configure 'show advanced options', 1", "EXEC sp_who2 EXEC sp_rename 'a', 'b'",
                      "exec master..xp_cmdshell 'dir'", "KILL 55", "SET IDENTITY_INSERT t ON",
                      "DECLARE @x int SELECT @x = 1", "SELECT NEXT VALUE FOR dbo.seq",
                      "SELECT * FROM OPENROWSET('SQLNCLI', 'x', 'SELECT 1')",
                      "ALTER DATABASE x SET PARTNER OFF", "CREATE TABLE t (a int)", "TRUNCATE TABLE t",
                      "DROP DATABASE x", "UPDATE t SET a = 1 WHERE CURRENT OF qormin_cursor_1",
                      "INSERT INTO t ([a]) VALUES (?)", "sp_msforeachdb 'select 1'", "SELECT 'unterminated",
                      "SELECT 1 /* unterminated", "SELECT 1 WAITFOR DELAY '0:0:1' SHUTDOWN",
                      "SELECT 1 RAISERROR('x', 10, 1) WITH LOG", "WITH t AS (SELECT 1 AS a) DELETE FROM t"),
    statementName);

} // namespace
