#include "QStringPrinter.h"
#include "SimTestServer.h"
#include "WindowHarness.h"

#include "RowName.h"
#include "db/LogBuffer.h"
#include "db/ServerAccess.h"

#include <QDir>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <gtest/gtest.h>

// Every long operation with its link to a server broken at each place of its traffic: the
// message boundaries of a RESTORE's answer, and each row of the record loops on the connection
// that reads and on the one that writes. However it breaks, the run says so and exits 1, the
// side connects again for the next statement, the counts cover only rows that arrived, and no
// source row goes without its copy.
namespace qormin::test {
namespace {

using qormin::test::PrintTo;

constexpr int left = 0;
constexpr int right = 1;
constexpr int rows = 2; // every source below holds two rows

// Both servers answer every operation's statements; each case adds its fault to one of them.
const QByteArray rules = R"json(
  {"exact": "SELECT name FROM sys.databases where database_id >= 5 order by name ",
   "response": {"result": {"columns": ["name:nvarchar(128)"], "rows": [["Billing"]]}}},
  {"prefix": " SELECT     t.NAME AS TableName", "response": {"result": {
    "columns": ["TableName:nvarchar(128)"], "rows": [["tbCash"]]}}},
  {"regex": "^ RESTORE FILELISTONLY  FROM DISK = '.*\\\\(\\w+)\\.bak'", "response": {"result": {
    "columns": ["LogicalName:nvarchar(128)", "PhysicalName:nvarchar(260)"],
    "rows": [["{1}", "D:\\data\\{1}.mdf"], ["{1}_log", "D:\\data\\{1}_log.ldf"]]}}},
  {"prefix": "RESTORE DATABASE ", "response": [{"progress": {"every": 50, "pace": 0}},
    {"info": {"number": 4035, "text": "Processed 1234 pages for database 'Billing', file 'Billing' on file 1."}},
    {"info": {"number": 3014, "text": "RESTORE DATABASE successfully processed 1234 pages in 0.100 seconds."}}]},
  {"regex": "^SELECT \\* FROM Billing\\.\\.tbCash($| where idnum >= )", "response": {"result": {
    "columns": ["IDNum:int", "name:nvarchar(20)"], "rows": [[106301, "Ann"], [106302, "Ben"]]}}},
  {"regex": "^SELECT (TOP 1 \\* FROM Billing(2\\.\\.tbCash|\\.\\.tbCopy)$|\\* FROM (  Billing\\.\\.tbCash where idnum|Billing\\.\\.tbCopy WHERE IDNum) = )",
   "response": {"result": {"columns": ["IDNum:int", "name:nvarchar(20)"], "rows": []}}},
  {"prefix": "select object_id from sys.tables", "response": {"result": {"columns": ["id:int"], "rows": [[7]]}}},
  {"prefix": "Select * From sys.columns where", "response": {"result": {"columns": ["n:nvarchar(128)"], "rows": [["idnum"]]}}},
  {"prefix": "select * from sys.tables where", "response": {"result": {"columns": ["n:nvarchar(128)"], "rows": [["tbCash"]]}}},
  {"exact": "SELECT COUNT (1) FROM Billing..tbCash AS RECCOUNT", "response": {"result": {
    "columns": ["c:int"], "rows": [[2]]}}},
  {"regex": "^SELECT top \\d+ \\* FROM Patient_Files\\.\\.tbPatientDocs WHERE", "response": {"result": {
    "columns": [{"name": "ID", "type": "int", "identity": true}, "PatientID:int", "DocType:varchar(20)",
                "ConversionTime:datetime", "Pages:int", "Scanner:varchar(20)", "Notes:varchar(50)", "Size:int",
                "FileName:varchar(50)"],
    "rows": [[11, 501, "PHIC Docs", "2020-01-05 08:00:00", 2, "S1", null, 100, "scan1.pdf"],
             [13, 503, "PHIC Docs", "2020-03-07 10:00:00", 3, "S2", null, 300, "scan3.pdf"]]}}},
  {"exact": "SELECT TOP 1 * FROM Patient_Files_2020..tbPatientDocs", "response": {"result": {
    "columns": [{"name": "ID", "type": "int", "identity": true}, "PatientID:int", "DocType:varchar(20)",
                "ConversionTime:datetime", "Pages:int", "Scanner:varchar(20)", "Notes:varchar(50)", "Size:int",
                "FileName:varchar(50)"], "rows": []}}},
  {"prefix": "DELETE FROM Patient_Files..tbPatientDocs WHERE CURRENT OF", "response": {"rowCount": 1}},
  {"prefix": "INSERT INTO ", "response": {"rowCount": 1}},
  {"prefix": "SELECT * FROM Billing..tbBillDailyBill WHERE ", "response": {"result": {
    "columns": ["IDNum:varchar(10)", "RevenueID:int", "itemid:int", "refnum:varchar(10)", "TransDate:datetime",
                "TransDateFixed:int"],
    "rows": [["I1", 10, 20, "R1", "2020-07-17 09:02:18", null], ["I2", 10, 20, "R2", "2020-07-17 09:02:18", null]]}}},
  {"prefix": "SELECT  TRANSDATE FROM  ", "response": {"result": {
    "columns": ["d:datetime"], "rows": [["2020-07-01 08:00:00"]]}}})json";

enum class Cut { AfterTokens, AtRow };

// One place in an operation's traffic where the link breaks; the name says which connection:
// "read" the loop's second connection reading the source, "cursor" and "write" the side's own.
struct FaultPoint {
    const char* name;
    int side;              // the server that connection talks to
    const char* statement; // the start of the statement whose answer breaks off
    Cut cut;
    int places; // AfterTokens: tokens 0 .. places-1; AtRow: rows 1 .. places
};

struct FaultRun;

struct Operation {
    const char* name;
    const char* script;
    std::vector<FaultPoint> points;
    void (*check)(const FaultRun& run);
};

struct FaultCase {
    const Operation* operation;
    const FaultPoint* point;
    int place;
};
std::string label(const FaultCase& row) {
    return std::string(row.operation->name) + '_' + row.point->name + std::to_string(row.place);
}

// What a run left behind, for the operation's own checks.
struct FaultRun {
    const FaultCase& fault;
    BatchResult result;
    QStringList log; // txtLog, oldest line first
    QString errors;  // txtErrs
    const SimTestServer* servers[2];

    // The row at the fault; for a read cut after n tokens (the column description, then one
    // token per row), the number of rows that arrived.
    int place() const { return fault.point->cut == Cut::AtRow ? fault.place : std::max(fault.place - 1, 0); }
    bool at(const char* point) const { return QLatin1String(fault.point->name) == QLatin1String(point); }
    int sent(int side, const QString& start) const {
        return int(servers[side]
                       ->statements()
                       .filter(QRegularExpression(QLatin1Char('^') + QRegularExpression::escape(start)))
                       .size());
    }
    bool shows(const QString& text) const {
        return result.log.contains(text) || result.output.contains(text);
    }
};

// The RESTORE cut short is reported failed; the log restore after it goes out on a new link.
void checkRestore(const FaultRun& run) {
    const auto statement = [&run](const char* start) {
        qsizetype at = 0;
        while (at < run.log.size() && !run.log[at].startsWith(QLatin1String(start))) {
            ++at;
        }
        EXPECT_LT(at, run.log.size()) << start;
        return at;
    };
    const qsizetype database = statement("RESTORE DATABASE ");
    EXPECT_NE(run.log.value(database + 1), QStringLiteral("Done"));
    const qsizetype logRestore = statement("RESTORE LOG ");
    EXPECT_EQ(run.log.value(logRestore - 1), QStringLiteral("Connected."));
    EXPECT_EQ(run.log.value(logRestore + 1), QStringLiteral("Done"));
}

// "copied" counts the rows that arrived; each one that did not go in, and a broken read, is an error.
void checkCopyByRecord(const FaultRun& run) {
    const bool read = run.at("readCutAfterToken");
    EXPECT_TRUE(run.log.contains(QStringLiteral("copied %1").arg(read ? run.place() : rows)))
        << run.log.join(u'\n').toStdString();
    EXPECT_TRUE(run.log.contains(QStringLiteral("errors %1").arg(read ? 1 : rows - run.place() + 1)))
        << run.log.join(u'\n').toStdString();
    EXPECT_EQ(run.sent(left, QStringLiteral("INSERT INTO Billing2..tbCash")), run.place());
    EXPECT_EQ(run.log.value(run.log.size() - 1), QStringLiteral("Done copying"));
}

// A table whose copy broke off gets no closing line of counts, only its error.
void checkCopyById(const FaultRun& run) {
    EXPECT_FALSE(run.shows(QStringLiteral("Records added to"))) << run.result.log.toStdString();
    EXPECT_FALSE(run.errors.isEmpty());
    const int inserted = run.at("writeAtLookupOfRow") ? run.place() - 1 : run.place();
    EXPECT_EQ(run.sent(left, QStringLiteral("INSERT INTO Billing..tbCash")), inserted);
    EXPECT_EQ(run.sent(left, QStringLiteral("Select * from   Billing..tbCash where idnum = ")), run.place());
}

// The reconciliation line tells each row's fate; a row whose copy or claims update did not go
// through stays in the source.
void checkTransfer(const FaultRun& run) {
    const bool fetch = run.at("cursorAtFetchOfRow");
    const int read = fetch ? run.place() - 1 : run.place();
    const int written = fetch || run.at("writeAtInsertOfRow") ? run.place() - 1 : run.place();
    const int deleted = run.place() - 1;
    EXPECT_TRUE(run.shows(QStringLiteral("Transfer of Patient_Files..tbPatientDocs: read %1, written %2, "
                                         "deleted %3, failed %4")
                              .arg(read)
                              .arg(written)
                              .arg(deleted)
                              .arg(fetch ? 0 : 1)))
        << run.result.log.toStdString();
    EXPECT_TRUE(run.shows(QStringLiteral("drop any identity columns and click sync structure.")));
    EXPECT_FALSE(run.shows(QStringLiteral("MSGBOX: Done.")));
    EXPECT_EQ(run.sent(left, QStringLiteral("DELETE FROM Patient_Files..tbPatientDocs")),
              deleted + (run.at("writeAtDeleteOfRow") ? 1 : 0));
}

// The migration ends at a broken link with its error in the window's log; the rows walked
// are those that arrived.
void checkMigration(const FaultRun& run) {
    EXPECT_EQ(run.result.output.section(u'\n', 0, 0),
              run.place() > 0 ? QString::number(run.place()) : QStringLiteral("Status"))
        << run.result.output.toStdString();
    const int inserted = run.at("writeAtLookupOfRow") ? run.place() - 1 : run.place();
    EXPECT_EQ(run.sent(left, QStringLiteral("INSERT INTO Billing..tbCopy")), inserted);
    EXPECT_EQ(run.sent(left, QStringLiteral("SELECT * FROM Billing..tbCopy WHERE")), run.place());
}

// The repair ends at a broken link with a message; the rows repaired before it stay repaired.
void checkRepair(const FaultRun& run) {
    const int updated = run.at("writeAtUpdateOfRow") ? run.place() : run.place() - 1;
    EXPECT_EQ(run.sent(left, QStringLiteral("UPDATE Billing..tbBillDailyBill")), updated);
    EXPECT_TRUE(run.result.output.contains(QStringLiteral("MSGBOX: "))) << run.result.output.toStdString();
    EXPECT_FALSE(run.result.output.contains(QStringLiteral("Done."))) << run.result.output.toStdString();
}

const Operation operations[] = {
    {"restore",
     "set txtDB Billing\nclick cmdRestore(1)\n",
     {{"answerCutAfterToken", right, "RESTORE DATABASE ", Cut::AfterTokens, 7}},
     checkRestore},
    {"copyByRecord",
     "dblclick GridDB(0) 1\nclick cmdCopyTables\n",
     {{"readCutAfterToken", left, "SELECT * FROM Billing..tbCash", Cut::AfterTokens, rows + 2},
      {"writeAtInsertOfRow", left, "INSERT INTO Billing2..tbCash", Cut::AtRow, rows}},
     checkCopyByRecord},
    {"copyById",
     "select GridDB(0) 1\nclick cmdCopybyRecID\n",
     {{"readCutAfterToken", right, "select * from Billing..tbCash where", Cut::AfterTokens, rows + 2},
      {"writeAtLookupOfRow", left, "Select * from   Billing..tbCash", Cut::AtRow, rows},
      {"writeAtInsertOfRow", left, "INSERT INTO Billing..tbCash", Cut::AtRow, rows}},
     checkCopyById},
    {"transferWithDelete",
     "open frmTransferDB\nclick frmTransferDB.chkDelete\nclick frmTransferDB.cmdTransfer\n",
     {{"cursorAtFetchOfRow", left, "FETCH NEXT FROM", Cut::AtRow, rows + 1},
      {"writeAtInsertOfRow", left, "INSERT INTO Patient_Files_2020", Cut::AtRow, rows},
      {"writeAtClaimsUpdateOfRow", left, "UPDATE Medicare..", Cut::AtRow, rows},
      {"writeAtDeleteOfRow", left, "DELETE FROM Patient_Files..", Cut::AtRow, rows}},
     checkTransfer},
    {"migration",
     "open frmMigrateData\nclick frmMigrateData.cmdStart\nprint frmMigrateData.lblStatus\n"
     "print frmMigrateData.txtLog\n",
     {{"readCutAfterToken", right, "SELECT * FROM Billing..tbCash", Cut::AfterTokens, rows + 2},
      {"writeAtLookupOfRow", left, "SELECT * FROM Billing..tbCopy WHERE", Cut::AtRow, rows},
      {"writeAtInsertOfRow", left, "INSERT INTO Billing..tbCopy", Cut::AtRow, rows}},
     checkMigration},
    {"dateRepair",
     "open frmFixTransDate\nclick frmFixTransDate.Command1\nprint frmFixTransDate.txtLog\n",
     {{"cursorAtFetchOfRow", left, "FETCH NEXT FROM", Cut::AtRow, rows + 1},
      {"writeAtLookupOfRow", left, "SELECT  TRANSDATE FROM", Cut::AtRow, rows},
      {"writeAtUpdateOfRow", left, "UPDATE Billing..tbBillDailyBill", Cut::AtRow, rows}},
     checkRepair},
};

std::vector<FaultCase> faultCases() {
    std::vector<FaultCase> cases;
    for (const Operation& operation : operations) {
        for (const FaultPoint& point : operation.points) {
            const int first = point.cut == Cut::AtRow ? 1 : 0;
            for (int place = first; place < first + point.places; ++place) {
                cases.push_back({&operation, &point, place});
            }
        }
    }
    return cases;
}

// The fault: a rule without a response of its own, which cuts the answer the statement gets.
QByteArray faultRule(const FaultCase& fault) {
    const FaultPoint& point = *fault.point;
    QJsonObject rule{{QStringLiteral("prefix"), QString::fromLatin1(point.statement)}};
    switch (point.cut) {
    case Cut::AfterTokens:
        rule.insert(QStringLiteral("dropAfterTokens"), fault.place);
        break;
    case Cut::AtRow:
        rule.insert(QStringLiteral("onlyMatch"), fault.place);
        rule.insert(QStringLiteral("dropAfterTokens"), 0);
        break;
    }
    return QJsonDocument(rule).toJson(QJsonDocument::Compact) + ',';
}

class LongOperationFaultTest : public testing::TestWithParam<FaultCase> {
protected:
    void SetUp() override {
        for (int side = 0; side < 2; ++side) {
            const QByteArray fault = GetParam().point->side == side ? faultRule(GetParam()) : QByteArray();
            m_servers[side] = SimTestServer::fromJson("{\"rules\": [" + fault + rules + "]}");
            ASSERT_TRUE(m_servers[side] && m_servers[side]->isRunning());
            m_harness.storeConnection(side, m_servers[side]->address(), QStringLiteral("secret"));
        }
        QFile migrate(QDir(m_harness.folder(QStringLiteral("data"))).filePath(QStringLiteral("migrate.txt")));
        ASSERT_TRUE(migrate.open(QIODevice::WriteOnly));
        migrate.write("#Billing..tbCopy|Billing..tbCash\n*IDNum|IDNum\n*name|name\n.\n");
        migrate.close();
        m_harness.load();
        ASSERT_TRUE(access().IsConnected(left) && access().IsConnected(right));
        access().log().clear();
    }

    db::ServerAccess& access() { return m_harness.window().serverAccess(); }

    std::unique_ptr<SimTestServer> m_servers[2];
    WindowHarness m_harness;
};

TEST_P(LongOperationFaultTest, isReportedFailedAndTheSideServesTheNextStatement) {
    const FaultCase& fault = GetParam();
    BatchResult result = m_harness.runBatch(QString::fromLatin1(fault.operation->script));
    EXPECT_EQ(result.exitCode, 1) << result.log.toStdString() << result.output.toStdString();
    QStringList log = access().log().text().split(QStringLiteral("\r\n"), Qt::SkipEmptyParts);
    std::reverse(log.begin(), log.end());
    const FaultRun run{
        fault, std::move(result), log, access().errors().text(), {m_servers[0].get(), m_servers[1].get()}};
    fault.operation->check(run);
    EXPECT_TRUE(access().ExecuteSQL(fault.point->side, QStringLiteral("SELECT 1")));
}

INSTANTIATE_TEST_SUITE_P(EveryPlace, LongOperationFaultTest, testing::ValuesIn(faultCases()),
                         qormin::test::RowName());

} // namespace
} // namespace qormin::test
