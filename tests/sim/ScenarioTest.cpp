#include "sim/Scenario.h"
#include "sim/ResultSet.h"
#include "sim/ScenarioData.h"

#include <gtest/gtest.h>

namespace qormin::sim {
namespace {

struct BadScenario {
    const char* json;
    const char* error; // a part the message must contain
};

class ScenarioErrorTest : public ::testing::TestWithParam<BadScenario> {};

TEST_P(ScenarioErrorTest, mistakeIsReportedWithItsPlace) {
    QString error;
    EXPECT_FALSE(Scenario::fromJson(GetParam().json, &error));
    EXPECT_TRUE(error.contains(QString::fromUtf8(GetParam().error))) << error.toStdString();
}

INSTANTIATE_TEST_SUITE_P(
    Mistakes, ScenarioErrorTest,
    ::testing::Values(
        BadScenario{"[1]", "a scenario is a JSON object"}, BadScenario{"{\"rules\": [", "invalid JSON"},
        BadScenario{R"j({"rulez": []})j", "unknown key \"rulez\""},
        BadScenario{R"j({"rules": [{"response": []}]})j", "rules[0]: a rule has exactly one of"},
        BadScenario{R"j({"rules": [{"exact": "a", "prefix": "b"}]})j", "rules[0]: a rule has exactly one of"},
        BadScenario{R"j({"rules": [{"regex": "(", "response": []}]})j", "rules[0]: bad regular expression"},
        BadScenario{R"j({"rules": [{"exact": "a", "response": [{"rows": 1}]}]})j",
                    "rules[0].response.step[0]"},
        BadScenario{R"j({"rules": [{"exact": "a", "response": {"result": {"columns": ["a:integer"]}}}]})j",
                    "columns[0]: unknown type \"integer\""},
        BadScenario{
            R"j({"rules": [{"exact": "a", "response": {"result": {"columns": ["a:int"], "rows": [[1, 2]]}}}]})j",
            "rows[0]: 2 values for 1 columns"},
        BadScenario{
            R"j({"rules": [{"exact": "a", "response": {"result": {"columns": ["a:int"], "rows": [["x"]]}}}]})j",
            "not an integer"},
        BadScenario{
            R"j({"rules": [{"exact": "a", "response": {"result": {"columns": ["a:tinyint"], "rows": [[300]]}}}]})j",
            "out of range"},
        BadScenario{
            R"j({"rules": [{"exact": "a", "response": {"result": {"columns": ["a:varbinary(4)"], "rows": [["0x1"]]}}}]})j",
            "hex"},
        BadScenario{
            R"j({"rules": [{"exact": "a", "response": {"result": {"columns": ["a:datetime"], "rows": [["2024-02-30"]]}}}]})j",
            "not an ISO date"},
        BadScenario{
            R"j({"rules": [{"exact": "a", "response": {"result": {"columns": ["a:datetime"], "rows": [["2024-01-31 24:00"]]}}}]})j",
            "not an ISO date"},
        BadScenario{
            R"j({"rules": [{"exact": "a", "response": {"result": {"columns": ["a:datetime"], "rows": [["2024-01-31x"]]}}}]})j",
            "not an ISO date"},
        BadScenario{
            R"j({"rules": [{"exact": "a", "response": {"result": {"columns": ["a:time"], "rows": [["10:2"]]}}}]})j",
            "not an ISO date"},
        BadScenario{
            R"j({"rules": [{"exact": "a", "response": {"result": {"columns": ["a:decimal(5,2)"], "rows": [["1.2.3"]]}}}]})j",
            "not a decimal number"},
        BadScenario{R"j({"rules": [{"exact": "a", "response": {"error": {"number": 1}}}]})j",
                    "needs a \"text\""},
        BadScenario{R"j({"login": {"password": "x"}})j", "login: \"user\" is required"},
        BadScenario{R"j({"default": {"progress": {"every": 0}}})j", "between 1 and 100"}));

struct ValueCase {
    const char* type;
    const char* json; // the scenario's value
    QVariant expected;
};

class ScenarioValueTest : public ::testing::TestWithParam<ValueCase> {};

TEST_P(ScenarioValueTest, valuesAreKeptInCanonicalForm) {
    const QByteArray json =
        QByteArray(R"j({"rules": [{"exact": "a", "response": {"result": {"columns": ["c:)j") +
        GetParam().type + R"j("], "rows": [[)j" + GetParam().json + "]]}}}]}";
    QString error;
    const auto scenario = Scenario::fromJson(json, &error);
    ASSERT_TRUE(scenario) << error.toStdString();
    const auto& result = *scenario->data().rules.at(0).response.at(0).result;
    EXPECT_EQ(result.row(0).at(0), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(
    Types, ScenarioValueTest,
    ::testing::Values(ValueCase{"int", "42", QVariant(qint64(42))},
                      ValueCase{"bigint", "\"9007199254740993\"", QVariant(qint64(9007199254740993LL))},
                      ValueCase{"decimal(10,2)", "12.5", QVariant(QStringLiteral("12.50"))},
                      ValueCase{"decimal(10,2)", "\"-0.005\"", QVariant(QStringLiteral("-0.01"))},
                      ValueCase{"money", "3", QVariant(QStringLiteral("3.0000"))},
                      ValueCase{"bit", "true", QVariant(true)}, ValueCase{"bit", "0", QVariant(false)},
                      ValueCase{"datetime", "\"2024-01-31 10:20:30.5\"",
                                QVariant(QStringLiteral("2024-01-31T10:20:30.500"))},
                      ValueCase{"date", "\"2024-01-31T23:59:59\"", QVariant(QStringLiteral("2024-01-31"))},
                      ValueCase{"datetime2(3)", "\"2024-01-31\"",
                                QVariant(QStringLiteral("2024-01-31T00:00:00.000"))},
                      ValueCase{"time(2)", "\"10:20:30.129\"", QVariant(QStringLiteral("10:20:30.12"))},
                      ValueCase{"datetimeoffset(0)", "\"2024-01-31T10:20:30-05:30\"",
                                QVariant(QStringLiteral("2024-01-31T10:20:30-05:30"))},
                      ValueCase{"time(0)", "\"7:05\"", QVariant(QStringLiteral("07:05:00"))},
                      ValueCase{"datetime", "\"2024-01-31T10:20:30Z\"",
                                QVariant(QStringLiteral("2024-01-31T10:20:30.000"))},
                      ValueCase{"varbinary(4)", "\"0x01aB\"", QVariant(QByteArray::fromHex("01AB"))},
                      ValueCase{"nvarchar(10)", "7", QVariant(QStringLiteral("7"))},
                      ValueCase{"int", "null", QVariant()}));

struct GeneratorCase {
    const char* column; // a column object with its generator
    qint64 row;         // 0-based row index
    QVariant expected;
};

class GeneratorTest : public ::testing::TestWithParam<GeneratorCase> {};

TEST_P(GeneratorTest, generatedValueFollowsTheRowNumber) {
    const QByteArray json = QByteArray(R"j({"default": {"result": {"generate": 1000, "columns": [)j") +
                            GetParam().column + "]}}}";
    QString error;
    const auto scenario = Scenario::fromJson(json, &error);
    ASSERT_TRUE(scenario) << error.toStdString();
    const auto& result = *scenario->data().defaultResponse.at(0).result;
    EXPECT_EQ(result.rowCount(), 1000);
    EXPECT_EQ(result.row(GetParam().row).at(0), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(
    Kinds, GeneratorTest,
    ::testing::Values(
        GeneratorCase{R"j({"name": "id", "type": "int"})j", 0, QVariant(qint64(1))},
        GeneratorCase{R"j({"name": "id", "type": "int"})j", 999, QVariant(qint64(1000))},
        GeneratorCase{R"j({"name": "id", "type": "bigint", "generate": {"start": 100, "step": 5}})j", 2,
                      QVariant(qint64(110))},
        GeneratorCase{R"j({"name": "n", "type": "nvarchar(30)", "generate": {"template": "Patient {n}"}})j",
                      41, QVariant(QStringLiteral("Patient 42"))},
        GeneratorCase{R"j({"name": "n", "type": "nvarchar(30)", "generate": {"cycle": ["a", "b", "c"]}})j", 4,
                      QVariant(QStringLiteral("b"))},
        GeneratorCase{R"j({"name": "n", "type": "int", "generate": {"nullEvery": 3}})j", 2, QVariant()},
        GeneratorCase{
            R"j({"name": "d", "type": "datetime", "generate": {"start": "2024-01-30", "step": 1}})j", 2,
            QVariant(QStringLiteral("2024-02-01T00:00:00.000"))},
        GeneratorCase{R"j({"name": "m", "type": "decimal(9,2)", "generate": {"template": "{n}.25"}})j", 6,
                      QVariant(QStringLiteral("7.25"))},
        GeneratorCase{R"j({"name": "b", "type": "varbinary(8)"})j", 254,
                      QVariant(QByteArray::fromHex("000000FF"))},
        GeneratorCase{R"j({"name": "c", "type": "nvarchar(5)", "generate": {"value": "same"}})j", 500,
                      QVariant(QStringLiteral("same"))}));

struct DatabaseCase {
    const char* declared; // JSON list
    const char* asked;
    const char* known; // "" = unknown
};

class KnownDatabaseTest : public ::testing::TestWithParam<DatabaseCase> {};

TEST_P(KnownDatabaseTest, databaseNamesAreMatchedWithoutCase) {
    const auto scenario =
        Scenario::fromJson(QByteArray(R"j({"databases": )j") + GetParam().declared + "}", nullptr);
    ASSERT_TRUE(scenario);
    EXPECT_EQ(scenario->data().knownDatabase(QString::fromUtf8(GetParam().asked)),
              QString::fromUtf8(GetParam().known));
}

INSTANTIATE_TEST_SUITE_P(Names, KnownDatabaseTest,
                         ::testing::Values(DatabaseCase{"[\"Billing\"]", "BILLING", "Billing"},
                                           DatabaseCase{"[\"Billing\"]", "MASTER", "master"},
                                           DatabaseCase{"[\"Billing\"]", "msdb", "msdb"},
                                           DatabaseCase{"[\"Billing\"]", "Billing2", ""},
                                           DatabaseCase{"[]", "Anything", "Anything"}));

} // namespace
} // namespace qormin::sim
