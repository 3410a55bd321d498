#include "OdbcClient.h"
#include "RowName.h"
#include "SimTestServer.h"

#include <gtest/gtest.h>

namespace qormin::test {
namespace {

struct ColumnCase {
    const char* type;
    const char* value;    // JSON value in the scenario
    const char* expected; // what the client reads as text (binary as hex)
};

// Types and spellings whose exact text the record set's own type tests cannot see (they read through
// QVariant, millisecond times and the max types) or that they leave out.
const ColumnCase columnCases[] = {
    {"decimal(10,2)", "\"-12.5\"", "-12.50"},
    {"numeric(38,4)", "\"12345678901234567890123456789012.3456\"", "12345678901234567890123456789012.3456"},
    {"time(7)", "\"10:20:30.1234567\"", "10:20:30.1234567"},
    {"datetime2(7)", "\"1753-01-01 00:00:00.0000001\"", "1753-01-01 00:00:00.0000001"},
    {"datetime2(3)", "\"9999-12-31 23:59:59.999\"", "9999-12-31 23:59:59.999"},
    {"datetimeoffset(3)", "\"2024-01-31T10:20:30.123+01:00\"", "2024-01-31 10:20:30.123 +01:00"},
    {"nvarchar(50)", "\"Zoë 日本 ñ\"", "Zoë 日本 ñ"},
    {"varchar(50)", "\"café €\"", "café €"},
    {"varbinary(10)", "\"0x0102FF\"", "0102FF"},
    {"varchar(max)", "\"\"", ""},
    // The scenario's spelling of a value does not matter, only its type.
    {"bigint", "\"9007199254740993\"", "9007199254740993"},
    {"decimal(10,2)", "\"-0.005\"", "-0.01"},
    {"money", "3", "3.0000"},
    {"bit", "0", "0"},
    {"datetime", "\"2024-01-31 10:20:30.5\"", "2024-01-31 10:20:30.500"},
    {"datetime", "\"2024-01-31T10:20:30Z\"", "2024-01-31 10:20:30.000"},
    {"date", "\"2024-01-31T23:59:59\"", "2024-01-31"},
    {"datetime2(3)", "\"2024-01-31\"", "2024-01-31 00:00:00.000"},
    {"time(2)", "\"10:20:30.129\"", "10:20:30.12"},
    {"time(0)", "\"7:05\"", "07:05:00"},
    {"datetimeoffset(0)", "\"2024-01-31T10:20:30-05:30\"", "2024-01-31 10:20:30 -05:30"},
    {"varbinary(4)", "\"0x01aB\"", "01AB"},
    {"nvarchar(10)", "7", "7"},
};
constexpr size_t columnCount = sizeof columnCases / sizeof columnCases[0];

// One row with every value, one with every column NULL, read once for all cases.
const OdbcClient::Table& typedTable() {
    static const OdbcClient::Table table = [] {
        QByteArrayList columns;
        QByteArrayList values;
        for (size_t i = 0; i < columnCount; ++i) {
            columns << "\"c" + QByteArray::number(i) + ':' + columnCases[i].type + '"';
            values << columnCases[i].value;
        }
        auto server = SimTestServer::fromJson(
            R"({"rules": [{"exact": "select typed", "response": {"result": {"columns": [)" +
            columns.join(',') + "], \"rows\": [[" + values.join(',') + "], [" +
            QByteArrayList(columnCount, "null").join(',') + "]]}}}]}");
        OdbcClient client;
        if (!server || !client.connect(server->connectionString()))
            return OdbcClient::Table();
        const auto outcome = client.execute(QStringLiteral("select typed"));
        return outcome.tables.empty() ? OdbcClient::Table() : outcome.tables[0];
    }();
    return table;
}

class SimTypesTest : public ::testing::TestWithParam<size_t> {};

TEST_P(SimTypesTest, valueAndNullArriveAsTyped) {
    const OdbcClient::Table& table = typedTable();
    ASSERT_EQ(table.rows.size(), 2u);
    const auto column = static_cast<qsizetype>(GetParam());
    EXPECT_EQ(table.columns.at(column), QStringLiteral("c%1").arg(column));
    EXPECT_EQ(table.rows[0].at(column), QString::fromUtf8(columnCases[GetParam()].expected));
    EXPECT_EQ(table.rows[1].at(column), QString::fromLatin1(OdbcClient::nullText));
}

INSTANTIATE_TEST_SUITE_P(EveryType, SimTypesTest, ::testing::Range<size_t>(0, columnCount),
                         [](const auto& parameter) {
                             return qormin::test::testName(columnCases[parameter.param].type,
                                                           parameter.index);
                         });

} // namespace
} // namespace qormin::test
