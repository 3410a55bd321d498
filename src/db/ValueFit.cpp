#include "db/ValueFit.h"

#include "db/OdbcValue.h"

#include <QDateTime>
#include <sql.h>
#include <sqlext.h>

#include <cmath>
#include <limits>

namespace qormin::db {

namespace {

// Sizes above this are the (max), text and image types: no length to exceed.
constexpr qint64 largestSizedColumn = 8000;

bool numberInRange(const QVariant& value, double low, double high) {
    bool ok = false;
    const double number = value.toDouble(&ok);
    return ok && std::isfinite(number) && number >= low && number <= high;
}

bool integerFits(const QVariant& value, int sqlType) {
    switch (sqlType) {
    case SQL_TINYINT:
        return numberInRange(value, 0, 255);
    case SQL_SMALLINT:
        return numberInRange(value, -32768, 32767);
    case SQL_INTEGER:
        return numberInRange(value, -2147483648.0, 2147483647.0);
    default: {
        bool ok = false;
        value.toLongLong(&ok);
        return ok || numberInRange(value, -9.2e18, 9.2e18);
    }
    }
}

bool decimalFits(const QVariant& value, const ColumnInfo& column) {
    bool ok = false;
    const double number = value.toString().trimmed().toDouble(&ok);
    if (!ok || !std::isfinite(number)) {
        return false;
    }
    const int wholeDigits = static_cast<int>(column.size) - column.decimalDigits;
    return column.size <= 0 || std::fabs(number) < std::pow(10.0, wholeDigits);
}

bool bitFits(const QVariant& value) {
    if (value.typeId() != QMetaType::QString) {
        return value.canConvert<bool>();
    }
    const QString text = value.toString().trimmed();
    return text == QLatin1String("0") || text == QLatin1String("1") ||
           text.compare(QLatin1String("true"), Qt::CaseInsensitive) == 0 ||
           text.compare(QLatin1String("false"), Qt::CaseInsensitive) == 0;
}

bool dateFits(const QVariant& value) {
    if (value.typeId() == QMetaType::QDateTime || value.typeId() == QMetaType::QDate) {
        return true;
    }
    return parseMoment(value.toString()).has_value();
}

bool lengthFits(qint64 length, const ColumnInfo& column) {
    return column.size <= 0 || column.size > largestSizedColumn || length <= column.size;
}

} // namespace

bool valueFitsColumn(const QVariant& value, const ColumnInfo& column) {
    if (!value.isValid() || value.isNull()) {
        return true;
    }
    switch (column.sqlType) {
    case SQL_TINYINT:
    case SQL_SMALLINT:
    case SQL_INTEGER:
    case SQL_BIGINT:
        return integerFits(value, column.sqlType);
    case SQL_BIT:
        return bitFits(value);
    case SQL_REAL:
    case SQL_FLOAT:
    case SQL_DOUBLE:
        return numberInRange(value, -std::numeric_limits<double>::max(), std::numeric_limits<double>::max());
    case SQL_DECIMAL:
    case SQL_NUMERIC:
        return decimalFits(value, column);
    case SQL_TYPE_DATE:
    case SQL_TYPE_TIMESTAMP:
        return dateFits(value);
    case SQL_BINARY:
    case SQL_VARBINARY:
    case SQL_LONGVARBINARY:
        return lengthFits(value.typeId() == QMetaType::QByteArray ? value.toByteArray().size()
                                                                  : value.toString().toUtf8().size(),
                          column);
    case SQL_CHAR:
    case SQL_VARCHAR:
    case SQL_WCHAR:
    case SQL_WVARCHAR:
        return lengthFits(value.toString().size(), column);
    default:
        return true;
    }
}

} // namespace qormin::db
