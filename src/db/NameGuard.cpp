#include "db/NameGuard.h"

#include "db/ServerAccess.h"

namespace qormin::db::NameGuard {

namespace {

bool isControl(QChar character) {
    return character.unicode() < 0x20 || character.unicode() == 0x7F ||
           character.category() == QChar::Other_Control;
}

QString enclosedRefusal(const QString& name) {
    for (const QChar character : name) {
        if (isControl(character)) {
            return QStringLiteral("a control character");
        }
    }
    if (name.contains(QLatin1Char('\''))) {
        return QStringLiteral("a quote");
    }
    if (name.contains(QLatin1Char(']'))) {
        return QStringLiteral("a closing bracket");
    }
    if (name.contains(QLatin1Char(';'))) {
        return QStringLiteral("a semicolon");
    }
    if (name.contains(QLatin1String("--")) || name.contains(QLatin1String("/*")) ||
        name.contains(QLatin1String("*/"))) {
        return QStringLiteral("a comment marker");
    }
    return QString();
}

bool isNameCharacter(QChar character) {
    return character.isLetterOrNumber() || character == QLatin1Char('_') || character == QLatin1Char('@') ||
           character == QLatin1Char('#') || character == QLatin1Char('$') || character == QLatin1Char('.');
}

QString endingCharacter(QChar character) {
    if (character.isSpace()) {
        return QStringLiteral("a blank");
    }
    if (character == QLatin1Char(']')) {
        return QStringLiteral("a closing bracket");
    }
    if (character == QLatin1Char('[')) {
        return QStringLiteral("an opening bracket");
    }
    return QStringLiteral("a \"%1\"").arg(character);
}

// Parts joined by dots, each bare or wholly [bracketed]; the enclosed rule has already refused
// quotes, semicolons, comment markers and control characters anywhere, brackets included.
QString unbracketedRefusal(const QString& name) {
    const QString enclosed = enclosedRefusal(QString(name).remove(QLatin1Char(']')));
    if (!enclosed.isEmpty()) {
        return enclosed;
    }
    for (qsizetype at = 0; at < name.size(); ++at) {
        const QChar character = name.at(at);
        const bool partStart = at == 0 || name.at(at - 1) == QLatin1Char('.');
        if (character == QLatin1Char('[') && partStart) {
            const qsizetype close = name.indexOf(QLatin1Char(']'), at + 1);
            if (close < 0) {
                return QStringLiteral("an unclosed bracket");
            }
            if (close + 1 < name.size() && name.at(close + 1) != QLatin1Char('.')) {
                return QStringLiteral("a closing bracket");
            }
            at = close;
            continue;
        }
        if (!isNameCharacter(character)) {
            return endingCharacter(character);
        }
    }
    return QString();
}

} // namespace

QString refusal(const QString& name, Position position) {
    return position == Position::Unbracketed ? unbracketedRefusal(name) : enclosedRefusal(name);
}

QString refusedLine(const QString& name, const QString& reason) {
    QString shown;
    for (const QChar character : name) {
        if (isControl(character)) {
            shown += QStringLiteral("\\x") +
                     QString::number(character.unicode(), 16).toUpper().rightJustified(2, QLatin1Char('0'));
        } else {
            shown += character;
        }
    }
    return QStringLiteral("Skipped \"%1\": the name holds %2 and is not put into a statement")
        .arg(shown, reason);
}

bool admit(ServerAccess& access, Position position, std::initializer_list<QString> names) {
    for (const QString& name : names) {
        const QString reason = refusal(name, position);
        if (!reason.isEmpty()) {
            access.LogMessage(refusedLine(name, reason));
            return false;
        }
    }
    return true;
}

} // namespace qormin::db::NameGuard
