#include "sim/CursorStatement.h"

#include <QRegularExpression>

namespace qormin::sim {

namespace {

constexpr auto patternOptions =
    QRegularExpression::CaseInsensitiveOption | QRegularExpression::DotMatchesEverythingOption;

QRegularExpressionMatch matchAt(const QRegularExpression& pattern, const QString& text, qsizetype offset) {
    return pattern.match(text, offset, QRegularExpression::NormalMatch,
                         QRegularExpression::AnchorAtOffsetMatchOption);
}

qsizetype skipSeparators(const QString& text, qsizetype offset) {
    while (offset < text.size() && (text.at(offset).isSpace() || text.at(offset) == QLatin1Char(';'))) {
        ++offset;
    }
    return offset;
}

QString unbracket(QString name) {
    name = name.trimmed();
    if (name.startsWith(QLatin1Char('[')) && name.endsWith(QLatin1Char(']'))) {
        return name.mid(1, name.size() - 2);
    }
    return name;
}

// DECLARE name CURSOR options FOR select, where the select runs to the OPEN of the same cursor
// on a later line, or to the end of the batch.
std::optional<qsizetype> parseDeclare(const QString& text, qsizetype offset,
                                      std::vector<CursorStatement>& out) {
    static const QRegularExpression head(QStringLiteral(R"(DECLARE\s+(\w+)\s+CURSOR((?:\s+\w+)*?)\s+FOR\s+)"),
                                         patternOptions);
    const auto match = matchAt(head, text, offset);
    if (!match.hasMatch()) {
        return std::nullopt;
    }
    CursorStatement statement;
    statement.kind = CursorStatement::Kind::Declare;
    statement.cursor = match.captured(1);
    statement.options = match.captured(2).simplified();
    const QRegularExpression open(QStringLiteral(R"(\r?\n\s*OPEN\s+(?:GLOBAL\s+)?%1\s*;?\s*(?:\r?\n|$))")
                                      .arg(QRegularExpression::escape(statement.cursor)),
                                  patternOptions);
    const auto openMatch = open.match(text, match.capturedEnd());
    const qsizetype selectEnd = openMatch.hasMatch() ? openMatch.capturedStart() : text.size();
    statement.select = text.mid(match.capturedEnd(), selectEnd - match.capturedEnd()).trimmed();
    while (statement.select.endsWith(QLatin1Char(';'))) {
        statement.select.chop(1);
    }
    out.push_back(statement);
    return selectEnd;
}

std::optional<qsizetype> parseSimple(const QString& text, qsizetype offset,
                                     std::vector<CursorStatement>& out) {
    static const QRegularExpression simple(
        QStringLiteral(
            R"((OPEN|CLOSE|DEALLOCATE|FETCH\s+(?:NEXT\s+)?FROM)\s+(?:GLOBAL\s+)?(\w+)\s*(?=;|\s|$))"),
        patternOptions);
    const auto match = matchAt(simple, text, offset);
    if (!match.hasMatch()) {
        return std::nullopt;
    }
    const QString verb = match.captured(1).left(4).toUpper();
    CursorStatement statement;
    statement.cursor = match.captured(2);
    statement.kind = verb == QLatin1String("OPEN")   ? CursorStatement::Kind::Open
                     : verb == QLatin1String("CLOS") ? CursorStatement::Kind::Close
                     : verb == QLatin1String("DEAL") ? CursorStatement::Kind::Deallocate
                                                     : CursorStatement::Kind::Fetch;
    out.push_back(statement);
    return match.capturedEnd();
}

} // namespace

bool CursorStatement::isUpdatableDeclaration() const {
    const QStringList words = options.toUpper().split(QLatin1Char(' '), Qt::SkipEmptyParts);
    return !words.contains(QLatin1String("READ_ONLY")) && !words.contains(QLatin1String("STATIC")) &&
           !words.contains(QLatin1String("FAST_FORWARD"));
}

std::optional<std::vector<CursorStatement>> CursorStatement::parseBatch(const QString& text) {
    std::vector<CursorStatement> statements;
    qsizetype offset = skipSeparators(text, 0);
    while (offset < text.size()) {
        auto next = parseDeclare(text, offset, statements);
        if (!next) {
            next = parseSimple(text, offset, statements);
        }
        if (!next) {
            return std::nullopt;
        }
        offset = skipSeparators(text, *next);
    }
    if (statements.empty()) {
        return std::nullopt;
    }
    return statements;
}

std::optional<CursorStatement> CursorStatement::parseUpdate(const QString& text) {
    static const QRegularExpression update(
        QStringLiteral(
            R"(^\s*UPDATE\s+(.+?)\s+SET\s+(.+?)\s+WHERE\s+CURRENT\s+OF\s+(?:GLOBAL\s+)?(\w+)\s*;?\s*$)"),
        patternOptions);
    static const QRegularExpression assignment(
        QStringLiteral(R"((\[[^\]]+\]|[\w#$]+)\s*=\s*(@\w+|N?'(?:[^']|'')*'|NULL\b|-?[\d.]+))"),
        patternOptions);
    const auto match = update.match(text);
    if (!match.hasMatch()) {
        return std::nullopt;
    }
    CursorStatement statement;
    statement.kind = Kind::UpdateCurrent;
    statement.table = match.captured(1).trimmed();
    statement.cursor = match.captured(3);
    auto it = assignment.globalMatch(match.captured(2));
    while (it.hasNext()) {
        const auto item = it.next();
        statement.assignments.emplace_back(unbracket(item.captured(1)), item.captured(2));
    }
    return statement;
}

} // namespace qormin::sim
