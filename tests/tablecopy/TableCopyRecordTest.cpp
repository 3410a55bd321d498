#include "RowName.h"
#include "TableCopyToolsFixture.h"

#include <QElapsedTimer>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLabel>
#include <QRegularExpression>
#include <QTimer>
#include <chrono>
#include <set>
#include <thread>

namespace qormin::test {
namespace {

using qormin::test::PrintTo;

// Row-by-row copies: rows stream from a cursor over the source and go in as typed INSERTs.
const QByteArray recordScenario = R"json({
  "login": {"user": "sa", "password": "demo"},
  "hangLimitSeconds": 20,
  "rules": [
    {"exact": "SELECT * FROM Billing..tbRows",
     "response": {"result": {"columns": ["id:int", "name:nvarchar(20)"], "generate": 250}}},
    {"exact": "SELECT TOP 1 * FROM Billing2..tbRows",
     "response": {"result": {"columns": ["id:int", "name:nvarchar(20)"], "generate": 1}}},
    {"exact": "SELECT TOP 1 * FROM Billing..tbRows_NEW2",
     "response": {"result": {"columns": ["id:int", "name:nvarchar(20)"], "generate": 1}}},
    {"exact": "SELECT * FROM Billing..tbBad",
     "response": {"result": {"columns": ["id:int"], "generate": 3}}},
    {"exact": "SELECT TOP 1 * FROM Billing2..tbBad", "response": {"result": {"columns": ["id:int"], "generate": 1}}},
    {"prefix": "INSERT INTO Billing2..tbBad",
     "response": {"error": {"number": 2627, "severity": 14, "text": "Violation of PRIMARY KEY constraint."}}},
    {"exact": "SELECT * FROM Billing..tbTypes", "response": {"result": {"columns": [
        "i:int", "b:bigint", "d:decimal(12,2)", "f:float", "flag:bit", "at:datetime", "u:nvarchar(20)",
        "bin:varbinary(10)", "t:text", "n:int", "fine:datetime2(7)", "tm:time(7)"],
      "rows": [[7, 9000000000, "12.50", 1.5, true, "2024-01-31 10:20:30.123", "Zoë Ωmega", "0x01AB", "long text", null,
                "2020-02-29 23:59:59.1234567", "12:34:56.1234567"]]}}},
    {"exact": "SELECT TOP 1 * FROM Billing2..tbTypes", "response": {"result": {"columns": [
        "i:int", "b:bigint", "d:decimal(12,2)", "f:float", "flag:bit", "at:datetime", "u:nvarchar(20)",
        "bin:varbinary(10)", "t:text", "n:int", "fine:datetime2(7)", "tm:time(7)"], "rows": []}}},

    {"exact": "SELECT * FROM Billing..tbBits", "response": {"result": {
      "columns": ["id:int", "flag:bit"], "rows": [[1, true], [2, false], [3, true], [4, true]]}}},
    {"exact": "SELECT TOP 1 * FROM Billing2..tbBits",
     "response": {"result": {"columns": ["id:int", "flag:bit"], "rows": []}}},

    {"exact": "SELECT * FROM Billing..tbWide", "response": {"result": {
      "columns": ["id:int", "name:nvarchar(20)", "extra:int"], "rows": [[1, "a", 10], [2, "b", 20], [3, null, 30]]}}},
    {"exact": "SELECT TOP 1 * FROM Billing2..tbWide",
     "response": {"result": {"columns": ["id:int", "name:nvarchar(20)"], "rows": []}}},

    {"exact": "SELECT * FROM Billing..tbStamp", "response": {"result": {
      "columns": ["id:int", "name:nvarchar(20)", "rv:rowversion"], "rows": [[1, "a", "0x00000000000007D1"], [2, "b", "0x00000000000007D2"]]}}},
    {"exact": "SELECT TOP 1 * FROM Billing2..tbStamp",
     "response": {"result": {"columns": ["id:int", "name:nvarchar(20)", "rv:rowversion"], "rows": []}}},

    {"regex": "^SELECT \\* FROM Billing\\.\\.tb(No)?Ident$", "response": {"result": {
      "columns": [{"name": "id", "type": "int", "identity": true}, "name:nvarchar(20)"], "rows": [[5, "a"], [9, "b"]]}}},
    {"regex": "^SELECT TOP 1 \\* FROM Billing2\\.\\.tb(No)?Ident$", "response": {"result": {
      "columns": [{"name": "id", "type": "int", "identity": true}, "name:nvarchar(20)"], "rows": []}}},
    {"exact": "SET IDENTITY_INSERT Billing2..tbNoIdent ON", "response": {"error": {"number": 8107,
      "text": "IDENTITY_INSERT is already ON for table 'Billing2.dbo.tbOther'. Cannot perform SET operation for table 'Billing2..tbNoIdent'."}}},

    {"exact": "SELECT * FROM Billing..tbCalc", "response": {"result": {
      "columns": ["id:int", "price:int", "total:int"], "rows": [[1, 10, 100], [2, 20, 200]]}}},
    {"exact": "SELECT TOP 1 * FROM Billing2..tbCalc", "response": {"result": {
      "columns": ["id:int", "price:int", {"name": "total", "type": "int", "computed": true}], "rows": []}}},

    {"exact": "SELECT * FROM Billing..tbRefuse", "response": {"result": {
      "columns": ["id:int", "name:nvarchar(20)"], "rows": [[1, "ok"], [2, "Bad"], [3, "dup"], [4, "much too long"]]}}},
    {"exact": "SELECT TOP 1 * FROM Billing2..tbRefuse",
     "response": {"result": {"columns": ["id:int", "name:nvarchar(5)"], "rows": []}}},
    {"prefix": "INSERT INTO Billing2..tbRefuse", "parameters": {"@P2": "Bad"}, "response": {"error": {"number": 515,
      "text": "Cannot insert the value NULL into column 'name', table 'Billing2.dbo.tbRefuse'; column does not allow nulls. INSERT fails."}}},
    {"prefix": "INSERT INTO Billing2..tbRefuse", "parameters": {"@P1": 3}, "response": {"error": {"number": 2627,
      "text": "Violation of PRIMARY KEY constraint 'PK_tbRefuse'. Cannot insert duplicate key in object 'dbo.tbRefuse'. The duplicate key value is (3)."}}},

    {"exact": "SELECT * FROM Billing..tbMissing", "response": {"result": {
      "columns": ["id:int", "name:nvarchar(20)"], "rows": [[1, "a"], [2, "O'Brien"]]}}},
    {"exact": "SELECT TOP 1 * FROM Billing2..tbMissing", "response": {"error": {"number": 208,
      "text": "Invalid object name 'Billing2..tbMissing'."}}},

    {"exact": "SELECT * FROM Billing..tbLost", "response": [
      {"result": {"columns": ["id:int"], "generate": 5000}}, {"delay": 50}, {"drop": true}]},

    {"exact": "SELECT * FROM Billing..tbStall", "stallAfterTokens": 100,
     "response": {"result": {"columns": ["id:int"], "generate": 5000}}},
    {"regex": "^SELECT TOP 1 \\* FROM Billing2\\.\\.tb(Lost|Stall)$", "response": {"result": {"columns": ["id:int"], "rows": []}}}
  ]
})json";

class RecordCopyTest : public TableCopyToolsTest {
protected:
    void SetUp() override {
        start(recordScenario);
        QObject::connect(m_tools.get(), &TableCopyTools::copyProgress, m_tools.get(),
                         [this](qint32 copied) { m_progress.append(copied); });
    }

    QList<qormin::sim::TranscriptEntry> inserts() const {
        QList<qormin::sim::TranscriptEntry> found;
        for (const auto& entry : m_server->requests()) {
            if (entry.kind == QLatin1String("rpc") && entry.text.startsWith(QLatin1String("INSERT INTO")))
                found.append(entry);
        }
        return found;
    }

    QList<qint32> m_progress;
};

TEST_F(RecordCopyTest, copiesEveryRowShowingProgressEveryHundred) {
    showTables({QStringLiteral("tbRows")});
    click(QStringLiteral("cmdCopyTables"));
    EXPECT_EQ(m_progress, (QList<qint32>{100, 200}));
    EXPECT_EQ(m_tools->lblCnt()->text(), QStringLiteral("200"));
    EXPECT_EQ(logLines(), (QStringList{"tbRows", "copied 250", "errors 0", "Done copying"}));
    EXPECT_EQ(inserts().size(), 250);
    // Prepared once, then run by handle, each row its own statement and a hundred rows (a
    // progress step) to a request.
    QStringList procedures;
    std::set<int> requests;
    for (const auto& entry : inserts()) {
        procedures.append(entry.json.value(QLatin1String("procedure")).toString());
        requests.insert(entry.json.value(QLatin1String("request")).toInt());
    }
    EXPECT_EQ(procedures.count(QStringLiteral("sp_execute")), 250);
    EXPECT_EQ(requests.size(), 3U);
    const QStringList sent = m_server->statements();
    ASSERT_GE(sent.size(), 7);
    EXPECT_EQ(
        sent.mid(0, 6),
        (QStringList{"Use Billing", "SELECT top 1 * INTO Billing2..tbRows FROM Billing..tbRows",
                     "truncate table Billing2..tbRows ", "SELECT * FROM Billing..tbRows",
                     "SELECT TOP 1 * FROM Billing2..tbRows", "SET IDENTITY_INSERT Billing2..tbRows ON"}));
    EXPECT_EQ(sent.back(), QStringLiteral("SET IDENTITY_INSERT Billing2..tbRows OFF"));

    // Copy to NEW streams the same way, into the sister table of the same database.
    m_progress.clear();
    m_access->log().clear();
    click(QStringLiteral("cmdCopytoNEW"));
    EXPECT_EQ(inserts().size(), 250);
    EXPECT_EQ(m_progress, (QList<qint32>{100, 200}));
    EXPECT_EQ(logLines(), (QStringList{"tbRows", "copied 250", "errors 0"}));
}

TEST_F(RecordCopyTest, stopTickedDuringTheCopyEndsItAtTheNextRow) {
    showTables({QStringLiteral("tbRows")});
    QObject::connect(m_tools.get(), &TableCopyTools::copyProgress, &m_stop,
                     [this] { m_stop.setChecked(true); });
    click(QStringLiteral("cmdCopyTables"));
    EXPECT_EQ(inserts().size(), 100);
    EXPECT_EQ(logLines(), (QStringList{"tbRows", "copied 100", "errors 0", "Done copying"}));
}

TEST_F(RecordCopyTest, valuesOfEveryKindArriveIntactByPosition) {
    showTables({QStringLiteral("tbTypes")});
    click(QStringLiteral("cmdCopyTables"));
    const auto sent = inserts();
    ASSERT_EQ(sent.size(), 1);
    QStringList values;
    for (const auto& parameter : sent.front().parameters)
        values.append(
            QString::fromUtf8(QJsonDocument(QJsonArray{parameter.toObject().value(QStringLiteral("value"))})
                                  .toJson(QJsonDocument::Compact)));
    EXPECT_EQ(values, (QStringList{"[7]", "[9000000000]", "[\"12.50\"]", "[1.5]", "[true]",
                                   "[\"2024-01-31T10:20:30.1230000\"]", "[\"Zoë Ωmega\"]", "[\"0x01AB\"]",
                                   "[\"long text\"]", "[null]", "[\"2020-02-29T23:59:59.1234567\"]",
                                   "[\"12:34:56.1234567\"]"}));
    EXPECT_EQ(logLines(), (QStringList{"tbTypes", "copied 1", "errors 0", "Done copying"}));
}

struct FieldCase {
    const char* table;
    QStringList inserted; // per INSERT: the column list, then the values as they arrived
    const char* errors;
};
std::string_view label(const FieldCase& row) {
    return row.table;
}

class FieldLossTest : public RecordCopyTest, public ::testing::WithParamInterface<FieldCase> {};

// One field the target cannot take costs one error per row; the row still goes in.
TEST_P(FieldLossTest, aFieldTheTargetCannotTakeCostsOnlyThatField) {
    const FieldCase& c = GetParam();
    showTables({QString::fromUtf8(c.table)});
    click(QStringLiteral("cmdCopyTables"));
    QStringList inserted;
    for (const auto& entry : inserts())
        inserted.append(insertedRow(entry));
    EXPECT_EQ(inserted, c.inserted);
    EXPECT_EQ(logLines(), QStringList{QString::fromUtf8(c.table)} + QString::fromUtf8(c.errors).split(u'/') +
                              QStringList{QStringLiteral("Done copying")});
}

const FieldCase fieldCases[] = {
    // A refused row is counted and the next row tried.
    {"tbBad", {"[id] [1]", "[id] [2]", "[id] [3]"}, "copied 3/errors 3"},
    {"tbWide",
     {"[id], [name] [1,\"a\"]", "[id], [name] [2,\"b\"]", "[id], [name] [3,null]"},
     "copied 3/errors 3"},
    {"tbStamp", {"[id], [name] [1,\"a\"]", "[id], [name] [2,\"b\"]"}, "copied 2/errors 2"},
    {"tbIdent", {"[id], [name] [5,\"a\"]", "[id], [name] [9,\"b\"]"}, "copied 2/errors 0"},
    // Rows go several to a request: each row's bit is its own.
    {"tbBits",
     {"[id], [flag] [1,true]", "[id], [flag] [2,false]", "[id], [flag] [3,true]", "[id], [flag] [4,true]"},
     "copied 4/errors 0"},
    {"tbNoIdent", {"[name] [\"a\"]", "[name] [\"b\"]"}, "copied 2/errors 2"},
    {"tbCalc", {"[id], [price] [1,10]", "[id], [price] [2,20]"}, "copied 2/errors 2"},
    // Refused for a named column: sent again without it, once its request is answered.
    // Refused as a row: lost. Too long for the column: never sent.
    {"tbRefuse",
     {"[id], [name] [1,\"ok\"]", "[id], [name] [2,\"Bad\"]", "[id], [name] [3,\"dup\"]", "[id] [2]",
      "[id] [4]"},
     "copied 4/errors 3"},
};

INSTANTIATE_TEST_SUITE_P(Targets, FieldLossTest, ::testing::ValuesIn(fieldCases), qormin::test::RowName());

// Nothing changes without a word: each value lost is named in the errors box by table, key (the
// row's first field) and column, and the run counts it.
TEST_F(RecordCopyTest, everyRefusedValueIsNamedByTableKeyAndColumn) {
    showTables({QStringLiteral("tbRefuse")});
    const auto before = m_access->tally();
    click(QStringLiteral("cmdCopyTables"));
    const QStringList errors = m_access->errors().text().split(QStringLiteral("\r\n"));
    const QStringList lost =
        errors.filter(QRegularExpression(QStringLiteral("^(Not written|Refused by the server): ")));
    ASSERT_EQ(lost.size(), 3) << errors.join(QLatin1Char('\n')).toStdString();
    EXPECT_TRUE(lost[0].startsWith(QStringLiteral(
        "Refused by the server: Billing2..tbRefuse, id = 3, column -: Violation of PRIMARY KEY constraint")));
    EXPECT_TRUE(lost[1].startsWith(QStringLiteral(
        "Refused by the server: Billing2..tbRefuse, id = 2, column name: Cannot insert the value NULL")));
    EXPECT_EQ(lost[2],
              QStringLiteral("Not written: Billing2..tbRefuse, id = 4, column name: the value is longer "
                             "than nvarchar(5) holds"));
    EXPECT_EQ(m_access->tally().valuesLost - before.valuesLost, 3); // a batch run exits 1
}

TEST_F(RecordCopyTest, sourceAndTargetAreOpenBeforeIdentityInsertGoesOn) {
    showTables({QStringLiteral("tbIdent")});
    click(QStringLiteral("cmdCopyTables"));
    const QStringList sent = m_server->statements();
    const QStringList order{"truncate table Billing2..tbIdent ", "SELECT * FROM Billing..tbIdent",
                            "SELECT TOP 1 * FROM Billing2..tbIdent",
                            "SET IDENTITY_INSERT Billing2..tbIdent ON",
                            "SET IDENTITY_INSERT Billing2..tbIdent OFF"};
    for (qsizetype i = 1; i < order.size(); ++i)
        EXPECT_LT(sent.indexOf(order[i - 1]), sent.indexOf(order[i])) << order[i].toStdString();
    // The source is read on a second connection, closed when the copy ends.
    int readConnection = 0;
    for (const auto& entry : m_server->transcript()) {
        if (entry.text == QLatin1String("SELECT * FROM Billing..tbIdent"))
            readConnection = entry.connection;
    }
    EXPECT_NE(readConnection, 1);
    // The server sees the read connection go a moment after the client closed it.
    bool closed = false;
    for (int wait = 0; wait < 200 && !closed; ++wait) {
        for (const auto& entry : m_server->transcript())
            closed =
                closed || (entry.kind == QLatin1String("disconnect") && entry.connection == readConnection);
        if (!closed)
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    EXPECT_TRUE(closed);
}

TEST_F(RecordCopyTest, scriptOnlyIntoAMissingSisterTableCollectsEveryRowInTheSourcesShape) {
    m_access->setScriptOnly(true);
    showTables({QStringLiteral("tbMissing")});
    click(QStringLiteral("cmdCopyTables"));
    const QStringList collected = m_access->withheldStatements();
    EXPECT_EQ(collected.filter(QStringLiteral("INSERT INTO Billing2..tbMissing")),
              (QStringList{"INSERT INTO Billing2..tbMissing ([id], [name]) VALUES (1, N'a')",
                           "INSERT INTO Billing2..tbMissing ([id], [name]) VALUES (2, N'O''Brien')"}));
    EXPECT_EQ(logLines().filter(QStringLiteral("errors ")), (QStringList{"errors 0"}));
}

TEST_F(RecordCopyTest, aLostReadConnectionIsLoggedAndTheCopyEnds) {
    showTables({QStringLiteral("tbLost")});
    click(QStringLiteral("cmdCopyTables"));
    // Rows that arrived before the loss are copied; the loss itself is one error.
    EXPECT_EQ(int(inserts().size()), logLines().filter(QStringLiteral("copied ")).front().mid(7).toInt());
    ASSERT_EQ(errorLines().size(), 1);
    EXPECT_TRUE(errorLines().front().endsWith(QStringLiteral(" Billing..tbLost")))
        << errorLines().front().toStdString();
    EXPECT_EQ(logLines().filter(QStringLiteral("errors ")), (QStringList{"errors 1"}));
}

// The read runs on a connection of its own; Cancel must reach it when it stalls, not only the
// working connection the inserts use.
TEST_F(RecordCopyTest, cancelEndsACopyWhoseReadStalls) {
    showTables({QStringLiteral("tbStall")});
    QTimer::singleShot(500, m_access.get(), [this] { m_access->cancelRunningStatement(); });
    QElapsedTimer clock;
    clock.start();
    click(QStringLiteral("cmdCopyTables"));
    EXPECT_LT(clock.elapsed(), 10000);
    ASSERT_EQ(errorLines().size(), 1);
    EXPECT_TRUE(errorLines().front().startsWith(QStringLiteral("Operation was cancelled")))
        << errorLines().front().toStdString();
    // The read stalls within its first chunk; the 99 rows that arrived are still copied.
    EXPECT_EQ(logLines().filter(QStringLiteral("copied ")), (QStringList{"copied 99"}));
    EXPECT_EQ(logLines().filter(QStringLiteral("errors ")), (QStringList{"errors 1"}));
    EXPECT_EQ(inserts().size(), 99);
}

} // namespace
TEST_F(TableCopyToolsTest, copyToNewReplacesTheSisterTableInTheSameDatabase) {
    m_tools->chkAllTables()->setChecked(true); // the button works on the current row only
    click(QStringLiteral("cmdCopytoNEW"));
    const QStringList sent = m_server->statements();
    const QStringList before{
        "Use Billing",
        "use Billing",
        "SELECT * FROM sys.objects WHERE object_id = OBJECT_ID(N'tbCash_NEW2') AND type in (N'U')",
        "drop table Billing..tbCash_NEW2 ",
        "select top 1 * from  Billing..tbCash",
        "select top  1 * into Billing..tbCash_NEW2  from Billing..tbCash",
        "SET IDENTITY_INSERT Billing..tbCash_NEW2 ON",
        "truncate table Billing..tbCash_NEW2  "};
    ASSERT_GE(sent.size(), before.size() + 1);
    EXPECT_EQ(sent.mid(0, before.size()), before);
    EXPECT_EQ(sent.back(), QStringLiteral("SET IDENTITY_INSERT Billing..tbCash_NEW2 OFF"));
    EXPECT_EQ(logLines().front(), QStringLiteral("tbCash"));
}

} // namespace qormin::test
