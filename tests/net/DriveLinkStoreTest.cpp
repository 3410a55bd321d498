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
    void SetUp() override {
        ASSERT_TRUE(m_folder.isValid());
        QDir(m_folder.path()).mkpath(QStringLiteral("share/MIR"));
        QFile file(shareFolder() + QStringLiteral("/MIR/SERVER1.cer"));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write("certificate");
    }
    QString shareFolder() const { return m_folder.filePath(QStringLiteral("share")); }
    QString storeRoot() const { return m_folder.filePath(QStringLiteral("drives")); }

    QTemporaryDir m_folder;
};

TEST_F(DriveLinkStoreTest, linkedLetterLeadsToTheFolder) {
    DriveLinkStore store(storeRoot());
    ASSERT_EQ(store.link(u'X', shareFolder(), std::nullopt), QString());
    EXPECT_TRUE(store.isLinked(u'x'));
    EXPECT_TRUE(store.isLinked(u'X'));
    EXPECT_EQ(store.target(u'x'), shareFolder());
    EXPECT_TRUE(QFile::exists(storeRoot() + QStringLiteral("/x/MIR/SERVER1.cer")));
    EXPECT_FALSE(store.mountedShare(u'x').has_value());
    EXPECT_EQ(store.letters(), QList<QChar>{u'x'});
}

TEST_F(DriveLinkStoreTest, mountNoteNamesTheShareThisToolMounted) {
    DriveLinkStore store(storeRoot());
    const auto share = ShareAddress::parse(QStringLiteral("\\\\srv:4455\\backup"));
    ASSERT_EQ(store.link(u'y', shareFolder(), share), QString());
    EXPECT_EQ(store.mountedShare(u'y'), share);
}

TEST_F(DriveLinkStoreTest, linkToAVanishedFolderIsAnEntryButNotLinked) {
    DriveLinkStore store(storeRoot());
    ASSERT_EQ(store.link(u'x', shareFolder(), std::nullopt), QString());
    ASSERT_TRUE(QDir(shareFolder()).removeRecursively());
    EXPECT_TRUE(store.hasEntry(u'x'));
    EXPECT_FALSE(store.isLinked(u'x'));
}

TEST_F(DriveLinkStoreTest, removeTakesTheLinkAndLeavesTheShareFiles) {
    DriveLinkStore store(storeRoot());
    ASSERT_EQ(store.link(u'x', shareFolder(), ShareAddress::parse(QStringLiteral("\\\\srv\\backup"))),
              QString());
    EXPECT_EQ(store.remove(u'x'), QString());
    EXPECT_FALSE(store.hasEntry(u'x'));
    EXPECT_FALSE(store.mountedShare(u'x').has_value());
    EXPECT_TRUE(QFile::exists(shareFolder() + QStringLiteral("/MIR/SERVER1.cer")));
    EXPECT_TRUE(store.letters().isEmpty());
}

TEST_F(DriveLinkStoreTest, removeRefusesARealFolderInThePlaceOfALink) {
    DriveLinkStore store(storeRoot());
    ASSERT_TRUE(QDir().mkpath(storeRoot() + QStringLiteral("/y")));
    QFile kept(storeRoot() + QStringLiteral("/y/keep.txt"));
    ASSERT_TRUE(kept.open(QIODevice::WriteOnly));
    kept.close();
    EXPECT_FALSE(store.remove(u'y').isEmpty());
    EXPECT_TRUE(kept.exists());
}

TEST_F(DriveLinkStoreTest, linkRefusesWhatIsNoLetter) {
    DriveLinkStore store(storeRoot());
    EXPECT_FALSE(store.link(u'1', shareFolder(), std::nullopt).isEmpty());
    EXPECT_FALSE(store.hasEntry(u'1'));
}

} // namespace
