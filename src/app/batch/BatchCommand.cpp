#include "app/batch/BatchCommand.h"

#include <QStringList>

namespace qormin::app {

namespace {

using Kind = BatchCommand::Kind;

struct Word {
    const char* text;
    Kind kind;
};

constexpr Word words[] = {
    {"set", Kind::Set},   {"click", Kind::Click},   {"select", Kind::Select}, {"dblclick", Kind::DoubleClick},
    {"page", Kind::Page}, {"answer", Kind::Answer}, {"open", Kind::Open},     {"print", Kind::Print},
    {"wait", Kind::Wait},
};

std::optional<Kind> kindOf(const QString& word) {
    for (const Word& candidate : words) {
        if (word.compare(QLatin1String(candidate.text), Qt::CaseInsensitive) == 0)
            return candidate.kind;
    }
    return std::nullopt;
}

BatchParseResult failure(const QString& message) {
    return {std::nullopt, message};
}

BatchParseResult success(BatchCommand command) {
    return {std::move(command), QString()};
}

std::optional<QString> unescaped(const QString& text, QString& error) {
    QString result;
    result.reserve(text.size());
    for (qsizetype i = 0; i < text.size(); ++i) {
        const QChar c = text.at(i);
        if (c != u'\\') {
            result += c;
            continue;
        }
        if (i + 1 >= text.size()) {
            error = QStringLiteral("a single \\ ends the value; write \\\\ for a backslash");
            return std::nullopt;
        }
        const QChar next = text.at(++i);
        if (next == u'r')
            result += u'\r';
        else if (next == u'n')
            result += u'\n';
        else if (next == u't')
            result += u'\t';
        else if (next == u'\\')
            result += u'\\';
        else {
            error = QStringLiteral("unknown escape \\") + next + QStringLiteral(" (known: \\r \\n \\t \\\\)");
            return std::nullopt;
        }
    }
    return result;
}

std::optional<int> number(const QString& text) {
    bool ok = false;
    const int value = text.toInt(&ok);
    if (!ok || value < 0)
        return std::nullopt;
    return value;
}

BatchParseResult parseSet(const QString& rest) {
    const qsizetype blank = rest.indexOf(u' ');
    BatchCommand command{Kind::Set, blank < 0 ? rest : rest.left(blank), {}, 0, std::nullopt};
    if (command.name.isEmpty())
        return failure(QStringLiteral("set needs a control name"));
    QString error;
    const std::optional<QString> value = unescaped(blank < 0 ? QString() : rest.mid(blank + 1), error);
    if (!value)
        return failure(error);
    command.value = *value;
    return success(command);
}

BatchParseResult parseGridClick(Kind kind, const QStringList& arguments) {
    if (arguments.size() < 2 || arguments.size() > 3)
        return failure(QStringLiteral("expected NAME ROW [COL]"));
    BatchCommand command{kind, arguments.at(0), {}, 0, std::nullopt};
    const std::optional<int> row = number(arguments.at(1));
    if (!row)
        return failure(QStringLiteral("ROW must be a number 0 or more: ") + arguments.at(1));
    command.row = *row;
    if (arguments.size() == 3) {
        command.column = number(arguments.at(2));
        if (!command.column)
            return failure(QStringLiteral("COL must be a number 0 or more: ") + arguments.at(2));
    }
    return success(command);
}

BatchParseResult parseNumberCommand(Kind kind, const QStringList& arguments, const QString& what) {
    if (arguments.size() != 1)
        return failure(QStringLiteral("expected one number (") + what + u')');
    const std::optional<int> value = number(arguments.at(0));
    if (!value)
        return failure(what + QStringLiteral(" must be a number 0 or more: ") + arguments.at(0));
    return success({kind, QString(), QString(), *value, std::nullopt});
}

// "answer file PATH": the path is the rest of the line, escaped as a value of "set".
BatchParseResult parseAnswerFile(const QString& rest) {
    const QString path = rest.mid(rest.indexOf(QLatin1String("file"), 0, Qt::CaseInsensitive) + 4);
    if (path.trimmed().isEmpty())
        return failure(QStringLiteral("answer file needs a path"));
    QString error;
    const std::optional<QString> value = unescaped(path.mid(1), error);
    if (!value)
        return failure(error);
    return success({Kind::AnswerFile, QString(), *value, 0, std::nullopt});
}

BatchParseResult parseAnswer(const QStringList& arguments) {
    static const QStringList answers{QStringLiteral("yes"), QStringLiteral("no"), QStringLiteral("ok"),
                                     QStringLiteral("cancel")};
    if (arguments.size() != 1 || !answers.contains(arguments.at(0).toLower()))
        return failure(QStringLiteral("answer takes yes, no, ok, cancel or file PATH"));
    return success({Kind::Answer, QString(), arguments.at(0).toLower(), 0, std::nullopt});
}

BatchParseResult parseNamed(Kind kind, const QStringList& arguments) {
    if (arguments.size() != 1)
        return failure(QStringLiteral("expected exactly one name"));
    return success({kind, arguments.at(0), QString(), 0, std::nullopt});
}

} // namespace

QString escapedBatchValue(const QString& text) {
    QString result;
    result.reserve(text.size());
    for (const QChar c : text) {
        if (c == u'\r')
            result += QStringLiteral("\\r");
        else if (c == u'\n')
            result += QStringLiteral("\\n");
        else if (c == u'\t')
            result += QStringLiteral("\\t");
        else if (c == u'\\')
            result += QStringLiteral("\\\\");
        else
            result += c;
    }
    return result;
}

BatchParseResult parseBatchLine(QString line) {
    if (line.endsWith(u'\r'))
        line.chop(1);
    const QString trimmed = line.trimmed();
    if (trimmed.isEmpty() || trimmed.startsWith(u'#'))
        return success(BatchCommand{});
    const qsizetype start = line.indexOf(trimmed.at(0));
    const qsizetype wordEnd = line.indexOf(u' ', start);
    const QString word = wordEnd < 0 ? line.mid(start) : line.mid(start, wordEnd - start);
    const QString rest = wordEnd < 0 ? QString() : line.mid(wordEnd + 1);
    const std::optional<Kind> kind = kindOf(word);
    if (!kind)
        return failure(QStringLiteral("unknown command \"") + word + u'"');
    if (*kind == Kind::Set)
        return parseSet(rest.trimmed().isEmpty() ? QString() : rest.mid(rest.indexOf(rest.trimmed().at(0))));
    const QStringList arguments = rest.split(u' ', Qt::SkipEmptyParts);
    if (*kind == Kind::Answer && !arguments.isEmpty() &&
        arguments.at(0).compare(u"file", Qt::CaseInsensitive) == 0)
        return parseAnswerFile(rest);
    switch (*kind) {
    case Kind::Select:
    case Kind::DoubleClick:
        return parseGridClick(*kind, arguments);
    case Kind::Page:
        return parseNumberCommand(*kind, arguments, QStringLiteral("page index"));
    case Kind::Wait:
        return parseNumberCommand(*kind, arguments, QStringLiteral("milliseconds"));
    case Kind::Answer:
        return parseAnswer(arguments);
    default:
        return parseNamed(*kind, arguments);
    }
}

} // namespace qormin::app
