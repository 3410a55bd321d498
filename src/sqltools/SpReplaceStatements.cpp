#include "sqltools/SpReplaceStatements.h"

#include <array>

namespace qormin::sqltools {

namespace {

const QString crlf = QStringLiteral("\r\n");

struct Template {
    const char* search;
    const char* replacement;
};

const std::array<Template, SpReplaceStatements::templateCount> templates = {{
    {"ltrim(rtrim(isnull(n.recordstatus,''))) <> 'R'", "n.recordstatus <> 'R'"},
    {"AND ISNULL( B.OPDIDNum , '' ) = ''", "AND (B.OPDIDNum  = '' OR b.OPDIdNum IS NULL)"},
    {"IsNull(Station.RecordStatus,'') = ''", "Station.RecordStatus = ''"},
    {"not IsNull(A.RecordStatus,'') = 'X'", "(not A.RecordStatus = 'X' or  A.RecordStatus is null)"},
    {"IsNull(A.RecordStatus,'') = '", "A.RecordStatus = '"},
}};

} // namespace

QString SpReplaceStatements::dropTemp() {
    return QStringLiteral("DROP TABLE Temp");
}

QString SpReplaceStatements::searchBatch(const QString& searchText) {
    QString search = searchText;
    search.replace(QLatin1Char('\''), QStringLiteral("''''"));
    return QStringLiteral("       DECLARE @cmd                varchar(1000),") +
           QStringLiteral("            @search_string      varchar(200)") + QStringLiteral("      ") +
           QStringLiteral("    CREATE TABLE Temp(") + QStringLiteral("        [Database_Name]     sysname,") +
           QStringLiteral("        [Schema_Name]       sysname,") +
           QStringLiteral("        [Object_Name]       sysname,") +
           QStringLiteral("        [Object_Type]       nvarchar(60),") +
           QStringLiteral("        [definition]        text);") + QStringLiteral("      ") +
           QStringLiteral(
               "    SET @cmd = 'INSERT INTO Temp SELECT DISTINCT ''?'', s.name AS Schema_Name, o.name AS "
               "Object_Name, o.type_desc,m.definition  FROM [?].sys.sql_modules m INNER JOIN "
               "[?].sys.objects o ON m.object_id = o.object_id INNER JOIN [?].sys.schemas s ON "
               "o.schema_id = s.schema_id  WHERE m.definition Like ''%") +
           search + QStringLiteral("%'' ';") + QStringLiteral("      ") +
           QStringLiteral("    EXEC sp_msforeachdb @cmd; ") + QStringLiteral("     ");
}

QString SpReplaceStatements::listingQuery() {
    return QStringLiteral(" SELECT * FROM temp") +
           QStringLiteral(" ORDER BY [Database_Name], [Object_Name], [Object_Type]");
}

QString SpReplaceStatements::listingEntry(const QString& database, const QString& definition) {
    return QStringLiteral("USE ") + database + crlf + QStringLiteral("GO") + crlf + definition + crlf +
           QStringLiteral("GO") + crlf + QStringLiteral("--------------") + crlf;
}

QString SpReplaceStatements::rewriteScript(const QString& script, const QString& searchText,
                                           const QString& replacement) {
    const QString alter = QStringLiteral("ALTER PROCEDURE");
    QString result = script;
    result.replace(QStringLiteral("CREATE PROCEDURE"), alter, Qt::CaseInsensitive);
    result.replace(QStringLiteral("CREATE  PROCEDURE"), alter, Qt::CaseInsensitive);
    if (!searchText.isEmpty()) {
        result.replace(searchText, replacement, Qt::CaseInsensitive);
    }
    return result;
}

std::optional<std::pair<QString, QString>> SpReplaceStatements::templatePair(int index) {
    if (index < 0 || index >= templateCount) {
        return std::nullopt;
    }
    const Template& pair = templates[static_cast<size_t>(index)];
    return std::pair{QString::fromLatin1(pair.search), QString::fromLatin1(pair.replacement)};
}

QString SpReplaceStatements::saveStamp(const QDateTime& when, const QLocale& locale) {
    QString stamp = locale.toString(when, QLocale::ShortFormat);
    stamp.replace(QLatin1Char(':'), QLatin1Char('-'));
    stamp.replace(QLatin1Char('/'), QLatin1Char('-'));
    return stamp;
}

} // namespace qormin::sqltools
