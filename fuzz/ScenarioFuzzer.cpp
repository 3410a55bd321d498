// The simulator's scenario parser: any bytes give a scenario or an error naming its place,
// never both and never a crash, whatever the numbers in it.
#include "FuzzInput.h"

#include "sim/ScenarioParser.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using qormin::fuzz::require;
    const QByteArray json(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
    qormin::sim::ScenarioParser parser;
    const std::optional<qormin::sim::ScenarioData> scenario = parser.parse(json);
    require(scenario.has_value() == parser.error().isEmpty(), "either a scenario or an error");
    if (!scenario)
        return 0;
    require(scenario->hangLimitMilliseconds >= 0, "a hang limit is not negative");
    for (const qormin::sim::Rule& rule : scenario->rules) {
        for (const qormin::sim::ResponseStep& step : rule.response)
            require(step.count >= 0 && step.milliseconds >= 0, "counts and waits are not negative");
    }
    return 0;
}
