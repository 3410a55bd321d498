#include "OdbcClient.h"
#include "SimTestServer.h"

#include <QJsonObject>
#include <gtest/gtest.h>

namespace qormin::test {
namespace {

const QByteArray scenario = R"json({
  "databases": ["Patient_Data"],
  "rules": [
    {"exact": "SELECT * FROM Patients", "database": "Patient_Data", "response": {"result": {
        "columns": ["id:int", "name:nvarchar(50)", "born:datetime"],
        "rows": [[1, "Ärzte Anna", "1970-05-01"], [2, "Björn", null], [3, "Chen 陳", "1990-12-31 08:00"]]}}},
    {"exact": "SELECT id\r\nFROM Visits\nWHERE id < 3", "response": {"result": {"columns": ["id:int"], "rows": [[1], [2]]}}},
    {"exact": "SELECT * FROM Visits", "response": {"result": {"generate": 2500, "columns": ["id:int"]}}},
    {"exact": "SELECT * FROM Locked", "response": {"error": {"number": 229, "severity": 14,
        "text": "The SELECT permission was denied on the object 'Locked'."}}}
  ]
})json";

QString declare(int number, const QString& kind, const QString& select) {
    return QStringLiteral("DECLARE qormin_cursor_%1 CURSOR GLOBAL %2 FOR %3\r\nOPEN qormin_cursor_%1")
        .arg(number)
        .arg(kind, select);
}

const QString readOnly = QStringLiteral("FORWARD_ONLY STATIC READ_ONLY");
const QString updatable = QStringLiteral("DYNAMIC OPTIMISTIC");

QString fetch(int number, int count) {
    QStringList lines;
    for (int i = 0; i < count; ++i) {
        lines.append(QStringLiteral("FETCH NEXT FROM qormin_cursor_%1").arg(number));
    }
    return lines.join(QStringLiteral("\r\n"));
}

QString close(int number) {
    return QStringLiteral("CLOSE qormin_cursor_%1\r\nDEALLOCATE qormin_cursor_%1").arg(number);
}

class SimCursorTest : public ::testing::Test {
protected:
    void SetUp() override {
        server = SimTestServer::fromJson(scenario);
        ASSERT_TRUE(server);
        ASSERT_TRUE(client.connect(
            server->connectionString(QStringLiteral("sa"), QString(), QStringLiteral("Patient_Data"))));
    }

    std::unique_ptr<SimTestServer> server;
    OdbcClient client;
};

TEST_F(SimCursorTest, openAnswersWithoutRowsAndFetchGivesOneRowPerStatement) {
    const auto opened = client.execute(declare(1, readOnly, QStringLiteral("SELECT * FROM Patients")));
    EXPECT_TRUE(opened.succeeded);
    EXPECT_TRUE(opened.tables.empty());
    const auto chunk = client.execute(fetch(1, 2));
    ASSERT_EQ(chunk.tables.size(), 2u);
    EXPECT_EQ(chunk.tables[0].columns,
              (QStringList{QStringLiteral("id"), QStringLiteral("name"), QStringLiteral("born")}));
    EXPECT_EQ(chunk.tables[0].rows,
              (std::vector<QStringList>{{QStringLiteral("1"), QStringLiteral("Ärzte Anna"),
                                         QStringLiteral("1970-05-01 00:00:00.000")}}));
    EXPECT_EQ(chunk.tables[1].rows.at(0).at(2), QString::fromLatin1(OdbcClient::nullText));
    const auto rest = client.execute(fetch(1, 3));
    ASSERT_EQ(rest.tables.size(), 3u);
    EXPECT_EQ(rest.tables[0].rows.at(0).at(1), QStringLiteral("Chen 陳"));
    EXPECT_TRUE(rest.tables[1].rows.empty()) << "past the end: columns and no row";
    EXPECT_EQ(rest.tables[1].columns.size(), 3);
    EXPECT_TRUE(rest.tables[2].rows.empty());
    EXPECT_TRUE(client.execute(close(1)).succeeded);
}

TEST_F(SimCursorTest, selectSpanningLinesKeepsItsExactText) {
    ASSERT_TRUE(client.execute(declare(9, readOnly, QStringLiteral("SELECT id\r\nFROM Visits\nWHERE id < 3")))
                    .succeeded);
    const auto chunk =
        client.execute(QStringLiteral("FETCH NEXT FROM qormin_cursor_9\nfetch next from QORMIN_CURSOR_9;\r\n"
                                      "FETCH NEXT FROM qormin_cursor_9"));
    ASSERT_EQ(chunk.tables.size(), 3u);
    EXPECT_EQ(chunk.tables[1].rows.at(0).at(0), QStringLiteral("2"));
    EXPECT_TRUE(chunk.tables[2].rows.empty());
}

TEST_F(SimCursorTest, largeCursorIsWalkedInChunks) {
    ASSERT_TRUE(client.execute(declare(7, readOnly, QStringLiteral("SELECT * FROM Visits"))).succeeded);
    int seen = 0;
    int expectedId = 1;
    bool pastEnd = false;
    while (!pastEnd) {
        const auto chunk = client.execute(fetch(7, 1000));
        for (const auto& table : chunk.tables) {
            if (table.rows.empty()) {
                pastEnd = true;
                break;
            }
            EXPECT_EQ(table.rows[0].at(0), QString::number(expectedId++));
            ++seen;
        }
    }
    EXPECT_EQ(seen, 2500);
}

TEST_F(SimCursorTest, updateThroughTheCursorRecordsTypedValuesAndChangesItsRow) {
    ASSERT_TRUE(client.execute(declare(2, updatable, QStringLiteral("SELECT * FROM Patients"))).succeeded);
    client.execute(fetch(2, 1));
    client.execute(fetch(2, 1));
    const QString name = QStringLiteral("Müller");
    const QByteArray nameBytes(reinterpret_cast<const char*>(name.utf16()), name.size() * 2);
    SQL_TIMESTAMP_STRUCT born{};
    born.year = 1980;
    born.month = 2;
    born.day = 29;
    const auto outcome = client.execute(
        QStringLiteral("UPDATE Patients SET [name] = ?, [born] = ? WHERE CURRENT OF qormin_cursor_2"),
        {{SQL_C_WCHAR, SQL_WVARCHAR, 50, 0, nameBytes},
         {SQL_C_TYPE_TIMESTAMP, SQL_TYPE_TIMESTAMP, 23, 3,
          QByteArray(reinterpret_cast<const char*>(&born), sizeof born)}});
    ASSERT_TRUE(outcome.succeeded);
    EXPECT_EQ(outcome.rowCounts.back(), 1);
    const auto update = server->requests().back();
    EXPECT_EQ(update.kind, QStringLiteral("rpc"));
    EXPECT_EQ(
        update.text,
        QStringLiteral("UPDATE Patients SET [name] = @P1, [born] = @P2 WHERE CURRENT OF qormin_cursor_2"));
    EXPECT_EQ(update.parameters.at(0).toObject().value(QLatin1String("value")).toString(), name);
    const QJsonObject effect = update.json.value(QLatin1String("effect")).toObject();
    EXPECT_EQ(effect.value(QLatin1String("row")).toInt(), 2);
    const QJsonObject values = effect.value(QLatin1String("values")).toObject();
    EXPECT_EQ(values.value(QLatin1String("name")).toString(), name);
    EXPECT_EQ(values.value(QLatin1String("born")).toString(), QStringLiteral("1980-02-29T00:00:00.000"));
}

struct FailureCase {
    const char* name;
    const char* batch; // after the cursor 3 has been opened read-only on Patients
    int number;
    const char* text;
};

class SimCursorFailureTest : public SimCursorTest, public ::testing::WithParamInterface<FailureCase> {};

TEST_P(SimCursorFailureTest, misuseGivesTheServerError) {
    ASSERT_TRUE(client.execute(declare(3, readOnly, QStringLiteral("SELECT * FROM Patients"))).succeeded);
    client.execute(fetch(3, 1));
    const auto outcome = client.execute(QString::fromUtf8(GetParam().batch));
    EXPECT_FALSE(outcome.succeeded);
    EXPECT_EQ(outcome.messageText(GetParam().number), QString::fromUtf8(GetParam().text));
}

INSTANTIATE_TEST_SUITE_P(
    Misuse, SimCursorFailureTest,
    ::testing::Values(
        FailureCase{"unknownTable",
                    "DECLARE qormin_cursor_4 CURSOR GLOBAL FORWARD_ONLY STATIC READ_ONLY FOR SELECT * FROM "
                    "nothing\r\nOPEN qormin_cursor_4",
                    208, "Invalid object name 'nothing'."},
        FailureCase{"selectError",
                    "DECLARE qormin_cursor_4 CURSOR GLOBAL FORWARD_ONLY STATIC READ_ONLY FOR SELECT * FROM "
                    "Locked\r\nOPEN qormin_cursor_4",
                    229, "The SELECT permission was denied on the object 'Locked'."},
        FailureCase{
            "declaredTwice",
            "DECLARE qormin_cursor_3 CURSOR GLOBAL FORWARD_ONLY STATIC READ_ONLY FOR SELECT * FROM Patients",
            16915, "A cursor with the name 'qormin_cursor_3' already exists."},
        FailureCase{"fetchUnknown", "FETCH NEXT FROM qormin_cursor_9", 16916,
                    "A cursor with the name 'qormin_cursor_9' does not exist."},
        FailureCase{"fetchAfterClose",
                    "CLOSE qormin_cursor_3\r\nDEALLOCATE qormin_cursor_3\r\nFETCH NEXT FROM qormin_cursor_3",
                    16916, "A cursor with the name 'qormin_cursor_3' does not exist."},
        FailureCase{"updateReadOnly", "UPDATE Patients SET [name] = N'x' WHERE CURRENT OF qormin_cursor_3",
                    16929, "The cursor is READ ONLY."}),

    [](const ::testing::TestParamInfo<FailureCase>& parameter) { return std::string(parameter.param.name); });

TEST_F(SimCursorTest, cursorsBelongToTheirConnection) {
    ASSERT_TRUE(client.execute(declare(5, readOnly, QStringLiteral("SELECT * FROM Patients"))).succeeded);
    OdbcClient other;
    ASSERT_TRUE(other.connect(
        server->connectionString(QStringLiteral("sa"), QString(), QStringLiteral("Patient_Data"))));
    EXPECT_EQ(other.execute(fetch(5, 1)).messageText(16916),
              QStringLiteral("A cursor with the name 'qormin_cursor_5' does not exist."));
    EXPECT_EQ(client.execute(fetch(5, 1)).tables.at(0).rows.size(), 1u);
}

TEST_F(SimCursorTest, updateBeforeTheFirstFetchFails) {
    ASSERT_TRUE(client.execute(declare(8, updatable, QStringLiteral("SELECT * FROM Patients"))).succeeded);
    EXPECT_EQ(
        client.execute(QStringLiteral("UPDATE Patients SET [name] = N'x' WHERE CURRENT OF qormin_cursor_8"))
            .messageText(16930),
        QStringLiteral("The requested row is not in the fetch buffer."));
}

TEST_F(SimCursorTest, updateOfAnUnknownColumnFails) {
    ASSERT_TRUE(client.execute(declare(6, updatable, QStringLiteral("SELECT * FROM Patients"))).succeeded);
    client.execute(fetch(6, 1));
    EXPECT_EQ(
        client.execute(QStringLiteral("UPDATE Patients SET [nope] = 1 WHERE CURRENT OF qormin_cursor_6"))
            .messageText(207),
        QStringLiteral("Invalid column name 'nope'."));
    EXPECT_EQ(client
                  .execute(QStringLiteral(
                      "UPDATE Patients SET [name] = N'O''Brien' WHERE CURRENT OF qormin_cursor_6"))
                  .rowCounts.back(),
              1);
    EXPECT_EQ(server->requests()
                  .back()
                  .json.value(QLatin1String("effect"))
                  .toObject()
                  .value(QLatin1String("values")),
              QJsonValue(QJsonObject{{QStringLiteral("name"), QStringLiteral("O'Brien")}}));
}

} // namespace
} // namespace qormin::test
