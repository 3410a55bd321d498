#include "db/WithheldScript.h"

#include <QRegularExpression>
#include <array>

namespace qormin::db {

namespace {

const QString lineEnd = QStringLiteral("\r\n");
const QString batchEnd = QStringLiteral("\r\nGO\r\n");

QString partHeading(const WithheldStatement& statement) {
    return QStringLiteral("-- %1 (side %2) server %3")
        .arg(statement.side == 0 ? QStringLiteral("Left") : QStringLiteral("Right"))
        .arg(statement.side)
        .arg(statement.server);
}

QString useBatch(const QString& database) {
    QString name = database;
    return QStringLiteral("USE [") + name.replace(QLatin1Char(']'), QStringLiteral("]]")) + QLatin1Char(']') +
           batchEnd;
}

// The database a withheld batch switches to with its own leading USE ("USE master ; DECLARE
// ..."): the statements after it ran there, while the connection, which never received it,
// kept reporting the old one.
QString switchedTo(const QString& sql) {
    static const QRegularExpression leadingUse(
        QStringLiteral(R"(^\s*use\s+(?:\[((?:[^\]]|\]\])+)\]|([^\s;\[\]]+)))"),
        QRegularExpression::CaseInsensitiveOption);
    const auto match = leadingUse.match(sql);
    if (!match.hasMatch())
        return {};
    return match.hasCaptured(1) ? match.captured(1).replace(QStringLiteral("]]"), QStringLiteral("]"))
                                : match.captured(2);
}

// Where each side's session stands as the script goes on.
struct SidePlace {
    bool seen = false;
    QString reported; // what the connection last reported
    QString current;  // what a session running the script so far would be in
};

} // namespace

QString withheldScript(const std::vector<WithheldStatement>& statements) {
    QString script;
    std::array<SidePlace, 2> places;
    const WithheldStatement* previous = nullptr;
    for (const WithheldStatement& statement : statements) {
        SidePlace& place = places[statement.side == 0 ? 0 : 1];
        bool needsUse = !place.seen || statement.database != place.reported;
        if (needsUse) {
            place.seen = true;
            place.reported = statement.database;
            place.current = statement.database;
        }
        if (previous == nullptr || previous->side != statement.side || previous->server != statement.server) {
            script += (previous == nullptr ? QString() : lineEnd) + partHeading(statement) + lineEnd;
            needsUse = true;
        }
        if (needsUse && !place.current.isEmpty())
            script += useBatch(place.current);
        script += statement.sql + batchEnd;
        if (const QString switched = switchedTo(statement.sql); !switched.isEmpty())
            place.current = switched;
        previous = &statement;
    }
    return script;
}

} // namespace qormin::db
