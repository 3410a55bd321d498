#pragma once

#include <QString>

namespace qormin::db {

// Splits off the text before the first (case-insensitive) delimiter. Returns that part
// trimmed of blanks and leaves the rest after the delimiter, untrimmed, in text; without a
// delimiter returns the whole text trimmed and empties text.
QString TakeToken(QString& text, const QString& delimiter);

// Removes leading and trailing blanks (spaces only: tabs, carriage returns and line feeds stay).
QString trimBlanks(const QString& text);

} // namespace qormin::db
