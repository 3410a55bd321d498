#include "db/ConnectionString.h"
#include "db/DriverLocator.h"

#include "QStringPrinter.h"

#include <gtest/gtest.h>

namespace {

using qormin::db::buildConnectionString;
using qormin::db::translateConnectionString;

TEST(ConnectionStringTest, buildKeepsTheTextsAsTypedAndTheBlankAfterMaster) {
    EXPECT_EQ(
        buildConnectionString(QStringLiteral(" srv\\inst "), QStringLiteral("sa "), QStringLiteral("p;w d")),
        QStringLiteral(
            "Provider=SQLOLEDB;Persist Security Info=True;Server= srv\\inst ;UID=sa ;Database=MASTER "
            ";Password=p;w d"));
    EXPECT_EQ(buildConnectionString({}, {}, {}),
              QStringLiteral(
                  "Provider=SQLOLEDB;Persist Security Info=True;Server=;UID=;Database=MASTER ;Password="));
}

struct TranslationCase {
    const char* name;
    const char* server;
    const char* user;
    const char* password;
    const char* driver;
    const char* odbc;  // expected ODBC text, or "" when the string is refused
    const char* error; // expected refusal, or ""
};

class ConnectionTranslationTest : public ::testing::TestWithParam<TranslationCase> {};

TEST_P(ConnectionTranslationTest, translatesTheProviderStringForTheDriver) {
    const auto& c = GetParam();
    const QString provider = buildConnectionString(QString::fromUtf8(c.server), QString::fromUtf8(c.user),
                                                   QString::fromUtf8(c.password));
    const auto translated = translateConnectionString(provider, QString::fromUtf8(c.driver));
    EXPECT_EQ(translated.text, QString::fromUtf8(c.odbc));
    EXPECT_EQ(translated.error, QString::fromUtf8(c.error));
}

constexpr const char* formatError =
    "Format of the initialization string does not conform to the OLE DB specification.";
constexpr const char* tail = "Database={MASTER };TDS_Version=7.4;ClientCharset=UTF-8;";

INSTANTIATE_TEST_SUITE_P(
    Cases, ConnectionTranslationTest,
    ::testing::Values(
        TranslationCase{"hostAlone", "db1", "sa", "pw", "FreeTDS",
                        "Driver={FreeTDS};Server=db1;UID=sa;PWD=pw;Database={MASTER "
                        "};TDS_Version=7.4;ClientCharset=UTF-8;",
                        ""},
        TranslationCase{
            "hostAndPortBecomeServerAndPort", "127.0.0.1,14330", "sa", "pw", "FreeTDS",
            "Driver={FreeTDS};Server=127.0.0.1;Port=14330;UID=sa;PWD=pw;Database={MASTER };TDS_Version=7.4;"
            "ClientCharset=UTF-8;",
            ""},
        TranslationCase{
            "namedInstanceStaysInServer", "HOST\\SQL2019", "sa", "pw", "FreeTDS",
            "Driver={FreeTDS};Server=HOST\\SQL2019;UID=sa;PWD=pw;Database={MASTER };TDS_Version=7.4;"
            "ClientCharset=UTF-8;",
            ""},
        TranslationCase{
            "tcpPrefixAndLocalDot", "tcp:.,1433", "sa", "pw", "FreeTDS",
            "Driver={FreeTDS};Server=localhost;Port=1433;UID=sa;PWD=pw;Database={MASTER };TDS_Version=7.4;"
            "ClientCharset=UTF-8;",
            ""},
        TranslationCase{"passwordWithSemicolonAndEqualsCutsTheValue", "db1", "sa", "ab;Timeout=1", "FreeTDS",
                        "Driver={FreeTDS};Server=db1;UID=sa;PWD=ab;Database={MASTER };TDS_Version=7.4;"
                        "ClientCharset=UTF-8;",
                        ""},
        TranslationCase{"passwordWithSemicolonAloneIsRefused", "db1", "sa", "ab;cd", "FreeTDS", "",
                        formatError},
        TranslationCase{
            "bracesAndBlanksAreQuotedForOdbc", "db1", " sa", "p}w{", "FreeTDS",
            "Driver={FreeTDS};Server=db1;UID={ sa};PWD={p}}w{};Database={MASTER };TDS_Version=7.4;"
            "ClientCharset=UTF-8;",
            ""},
        TranslationCase{
            "emptyUserAndPasswordStay", "db1", "", "", "FreeTDS",
            "Driver={FreeTDS};Server=db1;UID=;PWD=;Database={MASTER };TDS_Version=7.4;ClientCharset=UTF-8;",
            ""},
        TranslationCase{"libraryPathCountsAsFreeTds", "db1", "sa", "pw",
                        "/usr/lib/x86_64-linux-gnu/odbc/libtdsodbc.so",
                        "Driver={/usr/lib/x86_64-linux-gnu/odbc/libtdsodbc.so};Server=db1;UID=sa;PWD=pw;"
                        "Database={MASTER };TDS_Version=7.4;ClientCharset=UTF-8;",
                        ""},
        TranslationCase{
            "sqlServerDriverTakesServerAsItIs", "host,1433", "sa", "pw", "ODBC Driver 17 for SQL Server",
            "Driver={ODBC Driver 17 for SQL Server};Server=host,1433;UID=sa;PWD=pw;Database={MASTER };", ""},
        TranslationCase{"driver18DoesNotForceEncryption", "host", "sa", "pw", "ODBC Driver 18 for SQL Server",
                        "Driver={ODBC Driver 18 for SQL Server};Server=host;UID=sa;PWD=pw;Database={MASTER };"
                        "Encrypt=Optional;",
                        ""}),
    [](const auto& testInfo) { return std::string(testInfo.param.name); });

struct RawCase {
    const char* name;
    const char* provider;
    const char* odbc;
    const char* error;
};

class RawTranslationTest : public ::testing::TestWithParam<RawCase> {};

TEST_P(RawTranslationTest, readsKeysCaseInsensitivelyAndIgnoresUnknownOnes) {
    const auto& c = GetParam();
    const auto translated =
        translateConnectionString(QString::fromUtf8(c.provider), QStringLiteral("FreeTDS"));
    EXPECT_EQ(translated.text, QString::fromUtf8(c.odbc));
    EXPECT_EQ(translated.error, QString::fromUtf8(c.error));
}

INSTANTIATE_TEST_SUITE_P(
    Cases, RawTranslationTest,
    ::testing::Values(
        RawCase{"synonymsAndCase",
                "provider=sqloledb; data source=h;User ID=u;pwd=p;Initial Catalog=db;Foo=bar;",
                "Driver={FreeTDS};Server=h;UID=u;PWD=p;Database=db;TDS_Version=7.4;ClientCharset=UTF-8;", ""},
        RawCase{"otherProviderIsRefused", "Provider=Microsoft.Jet.OLEDB.4.0;Data Source=x.mdb", "",
                "Provider cannot be found. It may not be properly installed."},
        RawCase{"emptySegmentsAreSkipped", ";;Server=h;;",
                "Driver={FreeTDS};Server=h;TDS_Version=7.4;ClientCharset=UTF-8;", ""}),
    [](const auto& testInfo) { return std::string(testInfo.param.name); });

TEST(DriverLocatorTest, choosesTheRegisteredFreeTdsDriverElseTheLibrary) {
#ifndef Q_OS_WIN
    EXPECT_EQ(
        qormin::db::DriverLocator::choose({QStringLiteral("PostgreSQL"), QStringLiteral("FreeTDS 1.3")}),
        QStringLiteral("FreeTDS 1.3"));
    EXPECT_EQ(qormin::db::DriverLocator::choose({QStringLiteral("PostgreSQL")}),
              qormin::db::DriverLocator::fallbackLibrary());
#endif
}

} // namespace
