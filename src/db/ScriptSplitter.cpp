#include "db/ScriptSplitter.h"

#include "db/TakeToken.h"

namespace qormin::db {

namespace {

const QString batchEnd = QStringLiteral("GO\r\n");
const QString lineBreak = QStringLiteral("\r\n");

// While the batch begins with the character, it becomes a blank and the batch is trimmed.
void blankLeading(QString& batch, QChar character) {
    while (!batch.isEmpty() && batch.front() == character) {
        batch[0] = QLatin1Char(' ');
        batch = trimBlanks(batch);
    }
}

ScriptStep cleanBatch(QString batch) {
    batch.chop(1);
    batch = trimBlanks(batch);
    batch.remove(QLatin1Char(';'));
    blankLeading(batch, QLatin1Char('\r'));
    blankLeading(batch, QLatin1Char('\n'));
    ScriptStep step;
    if (batch.startsWith(QLatin1Char('-'))) {
        TakeToken(batch, lineBreak);
        step.text = batch;
        return step;
    }
    step.logged = true;
    step.text = batch;
    return step;
}

} // namespace

ScriptSplit splitScript(const QString& script) {
    ScriptSplit split;
    qsizetype position = 0;
    // TakeToken on the remaining text, by position, so a long script is not copied per batch.
    while (position < script.size()) {
        const qsizetype at = script.indexOf(batchEnd, position, Qt::CaseInsensitive);
        const qsizetype end = at < 0 ? script.size() : at;
        const QString batch = trimBlanks(script.mid(position, end - position));
        position = at < 0 ? script.size() : at + batchEnd.size();
        if (batch.isEmpty()) {
            split.endedAtEmptyBatch = true;
            break;
        }
        split.steps.push_back(cleanBatch(batch));
    }
    return split;
}

} // namespace qormin::db
