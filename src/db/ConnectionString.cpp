#include "db/ConnectionString.h"

#include <QRegularExpression>
#include <QStringList>

namespace qormin::db {

namespace {

struct ProviderSettings {
    QString provider;
    QString server;
    QString user;
    QString password;
    QString database;
    bool hasUser = false;
    bool hasPassword = false;
    bool hasDatabase = false;
};

const QString formatError =
    QStringLiteral("Format of the initialization string does not conform to the OLE DB specification.");
const QString providerError = QStringLiteral("Provider cannot be found. It may not be properly installed.");

bool isOneOf(const QString& key, std::initializer_list<const char*> names) {
    for (const char* name : names) {
        if (key.compare(QLatin1String(name), Qt::CaseInsensitive) == 0) {
            return true;
        }
    }
    return false;
}

// Returns false for a segment without "=" (the provider refuses the whole string then).
bool applySegment(const QString& segment, ProviderSettings& settings) {
    if (segment.trimmed().isEmpty()) {
        return true;
    }
    const qsizetype equals = segment.indexOf(QLatin1Char('='));
    if (equals < 0) {
        return false;
    }
    const QString key = segment.left(equals).trimmed();
    // The provider the string was written for trims blanks around unquoted values, so
    // "Database=MASTER " asks for MASTER; a server that compares names exactly needs the same.
    const QString value = segment.mid(equals + 1).trimmed();
    if (isOneOf(key, {"Provider"})) {
        settings.provider = value;
    } else if (isOneOf(key, {"Server", "Data Source", "Address", "Addr", "Network Address"})) {
        settings.server = value;
    } else if (isOneOf(key, {"UID", "User ID"})) {
        settings.user = value;
        settings.hasUser = true;
    } else if (isOneOf(key, {"Password", "PWD"})) {
        settings.password = value;
        settings.hasPassword = true;
    } else if (isOneOf(key, {"Database", "Initial Catalog"})) {
        settings.database = value;
        settings.hasDatabase = true;
    }
    return true;
}

bool isKnownProvider(const QString& provider) {
    return provider.isEmpty() || isOneOf(provider, {"SQLOLEDB", "SQLOLEDB.1", "SQLNCLI", "SQLNCLI10",
                                                    "SQLNCLI11", "MSOLEDBSQL", "MSOLEDBSQL19"});
}

// ODBC values with characters that would end or confuse the pair go in braces ("}" doubled).
QString odbcValue(const QString& value) {
    static const QString special = QStringLiteral(";{}=");
    bool needsBraces = false;
    for (const QChar character : value) {
        needsBraces = needsBraces || special.contains(character);
    }
    if (!needsBraces) {
        return value;
    }
    QString braced = value;
    braced.replace(QLatin1Char('}'), QLatin1String("}}"));
    return QLatin1Char('{') + braced + QLatin1Char('}');
}

void appendPair(QString& text, const QString& key, const QString& value) {
    text += key + QLatin1Char('=') + odbcValue(value) + QLatin1Char(';');
}

struct FreeTdsAddress {
    QString host; // a named instance stays here ("host\instance"): FreeTDS asks the browser for its port
    QString port;
};

// FreeTDS takes the port separately.
FreeTdsAddress freeTdsAddress(QString server) {
    if (server.startsWith(QLatin1String("tcp:"), Qt::CaseInsensitive)) {
        server = server.mid(4);
    }
    QString port;
    const qsizetype comma = server.indexOf(QLatin1Char(','));
    if (comma >= 0) {
        port = server.mid(comma + 1).trimmed();
        server = server.left(comma);
    }
    if (server.trimmed() == QLatin1String(".") ||
        server.trimmed().compare(QLatin1String("(local)"), Qt::CaseInsensitive) == 0) {
        server = QStringLiteral("localhost");
    }
    return {server, port};
}

void appendFreeTdsServer(QString& text, const QString& server) {
    const FreeTdsAddress address = freeTdsAddress(server);
    appendPair(text, QStringLiteral("Server"), address.host);
    if (!address.port.isEmpty()) {
        appendPair(text, QStringLiteral("Port"), address.port);
    }
}

const QString caFileWithMicrosoftDriver = QStringLiteral(
    "The Microsoft ODBC driver checks the server's certificate against the system's trust store only: add "
    "the CA there and leave the CA file empty.");
const QString certificateHostWithFreeTds = QStringLiteral(
    "FreeTDS checks the server's certificate against the server's name as typed: type the name the "
    "certificate carries as the server, or leave the certificate name empty.");
const QString lineBreakInSetting =
    QStringLiteral("A server name or CA file with a line break cannot be used for an encrypted connection.");

QString freeTdsSection(const QString& name, const QString& server, const ConnectionSecurity& security) {
    FreeTdsAddress address = freeTdsAddress(server);
    QString instance;
    const qsizetype backslash = address.host.indexOf(QLatin1Char('\\'));
    if (backslash >= 0) {
        instance = address.host.mid(backslash + 1);
        address.host = address.host.left(backslash);
    }
    QString section = QLatin1Char('[') + name + QStringLiteral("]\n\thost = ") + address.host + u'\n';
    if (!address.port.isEmpty()) {
        section += QStringLiteral("\tport = ") + address.port + u'\n';
    }
    if (!instance.isEmpty()) {
        section += QStringLiteral("\tinstance = ") + instance + u'\n';
    }
    // "system" is FreeTDS's word for the system's trust store; without a CA file it checks nothing.
    section += QStringLiteral("\tencryption = require\n\tca file = ") +
               (security.caFile.isEmpty() ? QStringLiteral("system") : security.caFile) +
               QStringLiteral("\n\tcheck certificate hostname = yes\n");
    return section;
}

QString freeTdsEncryption(Encryption encryption) {
    switch (encryption) {
    case Encryption::Off:
        return QStringLiteral("Encryption=off;");
    case Encryption::Required:
        return QStringLiteral("Encryption=require;");
    case Encryption::WhenOffered:
        break;
    }
    return {};
}

QString sqlServerEncryption(const ConnectionSecurity& security, const QString& driver) {
    switch (security.encryption) {
    case Encryption::Off:
        return QStringLiteral("Encrypt=no;");
    case Encryption::Required: {
        QString text = QStringLiteral("Encrypt=yes;TrustServerCertificate=no;");
        if (!security.certificateHost.isEmpty()) {
            appendPair(text, QStringLiteral("HostNameInCertificate"), security.certificateHost);
        }
        return text;
    }
    case Encryption::WhenOffered:
        break;
    }
    // The old provider never encrypted; driver 18 would refuse a server without a trusted certificate.
    return driver.contains(QLatin1String("Driver 18"), Qt::CaseInsensitive)
               ? QStringLiteral("Encrypt=Optional;")
               : QString();
}

QString securityError(DriverKind kind, const QString& server, const ConnectionSecurity& security) {
    if (security.encryption != Encryption::Required) {
        return {};
    }
    if (kind == DriverKind::SqlServer) {
        return security.caFile.isEmpty() ? QString() : caFileWithMicrosoftDriver;
    }
    if (!security.certificateHost.isEmpty()) {
        return certificateHostWithFreeTds;
    }
    // FreeTDS reads its configuration file line by line, so a value must stay on its line.
    const auto hasLineBreak = [](const QString& text) {
        return text.contains(QLatin1Char('\n')) || text.contains(QLatin1Char('\r'));
    };
    return hasLineBreak(server) || hasLineBreak(security.caFile) ? lineBreakInSetting : QString();
}

} // namespace

QString buildConnectionString(const QString& server, const QString& user, const QString& password) {
    return QStringLiteral("Provider=SQLOLEDB;Persist Security Info=True;Server=") + server +
           QStringLiteral(";UID=") + user + QStringLiteral(";Database=MASTER ") +
           QStringLiteral(";Password=") + password;
}

// Provider strings end a value at the next ";"; ODBC strings may brace it ("}" doubled inside).
QString withoutPassword(const QString& connectionString) {
    static const QRegularExpression password(
        QStringLiteral("((?:^|;)\\s*(?:PWD|Password)\\s*=)(\\{(?:[^}]|\\}\\})*\\}|[^;]*)"),
        QRegularExpression::CaseInsensitiveOption);
    QString shown = connectionString;
    return shown.replace(password, QStringLiteral("\\1********"));
}

DriverKind driverKindOf(const QString& driver) {
    return driver.contains(QLatin1String("tds"), Qt::CaseInsensitive) ? DriverKind::FreeTds
                                                                      : DriverKind::SqlServer;
}

OdbcConnectionText translateConnectionString(const QString& providerString, const QString& driver,
                                             const ConnectionSecurity& security,
                                             const QString& freeTdsSectionName) {
    ProviderSettings settings;
    const QStringList segments = providerString.split(QLatin1Char(';'));
    for (const QString& segment : segments) {
        if (!applySegment(segment, settings)) {
            return {QString(), formatError, QString()};
        }
    }
    if (!isKnownProvider(settings.provider)) {
        return {QString(), providerError, QString()};
    }
    const DriverKind kind = driverKindOf(driver);
    const QString refusal = securityError(kind, settings.server, security);
    if (!refusal.isEmpty()) {
        return {QString(), refusal, QString()};
    }
    OdbcConnectionText translated;
    QString& text = translated.text;
    text = QStringLiteral("Driver={") + QString(driver).replace(QLatin1Char('}'), QLatin1String("}}")) +
           QStringLiteral("};");
    const bool verifiedByFreeTds = kind == DriverKind::FreeTds && security.encryption == Encryption::Required;
    if (verifiedByFreeTds) {
        translated.freeTdsSection = freeTdsSection(freeTdsSectionName, settings.server, security);
        appendPair(text, QStringLiteral("Servername"), freeTdsSectionName);
    } else if (kind == DriverKind::FreeTds) {
        appendFreeTdsServer(text, settings.server);
    } else {
        appendPair(text, QStringLiteral("Server"), settings.server);
    }
    if (settings.hasUser) {
        appendPair(text, QStringLiteral("UID"), settings.user);
    }
    if (settings.hasPassword) {
        appendPair(text, QStringLiteral("PWD"), settings.password);
    }
    if (settings.hasDatabase) {
        appendPair(text, QStringLiteral("Database"), settings.database);
    }
    if (kind == DriverKind::FreeTds) {
        text +=
            freeTdsEncryption(security.encryption) + QStringLiteral("TDS_Version=7.4;ClientCharset=UTF-8;");
    } else {
        text += sqlServerEncryption(security, driver);
    }
    return translated;
}

} // namespace qormin::db
