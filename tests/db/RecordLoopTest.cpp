#include "FakeServerAccessHost.h"
#include "QStringPrinter.h"
#include "SimTestServer.h"

#include "RowName.h"
#include "db/LogBuffer.h"
#include "db/RecordReader.h"
#include "db/RecordWriter.h"
#include "db/SideConnection.h"

#include <QDateTime>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTest>
#include <algorithm>
#include <gtest/gtest.h>
#include <map>
#include <set>
#include <sql.h>
#include <sqlext.h>

namespace {

using qormin::test::PrintTo;

using qormin::db::RecordReader;
using qormin::db::RecordWriter;
using qormin::test::FakeServerAccessHost;
using qormin::test::SimTestServer;

const QByteArray scenario = R"json({
  "rules": [
    {"exact": "SELECT * FROM big", "response": {"result": {
      "columns": [{"name": "id", "type": "int"},
                  {"name": "name", "type": "nvarchar(50)", "generate": {"template": "Name {n}"}}],
      "generate": 100000}}},
    {"exact": "select * from missing", "response": {"error": {"number": 208, "text": "Invalid object name 'missing'."}}},
    {"exact": "SELECT * FROM Patients", "response": {"result": {
      "columns": ["IDNum:int", "LastName:nvarchar(50)", "FirstName:nvarchar(50)"],
      "rows": [[1, "Smith", "John"], [2, "Müller", "Jörg"], [3, "Brown", null]]}}},
    {"exact": "SELECT TOP 1 * FROM Target", "response": {"result": {
      "columns": ["i:int", "b:bigint", "d:decimal(18,4)", "f:float", "t:bit", "w:datetime", "n:nvarchar(50)",
                  "v:varbinary(max)", "x:text", "z:int"],
      "rows": []}}},
    {"exact": "SELECT TOP 1 * FROM Named", "response": {"result": {
      "columns": ["IDNum:int", "LastName:nvarchar(50)", "Extra:int"], "rows": []}}},
    {"exact": "SELECT TOP 1 * FROM Strict", "response": {"result": {
      "columns": ["IDNum:int", "LastName:nvarchar(5)"], "rows": []}}},
    {"prefix": "INSERT INTO Strict", "parameters": {"@P2": "Bad"}, "response": {"error": {"number": 515,
      "text": "Cannot insert the value NULL into column 'LastName', table 'x.dbo.Strict'; column does not allow nulls. INSERT fails."}}},
    {"prefix": "INSERT INTO Strict", "parameters": {"@P1": 3}, "response": {"error": {"number": 2627,
      "text": "Violation of PRIMARY KEY constraint 'PK_Strict'."}}},
    {"prefix": "INSERT INTO Strict", "parameters": {"@P2": "Conv"}, "response": {"error": {"number": 245,
      "text": "Conversion failed when converting the nvarchar value 'Conv' to data type int.", "abortsBatch": true}}},
    {"prefix": "INSERT INTO Strict", "response": {"rowCount": 1}}
  ]
})json";

class RecordLoopTest : public ::testing::Test {
protected:
    void SetUp() override {
        m_server = SimTestServer::fromJson(scenario);
        ASSERT_TRUE(m_server && m_server->isRunning());
        m_host.server[0] = m_server->address();
        m_access = std::make_unique<qormin::db::ServerAccess>(m_host);
        m_access->ConnectServer(0);
        ASSERT_TRUE(m_access->IsConnected(0));
    }

    qormin::db::SideConnection& side() { return m_access->side(0); }

    std::vector<qormin::sim::TranscriptEntry> requestsStartingWith(const QString& prefix) const {
        std::vector<qormin::sim::TranscriptEntry> found;
        for (auto& entry : m_server->requests()) {
            if (entry.text.startsWith(prefix)) {
                found.push_back(entry);
            }
        }
        return found;
    }

    std::unique_ptr<SimTestServer> m_server;
    FakeServerAccessHost m_host;
    std::unique_ptr<qormin::db::ServerAccess> m_access;
};

TEST_F(RecordLoopTest, readerStreamsALargeTableOnASecondConnectionWhileTheSideRunsStatements) {
    RecordReader reader(side(), QStringLiteral("big"), RecordReader::Mode::ReadOnly, 1000);
    ASSERT_TRUE(reader.open()) << reader.error().toStdString();
    qint64 count = 0;
    qint64 idSum = 0;
    size_t mostBuffered = 0;
    while (reader.next()) {
        ++count;
        idSum += reader.value(0).toInt();
        mostBuffered = std::max(mostBuffered, reader.bufferedRows());
        if (count == 1500) {
            side().execute(QStringLiteral("SET IDENTITY_INSERT t ON"));
        }
    }
    EXPECT_EQ(reader.error(), QString());
    EXPECT_EQ(count, 100000);
    EXPECT_EQ(idSum, qint64(100000) * 100001 / 2);
    EXPECT_LE(mostBuffered, 1000U);
    EXPECT_EQ(reader.value(QStringLiteral("name")), QVariant());
    reader.close();

    std::map<QString, int> connectionOf;
    for (const auto& entry : m_server->transcript()) {
        connectionOf[entry.text] = entry.connection;
    }
    EXPECT_EQ(connectionOf[QStringLiteral("SELECT * FROM big")], 2);
    EXPECT_EQ(connectionOf[QStringLiteral("SET IDENTITY_INSERT t ON")], 1);
    // The server sees the read connection go a moment after the client closed it.
    EXPECT_TRUE(QTest::qWaitFor([this] {
        const auto transcript = m_server->transcript();
        return std::any_of(transcript.begin(), transcript.end(), [](const auto& entry) {
            return entry.kind == QLatin1String("disconnect") && entry.connection == 2;
        });
    }));
    EXPECT_EQ(m_server->statements(), (QStringList{"SELECT * FROM big", "SET IDENTITY_INSERT t ON"}));
}

TEST_F(RecordLoopTest, readerOfAFailingSelectReportsTheServersError) {
    RecordReader reader(side(), QStringLiteral("select * from missing"));
    EXPECT_FALSE(reader.open());
    EXPECT_EQ(reader.error(), QStringLiteral("Invalid object name 'missing'."));
    EXPECT_FALSE(reader.next());
}

TEST_F(RecordLoopTest, updatableReaderChangesTheCurrentRowWithTypedParameters) {
    RecordReader reader(side(), QStringLiteral("Patients"), RecordReader::Mode::Updatable);
    ASSERT_TRUE(reader.open()) << reader.error().toStdString();
    ASSERT_TRUE(reader.next());
    ASSERT_TRUE(reader.next());
    EXPECT_EQ(reader.value(QStringLiteral("lastname")).toString(), QStringLiteral("Müller"));
    QString error;
    ASSERT_TRUE(reader.updateCurrentRow({QStringLiteral("FirstName"), QStringLiteral("LastName")},
                                        {QStringLiteral("Zoë"), QVariant()}, &error))
        << error.toStdString();
    EXPECT_EQ(reader.value(QStringLiteral("FirstName")).toString(), QStringLiteral("Zoë"));
    reader.close();

    const auto updates = requestsStartingWith(QStringLiteral("UPDATE"));
    const auto opens = requestsStartingWith(QStringLiteral("DECLARE"));
    const auto fetches = requestsStartingWith(QStringLiteral("FETCH"));
    ASSERT_EQ(updates.size(), 1U);
    ASSERT_EQ(opens.size(), 1U);
    ASSERT_FALSE(fetches.empty());
    EXPECT_EQ(
        updates[0].text,
        QStringLiteral(
            "UPDATE Patients SET [FirstName] = @P1, [LastName] = @P2 WHERE CURRENT OF qormin_cursor_1"));
    const QJsonArray parameters = updates[0].parameters;
    ASSERT_EQ(parameters.size(), 2);
    EXPECT_EQ(parameters[0].toObject().value(QLatin1String("value")).toString(), QStringLiteral("Zoë"));
    EXPECT_TRUE(parameters[1].toObject().value(QLatin1String("value")).isNull());
    EXPECT_EQ(opens[0].text,
              QStringLiteral("DECLARE qormin_cursor_1 CURSOR GLOBAL DYNAMIC OPTIMISTIC FOR SELECT * FROM "
                             "Patients\r\nOPEN qormin_cursor_1"));
    EXPECT_EQ(fetches[0].text, QStringLiteral("FETCH NEXT FROM qormin_cursor_1"));
}

// A change that also fetches the next row must leave the loop's statements exactly as they were:
// the same rows visited once each, in the same order of statements.
class ChangeThenFetchTest : public RecordLoopTest,
                            public ::testing::WithParamInterface<RecordReader::AfterChange> {};

TEST_P(ChangeThenFetchTest, sendsTheStatementsOfOneChangeAtATime) {
    const RecordReader::AfterChange after = GetParam();
    RecordReader reader(side(), QStringLiteral("Patients"), RecordReader::Mode::Updatable);
    ASSERT_TRUE(reader.open());
    QStringList visited;
    while (reader.next()) {
        visited.append(reader.value(0).toString());
        if (visited.size() == 1) {
            ASSERT_TRUE(reader.updateCurrentRow({QStringLiteral("FirstName")}, {QStringLiteral("Ann")},
                                                nullptr, after));
        } else if (visited.size() == 2) {
            ASSERT_TRUE(reader.deleteCurrentRow(nullptr, after));
        } else {
            ASSERT_TRUE(reader.updateCurrentRow({QStringLiteral("LastName")}, {QStringLiteral("Lee")},
                                                nullptr, after));
        }
    }
    reader.close();
    EXPECT_EQ(visited, (QStringList{QStringLiteral("1"), QStringLiteral("2"), QStringLiteral("3")}));
    QStringList sent;
    for (const auto& entry : m_server->requests()) {
        sent.append(entry.text.section(QLatin1Char(' '), 0, 1) +
                    (entry.parameters.isEmpty()
                         ? QString()
                         : QStringLiteral(" ") +
                               entry.parameters[0].toObject().value(QLatin1String("value")).toString()));
    }
    EXPECT_EQ(sent.mid(sent.indexOf(QStringLiteral("DECLARE qormin_cursor_1"))),
              (QStringList{QStringLiteral("DECLARE qormin_cursor_1"), QStringLiteral("FETCH NEXT"),
                           QStringLiteral("UPDATE Patients Ann"), QStringLiteral("FETCH NEXT"),
                           QStringLiteral("DELETE FROM"), QStringLiteral("FETCH NEXT"),
                           QStringLiteral("UPDATE Patients Lee"), QStringLiteral("FETCH NEXT"),
                           QStringLiteral("CLOSE qormin_cursor_1\r\nDEALLOCATE")}));
    EXPECT_EQ(m_access->tally().failed, 0);
}

INSTANTIATE_TEST_SUITE_P(BothWays, ChangeThenFetchTest,
                         ::testing::Values(RecordReader::AfterChange::StayOnRow,
                                           RecordReader::AfterChange::FetchNext),
                         [](const auto& row) {
                             return row.param == RecordReader::AfterChange::FetchNext ? "fetchNext"
                                                                                      : "stayOnRow";
                         });

struct InsertCase {
    const char* column;
    QVariant value;
    const char* declaredType; // how the parameter arrives, as the driver declared it
    const char* arrived;      // the value as it arrived, as a JSON array of one
};
std::string_view label(const InsertCase& row) {
    return row.column;
}

class RecordWriterTypeTest : public RecordLoopTest, public ::testing::WithParamInterface<InsertCase> {};

TEST_P(RecordWriterTypeTest, sendsEachValueAsItsColumnsType) {
    const InsertCase& c = GetParam();
    RecordWriter writer(side(), QStringLiteral("Target"));
    ASSERT_TRUE(writer.open()) << writer.error().toStdString();
    const auto written = writer.addRowByName({QString::fromUtf8(c.column)}, {c.value});
    ASSERT_TRUE(written.added && written.errors == 0) << written.lastError.toStdString();
    const auto inserts = requestsStartingWith(QStringLiteral("INSERT"));
    ASSERT_EQ(inserts.size(), 1U);
    EXPECT_EQ(inserts[0].text,
              QStringLiteral("INSERT INTO Target ([%1]) VALUES (@P1)").arg(QLatin1String(c.column)));
    ASSERT_EQ(inserts[0].parameters.size(), 1);
    const QJsonObject parameter = inserts[0].parameters[0].toObject();
    EXPECT_EQ(parameter.value(QLatin1String("type")).toString(), QString::fromUtf8(c.declaredType));
    const QJsonArray arrived{parameter.value(QLatin1String("value"))};
    EXPECT_EQ(QJsonDocument(arrived).toJson(QJsonDocument::Compact), QByteArray(c.arrived));
}

const InsertCase insertCases[] = {
    {"i", QVariant(-2147483647), "INT", "[-2147483647]"},
    // Beyond the doubles' exact range: must not travel as a floating-point number.
    {"b", QVariant(qlonglong(9007199254740993LL)), "BIGINT", "[\"9007199254740993\"]"},
    {"d", QVariant(QStringLiteral("-12345678901234.5678")), "NUMERIC(18,4)", "[\"-12345678901234.5678\"]"},
    {"f", QVariant(0.1), "FLOAT", "[0.1]"},
    {"t", QVariant(true), "BIT", "[true]"},
    // FreeTDS declares timestamps as datetime2; the server converts to the column's datetime.
    {"w", QVariant(QDateTime(QDate(2024, 2, 29), QTime(23, 59, 58, 997))), "DATETIME2",
     "[\"2024-02-29T23:59:58.9970000\"]"},
    {"n", QVariant(QStringLiteral("Zoë 日本 'x'")), "NVARCHAR(50)", "[\"Zoë 日本 'x'\"]"},
    {"v", QVariant(QByteArray("\x00\xff\x10", 3)), "VARBINARY(8000)", "[\"0x00FF10\"]"},
    {"x", QVariant(QStringLiteral("long text")), "NVARCHAR(4000)", "[\"long text\"]"},
    {"z", QVariant(), "INT", "[null]"},
    {"i", QVariant(QStringLiteral("42")), "INT", "[42]"},
};

INSTANTIATE_TEST_SUITE_P(EveryType, RecordWriterTypeTest, ::testing::ValuesIn(insertCases),
                         qormin::test::IndexedRowName());

// Rounding is not the server's conversion (it truncates 3.7 to 3): a fraction bound for an
// integer column goes as text, which the server refuses, and never arrives as 4.
TEST_F(RecordLoopTest, aFractionIsNeverRoundedIntoAnIntegerParameter) {
    for (const int sqlType : {SQL_INTEGER, SQL_BIGINT}) {
        qormin::db::ColumnInfo target;
        target.name = QStringLiteral("i");
        target.sqlType = sqlType;
        side().executeWithParameters(QStringLiteral("INSERT INTO Target ([i]) VALUES (?)"), {target}, {3.7});
    }
    const auto inserts = requestsStartingWith(QStringLiteral("INSERT"));
    ASSERT_EQ(inserts.size(), 2U);
    for (const auto& insert : inserts) {
        const QJsonObject parameter = insert.parameters[0].toObject();
        EXPECT_TRUE(parameter.value(QLatin1String("type")).toString().startsWith(QLatin1String("NVARCHAR")));
        EXPECT_TRUE(parameter.value(QLatin1String("value")).toString().startsWith(QLatin1String("3.7")));
    }
}

TEST_F(RecordLoopTest, writerLosesOnlyTheFieldsTheTableCannotTake) {
    RecordWriter writer(side(), QStringLiteral("Named"));
    ASSERT_TRUE(writer.open());
    writer.reportLossesTo(*m_access);
    // By position, by name, too many values, nothing that fits: every row goes in.
    const std::pair<qormin::db::RowWrite, int> added[] = {
        {writer.addRow({7, QStringLiteral("Smith")}), 0},
        {writer.addRowByName({QStringLiteral("lastname"), QStringLiteral("Missing"), QStringLiteral("IDNum")},
                             {QStringLiteral("Brown"), 1, 8}),
         1},
        {writer.addRow({1, 2, 3, 4}), 1},
        {writer.addRow({QStringLiteral("not a number")}), 1}};
    for (const auto& [result, errors] : added) {
        EXPECT_TRUE(result.added);
        EXPECT_EQ(result.errors, errors);
    }
    const auto inserts = requestsStartingWith(QStringLiteral("INSERT"));
    ASSERT_EQ(inserts.size(), 4U);
    EXPECT_EQ(inserts[0].text, QStringLiteral("INSERT INTO Named ([IDNum], [LastName]) VALUES (@P1, @P2)"));
    EXPECT_EQ(inserts[1].text, QStringLiteral("INSERT INTO Named ([LastName], [IDNum]) VALUES (@P1, @P2)"));
    EXPECT_EQ(inserts[1].parameters[1].toObject().value(QLatin1String("value")), QJsonValue(8));
    EXPECT_EQ(inserts[2].text,
              QStringLiteral("INSERT INTO Named ([IDNum], [LastName], [Extra]) VALUES (@P1, @P2, @P3)"));
    EXPECT_EQ(inserts[3].text, QStringLiteral("INSERT INTO Named DEFAULT VALUES"));
    // Each loss named, newest first; a column left out of every row is told once.
    writer.addRow({2, QStringLiteral("Jones"), 3, 4});
    EXPECT_EQ(
        m_access->errors().text(),
        QStringLiteral("Not written: Named, IDNum = not a number, column IDNum: the value is not a number\r\n"
                       "Left out of every row: Named, IDNum = 1, column #4: the table has no column there\r\n"
                       "Left out of every row: Named, lastname = Brown, column Missing: the table has no "
                       "column of that name\r\n"));
    EXPECT_EQ(m_access->tally().valuesLost, 3);
}

struct TogetherCase {
    const char* name;
    std::vector<QString> lastNames; // row n gets IDNum n; the row is refused or ends the request by its text
    int errors;                     // the same one by one and together
};

class RowsTogetherTest : public RecordLoopTest, public ::testing::WithParamInterface<TogetherCase> {
protected:
    // The executed INSERTs with their values (sorted: a refused row's second try comes after
    // its request in the together run) and how many requests carried them.
    std::pair<QStringList, int> takeInserts() {
        QStringList sent;
        std::set<int> requests;
        for (const auto& entry : requestsStartingWith(QStringLiteral("INSERT"))) {
            sent.append(entry.text + QLatin1Char(' ') +
                        QString::fromUtf8(QJsonDocument(entry.parameters).toJson(QJsonDocument::Compact)));
            requests.insert(entry.json.value(QLatin1String("request")).toInt());
        }
        m_server->clearTranscript();
        sent.sort();
        return {sent, static_cast<int>(requests.size())};
    } // namespace
};

// Rows handed over together insert exactly what one by one inserts, with the same errors:
// refused rows mid-request, a refused field retried without it, a value too long for its
// column, and an error that ends the whole request (the rows after it are sent again).
TEST_P(RowsTogetherTest, insertTheSameRowsWithTheSameErrorsAsOneByOne) {
    const TogetherCase& c = GetParam();
    std::vector<std::vector<QVariant>> rows;
    for (size_t index = 0; index < c.lastNames.size(); ++index) {
        rows.push_back({static_cast<int>(index) + 1, c.lastNames[index]});
    }
    RecordWriter oneByOne(side(), QStringLiteral("Strict"));
    ASSERT_TRUE(oneByOne.open());
    m_server->clearTranscript();
    int errorsOneByOne = 0;
    for (const auto& row : rows) {
        errorsOneByOne += oneByOne.addRow(row).errors;
    }
    const auto [singly, singleRequests] = takeInserts();
    RecordWriter together(side(), QStringLiteral("Strict"));
    ASSERT_TRUE(together.open());
    m_server->clearTranscript();
    const int errorsTogether = together.addRows(rows).errors;
    const auto [batched, batchedRequests] = takeInserts();
    EXPECT_EQ(batched, singly);
    EXPECT_EQ(errorsOneByOne, c.errors);
    EXPECT_EQ(errorsTogether, c.errors);
    EXPECT_EQ(singleRequests, singly.size());
    EXPECT_LT(batchedRequests, singleRequests) << "rows were not sent several to a request";
}

const TogetherCase togetherCases[] = {
    // Row 3 always breaks the key (lost, one error).
    {"allButTheKeyBreakerGoIn", {"a", "b", "c", "d", "e", "f", "g", "h"}, 1},
    // Row 2's NULL is refused for its named column (sent again without it); row 3 breaks the
    // key (lost); row 5 is too long for nvarchar(5) (the field is lost before sending).
    {"refusedMidRequest", {"a", "Bad", "c", "d", "too long", "f", "g", "h"}, 3},
    {"endsTheRequestMidway", {"a", "b", "c", "Conv", "e", "f", "g", "h"}, 2},
    // The driver reports one row more than the server ran when the request ends early; with
    // the second-to-last row ending it, only the rows' counts tell that the last did not run.
    {"endsTheRequestAtTheSecondToLastRow", {"a", "b", "d", "e", "f", "g", "Conv", "h"}, 2},
    {"endsTheRequestAtTheLastRow", {"a", "b", "d", "e", "f", "g", "h", "Conv"}, 2},
    {"endsTheRequestAtTheFirstRowAndAgain", {"Conv", "b", "c", "Bad", "Conv", "f", "Conv", "h"}, 5},
};

INSTANTIATE_TEST_SUITE_P(Rows, RowsTogetherTest, ::testing::ValuesIn(togetherCases), qormin::test::RowName());

TEST_F(RecordLoopTest, scriptOnlyCollectsInsertsAndUpdatesAsLiteralStatements) {
    m_access->setScriptOnly(true);
    RecordWriter writer(side(), QStringLiteral("Named"));
    ASSERT_TRUE(writer.open());
    ASSERT_TRUE(writer.addRow({7, QStringLiteral("O'Brien")}).added);
    RecordReader reader(side(), QStringLiteral("Patients"), RecordReader::Mode::Updatable);
    ASSERT_TRUE(reader.open());
    ASSERT_TRUE(reader.next());
    ASSERT_TRUE(reader.updateCurrentRow({QStringLiteral("FirstName")}, {QStringLiteral("Ann")}));
    reader.close();
    EXPECT_EQ(
        m_access->withheldStatements(),
        (QStringList{
            QStringLiteral("INSERT INTO Named ([IDNum], [LastName]) VALUES (7, N'O''Brien')"),
            QStringLiteral("UPDATE Patients SET [FirstName] = N'Ann' WHERE CURRENT OF qormin_cursor_1")}));
    EXPECT_TRUE(requestsStartingWith(QStringLiteral("INSERT")).empty());
    EXPECT_TRUE(requestsStartingWith(QStringLiteral("UPDATE")).empty());
    EXPECT_FALSE(requestsStartingWith(QStringLiteral("DECLARE")).empty());
    EXPECT_TRUE(
        m_access->log().text().startsWith(QStringLiteral("Not run (script only)\r\nUPDATE Patients")));
}

} // namespace
