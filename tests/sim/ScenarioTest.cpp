#include "sim/Scenario.h"
#include "sim/ResultSet.h"
#include "sim/ScenarioData.h"

#include "RowName.h"

#include <gtest/gtest.h>

namespace qormin::sim {
namespace {

using qormin::test::PrintTo;

struct BadScenario {
    QByteArray json;
    const char* error; // a part the message must contain
};
std::string_view label(const BadScenario& row) {
    return row.error;
}

// A scenario with one rule answering one column of `type` holding `value` (JSON).
QByteArray oneValue(const char* type, const char* value) {
    return QByteArray(R"j({"rules": [{"exact": "a", "response": {"result": {"columns": ["c:)j") + type +
           R"j("], "rows": [[)j" + value + "]]}}}]}";
}

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
        BadScenario{R"j({"rules": [{"exact": "a", "dropAfterTokens": -1}]})j",
                    "rules[0]: \"dropAfterTokens\""},
        BadScenario{R"j({"rules": [{"exact": "a", "dropAfterTokens": 1, "stallAfterTokens": 1}]})j",
                    "one cut at most"},
        BadScenario{R"j({"rules": [{"exact": "a", "onlyMatch": 0, "dropAfterTokens": 0}]})j",
                    "rules[0]: \"onlyMatch\" is the number of a match"},
        BadScenario{R"j({"rules": [{"exact": "a", "response": {}, "responses": [{}]}]})j",
                    "rules[0]: \"responses\" is a list"},
        BadScenario{R"j({"rules": [{"exact": "a", "responses": [{"rows": 1}]}]})j",
                    "rules[0].responses[0].step[0]"},
        BadScenario{R"j({"loginStallAfterTokens": "x"})j", "\"loginStallAfterTokens\""},
        BadScenario{R"j({"rules": [{"exact": "a", "response": [{"rows": 1}]}]})j",
                    "rules[0].response.step[0]"},
        BadScenario{oneValue("integer", "1"), "columns[0]: unknown type \"integer\""},
        BadScenario{R"j({"rules": [{"exact": "a", "response": {"error": {"number": 1}}}]})j",
                    "needs a \"text\""},
        BadScenario{R"j({"login": {"password": "x"}})j", "login: \"user\" is required"},
        BadScenario{R"j({"default": {"progress": {"every": 0}}})j", "between 1 and 100"},
        BadScenario{oneValue("int", "1, 2"), "rows[0]: 2 values for 1 columns"},
        BadScenario{oneValue("int", "\"x\""), "not an integer"},
        BadScenario{oneValue("tinyint", "300"), "out of range"},
        BadScenario{oneValue("varbinary(4)", "\"0x1\""), "hex"},
        BadScenario{oneValue("datetime", "\"2024-02-30\""), "not an ISO date"},
        BadScenario{oneValue("datetime", "\"2024-01-31 24:00\""), "not an ISO date"},
        BadScenario{oneValue("datetime", "\"2024-01-31x\""), "not an ISO date"},
        BadScenario{oneValue("time", "\"10:2\""), "not an ISO date"},
        BadScenario{oneValue("decimal(5,2)", "\"1.2.3\""), "not a decimal number"},
        // Figures a fuzzer found taken as they came: a negative hang limit waited for ever, and
        // huge ones were converted to integers they do not fit.
        BadScenario{R"j({"hangLimitSeconds": -5})j", "\"hangLimitSeconds\" is a number of seconds"},
        BadScenario{R"j({"hangLimitSeconds": 1e300})j", "\"hangLimitSeconds\" is a number of seconds"},
        BadScenario{R"j({"default": {"rowCount": 1e300}})j",
                    "default.step[0].rowCount: a row count is a number"},
        BadScenario{R"j({"default": {"hang": {"seconds": -1}}})j", "\"seconds\" is a number of seconds"},
        BadScenario{R"j({"default": {"hang": {"seconds": 1e30}}})j", "\"seconds\" is a number of seconds"},
        BadScenario{R"j({"default": {"progress": {"pace": -1}}})j", "\"pace\" is a number of milliseconds"},
        BadScenario{R"j({"default": {"result": {"columns": ["a:int"], "generate": 1e300}}})j",
                    "\"generate\" is a row count"},
        BadScenario{oneValue("bigint", "1e50"), "not an integer"},
        BadScenario{oneValue("int", "-1e300"), "not an integer"}),
    qormin::test::IndexedRowName());

struct GeneratorCase {
    const char* type;
    const char* generate; // the column's generator (JSON), if any
    qint64 row;           // 0-based row index
    QVariant expected;
};
std::string_view label(const GeneratorCase& row) {
    return row.type;
}

class GeneratorTest : public ::testing::TestWithParam<GeneratorCase> {};

TEST_P(GeneratorTest, generatedValueFollowsTheRowNumber) {
    const QByteArray generate =
        GetParam().generate ? QByteArray(", \"generate\": ") + GetParam().generate : "";
    const QByteArray json =
        QByteArray(R"j({"default": {"result": {"generate": 1000, "columns": [{"name": "c", "type": ")j") +
        GetParam().type + '"' + generate + "}]}}}";
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
        GeneratorCase{"int", nullptr, 999, qint64(1000)},
        GeneratorCase{"bigint", R"j({"start": 100, "step": 5})j", 2, qint64(110)},
        GeneratorCase{"nvarchar(30)", R"j({"template": "Patient {n}"})j", 41, QStringLiteral("Patient 42")},
        GeneratorCase{"nvarchar(30)", R"j({"cycle": ["a", "b", "c"]})j", 4, QStringLiteral("b")},
        GeneratorCase{"int", R"j({"nullEvery": 3})j", 2, QVariant()},
        GeneratorCase{"datetime", R"j({"start": "2024-01-30", "step": 1})j", 2,
                      QStringLiteral("2024-02-01T00:00:00.000")},
        GeneratorCase{"decimal(9,2)", R"j({"template": "{n}.25"})j", 6, QStringLiteral("7.25")},
        GeneratorCase{"varbinary(8)", nullptr, 254, QByteArray::fromHex("000000FF")},
        GeneratorCase{"nvarchar(5)", R"j({"value": "same"})j", 500, QStringLiteral("same")}),
    qormin::test::IndexedRowName());

} // namespace
} // namespace qormin::sim
