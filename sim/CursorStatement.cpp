#include "sim/CursorStatement.h"

#include <QRegularExpression>

namespace qormin::sim {

namespace {

constexpr auto patternOptions =
    QRegularExpression::CaseInsensitiveOption | QRegularExpression::DotMatchesEverythingOption;

QString unbracket(QString name) {
    name = name.trimmed();
    if (name.startsWith(QLatin1Char('[')) && name.endsWith(QLatin1Char(']'))) {
        return name.mid(1, name.size() - 2);
    }
    return name;
}

// One simple statement: OPEN, CLOSE, DEALLOCATE or FETCH [NEXT] FROM, with its cursor's name.
std::optional<CursorStatement> parseSimple(const QString& text) {
    static const QRegularExpression simple(
        QStringLiteral(R"(^\s*(OPEN|CLOSE|DEALLOCATE|FETCH\s+(?:NEXT\s+)?FROM)\s+(?:GLOBAL\s+)?(\w+)\s*$)"),
        patternOptions);
    const auto match = simple.match(text);
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
    return statement;
}

bool isOpenOf(const QString& line, const QString& cursor) {
    const auto statement = parseSimple(QString(line).remove(QLatin1Char(';')));
    return statement && statement->kind == CursorStatement::Kind::Open &&
           statement->cursor.compare(cursor, Qt::CaseInsensitive) == 0;
}

// DECLARE name CURSOR options FOR select: the select runs over the following lines up to the
// OPEN of the same cursor, or to the end of the batch. Returns the index of the next line.
std::optional<qsizetype> parseDeclare(const QStringList& lines, qsizetype index,
                                      std::vector<CursorStatement>& out) {
    static const QRegularExpression head(
        QStringLiteral(R"(^\s*DECLARE\s+(\w+)\s+CURSOR((?:\s+\w+)*?)\s+FOR(?:\s|$))"), patternOptions);
    const auto match = head.match(lines[index]);
    if (!match.hasMatch()) {
        return std::nullopt;
    }
    CursorStatement statement;
    statement.kind = CursorStatement::Kind::Declare;
    statement.cursor = match.captured(1);
    statement.options = match.captured(2).simplified();
    QStringList select{lines[index].mid(match.capturedEnd())};
    qsizetype next = index + 1;
    while (next < lines.size() && !isOpenOf(lines[next], statement.cursor)) {
        select.append(lines[next++]);
    }
    // Rejoined with the line feeds the split took out, so the select keeps its exact text.
    statement.select = select.join(QLatin1Char('\n')).trimmed();
    while (statement.select.endsWith(QLatin1Char(';'))) {
        statement.select.chop(1);
        statement.select = statement.select.trimmed();
    }
    out.push_back(statement);
    return next;
}

} // namespace

bool CursorStatement::isUpdatableDeclaration() const {
    const QStringList words = options.toUpper().split(QLatin1Char(' '), Qt::SkipEmptyParts);
    return !words.contains(QLatin1String("READ_ONLY")) && !words.contains(QLatin1String("STATIC")) &&
           !words.contains(QLatin1String("FAST_FORWARD"));
}

std::optional<std::vector<CursorStatement>> CursorStatement::parseBatch(const QString& text) {
    // Line by line: a chunk of a thousand FETCH statements must not be rescanned per statement.
    const QStringList lines = text.split(QLatin1Char('\n'));
    std::vector<CursorStatement> statements;
    qsizetype index = 0;
    while (index < lines.size()) {
        if (const auto next = parseDeclare(lines, index, statements)) {
            index = *next;
            continue;
        }
        for (const auto& part : lines[index].split(QLatin1Char(';'), Qt::SkipEmptyParts)) {
            if (part.trimmed().isEmpty()) {
                continue;
            }
            auto statement = parseSimple(part);
            if (!statement) {
                return std::nullopt;
            }
            statements.push_back(std::move(*statement));
        }
        ++index;
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
