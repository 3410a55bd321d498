#include "db/ConnectionString.h"
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
    const auto translated = translateConnectionString(provider, QString::fromUtf8(c.driver));
    EXPECT_EQ(translated.text, expected);
    EXPECT_EQ(translated.error, QString::fromUtf8(c.error));
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
};

INSTANTIATE_TEST_SUITE_P(Cases, ConnectionTranslationTest, ::testing::ValuesIn(translationCases),
                         qormin::test::RowName());

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
