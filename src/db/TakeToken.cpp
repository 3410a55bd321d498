#include "db/TakeToken.h"

namespace qormin::db {

QString TakeToken(QString& text, const QString& delimiter) {
    const qsizetype at = text.indexOf(delimiter, 0, Qt::CaseInsensitive);
    if (at < 0) {
        QString whole = text.trimmed();
        text.clear();
        return whole;
    }
    QString token = text.left(at).trimmed();
    text = text.mid(at + delimiter.size());
    return token;
}

} // namespace qormin::db
