#pragma once

#include <QDate>
#include <QString>
#include <optional>

namespace qormin::transfer {

// The bounds of one transfer query; an absent bound adds no condition.
struct TransferQuery {
    QString recordsAtATime; // txtRecsAtATime as typed
    QString sourceTable;    // database..table
    QString dateColumn;
    QString where; // txtWHERE, SQL by design, pasted as typed (even empty)
    std::optional<QDate> olderThan;
    std::optional<QDate> startDate;
    std::optional<QDate> endDate; // inclusive: the query ends before the next day
};

// Statement texts of the transfer and history windows. Tables are three-part names with an
// empty schema; dates go between the quotes as yyyymmdd, which SQL Server reads the same under
// every language and date-format setting (a typed "1/2/2020" would be 2 January or 1 February
// depending on the login's language).
class TransferStatements {
public:
    TransferStatements() = delete;

    static QString transferQuery(const TransferQuery& query);
    static QString historyQuery(const QString& recordsAtATime, const QString& sourceTable,
                                const QString& dateColumn, const QDate& olderThan);

    // database + ".." + the part of source after its first ".."; a source without ".." loses
    // its first character, as the start position is always the match plus two.
    static QString destinationTable(const QString& database, const QString& sourceTable);
    static QString historyDestinationTable(const QString& sourceTable);

    static QString claimsDocumentUpdate(const QString& toDatabase, const QString& fileName);
    // The stored file name without its extension: the text before the first ".".
    static QString fileNameStem(const QString& value);

    // DELETE with the cut-off for a dated table, TRUNCATE for one without a date column.
    static QString purgeStatement(const QString& table, const QString& dateColumn, const QDate& olderThan);
    static QString createTable(const QString& destination, const QString& source);
    static QString dropTable(const QString& destination);
    static QString createIndex(const QString& dateColumn, const QString& table);
    static QString firstRowQuery(const QString& table);
    static QString previewQuery(const QString& recordsAtATime, const QString& table);

    static QString typeCodeName(int typeCode);
    static bool typeTakesSize(int typeCode);
    static QString addColumnScript(const QString& table, const QString& column, int typeCode, qint64 size);
    static QString missingColumnLine(const QString& column, int typeCode, const QString& script);
    // The data-type code the classic record sets reported for an ODBC column type.
    static int typeCodeOf(int odbcType, const QString& typeName = QString());

    static QString errorBranchMessage(const QString& error);
    // Rows Script only withheld count apart, neither written nor deleted.
    static QString reconciliationLine(const QString& table, qint64 read, qint64 written, qint64 deleted,
                                      qint64 failed, qint64 withheld = 0);

    static QString dateText(const QDate& date);
    // "12/31/2020" (month first, as the defaults are typed), "2020-12-31" or "20201231".
    static std::optional<QDate> parseDate(const QString& text);
    static std::optional<QDate> olderThan(const QDate& today, const QString& years);

    // A name made of plain (letters, digits, _ @ # $) or bracketed parts joined by dots.
    static bool isPlainName(const QString& name);
    static QString refusedNameLine(const QString& what, const QString& name);
};

} // namespace qormin::transfer
