#include "db/TakeToken.h"

namespace qormin::db {

QString trimBlanks(const QString& text) {
    qsizetype first = 0;
    qsizetype last = text.size();
    while (first < last && text.at(first) == QLatin1Char(' ')) {
        ++first;
    }
    while (last > first && text.at(last - 1) == QLatin1Char(' ')) {
        --last;
    }
    return text.mid(first, last - first);
}

QString TakeToken(QString& text, const QString& delimiter) {
    const qsizetype at = text.indexOf(delimiter, 0, Qt::CaseInsensitive);
    if (at < 0) {
        QString whole = trimBlanks(text);
        text.clear();
        return whole;
    }
    QString token = trimBlanks(text.left(at));
    text = text.mid(at + delimiter.size());
    return token;
}

} // namespace qormin::db
