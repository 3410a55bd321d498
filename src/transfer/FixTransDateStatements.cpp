#include "transfer/FixTransDateStatements.h"

#include <QDateTime>

namespace qormin::transfer {

namespace {

QString piece(const QVariant& value, const QString& equalTo, const QString& isNull) {
    if (value.isNull()) {
        return isNull;
    }
    return equalTo + value.toString() + QLatin1Char('\'');
}

} // namespace

TransDateKeys TransDateKeys::of(const QVariant& idNum, const QVariant& refNum, const QVariant& revenueId,
                                const QVariant& itemId) {
    return {piece(idNum, QStringLiteral(" IDNUM= '"), QStringLiteral(" IDNUM IS NULL ")),
            piece(refNum, QStringLiteral("  ='"), QStringLiteral("  IS NULL ")),
            piece(revenueId, QStringLiteral(" AND RevenueID= '"), QStringLiteral(" AND RevenueID IS NULL ")),
            piece(itemId, QStringLiteral(" AND itemid= '"), QStringLiteral(" AND itemid IS NULL "))};
}

namespace FixTransDateStatements {

const QString notFoundInBackup = QStringLiteral("Not Found");
const QString notFoundAnywhere = QStringLiteral("not found");
const QString done = QStringLiteral("Done.");
const QString defaultTable = QStringLiteral("Billing..tbBillDailyBill");
const QString defaultWhere = QStringLiteral("TransDate = '2020-07-17 09:02:18.000'");
const QString resumeWhere =
    QStringLiteral("TransDate = '2020-07-17 09:02:18.000' AND TransDateFixed IS NULL ");

QString addFixedColumn(const QString& table) {
    return QStringLiteral("ALTER TABLE   ") + table + QStringLiteral("  ADD TransDateFixed integer");
}

QString rowCountQuery() {
    return QStringLiteral("SELECT SUM (ROW_COUNT)   as X  FROM sys.dm_db_partition_stats  WHERE OBJECT_ID = "
                          "OBJECT_ID('TBBILLDAILYBILL')  ");
}

QString defaultDatabase() {
    return QStringLiteral("billing");
}

QString whereOrAll(const QString& where) {
    return where.isEmpty() ? QStringLiteral("1=1") : where;
}

QString badRowsQuery(const QString& destinationTable, const QString& where) {
    return QStringLiteral("SELECT * FROM ") + destinationTable + QStringLiteral(" WHERE ") + where;
}

QString methodQuery(int method, const QString& sourceTable, const TransDateKeys& keys) {
    const QString& id = keys.idNum;
    const QString& ref = keys.refNum;
    const QString& revenue = keys.revenueId;
    const QString& item = keys.itemId;
    switch (method) {
    case 0:
        return QStringLiteral("SELECT  TRANSDATE FROM  ") + sourceTable +
               QStringLiteral("  WITH (NOLOCK)  WHERE ") + id + QStringLiteral(" AND refnum ") + ref +
               revenue + item;
    case 2:
        return QStringLiteral("select ProcessDate FROM station..tbNurseLogBook  WITH (NOLOCK) where ") + id +
               QStringLiteral(" AND ReferenceNum ") + ref + revenue + item +
               QStringLiteral(" and ProcessDate IS NOT NULL ");
    case 3:
        return QStringLiteral("select RequestDate FROM station..tbNurseLogBook  WITH (NOLOCK) where ") + id +
               QStringLiteral(" AND ReferenceNum  ") + ref + revenue + item +
               QStringLiteral(" and RequestDate IS NOT NULL ");
    case 4:
        return QStringLiteral("select CutOffDate  FROM BILLING..tbBillDailyBILL  WITH (NOLOCK) where ") + id +
               QStringLiteral(" AND RefNum ") + ref + revenue + item +
               QStringLiteral(" and CutOffDate IS NOT NULL ");
    case 5:
        return QStringLiteral("select Transdate from billing..tbcashormaster   WITH (NOLOCK) where ") + id +
               QStringLiteral(" AND RefNum ") + ref + QStringLiteral(" and Transdate IS NOT NULL ");
    case 6:
        return QStringLiteral(
                   "select transdate from billing..tbbillseniordiscount     WITH (NOLOCK) where ") +
               id + revenue + QStringLiteral(" and Transdate IS NOT NULL ");
    case 7:
        return QStringLiteral("select ComputedDate FROM medicare..tbMedActual  WITH (NOLOCK) where ") + id +
               QStringLiteral(" and ComputedDate IS NOT NULL ");
    case 8:
        return QStringLiteral("select AdmDate FROM Patient_Data..tbPatient WITH (NOLOCK) where ") + id;
    case 9:
        return QStringLiteral("select Transdate from billing..tbcashormaster   WITH (NOLOCK) where ") +
               QStringLiteral("  RefNum ") + ref + QStringLiteral(" and Transdate IS NOT NULL ");
    default:
        return {};
    }
}

QString dateText(const QVariant& value) {
    if (value.isNull()) {
        return {};
    }
    if (value.typeId() == QMetaType::QDateTime) {
        return value.toDateTime().toString(QStringLiteral("yyyy-MM-dd HH:mm:ss.zzz"));
    }
    if (value.typeId() == QMetaType::QDate) {
        return value.toDate().toString(QStringLiteral("yyyy-MM-dd"));
    }
    return value.toString();
}

QString foundInBackupLine(const QVariant& oldDate, const QVariant& newDate) {
    return QStringLiteral("Found, method 0:  updating") + dateText(oldDate) + QStringLiteral(" to") +
           dateText(newDate);
}

QString foundLine(int method, const QVariant& date) {
    return QStringLiteral("Found , method:") + QString::number(method) + QStringLiteral(", tdate:") +
           dateText(date);
}

QString notFoundInSourcesLine(const QVariant& idNum, const QVariant& revenueId, const QVariant& refNum,
                              const QVariant& itemId) {
    return QStringLiteral("Rec not Found in sources d_IDNum:") + idNum.toString() +
           QStringLiteral(" d_RevenueID:") + revenueId.toString() + QStringLiteral(" d_RefNum:") +
           refNum.toString() + QStringLiteral(" d_ItemId:") + itemId.toString();
}

} // namespace FixTransDateStatements

} // namespace qormin::transfer
