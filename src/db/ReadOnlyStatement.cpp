#include "db/ReadOnlyStatement.h"

#include <QSet>
#include <QStringList>

namespace qormin::db {

namespace {

// Words that start or form a statement that can change a server, wherever they stand.
const QSet<QString>& changingWords() {
    static const QSet<QString> words = {
        QStringLiteral("INSERT"),     QStringLiteral("UPDATE"),      QStringLiteral("DELETE"),
        QStringLiteral("MERGE"),      QStringLiteral("INTO"),        QStringLiteral("CREATE"),
        QStringLiteral("ALTER"),      QStringLiteral("DROP"),        QStringLiteral("TRUNCATE"),
        QStringLiteral("GRANT"),      QStringLiteral("REVOKE"),      QStringLiteral("DENY"),
        QStringLiteral("BACKUP"),     QStringLiteral("DBCC"),        QStringLiteral("KILL"),
        QStringLiteral("SHUTDOWN"),   QStringLiteral("RECONFIGURE"), QStringLiteral("BULK"),
        QStringLiteral("OPENROWSET"), QStringLiteral("OPENQUERY"),   QStringLiteral("OPENDATASOURCE"),
        QStringLiteral("WRITETEXT"),  QStringLiteral("UPDATETEXT"),  QStringLiteral("SET"),
        QStringLiteral("BEGIN"),      QStringLiteral("COMMIT"),      QStringLiteral("ROLLBACK"),
        QStringLiteral("SAVE"),       QStringLiteral("RAISERROR"),   QStringLiteral("CHECKPOINT"),
        QStringLiteral("ENABLE"),     QStringLiteral("DISABLE"),     QStringLiteral("RECEIVE"),
        QStringLiteral("SEND"),       QStringLiteral("MOVE"),        QStringLiteral("LOAD"),
        QStringLiteral("DUMP"),       QStringLiteral("SETUSER"),     QStringLiteral("REVERT"),
        QStringLiteral("GOTO"),       QStringLiteral("ENCRYPTION"),  QStringLiteral("OUTPUT"),
    };
    return words;
}

bool isWordCharacter(QChar character) {
    return character.isLetterOrNumber() || character == QLatin1Char('_') || character == QLatin1Char('@') ||
           character == QLatin1Char('#') || character == QLatin1Char('$') || character == QLatin1Char('.');
}

qsizetype skipQuoted(const QString& sql, qsizetype at, QChar close) {
    for (++at; at < sql.size(); ++at) {
        if (sql.at(at) != close) {
            continue;
        }
        if (at + 1 < sql.size() && sql.at(at + 1) == close) {
            ++at; // doubled quote inside
            continue;
        }
        return at + 1;
    }
    return -1; // unterminated
}

// Upper-cased words outside comments, string literals and quoted identifiers; a quoted
// identifier becomes the neutral word "[]" and every other symbol is dropped. Returns false
// for text it cannot read with certainty (an unterminated comment or literal).
bool words(const QString& sql, QStringList& result) {
    qsizetype at = 0;
    while (at < sql.size()) {
        const QChar character = sql.at(at);
        const QChar next = at + 1 < sql.size() ? sql.at(at + 1) : QChar();
        if (character == QLatin1Char('-') && next == QLatin1Char('-')) {
            const qsizetype end = sql.indexOf(QLatin1Char('\n'), at);
            at = end < 0 ? sql.size() : end + 1;
        } else if (character == QLatin1Char('/') && next == QLatin1Char('*')) {
            const qsizetype end = sql.indexOf(QLatin1String("*/"), at + 2);
            if (end < 0) {
                return false;
            }
            at = end + 2;
        } else if (character == QLatin1Char('\'')) {
            at = skipQuoted(sql, at, QLatin1Char('\''));
            if (at < 0) {
                return false;
            }
        } else if (character == QLatin1Char('[') || character == QLatin1Char('"')) {
            at = skipQuoted(sql, at, character == QLatin1Char('[') ? QLatin1Char(']') : QLatin1Char('"'));
            if (at < 0) {
                return false;
            }
            result.append(QStringLiteral("[]"));
        } else if (isWordCharacter(character)) {
            const qsizetype start = at;
            while (at < sql.size() && isWordCharacter(sql.at(at))) {
                ++at;
            }
            result.append(sql.mid(start, at - start).toUpper());
        } else {
            ++at;
        }
    }
    return true;
}

QString lastNamePart(const QString& word) {
    return word.mid(word.lastIndexOf(QLatin1Char('.')) + 1);
}

bool isSessionList(const QString& word) {
    const QString name = lastNamePart(word);
    return name == QLatin1String("SP_WHO") || name == QLatin1String("SP_WHO2");
}

// The first statement decides what kind of batch this is.
bool startsReadOnly(const QStringList& list) {
    const QString& first = list.front();
    const QString second = list.size() > 1 ? list.at(1) : QString();
    static const QSet<QString> plain = {QStringLiteral("SELECT"),     QStringLiteral("WITH"),
                                        QStringLiteral("USE"),        QStringLiteral("OPEN"),
                                        QStringLiteral("FETCH"),      QStringLiteral("CLOSE"),
                                        QStringLiteral("DEALLOCATE"), QStringLiteral("DECLARE")};
    if (plain.contains(first)) {
        return true;
    }
    if (first == QLatin1String("RESTORE")) {
        return second == QLatin1String("FILELISTONLY") || second == QLatin1String("HEADERONLY") ||
               second == QLatin1String("LABELONLY");
    }
    if (first == QLatin1String("EXEC") || first == QLatin1String("EXECUTE")) {
        return isSessionList(second);
    }
    return isSessionList(first);
}

bool wordIsChanging(const QStringList& list, qsizetype index) {
    const QString& word = list.at(index);
    const QString next = index + 1 < list.size() ? list.at(index + 1) : QString();
    if (changingWords().contains(word)) {
        return true;
    }
    if ((word == QLatin1String("EXEC") || word == QLatin1String("EXECUTE") ||
         word == QLatin1String("RESTORE")) &&
        index > 0) {
        return true;
    }
    if (word == QLatin1String("NEXT") && next == QLatin1String("VALUE")) {
        return true; // NEXT VALUE FOR advances a sequence
    }
    // Only cursors may be declared: a variable declaration belongs to procedural code.
    if (word == QLatin1String("DECLARE")) {
        return index + 2 >= list.size() || list.at(index + 2) != QLatin1String("CURSOR");
    }
    return word.startsWith(QLatin1String("XP_")) || word.contains(QLatin1String(".XP_"));
}

} // namespace

bool isReadOnlyStatement(const QString& sql) {
    QStringList list;
    if (!words(sql, list)) {
        return false;
    }
    if (list.isEmpty()) {
        return true;
    }
    if (!startsReadOnly(list)) {
        return false;
    }
    for (qsizetype index = 0; index < list.size(); ++index) {
        if (wordIsChanging(list, index)) {
            return false;
        }
    }
    return true;
}

} // namespace qormin::db
