#pragma once

#include <QString>

namespace qormin::sqltools {

// The "SQL to String" page's conversions: SQL text into source lines that build the same text in
// SQLStr, and back. Text in, text out; line breaks are CR LF as the page's boxes hold them.
namespace SqlToCodeConverter {

// cmdMakeVB: the lines, with the main keywords upper-cased where a blank or comma stands before
// them and a blank or "(" after them.
QString makeCode(const QString& sql);

// UpperKeyword: one keyword's three case-insensitive replacements over the whole text.
QString upperKeyword(const QString& text, const QString& keyword);

// cmdClearSQL: the SQL back, without quotes and assignments; line breaks and capitals stay.
QString clearCode(const QString& code);

// txtCompare: the two texts are the same but for letter case.
bool sameText(const QString& left, const QString& right);

} // namespace SqlToCodeConverter

} // namespace qormin::sqltools
