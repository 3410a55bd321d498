#pragma once

#include <QString>
#include <QVariant>

namespace qormin::transfer {

// The four condition pieces built from a bad row's keys; a NULL key gives its IS NULL form.
struct TransDateKeys {
    QString idNum;     // " IDNUM= '...'" or " IDNUM IS NULL "
    QString refNum;    // "  ='...'" or "  IS NULL ": each query puts its own column word first
    QString revenueId; // " AND RevenueID= '...'" or " AND RevenueID IS NULL "
    QString itemId;    // " AND itemid= '...'" or " AND itemid IS NULL "

    static TransDateKeys of(const QVariant& idNum, const QVariant& refNum, const QVariant& revenueId,
                            const QVariant& itemId);
};

// The texts of the transaction-date repair: statements, methods and log lines.
namespace FixTransDateStatements {

constexpr int backupMethod = 0;
constexpr int firstOtherMethod = 2; // there is no method 1
constexpr int lastOtherMethod = 9;

QString addFixedColumn(const QString& table);
QString rowCountQuery();
QString defaultDatabase();
QString whereOrAll(const QString& where);
QString badRowsQuery(const QString& destinationTable, const QString& where);
// Method 0 reads the backup table; 2..9 the other tables; empty for any other number.
QString methodQuery(int method, const QString& sourceTable, const TransDateKeys& keys);

QString foundInBackupLine(const QVariant& oldDate, const QVariant& newDate);
QString foundLine(int method, const QVariant& date);
QString notFoundInSourcesLine(const QVariant& idNum, const QVariant& revenueId, const QVariant& refNum,
                              const QVariant& itemId);
QString dateText(const QVariant& value);

extern const QString notFoundInBackup; // "Not Found"
extern const QString notFoundAnywhere; // "not found"
extern const QString done;
extern const QString defaultTable;
extern const QString defaultWhere;
extern const QString resumeWhere;

} // namespace FixTransDateStatements

} // namespace qormin::transfer
