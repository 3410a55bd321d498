#include "db/SqlLiteral.h"

#include <QDateTime>
#include <QRegularExpression>
#include <sql.h>
#include <sqlext.h>

namespace qormin::db {

bool isNumericType(int sqlType) {
    switch (sqlType) {
    case SQL_INTEGER:
    case SQL_SMALLINT:
    case SQL_TINYINT:
    case SQL_BIGINT:
    case SQL_BIT:
    case SQL_REAL:
    case SQL_FLOAT:
    case SQL_DOUBLE:
    case SQL_DECIMAL:
    case SQL_NUMERIC:
        return true;
    default:
        return false;
    }
}

namespace {

bool isUnicodeType(int sqlType) {
    return sqlType == SQL_WCHAR || sqlType == SQL_WVARCHAR || sqlType == SQL_WLONGVARCHAR || sqlType == 0;
}

QString quotedText(const QString& text, bool unicode) {
    QString doubled = text;
    doubled.replace(QLatin1Char('\''), QLatin1String("''"));
    return (unicode ? QStringLiteral("N'") : QStringLiteral("'")) + doubled + QLatin1Char('\'');
}

} // namespace

QString sqlLiteral(const QVariant& value, const ColumnInfo& target) {
    if (!value.isValid() || value.isNull()) {
        return QStringLiteral("NULL");
    }
    switch (value.typeId()) {
    case QMetaType::Bool:
        return value.toBool() ? QStringLiteral("1") : QStringLiteral("0");
    case QMetaType::Int:
    case QMetaType::UInt:
    case QMetaType::LongLong:
    case QMetaType::ULongLong:
        return value.toString();
    case QMetaType::Double:
        return QString::number(value.toDouble(), 'g', 17);
    case QMetaType::QDateTime:
        return QLatin1Char('\'') + value.toDateTime().toString(QStringLiteral("yyyy-MM-ddTHH:mm:ss.zzz")) +
               QLatin1Char('\'');
    case QMetaType::QDate:
        return QLatin1Char('\'') + value.toDate().toString(QStringLiteral("yyyy-MM-dd")) + QLatin1Char('\'');
    case QMetaType::QTime:
        return QLatin1Char('\'') + value.toTime().toString(QStringLiteral("HH:mm:ss.zzz")) +
               QLatin1Char('\'');
    case QMetaType::QByteArray:
        return QStringLiteral("0x") + QString::fromLatin1(value.toByteArray().toHex().toUpper());
    default:
        break;
    }
    const QString text = value.toString();
    static const QRegularExpression number(QStringLiteral("^-?[0-9]+(\\.[0-9]+)?$"));
    if (isNumericType(target.sqlType) && number.match(text).hasMatch()) {
        return text;
    }
    return quotedText(text, isUnicodeType(target.sqlType));
}

QString quotedName(const QString& name) {
    QString doubled = name;
    doubled.replace(QLatin1Char(']'), QLatin1String("]]"));
    return QLatin1Char('[') + doubled + QLatin1Char(']');
}

} // namespace qormin::db
