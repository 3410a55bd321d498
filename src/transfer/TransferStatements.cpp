#include "transfer/TransferStatements.h"

#include <QRegularExpression>
#include <QStringList>
#include <map>

namespace qormin::transfer {

namespace {

const QString tableSeparator = QStringLiteral("..");

QString below(const QString& dateColumn, const QDate& bound) {
    return QStringLiteral(" AND ") + dateColumn + QStringLiteral(" < convert(datetime,'") +
           TransferStatements::dateText(bound) + QStringLiteral("') ");
}

QString fromOn(const QString& dateColumn, const QDate& bound) {
    return QStringLiteral(" AND ") + dateColumn + QStringLiteral(" >= convert(datetime,'") +
           TransferStatements::dateText(bound) + QStringLiteral("') ");
}

const std::map<int, const char*>& typeCodeNames() {
    static const std::map<int, const char*> names = {
        {0, "adEmpty"},
        {2, "adSmallInt"},
        {3, "adInteger"},
        {4, "adSingle"},
        {5, "adFloat"},
        {6, "adCurrency"},
        {7, "adDate"},
        {8, "adBSTR"},
        {9, "adIDispatch"},
        {10, "adError"},
        {11, "adBit"},
        {12, "adVariant"},
        {13, "adIUnknown"},
        {14, "adDecimal"},
        {16, "adTinyInt"},
        {17, "adUnsignedTinyInt"},
        {18, "adUnsignedSmallInt"},
        {19, "adUnsignedInt"},
        {20, "adBigInt"},
        {21, "adUnsignedBigInt"},
        {64, "adFileTime"},
        {72, "adGUID"},
        {128, "adBinary"},
        {129, "adChar"},
        {130, "adWChar"},
        {131, "adNumeric"},
        {132, "adUserDefined"},
        {133, "adDBDate"},
        {134, "adDBTime"},
        {135, "adDateTime"},
        {136, "adChapter"},
        {138, "adPropVariant"},
        {139, "adVarNumeric"},
        {200, "adVarChar"},
        {201, "adLongVarChar"},
        {202, "adVarWChar"},
        {203, "adLongVarWChar"},
        {204, "adVarBinary"},
        {205, "adLongVarBinary"},
    };
    return names;
}

bool isPlainPart(const QString& part) {
    static const QRegularExpression plain(QStringLiteral(R"(^[A-Za-z_@#][A-Za-z0-9_@#$]*$)"));
    static const QRegularExpression bracketed(QStringLiteral(R"(^\[[^\[\]]+\]$)"));
    return plain.match(part).hasMatch() || bracketed.match(part).hasMatch();
}

} // namespace

QString TransferStatements::transferQuery(const TransferQuery& query) {
    QString text = QStringLiteral("SELECT top ") + query.recordsAtATime + QStringLiteral(" * FROM ") +
                   query.sourceTable + QStringLiteral(" WHERE 1=1 ");
    if (query.olderThan) {
        text += below(query.dateColumn, *query.olderThan);
    }
    if (query.startDate) {
        text += fromOn(query.dateColumn, *query.startDate);
    }
    if (query.endDate) {
        text += below(query.dateColumn, query.endDate->addDays(1));
    }
    return text + QStringLiteral(" AND ") + query.where + QStringLiteral(" ORDER BY ") + query.dateColumn +
           QStringLiteral(" ASC");
}

QString TransferStatements::historyQuery(const QString& recordsAtATime, const QString& sourceTable,
                                         const QString& dateColumn, const QDate& olderThan) {
    return QStringLiteral("SELECT top ") + recordsAtATime + QStringLiteral(" * FROM ") + sourceTable +
           QStringLiteral(" WHERE ") + dateColumn + QStringLiteral(" < convert(datetime,'") +
           dateText(olderThan) + QStringLiteral("')  ORDER BY ") + dateColumn + QStringLiteral(" ASC");
}

QString TransferStatements::destinationTable(const QString& database, const QString& sourceTable) {
    return database + tableSeparator + sourceTable.mid(sourceTable.indexOf(tableSeparator) + 2);
}

QString TransferStatements::historyDestinationTable(const QString& sourceTable) {
    return destinationTable(QStringLiteral("HISTORY"), sourceTable);
}

QString TransferStatements::claimsDocumentUpdate(const QString& toDatabase, const QString& fileName) {
    QString quoted = fileName;
    quoted.replace(QLatin1Char('\''), QStringLiteral("''"));
    return QStringLiteral("UPDATE Medicare..tbMedSupportingDocuments SET DatabaseName = '") + toDatabase +
           QStringLiteral("'") + QStringLiteral(" WHERE RawFileName = '") + quoted + QStringLiteral("'");
}

QString TransferStatements::fileNameStem(const QString& value) {
    const qsizetype dot = value.indexOf(QLatin1Char('.'));
    return dot < 0 ? value : value.left(dot);
}

QString TransferStatements::purgeStatement(const QString& table, const QString& dateColumn,
                                           const QDate& olderThan) {
    if (dateColumn.isEmpty()) {
        return QStringLiteral("TRUNCATE TABLE  ") + table + QStringLiteral("    ");
    }
    return QStringLiteral("DELETE FROM  ") + table + QStringLiteral(" WHERE ") + dateColumn +
           QStringLiteral(" < convert(datetime,'") + dateText(olderThan) + QStringLiteral("')  ");
}

QString TransferStatements::createTable(const QString& destination, const QString& source) {
    return QStringLiteral("SELECT *  INTO ") + destination + QStringLiteral(" FROM ") + source +
           QStringLiteral(" where 1=2");
}

QString TransferStatements::dropTable(const QString& destination) {
    return QStringLiteral("DROP TABLE ") + destination;
}

QString TransferStatements::createIndex(const QString& dateColumn, const QString& table) {
    return QStringLiteral("CREATE NONCLUSTERED INDEX by_") + dateColumn + QStringLiteral(" ON ") + table +
           QStringLiteral(" (") + dateColumn + QStringLiteral(")");
}

QString TransferStatements::firstRowQuery(const QString& table) {
    return QStringLiteral("SELECT top 1 * FROM ") + table;
}

QString TransferStatements::previewQuery(const QString& recordsAtATime, const QString& table) {
    return QStringLiteral("SELECT top ") + recordsAtATime + QStringLiteral(" * FROM ") + table;
}

QString TransferStatements::typeCodeName(int typeCode) {
    const auto found = typeCodeNames().find(typeCode);
    return found == typeCodeNames().end() ? QStringLiteral("*UNKNOWN*") : QString::fromLatin1(found->second);
}

// Types whose definition carries a length: character and binary types of a fixed or varying
// size. The long types (text, ntext, image) take none, and decimal/numeric need a precision
// and scale, not a size, so they are added with the server's default.
bool TransferStatements::typeTakesSize(int typeCode) {
    switch (typeCode) {
    case 128: // adBinary
    case 129: // adChar
    case 130: // adWChar
    case 200: // adVarChar
    case 202: // adVarWChar
    case 204: // adVarBinary
        return true;
    default:
        return false;
    }
}

QString TransferStatements::addColumnScript(const QString& table, const QString& column, int typeCode,
                                            qint64 size) {
    QString script = QStringLiteral("ALTER TABLE ") + table + QStringLiteral(" ADD ") + column +
                     QStringLiteral(" ") + typeCodeName(typeCode).mid(2);
    if (typeTakesSize(typeCode)) {
        script += QStringLiteral(" (") + QString::number(size) + QStringLiteral(")");
    }
    return script;
}

QString TransferStatements::missingColumnLine(const QString& column, int typeCode, const QString& script) {
    return QStringLiteral("Missing  ") + column + QStringLiteral(" ") + QString::number(typeCode) +
           QStringLiteral(" script: ") + script + QStringLiteral("\r\n");
}

// The codes the SQL Server OLE DB provider gave these types (tinyint is unsigned there,
// decimal and numeric both numeric, datetime the timestamp code). That provider predates date,
// time, datetime2 and datetimeoffset and handed them over as wide text of their full length.
int TransferStatements::typeCodeOf(int odbcType, const QString& typeName) {
    static const std::map<QString, int> named = {
        {QStringLiteral("money"), 6},       {QStringLiteral("smallmoney"), 6},
        {QStringLiteral("date"), 202},      {QStringLiteral("time"), 202},
        {QStringLiteral("datetime2"), 202}, {QStringLiteral("datetimeoffset"), 202},
    };
    if (const auto found = named.find(typeName.toLower()); found != named.end()) {
        return found->second;
    }
    static const std::map<int, int> codes = {
        {1, 129},  {12, 200}, {-1, 201}, {-8, 130}, {-9, 202},   {-10, 203}, {-2, 128},
        {-3, 204}, {-4, 205}, {-7, 11},  {-6, 17},  {5, 2},      {4, 3},     {-5, 20},
        {7, 4},    {6, 5},    {8, 5},    {3, 131},  {2, 131},    {93, 135},  {11, 135},
        {91, 133}, {9, 133},  {92, 134}, {10, 134}, {-154, 134}, {-11, 72},  {-150, 12},
    };
    const auto found = codes.find(odbcType);
    return found == codes.end() ? -1 : found->second;
}

QString TransferStatements::errorBranchMessage(const QString& error) {
    return error + QStringLiteral("  ") +
           QStringLiteral(" drop any identity columns and click sync structure.");
}

QString TransferStatements::reconciliationLine(const QString& table, qint64 read, qint64 written,
                                               qint64 deleted, qint64 failed, qint64 withheld) {
    const QString line = QStringLiteral("Transfer of %1: read %2, written %3, deleted %4, failed %5")
                             .arg(table)
                             .arg(read)
                             .arg(written)
                             .arg(deleted)
                             .arg(failed);
    return withheld == 0 ? line : line + QStringLiteral(", withheld by Script only %1").arg(withheld);
}

QString TransferStatements::dateText(const QDate& date) {
    return date.toString(QStringLiteral("yyyyMMdd"));
}

std::optional<QDate> TransferStatements::parseDate(const QString& text) {
    const QString trimmed = text.trimmed();
    for (const QString& format :
         {QStringLiteral("M/d/yyyy"), QStringLiteral("yyyy-MM-dd"), QStringLiteral("yyyyMMdd")}) {
        const QDate date = QDate::fromString(trimmed, format);
        if (date.isValid()) {
            return date;
        }
    }
    return std::nullopt;
}

std::optional<QDate> TransferStatements::olderThan(const QDate& today, const QString& years) {
    bool ok = false;
    const int count = years.trimmed().toInt(&ok);
    if (!ok) {
        return std::nullopt;
    }
    return today.addYears(-count);
}

bool TransferStatements::isPlainName(const QString& name) {
    if (name.isEmpty()) {
        return false;
    }
    // ".." is a part left empty (the default schema), so empty parts are allowed between dots.
    static const QRegularExpression parts(QStringLiteral(R"(\[[^\[\]]*\]|[^.]+)"));
    qsizetype position = 0;
    bool expectPart = true;
    while (position < name.size()) {
        if (name.at(position) == QLatin1Char('.')) {
            ++position;
            expectPart = true;
            continue;
        }
        if (!expectPart) {
            return false;
        }
        const auto match = parts.match(name, position, QRegularExpression::NormalMatch,
                                       QRegularExpression::AnchorAtOffsetMatchOption);
        if (!match.hasMatch() || !isPlainPart(match.captured(0))) {
            return false;
        }
        position = match.capturedEnd();
        expectPart = false;
    }
    return !name.endsWith(QLatin1Char('.'));
}

QString TransferStatements::refusedNameLine(const QString& what, const QString& name) {
    return QStringLiteral("Refused ") + what + QStringLiteral(" \"") + name +
           QStringLiteral("\": not a plain or bracketed name; nothing was sent");
}

} // namespace qormin::transfer
