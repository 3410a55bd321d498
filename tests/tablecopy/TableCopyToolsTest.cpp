#include "RowName.h"
#include "TableCopyToolsFixture.h"

#include <QLabel>

namespace qormin::test {

const QByteArray scenario = R"json({
  "login": {"user": "sa", "password": "demo"},
  "rules": [
    {"regex": "^SELECT \\* FROM sys\\.objects WHERE object_id = OBJECT_ID\\(N'(tbCash|tbCash_NEW2|tbLocked)'\\)",
     "response": {"result": {"columns": ["name:nvarchar(128)"], "rows": [["{1}"]]}}},
    {"prefix": "SELECT * FROM sys.objects", "response": {"result": {"columns": ["name:nvarchar(128)"], "rows": []}}},
    {"exact": "select top 1 * from  Billing..tbCash",
     "response": {"result": {"columns": ["id:int", "name:nvarchar(20)"], "rows": [[1, "a"]]}}},
    {"exact": "select top 1 * from  Billing..tbLocked",
     "response": {"result": {"columns": ["id:int"], "rows": [[1]]}}},
    {"exact": "select top 1 * from  Billing..tbGone",
     "response": {"error": {"number": 208, "severity": 16, "text": "Invalid object name 'Billing..tbGone'."}}},
    {"regex": "^Truncate Table\\s+TableName ",
     "response": {"error": {"number": 4701, "severity": 16, "text": "Cannot find the object \"TableName\"."}}},
    {"prefix": "INSERT into Billing2..tbLocked",
     "response": {"error": {"number": 1205, "severity": 13, "text": "Deadlocked."}}},
    {"prefix": "select  * into Billing2..tbCash ",
     "response": {"error": {"number": 2714, "severity": 16, "text": "There is already an object named 'tbCash' in the database."}}}
  ]
})json";

struct ButtonCase {
    struct {
        const char* name;
        const char* button;
        int row;
        const char* error; // the error log's line, nullptr for none
    } press;
    QStringList statements;
    QStringList log;
};
std::string_view label(const ButtonCase& row) {
    return row.press.name;
}

class ButtonSequenceTest : public TableCopyToolsTest, public ::testing::WithParamInterface<ButtonCase> {};

TEST_P(ButtonSequenceTest, sendsExactlyTheseStatementsAndLogsTheTable) {
    m_grid.setRow(GetParam().press.row);
    click(QString::fromUtf8(GetParam().press.button));
    EXPECT_EQ(m_server->statements(), GetParam().statements);
    EXPECT_EQ(m_host.errorBoxes, QStringList());
    EXPECT_EQ(logLines(), GetParam().log);
    EXPECT_EQ(errorLines(), GetParam().press.error ? QStringList{GetParam().press.error} : QStringList());
}

const QString sysObjectsCash =
    QStringLiteral("SELECT * FROM sys.objects WHERE object_id = OBJECT_ID(N'tbCash') AND type in (N'U')");
const QString sysObjectsGone =
    QStringLiteral("SELECT * FROM sys.objects WHERE object_id = OBJECT_ID(N'tbGone') AND type in (N'U')");

const ButtonCase buttonCases[] = {
    {{"copyInto", "cmdCopyInto", 1, nullptr},
     {"Use Billing", "Use Billing", "select top 1 * from  Billing..tbCash",
      "truncate table Billing2..tbCash ", "SET IDENTITY_INSERT Billing2..tbCash ON", "use Billing",
      sysObjectsCash, "INSERT into Billing2..tbCash ([id],[name]) SELECT [id],[name] from Billing..tbCash",
      "SET IDENTITY_INSERT Billing2..tbCash OFF"},
     {"tbCash", "Done copying"}},
    {{"copyIntoRefusedInsertLogsTheServersErrorAndTheSource", "cmdCopyInto", 3,
      "Deadlocked. INSERT into Billing2..tbLocked ([id]) SELECT [id] from Billing..tbLocked "
      "Billing..tbLocked"},
     {"Use Billing", "Use Billing", "select top 1 * from  Billing..tbLocked",
      "truncate table Billing2..tbLocked ", "SET IDENTITY_INSERT Billing2..tbLocked ON", "use Billing",
      "SELECT * FROM sys.objects WHERE object_id = OBJECT_ID(N'tbLocked') AND type in (N'U')",
      "INSERT into Billing2..tbLocked ([id]) SELECT [id] from Billing..tbLocked",
      "SET IDENTITY_INSERT Billing2..tbLocked OFF"},
     {"tbLocked", "Done copying"}},
    {{"copyIntoMissingTableStillTruncatesAndSwitchesIdentity", "cmdCopyInto", 2, nullptr},
     {"Use Billing", "Use Billing", "select top 1 * from  Billing..tbGone",
      "truncate table Billing2..tbGone ", "SET IDENTITY_INSERT Billing2..tbGone ON", "use Billing",
      sysObjectsGone, "SET IDENTITY_INSERT Billing2..tbGone OFF"},
     {"tbGone", "Done copying"}},
    {{"cloneUsesPlainNamesWithoutExistenceTest", "cmdCloneTable", 1, nullptr},
     {"Use Billing", "truncate table Billing2..tbCash ", "select top 1 * from  Billing..tbCash",
      "SET IDENTITY_INSERT Billing2..tbCash ON",
      "INSERT INTO Billing2..tbCash (id,name) SELECT id,name    From Billing..tbCash",
      "SET IDENTITY_INSERT Billing2..tbCash OFF"},
     {"tbCash"}},
    {{"copyStructureOfExistingSisterTableLogsTheServersErrorAndTheSource", "cmdCopyTablesDB2", 1,
      "There is already an object named 'tbCash' in the database. select  * into Billing2..tbCash  from "
      "Billing..tbCash  Billing..tbCash"},
     {"Use Billing", "Use Billing", "use Billing", sysObjectsCash,
      "select  * into Billing2..tbCash  from Billing..tbCash "},
     {"tbCash", "Done copying"}},
    {{"copyStructureOfMissingTableDoesNothing", "cmdCopyTablesDB2", 2, nullptr},
     {"Use Billing", "Use Billing", "use Billing", sysObjectsGone},
     {"tbGone", "Done copying"}},
    {{"dropSisterTable", "cmdDropTableDB2", 1, nullptr},
     {"Use Billing2", "use Billing", sysObjectsCash, "drop table Billing2..tbCash "},
     {"tbCash", "Done Drop"}},
    {{"dropKeepsSisterTableWhenWorkingDatabaseLacksIt", "cmdDropTableDB2", 2, nullptr},
     {"Use Billing2", "use Billing", sysObjectsGone},
     {"tbGone", "Done Drop"}},
    {{"truncateBareName", "cmdTruncate", 1, nullptr},
     {"Use Billing", "Truncate Table   tbCash "},
     {"tbCash"}},
    {{"checkBareName", "cmdCheckTables", 1, nullptr},
     {"Use Billing", "DBCC CHECKtable('tbCash')"},
     {"tbCash"}},
};

INSTANTIATE_TEST_SUITE_P(Buttons, ButtonSequenceTest, ::testing::ValuesIn(buttonCases),
                         qormin::test::RowName());

TEST_F(TableCopyToolsTest, allTablesWalksEveryRowIncludingTheHeaderAndMovesTheCurrentRow) {
    m_tools->chkAllTables()->setChecked(true);
    QList<int> rowsSeen;
    QObject::connect(m_access.get(), &qormin::db::ServerAccess::statementStarted, m_tools.get(),
                     [this, &rowsSeen] { rowsSeen.append(m_grid.Row()); });
    click(QStringLiteral("cmdTruncate"));
    EXPECT_EQ(m_server->statements(),
              (QStringList{"Use Billing", "Truncate Table   TableName ", "Truncate Table   tbCash ",
                           "Truncate Table   tbGone ", "Truncate Table   tbLocked "}));
    EXPECT_EQ(logLines(), (QStringList{"tbCash", "TableName", "tbCash", "tbGone", "tbLocked"}));
    EXPECT_EQ(rowsSeen, (QList<int>{1, 0, 1, 2, 3}));
    EXPECT_EQ(m_grid.Row(), 3);
    // The header row's refusal is expected; it does not count as a failure.
    EXPECT_EQ(m_access->tally().headerRowRefusals, 1);
    EXPECT_EQ(m_access->tally().failed, 0);
}

// A table name that could end the statement is refused and skipped; the pass goes on.
TEST_F(TableCopyToolsTest, allTablesSkipsARefusedTableName) {
    showTables({QStringLiteral("tbCash"), QStringLiteral("tb;DROP TABLE x"), QStringLiteral("tbLocked")});
    m_tools->chkAllTables()->setChecked(true);
    click(QStringLiteral("cmdTruncate"));
    EXPECT_EQ(m_server->statements(),
              (QStringList{"Use Billing", "Truncate Table   TableName ", "Truncate Table   tbCash ",
                           "Truncate Table   tbLocked "}));
    EXPECT_TRUE(logLines().contains(QStringLiteral(
        "Skipped \"tb;DROP TABLE x\": the name holds a semicolon and is not put into a statement")));
}

TEST_F(TableCopyToolsTest, stopTickedBeforeTheFirstTableRunsNoTableButStillCloses) {
    m_tools->chkAllTables()->setChecked(true);
    m_stop.setChecked(true);
    click(QStringLiteral("cmdCopyInto"));
    EXPECT_EQ(m_server->statements(), QStringList{"Use Billing"});
    EXPECT_EQ(logLines(), (QStringList{"tbCash", "Done copying"}));
    EXPECT_EQ(m_grid.Row(), 1);
}

TEST_F(TableCopyToolsTest, stopTickedDuringATableEndsTheRunBeforeTheNextOne) {
    m_tools->chkAllTables()->setChecked(true);
    QObject::connect(m_access.get(), &qormin::db::ServerAccess::statementFinished, m_tools.get(), [this] {
        if (m_server->statements().contains(QStringLiteral("DBCC CHECKtable('tbCash')")))
            m_stop.setChecked(true);
    });
    click(QStringLiteral("cmdCheckTables"));
    EXPECT_EQ(m_server->statements(),
              (QStringList{"Use Billing", "DBCC CHECKtable('TableName')", "DBCC CHECKtable('tbCash')"}));
}

} // namespace qormin::test
