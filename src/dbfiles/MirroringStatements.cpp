#include "dbfiles/MirroringStatements.h"

#include "db/SecretMask.h"
#include "platform/BuiltInSecrets.h"

namespace qormin::dbfiles {

namespace {

// Every line ends with CR LF, the last one too: the script routine splits at "GO" + CR LF, so a
// final "GO" without its line end would be sent as part of the last batch.
QString crlfLines(std::initializer_list<const char*> lines) {
    QString text;
    for (const char* line : lines)
        text += QString::fromLatin1(line) + QStringLiteral("\r\n");
    return text;
}

QString resetScript() {
    return crlfLines({"drop endpoint Endpoint_Mirroring", "go", "drop certificate mirroring", "go",
                      "drop certificate mirroringB", "go", "drop MASTER KEY ", "go", " ", "",
                      "drop login mirroring", "go", "drop USER mirroring", "go", "", "drop login mirroringB",
                      "go", "drop USER mirroringB", "go"});
}

QString leftSetUpScript() {
    return crlfLines({"--On the master database, create the database master key, if needed",
                      "CREATE MASTER KEY ENCRYPTION BY PASSWORD = 'harbor@579';",
                      "GO",
                      "USE master;",
                      "GO",
                      "-- Make a certificate for this server instance.",
                      "CREATE CERTIFICATE Mirroring",
                      "WITH SUBJECT = 'SERVER1 Certificate';",
                      "GO",
                      "--Create a mirroring endpoint for server instance by using the certificate",
                      "CREATE ENDPOINT Endpoint_Mirroring",
                      "STATE = STARTED",
                      "AS TCP (",
                      "LISTENER_PORT=5024",
                      ", LISTENER_IP = ALL",
                      ") ",
                      "FOR DATABASE_MIRRORING ( ",
                      "AUTHENTICATION = CERTIFICATE Mirroring",
                      ", ENCRYPTION = REQUIRED ALGORITHM RC4",
                      ", ROLE = ALL",
                      ");",
                      "GO",
                      "--Back up the HOST_A certificate.",
                      "BACKUP CERTIFICATE Mirroring  TO FILE = 'p:\\backup\\MIR\\SERVER1.cer';",
                      "GO",
                      "--Create a login on HOST_A for HOST_B",
                      "CREATE LOGIN mirroring WITH PASSWORD = 'harbor@579';",
                      "GO",
                      "--Create a user for that login.",
                      "CREATE USER mirroring FOR LOGIN mirroring;",
                      "GO",
                      "--Grant CONNECT permission on the login for the remote mirroring endpoint.",
                      "GRANT CONNECT ON ENDPOINT::Endpoint_Mirroring TO mirroring;",
                      "GO"});
}

// The two left scripts mirrored: this server's certificate is mirroringB, it imports SERVER1.cer.
QString rightSetUpScript() {
    return crlfLines({"--On the master database, create the database master key, if needed",
                      "CREATE MASTER KEY ENCRYPTION BY PASSWORD = 'harbor@579';",
                      "GO",
                      "USE master;",
                      "GO",
                      "-- Make a certificate for this server instance.",
                      "CREATE CERTIFICATE mirroringB",
                      "WITH SUBJECT = 'SERVER2 Certificate';",
                      "GO",
                      "--Create a mirroring endpoint for server instance by using the certificate",
                      "CREATE ENDPOINT Endpoint_Mirroring",
                      "STATE = STARTED",
                      "AS TCP (",
                      "LISTENER_PORT=5024",
                      ", LISTENER_IP = ALL",
                      ") ",
                      "FOR DATABASE_MIRRORING ( ",
                      "AUTHENTICATION = CERTIFICATE mirroringB",
                      ", ENCRYPTION = REQUIRED ALGORITHM RC4",
                      ", ROLE = ALL",
                      ");",
                      "GO",
                      "--Back up the HOST_B certificate.",
                      "BACKUP CERTIFICATE mirroringB TO FILE = 'P:\\backup\\MIR\\SERVER2.cer';",
                      "GO",
                      "--Create a login on HOST_B for HOST_A",
                      "CREATE LOGIN mirroring WITH PASSWORD = 'harbor@579';",
                      "GO",
                      "--Create a user for that login.",
                      "CREATE USER mirroring FOR LOGIN mirroring;",
                      "GO",
                      "--Associate the certificate with the user do not use a network path, SQL Server will "
                      "give an error about the key not being valid",
                      "CREATE CERTIFICATE mirroring",
                      "AUTHORIZATION mirroring",
                      "FROM FILE = 'P:\\BACKUP\\MIR\\SERVER1.cer' ",
                      "GO",
                      "--Grant CONNECT permission on the login for the remote mirroring endpoint.",
                      "GRANT CONNECT ON ENDPOINT::Endpoint_Mirroring TO mirroring;",
                      "GO"});
}

QString leftSecondScript() {
    return crlfLines({"USE master;", "GO", "CREATE LOGIN mirroringB WITH PASSWORD = 'harbor@579';", "GO",
                      "CREATE USER mirroringB FOR LOGIN mirroringB;", "GO",
                      "--Associate the certificate with the user do not use a network path, SQL Server will "
                      "give an error about the key not being valid",
                      "CREATE CERTIFICATE mirroringB", "AUTHORIZATION mirroringB",
                      "FROM FILE = 'p:\\BACKUP\\mir\\SERVER2.cer'", "GO",
                      "GRANT CONNECT ON ENDPOINT::Endpoint_Mirroring TO mirroringB;", "GO"});
}

QString restartScript() {
    return crlfLines({"ALTER ENDPOINT Endpoint_Mirroring STATE=STOPPED", "GO", "",
                      "ALTER ENDPOINT Endpoint_Mirroring STATE=STARTED", "GO"});
}

} // namespace

QStringList MirroringStatements::setPartner(const QString& database, const QString& partnerServer) {
    return {QStringLiteral("ALTER DATABASE [") + database + QStringLiteral("] SET PARTNER = 'TCP://") +
                partnerServer + QStringLiteral(":5024'  "),
            QStringLiteral("ALTER DATABASE [") + database + QStringLiteral("] SET SAFETY OFF  ")};
}

QStringList MirroringStatements::makeOnline(const QString& database) {
    return {QStringLiteral("ALTER DATABASE ") + database + QStringLiteral(" SET PARTNER OFF "),
            QStringLiteral("RESTORE DATABASE ") + database + QStringLiteral(" WITH RECOVERY  "),
            QStringLiteral("ALTER DATABASE ") + database + QStringLiteral(" SET RECOVERY FULL")};
}

QString MirroringStatements::defaultScript(int index) {
    switch (index) {
    case 0:
        return resetScript();
    case 1:
        return leftSetUpScript();
    case 2:
        return rightSetUpScript();
    case 3:
        return leftSecondScript();
    case 4:
        return restartScript();
    default:
        return QString();
    }
}

QString MirroringStatements::shownScript(int index) {
    const auto quoted = [](const QString& text) { return u'\'' + text + u'\''; };
    return defaultScript(index).replace(quoted(platform::builtInSecretDefault()),
                                        quoted(QString::fromLatin1(db::secretMaskText)));
}

QString MirroringStatements::withPasswords(const QString& script, const QString& masterKey,
                                           const QString& login) {
    const auto quoted = [](QString text) {
        return u'\'' + text.replace(QStringLiteral("'"), QStringLiteral("''")) + u'\'';
    };
    const QString mask = u'\'' + QString::fromLatin1(db::secretMaskText) + u'\'';
    const QString key = QStringLiteral("BY PASSWORD = ");
    const QString logins = QStringLiteral("WITH PASSWORD = ");
    QString filled = script;
    filled.replace(key + mask, key + quoted(masterKey), Qt::CaseInsensitive);
    filled.replace(logins + mask, logins + quoted(login), Qt::CaseInsensitive);
    return filled;
}

// The trailing blank of each path is how the copies have always been written; the file system
// drops it.
std::optional<CopyOrder> MirroringStatements::certificateCopy(int index) {
    if (index == 0)
        return CopyOrder{QStringLiteral("x:\\MIR\\SERVER1.cer "), QStringLiteral("y:\\MIR\\SERVER1.cer ")};
    if (index == 1)
        return CopyOrder{QStringLiteral("y:\\MIR\\SERVER2.cer "), QStringLiteral("x:\\MIR\\SERVER2.cer ")};
    return std::nullopt;
}

} // namespace qormin::dbfiles
