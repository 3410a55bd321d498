#include "db/ConnectionString.h"
#include "db/ConnectionSecurity.h"
#include "db/DriverLocator.h"

#include "QStringPrinter.h"
#include "RowName.h"

#include <gtest/gtest.h>

namespace {

using qormin::test::PrintTo;

using qormin::db::buildConnectionString;
using qormin::db::translateConnectionString;

TEST(ConnectionStringTest, buildKeepsTheTextsAsTypedAndTheBlankAfterMaster) {
    EXPECT_EQ(
        buildConnectionString(QStringLiteral(" srv\\inst "), QStringLiteral("sa "), QStringLiteral("p;w d")),
        QStringLiteral(
            "Provider=SQLOLEDB;Persist Security Info=True;Server= srv\\inst ;UID=sa ;Database=MASTER "
            ";Password=p;w d"));
}

struct TranslationCase {
    const char* name;
    const char* provider; // a whole provider string, or "server|user|password" to build one
    const char* driver;
    const char* odbc; // expected text; FreeTDS strings end in freeTdsTail
    const char* error;
    const char* security = ""; // "encryption|CA file|certificate name", empty: the default
    const char* freeTdsSection = "";
};

constexpr const char* freeTdsTail = "TDS_Version=7.4;ClientCharset=UTF-8;";

class ConnectionTranslationTest : public ::testing::TestWithParam<TranslationCase> {};

TEST_P(ConnectionTranslationTest, translatesTheProviderStringForTheDriver) {
    const auto& c = GetParam();
    QString provider = QString::fromUtf8(c.provider);
    const QStringList parts = provider.split(u'|');
    if (parts.size() == 3) {
        provider = buildConnectionString(parts[0], parts[1], parts[2]);
    }
    QString expected = QString::fromUtf8(c.odbc);
    if (!expected.isEmpty() &&
        QString::fromUtf8(c.driver).contains(QLatin1String("tds"), Qt::CaseInsensitive)) {
        expected += QLatin1String(freeTdsTail);
    }
    const QStringList security = QString::fromUtf8(c.security).split(u'|');
    const qormin::db::ConnectionSecurity chosen{qormin::db::encryptionFromSettingText(security.value(0)),
                                                security.value(1), security.value(2)};
    const auto translated = translateConnectionString(provider, QString::fromUtf8(c.driver), chosen,
                                                      QStringLiteral("qormin-left"));
    EXPECT_EQ(translated.text, expected);
    EXPECT_EQ(translated.error, QString::fromUtf8(c.error));
    EXPECT_EQ(translated.freeTdsSection, QString::fromUtf8(c.freeTdsSection));
}

constexpr const char* libraryPath = "/usr/lib/x86_64-linux-gnu/odbc/libtdsodbc.so";

const TranslationCase translationCases[] = {
    {"hostAlone", "db1|sa|pw", "FreeTDS", "Driver={FreeTDS};Server=db1;UID=sa;PWD=pw;Database=MASTER;", ""},
    {"hostAndPortBecomeServerAndPort", "127.0.0.1,14330|sa|pw", "FreeTDS",
     "Driver={FreeTDS};Server=127.0.0.1;Port=14330;UID=sa;PWD=pw;Database=MASTER;", ""},
    {"namedInstanceStaysInServer", "HOST\\SQL2019|sa|pw", "FreeTDS",
     "Driver={FreeTDS};Server=HOST\\SQL2019;UID=sa;PWD=pw;Database=MASTER;", ""},
    {"tcpPrefixAndLocalDot", "tcp:.,1433|sa|pw", "FreeTDS",
     "Driver={FreeTDS};Server=localhost;Port=1433;UID=sa;PWD=pw;Database=MASTER;", ""},
    {"passwordWithSemicolonAndEqualsCutsTheValue", "db1|sa|ab;Timeout=1", "FreeTDS",
     "Driver={FreeTDS};Server=db1;UID=sa;PWD=ab;Database=MASTER;", ""},
    {"passwordWithSemicolonAloneIsRefused", "db1|sa|ab;cd", "FreeTDS", "",
     "Format of the initialization string does not conform to the OLE DB specification."},
    {"bracesAreQuotedForOdbcAndBlanksAroundValuesTrimmed", "db1 | sa |p}w{ ", "FreeTDS",
     "Driver={FreeTDS};Server=db1;UID=sa;PWD={p}}w{};Database=MASTER;", ""},
    {"emptyUserAndPasswordStay", "db1||", "FreeTDS", "Driver={FreeTDS};Server=db1;UID=;PWD=;Database=MASTER;",
     ""},
    {"libraryPathCountsAsFreeTds", "db1|sa|pw", libraryPath,
     "Driver={/usr/lib/x86_64-linux-gnu/odbc/libtdsodbc.so};Server=db1;UID=sa;PWD=pw;Database=MASTER;", ""},
    {"sqlServerDriverTakesServerAsItIs", "host,1433|sa|pw", "ODBC Driver 17 for SQL Server",
     "Driver={ODBC Driver 17 for SQL Server};Server=host,1433;UID=sa;PWD=pw;Database=MASTER;", ""},
    {"driver18DoesNotForceEncryption", "host|sa|pw", "ODBC Driver 18 for SQL Server",
     "Driver={ODBC Driver 18 for SQL Server};Server=host;UID=sa;PWD=pw;Database=MASTER;Encrypt=Optional;",
     ""},
    {"keysAreReadInAnyCaseUnderTheirSynonymsAndUnknownOnesIgnored",
     "provider=sqloledb; data source=h;User ID=u;pwd=p;Initial Catalog=db;Foo=bar;", "FreeTDS",
     "Driver={FreeTDS};Server=h;UID=u;PWD=p;Database=db;", ""},
    {"otherProviderIsRefused", "Provider=Microsoft.Jet.OLEDB.4.0;Data Source=x.mdb", "FreeTDS", "",
     "Provider cannot be found. It may not be properly installed."},
    {"emptySegmentsAreSkipped", ";;Server=h;;", "FreeTDS", "Driver={FreeTDS};Server=h;", ""},
    {"offTellsFreeTdsNotToEncrypt", "db1,1433|sa|pw", "FreeTDS",
     "Driver={FreeTDS};Server=db1;Port=1433;UID=sa;PWD=pw;Database=MASTER;Encryption=off;", "", "off"},
    // FreeTDS takes the CA file and the host name check from its configuration file only.
    {"requiredWithFreeTdsNamesASectionThatChecksTheCertificate", "db1,1433|sa|pw", "FreeTDS",
     "Driver={FreeTDS};Servername=qormin-left;UID=sa;PWD=pw;Database=MASTER;Encryption=require;", "",
     "required|/etc/qormin/ca.pem",
     "[qormin-left]\n\thost = db1\n\tport = 1433\n\tencryption = require\n\tca file = /etc/qormin/ca.pem\n"
     "\tcheck certificate hostname = yes\n"},
    {"requiredWithFreeTdsWithoutCaFileUsesTheSystemStore", "HOST\\SQL2019|sa|pw", "FreeTDS",
     "Driver={FreeTDS};Servername=qormin-left;UID=sa;PWD=pw;Database=MASTER;Encryption=require;", "",
     "required",
     "[qormin-left]\n\thost = HOST\n\tinstance = SQL2019\n\tencryption = require\n\tca file = system\n"
     "\tcheck certificate hostname = yes\n"},
    {"requiredWithFreeTdsCannotCheckAnotherName", "db1|sa|pw", "FreeTDS", "",
     "FreeTDS checks the server's certificate against the server's name as typed: type the name the "
     "certificate carries as the server, or leave the certificate name empty.",
     "required||db1.hospital.example"},
    {"offWithDriver18", "host|sa|pw", "ODBC Driver 18 for SQL Server",
     "Driver={ODBC Driver 18 for SQL Server};Server=host;UID=sa;PWD=pw;Database=MASTER;Encrypt=no;", "",
     "off"},
    {"requiredWithMicrosoftDriverTrustsNoUncheckedCertificate", "10.0.0.5|sa|pw",
     "ODBC Driver 18 for SQL Server",
     "Driver={ODBC Driver 18 for SQL Server};Server=10.0.0.5;UID=sa;PWD=pw;Database=MASTER;Encrypt=yes;"
     "TrustServerCertificate=no;HostNameInCertificate=db1.hospital.example;",
     "", "required||db1.hospital.example"},
    {"requiredWithMicrosoftDriverHasNoCaFile", "host|sa|pw", "ODBC Driver 17 for SQL Server", "",
     "The Microsoft ODBC driver checks the server's certificate against the system's trust store only: add "
     "the CA there and leave the CA file empty.",
     "required|/etc/qormin/ca.pem"},
};

INSTANTIATE_TEST_SUITE_P(Cases, ConnectionTranslationTest, ::testing::ValuesIn(translationCases),
                         qormin::test::RowName());

// A probe asks the same server with less checked, and never with the operator's credentials.
TEST(ConnectionSecurityTest, probesSendNoPasswordAndLoosenOneCheck) {
    using qormin::db::Probe;
    const qormin::db::ConnectionSecurity security{
        qormin::db::Encryption::Required, QStringLiteral("/ca.pem"), {}};
    const QString provider =
        buildConnectionString(QStringLiteral("db1,1433"), QStringLiteral("sa"), QStringLiteral("s3cret"));
    const auto hostUnchecked = qormin::db::probeConnectionString(
        provider, QStringLiteral("FreeTDS"), security, QStringLiteral("p"), Probe::WithoutHostCheck);
    const auto unverified = qormin::db::probeConnectionString(
        provider, QStringLiteral("FreeTDS"), security, QStringLiteral("p"), Probe::WithoutVerification);
    for (const auto& probe : {hostUnchecked, unverified}) {
        EXPECT_EQ(probe.text,
                  QStringLiteral("Driver={FreeTDS};Servername=p;UID=qormin-probe;PWD=;Database=MASTER;"
                                 "Encryption=require;TDS_Version=7.4;ClientCharset=UTF-8;"));
    }
    EXPECT_EQ(hostUnchecked.freeTdsSection,
              QStringLiteral("[p]\n\thost = db1\n\tport = 1433\n\tencryption = require\n"
                             "\tca file = /ca.pem\n\tcheck certificate hostname = no\n"));
    EXPECT_EQ(unverified.freeTdsSection,
              QStringLiteral("[p]\n\thost = db1\n\tport = 1433\n\tencryption = require\n"
                             "\tcheck certificate hostname = yes\n"));
}

// What the drivers say when a connect fails, and what the tool makes of it.
TEST(ConnectionSecurityTest, refusedHandshakeIsToldApartFromOtherFailures) {
    using qormin::db::DriverKind;
    struct Case {
        const char* name;
        DriverKind kind;
        std::vector<std::pair<const char*, const char*>> records; // state, text
        bool refusedHandshake;
        bool serverAnswered;
    };
    const Case cases[] = {
        {"freeTdsHandshake",
         DriverKind::FreeTds,
         {{"S1000", "Unable to connect to data source"}, {"01000", "Adaptive Server connection failed"}},
         true,
         false},
        {"freeTdsLogonRefused",
         DriverKind::FreeTds,
         {{"S1000", "Unable to connect to data source"}, {"28000", "Login failed for user 'sa'."}},
         false,
         true},
        {"freeTdsNoServer",
         DriverKind::FreeTds,
         {{"08001", "Unable to connect: Adaptive Server is unavailable or does not exist"}},
         false,
         false},
        {"microsoftCertificate",
         DriverKind::SqlServer,
         {{"08001",
           "SSL Provider: [error:0A000086:SSL routines::certificate verify failed:unable to get local "
           "issuer certificate]"}},
         true,
         false},
        {"microsoftLogonRefused",
         DriverKind::SqlServer,
         {{"28000", "Login failed for user 'sa'."}},
         false,
         true},
    };
    for (const Case& c : cases) {
        std::vector<qormin::db::OdbcDiagnostic> diagnostics;
        for (const auto& [state, text] : c.records) {
            qormin::db::OdbcDiagnostic record;
            record.sqlState = QString::fromLatin1(state);
            record.text = QString::fromLatin1(text);
            diagnostics.push_back(record);
        }
        EXPECT_EQ(qormin::db::isRefusedHandshake(c.kind, diagnostics), c.refusedHandshake) << c.name;
        EXPECT_EQ(qormin::db::serverAnswered(diagnostics), c.serverAnswered) << c.name;
    }
}

TEST(ConnectionSecurityTest, refusalNamesSideServerAndTheReasonTheProbesFound) {
    using Answer = qormin::db::HandshakeProbes::Answer;
    using qormin::db::DriverKind;
    const qormin::db::ConnectionSecurity withCa{
        qormin::db::Encryption::Required, QStringLiteral("/ca.pem"), {}};
    const qormin::db::ConnectionSecurity systemStore{qormin::db::Encryption::Required, {}, {}};
    struct Case {
        qormin::db::ConnectionSecurity security;
        DriverKind kind;
        qormin::db::HandshakeProbes probes;
        const char* reason;
    };
    const Case cases[] = {
        {withCa,
         DriverKind::FreeTds,
         {Answer::ServerAnswered, Answer::NotRun},
         "the server's certificate does not carry the name 127.0.0.1"},
        {withCa,
         DriverKind::FreeTds,
         {Answer::Refused, Answer::ServerAnswered},
         "the server's certificate is not signed by the CA in /ca.pem"},
        {systemStore,
         DriverKind::FreeTds,
         {Answer::Refused, Answer::ServerAnswered},
         "the server's certificate is not signed by a CA of the system's trust store"},
        {withCa,
         DriverKind::FreeTds,
         {Answer::Refused, Answer::Refused},
         "the server offers no encryption or ended the handshake (driver text)"},
        {systemStore, DriverKind::SqlServer, {}, "driver text"},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(qormin::db::refusedEncryptionText(1, QStringLiteral("tcp:127.0.0.1,1433"), c.security,
                                                    c.kind, QStringLiteral("driver text"), c.probes),
                  QStringLiteral("Encrypted connection to the right server tcp:127.0.0.1,1433 refused: ") +
                      QString::fromLatin1(c.reason));
    }
}

// What is shown of a connection string keeps everything but the password's value, however the
// string spells or quotes it.
TEST(ConnectionStringTest, passwordIsNeverShown) {
    const std::pair<const char*, const char*> cases[] = {
        {"Provider=SQLOLEDB;Persist Security Info=True;Server=h;UID=sa;Database=MASTER ;Password=pw1",
         "Provider=SQLOLEDB;Persist Security Info=True;Server=h;UID=sa;Database=MASTER ;Password=********"},
        {"Driver={FreeTDS};Server=h;UID=sa;PWD={p}}w;1};Database=MASTER;TDS_Version=7.4;",
         "Driver={FreeTDS};Server=h;UID=sa;PWD=********;Database=MASTER;TDS_Version=7.4;"},
        {"pwd = a=b; password=;Server=h", "pwd =********; password=********;Server=h"},
        {"Server=h;UID=PWD", "Server=h;UID=PWD"},
    };
    for (const auto& [text, shown] : cases)
        EXPECT_EQ(qormin::db::withoutPassword(QString::fromLatin1(text)), QString::fromLatin1(shown)) << text;
}

TEST(DriverLocatorTest, choosesTheRegisteredFreeTdsDriverElseTheLibrary) {
#ifndef Q_OS_WIN
    using qormin::db::DriverLocator;
    EXPECT_EQ(DriverLocator::choose({QStringLiteral("PostgreSQL"), QStringLiteral("FreeTDS 1.3")}),
              QStringLiteral("FreeTDS 1.3"));
    EXPECT_EQ(DriverLocator::choose({QStringLiteral("PostgreSQL")}), DriverLocator::fallbackLibrary());
#endif
}

} // namespace
