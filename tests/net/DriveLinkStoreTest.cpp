#include "net/DriveLinkStore.h"
#include "net/ShareAddress.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace {

using qormin::net::DriveLinkStore;
using qormin::net::ShareAddress;

class DriveLinkStoreTest : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_TRUE(QDir(m_folder.path()).mkpath(QStringLiteral("share"))); }

    QTemporaryDir m_folder;
    const QString m_share = m_folder.filePath(QStringLiteral("share"));
    const QString m_root = m_folder.filePath(QStringLiteral("drives"));
    DriveLinkStore m_store{m_root};
};

// Linking, reading through and removing are checked by the mapping tests against Samba.
TEST_F(DriveLinkStoreTest, linkToAVanishedFolderIsAnEntryButNotLinked) {
    ASSERT_EQ(m_store.link(u'x', m_share, std::nullopt), QString());
    EXPECT_FALSE(m_store.mountedShare(u'x').has_value());
    ASSERT_TRUE(QDir(m_share).removeRecursively());
    EXPECT_TRUE(m_store.hasEntry(u'x'));
    EXPECT_FALSE(m_store.isLinked(u'x'));
}

TEST_F(DriveLinkStoreTest, refusesWhatIsNoLetterAndARealFolderInThePlaceOfALink) {
    EXPECT_FALSE(m_store.link(u'1', m_share, std::nullopt).isEmpty());
    EXPECT_FALSE(m_store.hasEntry(u'1'));
    ASSERT_TRUE(QDir().mkpath(m_root + QStringLiteral("/y")));
    QFile kept(m_root + QStringLiteral("/y/keep.txt"));
    ASSERT_TRUE(kept.open(QIODevice::WriteOnly));
    kept.close();
    EXPECT_FALSE(m_store.remove(u'y').isEmpty());
    EXPECT_TRUE(kept.exists());
}

} // namespace
