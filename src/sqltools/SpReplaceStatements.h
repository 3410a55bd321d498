#pragma once

#include <QDateTime>
#include <QLocale>
#include <QString>
#include <optional>
#include <utility>

namespace qormin::sqltools {

// The "SP Replace" page's statements and text edits: the search of every database's modules
// into the table Temp, the listing of Temp as one script, and the rewrite of that script.
namespace SpReplaceStatements {

QString dropTemp();
// One batch: creates Temp and fills it through sp_msforeachdb. The search text sits two quoting
// levels deep (in @cmd, then in the LIKE inside it), so each of its quotes becomes four.
QString searchBatch(const QString& searchText);
QString listingQuery();
// What one row of Temp adds to the script.
QString listingEntry(const QString& database, const QString& definition);

// cmdReplaceSP: CREATE PROCEDURE (one or two blanks) becomes ALTER PROCEDURE, then the search
// text is replaced; both case-insensitive. An empty search text replaces nothing.
QString rewriteScript(const QString& script, const QString& searchText, const QString& replacement);

// cmdSPTemplate(index): the (search, replacement) pair; none for an index past the last.
std::optional<std::pair<QString, QString>> templatePair(int index);
constexpr int templateCount = 5;

// The file-name stamp of cmdSaveSP: the short date and time with ":" and "/" made "-".
QString saveStamp(const QDateTime& when, const QLocale& locale);

} // namespace SpReplaceStatements

} // namespace qormin::sqltools
