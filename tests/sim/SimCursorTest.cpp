#include "RowName.h"
#include "SimClientTest.h"

#include <QJsonObject>
#include <gtest/gtest.h>

namespace qormin::test {
namespace {

using qormin::test::PrintTo;

const QByteArray scenario = R"json({
  "databases": ["Patient_Data"],
  "rules": [
    {"exact": "SELECT * FROM Patients", "database": "Patient_Data", "response": {"result": {
        "columns": ["id:int", "name:nvarchar(50)", "born:datetime"],
        "rows": [[1, "Ärzte Anna", "1970-05-01"], [2, "Björn", null], [3, "Chen 陳", "1990-12-31 08:00"]]}}},
    {"exact": "SELECT id\r\nFROM Visits\nWHERE id < 3", "response": {"result": {"columns": ["id:int"], "rows": [[1], [2]]}}},
    {"exact": "SELECT * FROM Locked", "response": {"error": {"number": 229, "severity": 14,
        "text": "The SELECT permission was denied on the object 'Locked'."}}}
  ]
})json";

const char* const readOnly = "FORWARD_ONLY STATIC READ_ONLY";
const char* const updatable = "DYNAMIC OPTIMISTIC";

QString declare(int number, const char* kind,
                const QString& select = QStringLiteral("SELECT * FROM Patients")) {
    return QStringLiteral("DECLARE qormin_cursor_%1 CURSOR GLOBAL %2 FOR %3\r\nOPEN qormin_cursor_%1")
        .arg(number)
        .arg(QLatin1String(kind), select);
}

QString fetch(int number, int count) {
    return QStringList(count, QStringLiteral("FETCH NEXT FROM qormin_cursor_%1").arg(number)).join(u"\r\n");
}

class SimCursorTest : public SimClientTest {
protected:
    void SetUp() override {
        start(SimTestServer::fromJson(scenario), QString(), QStringLiteral("Patient_Data"));
    }
    QJsonObject lastEffect() const {
        return server->requests().back().json.value(QLatin1String("effect")).toObject();
    }
};

TEST_F(SimCursorTest, openAnswersWithoutRowsAndFetchGivesOneRowPerStatement) {
    const auto opened = client.execute(declare(1, readOnly));
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
    EXPECT_TRUE(
        client.execute(QStringLiteral("CLOSE qormin_cursor_1\r\nDEALLOCATE qormin_cursor_1")).succeeded);
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

TEST_F(SimCursorTest, updateThroughTheCursorRecordsTypedValuesAndChangesItsRow) {
    ASSERT_TRUE(client.execute(declare(2, updatable)).succeeded);
    client.execute(fetch(2, 2));
    const QString name = QStringLiteral("Müller");
    const auto outcome = client.execute(
        QStringLiteral("UPDATE Patients SET [name] = ?, [born] = ? WHERE CURRENT OF qormin_cursor_2"),
        {{SQL_C_WCHAR, SQL_WVARCHAR, 50, 0, wideBytes(name)},
         {SQL_C_TYPE_DATE, SQL_TYPE_DATE, 10, 0, bytesOf(SQL_DATE_STRUCT{1980, 2, 29})}});
    ASSERT_TRUE(outcome.succeeded);
    EXPECT_EQ(outcome.rowCounts.back(), 1);
    EXPECT_EQ(
        server->requests().back().text,
        QStringLiteral("UPDATE Patients SET [name] = @P1, [born] = @P2 WHERE CURRENT OF qormin_cursor_2"));
    EXPECT_EQ(lastEffect().value(QLatin1String("row")).toInt(), 2);
    EXPECT_EQ(lastEffect().value(QLatin1String("values")),
              QJsonValue(QJsonObject{{QStringLiteral("name"), name},
                                     {QStringLiteral("born"), QStringLiteral("1980-02-29T00:00:00.000")}}));

    EXPECT_EQ(client
                  .execute(QStringLiteral(
                      "UPDATE Patients SET [name] = N'O''Brien' WHERE CURRENT OF qormin_cursor_2"))
                  .rowCounts.back(),
              1);
    EXPECT_EQ(lastEffect().value(QLatin1String("values")),
              QJsonValue(QJsonObject{{QStringLiteral("name"), QStringLiteral("O'Brien")}}));
}

struct FailureCase {
    const char* name;
    const char* kind; // of the cursor 3 opened on Patients before the batch
    int fetched;      // rows fetched from it before the batch
    const char* batch;
    int number;
    const char* text;
};

class SimCursorFailureTest : public SimCursorTest, public ::testing::WithParamInterface<FailureCase> {};

TEST_P(SimCursorFailureTest, misuseGivesTheServerError) {
    ASSERT_TRUE(client.execute(declare(3, GetParam().kind)).succeeded);
    if (GetParam().fetched > 0)
        client.execute(fetch(3, GetParam().fetched));
    const auto outcome = client.execute(QString::fromUtf8(GetParam().batch));
    EXPECT_FALSE(outcome.succeeded);
    EXPECT_EQ(outcome.messageText(GetParam().number), QString::fromUtf8(GetParam().text));
}

INSTANTIATE_TEST_SUITE_P(
    Misuse, SimCursorFailureTest,
    ::testing::Values(
        FailureCase{"selectError", readOnly, 1,
                    "DECLARE qormin_cursor_4 CURSOR GLOBAL FORWARD_ONLY STATIC READ_ONLY FOR SELECT * FROM "
                    "Locked\r\nOPEN qormin_cursor_4",
                    229, "The SELECT permission was denied on the object 'Locked'."},
        FailureCase{
            "declaredTwice", readOnly, 1,
            "DECLARE qormin_cursor_3 CURSOR GLOBAL FORWARD_ONLY STATIC READ_ONLY FOR SELECT * FROM Patients",
            16915, "A cursor with the name 'qormin_cursor_3' already exists."},
        FailureCase{"fetchUnknown", readOnly, 1, "FETCH NEXT FROM qormin_cursor_9", 16916,
                    "A cursor with the name 'qormin_cursor_9' does not exist."},
        FailureCase{"fetchAfterClose", readOnly, 1,
                    "CLOSE qormin_cursor_3\r\nDEALLOCATE qormin_cursor_3\r\nFETCH NEXT FROM qormin_cursor_3",
                    16916, "A cursor with the name 'qormin_cursor_3' does not exist."},
        FailureCase{"updateReadOnly", readOnly, 1,
                    "UPDATE Patients SET [name] = N'x' WHERE CURRENT OF qormin_cursor_3", 16929,
                    "The cursor is READ ONLY."},
        FailureCase{"updateBeforeTheFirstFetch", updatable, 0,
                    "UPDATE Patients SET [name] = N'x' WHERE CURRENT OF qormin_cursor_3", 16930,
                    "The requested row is not in the fetch buffer."},
        FailureCase{"updateOfAnUnknownColumn", updatable, 1,
                    "UPDATE Patients SET [nope] = 1 WHERE CURRENT OF qormin_cursor_3", 207,
                    "Invalid column name 'nope'."}),
    qormin::test::RowName());

TEST_F(SimCursorTest, cursorsBelongToTheirConnection) {
    ASSERT_TRUE(client.execute(declare(5, readOnly)).succeeded);
    OdbcClient other;
    ASSERT_TRUE(other.connect(connectionString));
    EXPECT_EQ(other.execute(fetch(5, 1)).messageText(16916),
              QStringLiteral("A cursor with the name 'qormin_cursor_5' does not exist."));
    EXPECT_EQ(client.execute(fetch(5, 1)).tables.at(0).rows.size(), 1u);
}

} // namespace
} // namespace qormin::test
