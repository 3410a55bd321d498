// Script splitting: any script splits without a crash, in linear time (a hang shows as a
// libFuzzer timeout), and the batches account for the whole script: one per stretch between
// batch ends, each taken from its own stretch, until a blank stretch ends the script.
#include "FuzzInput.h"

#include "db/ScriptSplitter.h"
#include "db/TakeToken.h"

#include <vector>

namespace {

// The stretches between batch ends, found as the splitter's contract describes them.
std::vector<QString> stretchesOf(const QString& script) {
    static const QString batchEnd = QStringLiteral("GO\r\n");
    std::vector<QString> stretches;
    qsizetype position = 0;
    while (position < script.size()) {
        const qsizetype at = script.indexOf(batchEnd, position, Qt::CaseInsensitive);
        const qsizetype end = at < 0 ? script.size() : at;
        stretches.push_back(script.mid(position, end - position));
        position = at < 0 ? script.size() : at + batchEnd.size();
    }
    return stretches;
}

// Whether needle's characters appear in haystack in this order.
bool isTakenFrom(const QString& haystack, const QString& needle) {
    qsizetype position = 0;
    for (const QChar c : needle) {
        position = haystack.indexOf(c, position);
        if (position < 0)
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
    const std::vector<QString> stretches = stretchesOf(script);
    const std::size_t steps = split.steps.size();
    if (split.endedAtEmptyBatch) {
        require(steps < stretches.size() && qormin::db::trimBlanks(stretches[steps]).isEmpty(),
                "the script ends at its first blank stretch");
    } else {
        require(steps == stretches.size(), "one batch per stretch between batch ends");
    }
    for (std::size_t i = 0; i < steps; ++i) {
        require(!qormin::db::trimBlanks(stretches[i]).isEmpty(), "no batch from a blank stretch");
        require(!split.steps[i].text.contains(u';'), "no semicolon is left in a batch");
        require(isTakenFrom(stretches[i], split.steps[i].text), "each batch is taken from its own stretch");
    }
    return 0;
}
