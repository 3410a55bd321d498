#pragma once

#include <QString>

namespace qormin::db {

// Splits off the text before the first (case-insensitive) delimiter. Returns that part
// trimmed and leaves the rest after the delimiter, untrimmed, in text; without a
// delimiter returns the whole text trimmed and empties text.
QString TakeToken(QString& text, const QString& delimiter);

} // namespace qormin::db
