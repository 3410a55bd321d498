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

// Literals are '...' with a quote doubled inside; quotes in -- and /* */ comments open none.
bool semicolonInLiteral(const QString& batch) {
    bool inLiteral = false;
    for (qsizetype at = 0; at < batch.size(); ++at) {
        const QChar character = batch[at];
        const QChar next = at + 1 < batch.size() ? batch[at + 1] : QChar();
        qsizetype commentEnd = at;
        if (inLiteral) {
            if (character == u';') {
                return true;
            }
            inLiteral = character != u'\'';
        } else if (character == u'\'') {
            inLiteral = true;
        } else if (character == u'-' && next == u'-') {
            commentEnd = batch.indexOf(u'\n', at);
        } else if (character == u'/' && next == u'*') {
            commentEnd = batch.indexOf(QStringLiteral("*/"), at + 2);
        }
        if (commentEnd < 0) {
            return false;
        }
        at = commentEnd;
    }
    return false;
}

ScriptStep cleanBatch(QString batch) {
    batch.chop(1);
    batch = trimBlanks(batch);
    const bool literalSemicolon = semicolonInLiteral(batch);
    batch.remove(QLatin1Char(';'));
    blankLeading(batch, QLatin1Char('\r'));
    blankLeading(batch, QLatin1Char('\n'));
    ScriptStep step;
    step.literalSemicolonRemoved = literalSemicolon;
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
