#include "QStringPrinter.h"
#include "RowName.h"

#include "db/SecretMask.h"

#include <gtest/gtest.h>

namespace {

using qormin::test::PrintTo;

using qormin::db::maskSecrets;

struct MaskCase {
    const char* name;
    const char* text;
    const char* masked;
};

class SecretMaskTest : public testing::TestWithParam<MaskCase> {
protected:
    void SetUp() override {
        qormin::db::setKnownSecret(QStringLiteral("txtPW0"), QStringLiteral("s3cret!"));
        qormin::db::setKnownSecret(QStringLiteral("txtPW1"), QStringLiteral("sa1"));
    }
    void TearDown() override {
        qormin::db::setKnownSecret(QStringLiteral("txtPW0"), QString());
        qormin::db::setKnownSecret(QStringLiteral("txtPW1"), QString());
    }
};

TEST_P(SecretMaskTest, hidesEveryPasswordAndNothingElse) {
    EXPECT_EQ(maskSecrets(QString::fromUtf8(GetParam().text)), QString::fromUtf8(GetParam().masked));
}

const MaskCase maskCases[] = {
    {"masterKeyLiteral", "CREATE MASTER KEY ENCRYPTION BY PASSWORD = 'harbor@579';",
     "CREATE MASTER KEY ENCRYPTION BY PASSWORD = '********';"},
    {"loginLiteralWithDoubledQuoteAndUnicode", "CREATE LOGIN m WITH password=N'it''s';GO",
     "CREATE LOGIN m WITH password=N'********';GO"},
    {"connectionString", "Server=a;UID=sa;Database=MASTER;Password=harbor@579",
     "Server=a;UID=sa;Database=MASTER;Password=********"},
    {"bracedOdbcValue", "SERVER=a;PWD={x;y}};z};APP=q", "SERVER=a;PWD=********;APP=q"},
    {"knownValueAnywhere", "Login failed, tried s3cret! twice", "Login failed, tried ******** twice"},
    {"variableIsNoPassword", "SET @password = @new", "SET @password = @new"},
    {"alreadyMaskedStaysSo", "PASSWORD = '********'", "PASSWORD = '********'"},
    {"shortKnownValueWouldBlankOutWords", "USE sa1db", "USE sa1db"},
    {"plainStatement", "BACKUP DATABASE Billing TO DISK = 'p:\\x.BAK'",
     "BACKUP DATABASE Billing TO DISK = 'p:\\x.BAK'"},
};

INSTANTIATE_TEST_SUITE_P(Texts, SecretMaskTest, testing::ValuesIn(maskCases), qormin::test::RowName());

} // namespace
