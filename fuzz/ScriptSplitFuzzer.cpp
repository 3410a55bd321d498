// Script splitting: any script splits without a crash, in linear time (a hang shows as a
// libFuzzer timeout), and every piece comes from the script in order.
#include "FuzzInput.h"

#include "db/ScriptSplitter.h"

namespace {

// Whether needle's characters appear in haystack in order, from position on; moves position.
bool followsIn(const QString& haystack, qsizetype& position, const QString& needle) {
    for (const QChar c : needle) {
        while (position < haystack.size() && haystack.at(position) != c)
            ++position;
        if (position == haystack.size())
            return false;
        ++position;
    }
    return true;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using qormin::fuzz::require;
    const QString script = qormin::fuzz::textOf(data, size);
    const qormin::db::ScriptSplit split = qormin::db::splitScript(script);
    require(split.steps.size() <=
                static_cast<std::size_t>(script.count(QStringLiteral("GO\r\n"), Qt::CaseInsensitive)) + 1,
            "no more batches than batch ends plus one");
    qsizetype position = 0;
    for (const qormin::db::ScriptStep& step : split.steps) {
        require(!step.text.contains(u';'), "no semicolon is left in a batch");
        require(followsIn(script, position, step.text), "the batches are taken from the script in order");
    }
    return 0;
}
