#include "sqltools/SpeedTestStatements.h"

#include "db/SecretMask.h"
#include "platform/BuiltInSecrets.h"

namespace qormin::sqltools {

QString SpeedTestStatements::defaultConnection(const QString& server) {
    return defaultConnection(server, platform::builtInSecretDefault());
}

QString SpeedTestStatements::defaultConnection(const QString& server, const QString& password) {
    return QStringLiteral("Provider=SQLOLEDB;Persist Security Info=True;Server=") + server +
           QStringLiteral(";UID=sa;Database=MASTER;Password=") + password;
}

QString SpeedTestStatements::withPassword(const QString& connection, const QString& password) {
    const QString key = QStringLiteral("Password=");
    QString filled = connection;
    return filled.replace(key + QString::fromLatin1(db::secretMaskText), key + password, Qt::CaseInsensitive);
}

QString SpeedTestStatements::createTable(const QString& database) {
    return QStringLiteral("CREATE TABLE ") + database +
           QStringLiteral("..SpeedTest (DESC2 varchar(100),TransDate DateTime)");
}

QString SpeedTestStatements::insertRow(const QString& database, int number, const QDate& date) {
    return QStringLiteral("insert into ") + database +
           QStringLiteral("..SpeedTest (DESC2,TransDate) VALUES ('") + QString::number(number) +
           QStringLiteral("','") + dateText(date) + QStringLiteral("')");
}

QString SpeedTestStatements::deleteOneRow(const QString& database) {
    return QStringLiteral("delete top (1) from ") + database + QStringLiteral("..SpeedTest ");
}

QString SpeedTestStatements::readRows(const QString& database) {
    return QStringLiteral("select top 5000 * from ") + database + QStringLiteral("..SpeedTest");
}

QString SpeedTestStatements::openReadCursor(const QString& database) {
    return QStringLiteral("DECLARE qormin_speedtest CURSOR GLOBAL DYNAMIC READ_ONLY FOR ") +
           readRows(database) + QStringLiteral("\r\nOPEN qormin_speedtest");
}

QString SpeedTestStatements::fetchReadCursor() {
    return QStringLiteral("FETCH NEXT FROM qormin_speedtest");
}

QString SpeedTestStatements::closeReadCursor() {
    return QStringLiteral("CLOSE qormin_speedtest\r\nDEALLOCATE qormin_speedtest");
}

QDate SpeedTestStatements::firstDate() {
    return {1995, 9, 9};
}

QString SpeedTestStatements::dateText(const QDate& date) {
    return date.toString(QStringLiteral("yyyyMMdd"));
}

} // namespace qormin::sqltools
