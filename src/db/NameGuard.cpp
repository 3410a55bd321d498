#include "db/NameGuard.h"

#include "db/ServerAccess.h"

namespace qormin::db::NameGuard {

namespace {

bool isControl(QChar character) {
    return character.unicode() < 0x20 || character.unicode() == 0x7F ||
           character.category() == QChar::Other_Control;
}

} // namespace

QString refusal(const QString& name) {
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

bool admit(ServerAccess& access, std::initializer_list<QString> names) {
    for (const QString& name : names) {
        const QString reason = refusal(name);
        if (!reason.isEmpty()) {
            access.LogMessage(refusedLine(name, reason));
            return false;
        }
    }
    return true;
}

} // namespace qormin::db::NameGuard
