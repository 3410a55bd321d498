#include "anonymize/AnonymizeStatements.h"

#include "db/SqlLiteral.h"

#include <QRegularExpression>
#include <array>

namespace qormin::anonymize::AnonymizeStatements {

namespace {

// Constant-initialised: a QString here would still be empty for a caller during static start-up.
constexpr QLatin1StringView crlf("\r\n");

constexpr std::array defaultTableLines{
    "[Patient_Data].[dbo].[tbmaster] LastName FirstName MiddleName",
    "[Patient_Data].[dbo].[tbmaster2] Mother Father",
    "Patient_data..Missing_Names LastName FirstName MiddleName",
    "Patient_data..tbAdmContact LastName FirstName MiddleName",
    "Patient_data..tbAdmDataSheet LastName FirstName MiddleName",
    "Patient_data..tbAdmDischarge LastName FirstName MiddleName",
    "Patient_data..tbAdmWaitingList LastName FirstName MiddleName",
    "Patient_data..tbAdmWatcherMaster LastName FirstName MiddleName",
    "Patient_data..tbMaster3 LastName FirstName MiddleName",
    "Patient_data..tbMedRecCertificate LastName FirstName MiddleName",
    "Patient_data..tbMedrecBirthRegister LastName FirstName MiddleName",
    "Patient_data..tbMedrecDischargeRegister LastName FirstName MiddleName",
    "Patient_data..tbMedrecDiseaseIndex LastName FirstName MiddleName",
    "Patient_data..tbMedrecDoctorIndex LastName FirstName MiddleName",
    "Patient_data..tbMedrecIncomplete LastName FirstName MiddleName",
    "Patient_data..tbPastMaster LastName FirstName MiddleName",
    "Patient_data..tbMedRecLog OrigLastName OrigFirstName OrigMiddleName",
    "Patient_data..tbMedRecLog NewLastName NewFirstName NewMiddleName",
    "Patient_data..tbMedrecProcedureIndex LastName FirstName MiddleName",
    "Medicare..tbMedPatient LastName",
    "Medicare..tbMedMember LastName",
    "Billing..tbBillPasswordList LastName FirstName MiddleName",
    "Billing..tbBillProcCert LastName FirstName MiddleName",
    "Billing..tbCashDocRefundstoBank LastName FirstName MiddleName",
    "Billing..tbCashPatient LastName FirstName MiddleName",
    "Billing..tbParsCoMakers LastName FirstName MiddleName",
    "Build_File..tbCoDoctor LastName FirstName MiddleName",
    "Build_File..tbCoMedTech LastName FirstName MiddleName",
    "Radiology..tbOBFileNum LastName FirstName MiddleName",
    "Accounting..tbBIRRegistration LastName FirstName MiddleName",
    "Accounting..VEND LastName FirstName MiddleName",
    "Register..tbPhysicalExamination LastName FirstName MiddleName",
    "Prepaid..tbPrepaidCharges LastName FirstName MiddleName",
    "Reports..PatientData LastName FirstName MiddleName",
    "BloodDonation..AutologousDonor Name LastName",
    "BloodDonation..Donor Name LastName",
    "BloodDonation..Phlebotomy Name LastName",
    "DICOM..PatientTable Name_Last Name_First",
    "payroll..tbpmaster LastName FirstName MiddleName",
    "payroll..tbcmaster LastName FirstName MiddleName",
};

} // namespace

QString defaultTables() {
    QStringList lines;
    for (const char* line : defaultTableLines)
        lines.append(QString::fromLatin1(line));
    return lines.join(QString(crlf));
}

QString databasesQuery() {
    return QStringLiteral("SELECT NAME,* FROM sys.databases  WHERE database_id > 4 ");
}

QString tablesQuery() {
    return QStringLiteral("SELECT TABLE_NAME FROM INFORMATION_SCHEMA.TABLES WHERE TABLE_TYPE='BASE TABLE' ");
}

QString nameColumnsQuery(const QString& database, const QString& table) {
    return QStringLiteral("SELECT COLUMN_NAME,* FROM INFORMATION_SCHEMA.COLUMNS WHERE "
                          "(CHARINDEX('Name',COLUMN_NAME )>0 or COLUMN_NAME='HospNum' ") +
           QStringLiteral(" AND TABLE_CATALOG = '") + database + QStringLiteral("' and Table_Name = '") +
           table + QStringLiteral("' ") + QStringLiteral(" ORDER BY Table_Name,Ordinal_position ");
}

QString sampleQuery(const QString& column, const QString& database, const QString& table) {
    return QStringLiteral("SELECT top 10  ") + column + QStringLiteral(",* FROM ") + database +
           QStringLiteral("..") + table + QStringLiteral(" where ") + column + QStringLiteral(" is not null");
}

QString skippingLine(const QString& database, const QString& table) {
    return QStringLiteral("Skipping ") + database + QStringLiteral("..") + table;
}

bool isExcluded(const QString& excludedText, const QString& database, const QString& table) {
    return excludedText.contains(database + QStringLiteral("..") + table + QString(crlf));
}

QString savedTablesLine(const QStringList& cells) {
    QString line = cells.value(0) + QStringLiteral("..") + cells.value(1) + u' ';
    for (qsizetype column = 2; column < cells.size(); ++column)
        line += cells[column] + u' ';
    return line;
}

QString countQuery(const QString& table) {
    return QStringLiteral("SELECT COUNT(*) FROM ") + table;
}

QString confirmText(const QString& connectionString) {
    return QStringLiteral("Are you sure you want to anonymize ") + connectionString + u'?';
}

QStringList nameListEntries(QString text) {
    QStringList entries;
    while (!text.isEmpty()) {
        const qsizetype end = text.indexOf(crlf);
        if (end < 0) {
            entries.append(text);
            break;
        }
        entries.append(text.left(end));
        text.remove(0, end + crlf.size());
    }
    return entries;
}

QStringList tableListLines(const QString& text) {
    static const QRegularExpression lineEnd(QStringLiteral("\r?\n"));
    return text.split(lineEnd);
}

QStringList tableListWords(const QString& line) {
    return line.split(u' ');
}

int fastIndex(double uniform) {
    return static_cast<int>(999.0 * uniform);
}

QString fastPick(const QStringList& names, int index) {
    return names.value(index);
}

bool isSurnameColumn(const QString& column) {
    const QString upper = column.toUpper();
    return upper.contains(QLatin1String("LAST")) || upper.contains(QLatin1String("SURNAME"));
}

QString remainingQuery(const QString& table, const QStringList& columns, const QStringList& literals) {
    const QString list = literals.join(QStringLiteral(", "));
    QStringList tests;
    for (const QString& column : columns)
        tests.append(db::quotedName(column) + QStringLiteral(" IN (") + list + u')');
    return QStringLiteral("SELECT COUNT(*) FROM ") + table + QStringLiteral(" WHERE ") +
           tests.join(QStringLiteral(" OR "));
}

QString reportLine(const QString& table, qint64 rows, qint64 replaced, qint64 left, qint64 failed) {
    return QStringLiteral(
               "%1: rows visited %2, fields replaced %3, fields left (null/empty) %4, fields failed %5")
        .arg(table)
        .arg(rows)
        .arg(replaced)
        .arg(left)
        .arg(failed);
}

QString checkLine(const QString& table, qint64 remaining, qsizetype sampled) {
    return QStringLiteral("%1: rows still holding one of %2 sampled original names: %3")
        .arg(table)
        .arg(sampled)
        .arg(remaining);
}

QString notReplacedLine(qint64 records) {
    const QString line = QStringLiteral("Records whose names could not all be replaced: %1").arg(records);
    return records == 0 ? line : line + QStringLiteral(" - the run failed");
}

} // namespace qormin::anonymize::AnonymizeStatements
