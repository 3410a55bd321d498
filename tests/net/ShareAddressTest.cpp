#include "net/ShareAddress.h"
#include "RowName.h"

#include <gtest/gtest.h>

namespace {

using qormin::test::PrintTo;

using qormin::net::ShareAddress;

struct ParsedCase {
    const char* remoteName;
    const char* server; // nullptr: names no share
    int port = 0;
    const char* share = "";
    const char* folder = "";
    const char* uri = "";
    const char* normalName = "";
};

std::string_view label(const ParsedCase& row) {
    return row.remoteName;
}

class ShareAddressParsesTest : public ::testing::TestWithParam<ParsedCase> {};

TEST_P(ShareAddressParsesTest, readsServerPortShareAndFolder) {
    const ParsedCase& c = GetParam();
    const auto address = ShareAddress::parse(QString::fromUtf8(c.remoteName));
    ASSERT_EQ(address.has_value(), c.server != nullptr);
    if (!address)
        return;
    EXPECT_EQ(address->server(), QString::fromUtf8(c.server));
    EXPECT_EQ(address->port(), c.port);
    EXPECT_EQ(address->share(), QString::fromUtf8(c.share));
    EXPECT_EQ(address->folder(), QString::fromUtf8(c.folder));
    EXPECT_EQ(address->uri(), QString::fromUtf8(c.uri));
    EXPECT_EQ(address->remoteName(), QString::fromUtf8(c.normalName));
}

INSTANTIATE_TEST_SUITE_P(
    Names, ShareAddressParsesTest,
    ::testing::Values(ParsedCase{"\\\\SERVER1\\backup", "SERVER1", 0, "backup", "", "smb://server1/backup",
                                 "\\\\SERVER1\\backup"},
                      ParsedCase{"//db2/backup/", "db2", 0, "backup", "", "smb://db2/backup",
                                 "\\\\db2\\backup"},
                      ParsedCase{"\\\\127.0.0.1:4455\\backup", "127.0.0.1", 4455, "backup", "",
                                 "smb://127.0.0.1:4455/backup", "\\\\127.0.0.1:4455\\backup"},
                      ParsedCase{"\\\\srv\\backup\\MIR\\old", "srv", 0, "backup", "MIR/old",
                                 "smb://srv/backup/MIR/old", "\\\\srv\\backup\\MIR\\old"},
                      ParsedCase{"\\\\srv\\my share", "srv", 0, "my share", "", "smb://srv/my%20share",
                                 "\\\\srv\\my share"},
                      // The SQL Server instance of "SERVER1\SQL2019" becomes the share, as on Windows.
                      ParsedCase{"\\\\SERVER1\\SQL2019\\backup", "SERVER1", 0, "SQL2019", "backup",
                                 "smb://server1/SQL2019/backup", "\\\\SERVER1\\SQL2019\\backup"},
                      ParsedCase{"", nullptr}, ParsedCase{"\\\\", nullptr}, ParsedCase{"\\\\server", nullptr},
                      ParsedCase{"\\\\server\\", nullptr}, ParsedCase{"server\\backup", nullptr},
                      ParsedCase{"x:\\backup", nullptr}, ParsedCase{"\\\\srv:0\\backup", nullptr},
                      ParsedCase{"\\\\srv:99999\\backup", nullptr},
                      ParsedCase{"\\\\srv:port\\backup", nullptr},
                      ParsedCase{"\\\\bad host\\backup", nullptr}, ParsedCase{"\\\\:4455\\backup", nullptr}),
    qormin::test::IndexedRowName());

TEST(ShareAddressTest, rootDropsTheFolderOnly) {
    const auto address = ShareAddress::parse(QStringLiteral("\\\\srv:4455\\backup\\MIR"));
    ASSERT_TRUE(address.has_value());
    EXPECT_EQ(address->root().remoteName(), QStringLiteral("\\\\srv:4455\\backup"));
    EXPECT_EQ(address->root(), ShareAddress::parse(QStringLiteral("//srv:4455/backup")));
}

} // namespace
