#include "transfer/MigrateFileLine.h"

#include "db/TakeToken.h"

namespace qormin::transfer {

namespace {

bool onlyBlanks(const QString& line) {
    return db::trimBlanks(line).isEmpty();
}

MigrateFileLine header(QString rest) {
    MigrateFileLine line;
    line.kind = MigrateFileLine::Kind::Header;
    line.destination = db::TakeToken(rest, QStringLiteral("|"));
    line.source = db::TakeToken(rest, QStringLiteral("|"));
    return line;
}

MigrateFileLine mapping(QString rest) {
    MigrateFileLine line;
    line.kind = MigrateFileLine::Kind::Mapping;
    line.destination = db::TakeToken(rest, QStringLiteral("|"));
    QString words = db::trimBlanks(rest);
    line.firstWord = db::TakeToken(words, QStringLiteral(" "));
    line.remainder = words;
    return line;
}

MigrateFileLine refused(const QString& reason) {
    MigrateFileLine line;
    line.kind = MigrateFileLine::Kind::Refused;
    line.reason = reason;
    return line;
}

} // namespace

MigrateFileLine MigrateFileLine::read(const QString& text) {
    if (onlyBlanks(text)) {
        return {};
    }
    const QChar marker = text.front();
    const QString rest = text.mid(1);
    switch (marker.unicode()) {
    case u'/':
        return MigrateFileLine{Kind::Comment, {}, {}, {}, {}, {}};
    case u'#':
        return header(rest);
    case u'*':
        return mapping(rest);
    case u'.':
        return MigrateFileLine{Kind::End, {}, {}, {}, {}, {}};
    case u' ':
        return refused(QStringLiteral("begins with a blank"));
    default:
        return refused(QStringLiteral("no marker"));
    }
}

} // namespace qormin::transfer
