#include "db/ReadOnlyStatement.h"

#include "QStringPrinter.h"

#include <gtest/gtest.h>

namespace {

struct ClassifierCase {
    const char* sql;
    bool readOnly;
};

class ReadOnlyStatementTest : public ::testing::TestWithParam<ClassifierCase> {};

TEST_P(ReadOnlyStatementTest, letsOnlyCertainlyHarmlessBatchesRun) {
    const auto& c = GetParam();
    EXPECT_EQ(qormin::db::isReadOnlyStatement(QString::fromUtf8(c.sql)), c.readOnly) << c.sql;
}

INSTANTIATE_TEST_SUITE_P(
    Harmless, ReadOnlyStatementTest,
    ::testing::Values(
        ClassifierCase{"SELECT name FROM sys.databases where database_id >= 5 order by name ", true},
        ClassifierCase{"  select * from [delete] where [update] = 'drop table x; insert'", true},
        ClassifierCase{"WITH t AS (SELECT 1 AS a) SELECT a FROM t", true},
        ClassifierCase{"use Patients", true},
        ClassifierCase{"RESTORE FILELISTONLY FROM DISK = 'X:\\a.BAK'", true},
        ClassifierCase{"restore headeronly from disk='a'", true},
        ClassifierCase{"RESTORE VERIFYONLY FROM DISK = 'a'", true}, ClassifierCase{"EXEC sp_who2", true},
        ClassifierCase{"sp_who", true}, ClassifierCase{"EXECUTE master.dbo.sp_who2 'active'", true},
        ClassifierCase{"-- just a note\r\n/* and another */", true}, ClassifierCase{"", true},
        ClassifierCase{
            "DECLARE qormin_cursor_3 CURSOR GLOBAL FORWARD_ONLY STATIC READ_ONLY FOR SELECT * FROM t\r\n"
            "OPEN qormin_cursor_3",
            true},
        ClassifierCase{"FETCH NEXT FROM qormin_cursor_3\r\nFETCH NEXT FROM qormin_cursor_3", true},
        ClassifierCase{"CLOSE qormin_cursor_3\r\nDEALLOCATE qormin_cursor_3", true},
        ClassifierCase{
            "SELECT CONVERT(bigint, rows) as RCNT from sysindexes WHERE id = OBJECT_ID('t') AND indid < 2",
            true}));

INSTANTIATE_TEST_SUITE_P(
    Changing, ReadOnlyStatementTest,
    ::testing::Values(ClassifierCase{"SELECT * INTO t2 FROM t", false},
                      ClassifierCase{"select 1 update t set a = 1", false},
                      ClassifierCase{"SELECT 1; DELETE FROM t", false},
                      ClassifierCase{"BACKUP DATABASE x TO DISK = 'a'", false},
                      ClassifierCase{"RESTORE DATABASE x FROM DISK = 'a'", false},
                      ClassifierCase{"SELECT 1 RESTORE DATABASE x FROM DISK='a'", false},
                      ClassifierCase{"RESTORE LOG x FROM DISK = 'a' WITH NORECOVERY", false},
                      ClassifierCase{"DBCC CHECKDB", false},
                      ClassifierCase{"DBCC CHECKDB (x, REPAIR_ALLOW_DATA_LOSS)", false},
                      ClassifierCase{"EXEC sp_configure 'show advanced options', 1", false},
                      ClassifierCase{"EXEC sp_who2 EXEC sp_rename 'a', 'b'", false},
                      ClassifierCase{"exec master..xp_cmdshell 'dir'", false},
                      ClassifierCase{"KILL 55", false}, ClassifierCase{"SET IDENTITY_INSERT t ON", false},
                      ClassifierCase{"DECLARE @x int SELECT @x = 1", false},
                      ClassifierCase{"SELECT NEXT VALUE FOR dbo.seq", false},
                      ClassifierCase{"SELECT * FROM OPENROWSET('SQLNCLI', 'x', 'SELECT 1')", false},
                      ClassifierCase{"ALTER DATABASE x SET PARTNER OFF", false},
                      ClassifierCase{"CREATE TABLE t (a int)", false},
                      ClassifierCase{"TRUNCATE TABLE t", false}, ClassifierCase{"DROP DATABASE x", false},
                      ClassifierCase{"UPDATE t SET a = 1 WHERE CURRENT OF qormin_cursor_1", false},
                      ClassifierCase{"INSERT INTO t ([a]) VALUES (?)", false},
                      ClassifierCase{"sp_msforeachdb 'select 1'", false},
                      ClassifierCase{"SELECT 'unterminated", false},
                      ClassifierCase{"SELECT 1 /* unterminated", false},
                      ClassifierCase{"SELECT 1 WAITFOR DELAY '0:0:1' SHUTDOWN", false},
                      ClassifierCase{"SELECT 1 RAISERROR('x', 10, 1) WITH LOG", false},
                      ClassifierCase{"WITH t AS (SELECT 1 AS a) DELETE FROM t", false}));

} // namespace
