#pragma once

#include "db/ResultTable.h"

#include <QDateTime>
#include <QString>
#include <QVariant>
#include <optional>
#include <sqltypes.h>
#include <vector>

namespace qormin::db {

// How each SQL type travels between the driver and a QVariant, in both directions, so a value
// read from one server and bound for another keeps every digit the types can hold.
//
// Date and time values finer than a millisecond (datetime2, time and datetimeoffset with more
// than three fractional digits) are carried as their exact text ("2020-02-29 23:59:59.1234567",
// "12:34:56.1234567"), since QDateTime and QTime stop at milliseconds; all others as QDateTime,
// QDate or QTime. See ResultTable for the other types.

// A moment read from text, to the nanosecond.
struct PreciseMoment {
    QDateTime moment;        // to the millisecond
    quint32 nanoseconds = 0; // the whole fraction of the second
};
// "yyyy-MM-dd[( |T)HH:mm:ss[.f…]]" with up to nine fractional digits; empty when it is not one.
std::optional<PreciseMoment> parseMoment(const QString& text);

// One parameter's bytes and declaration, as SQLBindParameter takes them.
struct OdbcParameter {
    std::vector<char> data;
    SQLLEN indicator = 0;
    SQLSMALLINT cType = 0;
    SQLSMALLINT sqlType = 0;
    SQLULEN columnSize = 0;
    SQLSMALLINT digits = 0;

    bool sameBinding(const OdbcParameter& other) const {
        return cType == other.cType && sqlType == other.sqlType && columnSize == other.columnSize &&
               digits == other.digits;
    }
    // Bytes one value of this declaration may need: the longest the declaration allows for text
    // and binary, the C type's own size otherwise (drivers step through arrays of fixed-size C
    // types by that size, whatever buffer length is given).
    size_t room() const;
};

// The value as a parameter for a column of the target's type: the target's SQL type and
// precision, or text the server converts (and refuses with its own reason) when the value does
// not read as that type.
OdbcParameter makeOdbcParameter(const ColumnInfo& target, const QVariant& value);

// The current row's value of a column (0-based) as described; an invalid QVariant for NULL.
// scratch is reused for long text and binary.
QVariant readOdbcValue(SQLHSTMT statement, int index, const ColumnInfo& column, std::vector<char>& scratch);

} // namespace qormin::db
