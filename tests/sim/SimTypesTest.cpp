#include "OdbcClient.h"
#include "SimTestServer.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>
#include <gtest/gtest.h>

namespace qormin::test {
namespace {

struct ColumnCase {
    const char* type;
    const char* value;    // JSON value in the scenario
    const char* expected; // what the client reads as text (binary as hex)
};

const QString longText =
    QString(5000, QLatin1Char('x')) + QStringLiteral("ü日本") + QString(5000, QLatin1Char('y'));

const ColumnCase columnCases[] = {
    {"int", "42", "42"},
    {"bigint", "\"9007199254740993\"", "9007199254740993"},
    {"smallint", "-7", "-7"},
    {"tinyint", "255", "255"},
    {"bit", "true", "1"},
    {"decimal(10,2)", "\"-12.5\"", "-12.50"},
    {"numeric(38,4)", "\"12345678901234567890123456789012.3456\"", "12345678901234567890123456789012.3456"},
    {"decimal(5,0)", "99999", "99999"},
    {"float", "1.5", "1.5"},
    {"real", "0.25", "0.25"},
    {"money", "\"-12.3456\"", "-12.3456"},
    {"datetime", "\"2024-01-31 10:20:30.123\"", "2024-01-31 10:20:30.123"},
    {"smalldatetime", "\"2024-01-31 10:20\"", "2024-01-31 10:20:00"},
    {"date", "\"2024-01-31\"", "2024-01-31"},
    {"time(7)", "\"10:20:30.1234567\"", "10:20:30.1234567"},
    {"datetime2(7)", "\"1753-01-01 00:00:00.0000001\"", "1753-01-01 00:00:00.0000001"},
    {"datetime2(3)", "\"9999-12-31 23:59:59.999\"", "9999-12-31 23:59:59.999"},
    {"datetimeoffset(3)", "\"2024-01-31T10:20:30.123+01:00\"", "2024-01-31 10:20:30.123 +01:00"},
    {"nvarchar(50)", "\"Zoë 日本 ñ\"", "Zoë 日本 ñ"},
    {"varchar(50)", "\"café €\"", "café €"},
    {"nchar(5)", "\"ab\"", "ab   "},
    {"char(4)", "\"x\"", "x   "},
    {"varbinary(10)", "\"0x0102FF\"", "0102FF"},
    {"binary(4)", "\"0x01\"", "01000000"},
    {"varbinary(max)", "\"0xDEADBEEF\"", "DEADBEEF"},
    {"text", "\"long text é\"", "long text é"},
    {"ntext", "\"ü日本\"", "ü日本"},
    {"image", "\"0xCAFE\"", "CAFE"},
    {"uniqueidentifier", "\"6F9619FF-8B86-D011-B42D-00C04FC964FF\"", "6F9619FF-8B86-D011-B42D-00C04FC964FF"},
    {"nvarchar(max)", nullptr, nullptr}, // long text, filled in below
    {"varchar(max)", "\"\"", ""},
};
constexpr size_t columnCount = sizeof columnCases / sizeof columnCases[0];

QByteArray typesScenario() {
    QJsonArray columns;
    QJsonArray values;
    QJsonArray nulls;
    for (size_t i = 0; i < columnCount; ++i) {
        columns.append(QStringLiteral("c%1:%2").arg(i).arg(QString::fromUtf8(columnCases[i].type)));
        const QByteArray json =
            columnCases[i].value ? QByteArray("[") + columnCases[i].value + "]" : QByteArray();
        values.append(json.isEmpty() ? QJsonValue(longText) : QJsonDocument::fromJson(json).array().at(0));
        nulls.append(QJsonValue::Null);
    }
    const QJsonObject result{{QStringLiteral("columns"), columns},
                             {QStringLiteral("rows"), QJsonArray{values, nulls}}};
    const QJsonObject rule{{QStringLiteral("exact"), QStringLiteral("select typed")},
                           {QStringLiteral("response"), QJsonObject{{QStringLiteral("result"), result}}}};
    return QJsonDocument(QJsonObject{{QStringLiteral("rules"), QJsonArray{rule}}}).toJson();
}

class SimTypesTest : public ::testing::TestWithParam<size_t> {
protected:
    static void SetUpTestSuite() {
        auto server = SimTestServer::fromJson(typesScenario());
        ASSERT_TRUE(server);
        OdbcClient client;
        ASSERT_TRUE(client.connect(server->connectionString()));
        table = new OdbcClient::Table();
        const auto outcome = client.execute(QStringLiteral("select typed"));
        ASSERT_EQ(outcome.tables.size(), 1u);
        *table = outcome.tables[0];
    }
    static void TearDownTestSuite() {
        delete table;
        table = nullptr;
    }
    static OdbcClient::Table* table;
};

OdbcClient::Table* SimTypesTest::table = nullptr;

TEST_P(SimTypesTest, valueAndNullArriveAsTyped) {
    ASSERT_NE(table, nullptr);
    ASSERT_EQ(table->rows.size(), 2u);
    const size_t column = GetParam();
    const ColumnCase& typed = columnCases[column];
    const QString expected = typed.expected ? QString::fromUtf8(typed.expected) : longText;
    EXPECT_EQ(table->columns.at(static_cast<qsizetype>(column)), QStringLiteral("c%1").arg(column));
    EXPECT_EQ(table->rows[0].at(static_cast<qsizetype>(column)), expected) << typed.type;
    EXPECT_EQ(table->rows[1].at(static_cast<qsizetype>(column)), QString::fromLatin1(OdbcClient::nullText))
        << typed.type;
}

INSTANTIATE_TEST_SUITE_P(EveryType, SimTypesTest, ::testing::Range<size_t>(0, columnCount),
                         [](const ::testing::TestParamInfo<size_t>& parameter) {
                             QString name = QString::fromUtf8(columnCases[parameter.param].type);
                             name.replace(QRegularExpression(QStringLiteral("[^A-Za-z0-9]")),
                                          QStringLiteral("_"));
                             return QStringLiteral("%1_%2").arg(parameter.param).arg(name).toStdString();
                         });

} // namespace
} // namespace qormin::test
