#include "platform/SettingsStore.h"

#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace {

using qormin::platform::SettingsStore;

constexpr auto privateMode = QFileDevice::ReadOwner | QFileDevice::WriteOwner;

QFileDevice::Permissions modeOf(const QString& path) {
    // ReadUser/WriteUser mirror the owner bits for the owner; compare only the portable bits.
    return QFileInfo(path).permissions() &
           (QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner |
            QFileDevice::ReadGroup | QFileDevice::WriteGroup | QFileDevice::ExeGroup |
            QFileDevice::ReadOther | QFileDevice::WriteOther | QFileDevice::ExeOther);
}

class SettingsStoreTest : public testing::Test {
protected:
    QTemporaryDir folder;
    QString path() const { return folder.filePath(QStringLiteral("nested/QORMIN DB Tools/settings.ini")); }
};

TEST_F(SettingsStoreTest, newFileIsReadableOnlyByTheUserAndStaysSoAfterSaves) {
    auto store = SettingsStore::openFile(path());
    EXPECT_EQ(modeOf(path()), privateMode);
    for (int i = 0; i < 3; ++i)
        store->saveSetting(QStringLiteral("MIR"), QStringLiteral("DB0"),
                           QStringLiteral("secret") + QString::number(i));
    EXPECT_EQ(modeOf(path()), privateMode);
}

TEST_F(SettingsStoreTest, existingWorldReadableFileIsMadePrivate) {
    const QString file = folder.filePath(QStringLiteral("old.ini"));
    QFile old(file);
    ASSERT_TRUE(old.open(QIODevice::WriteOnly));
    old.write("[MIR]\nDB0=secret\n");
    old.close();
    QFile::setPermissions(file, privateMode | QFileDevice::ReadGroup | QFileDevice::ReadOther);
    auto store = SettingsStore::openFile(file);
    EXPECT_EQ(modeOf(file), privateMode);
    EXPECT_EQ(store->getSetting(QStringLiteral("MIR"), QStringLiteral("DB0")), QStringLiteral("secret"));
}

TEST_F(SettingsStoreTest, missingKeyGivesTheDefaultButASavedEmptyValueDoesNot) {
    auto store = SettingsStore::openFile(path());
    const QString section = QStringLiteral("MAIN");
    const QString key = QStringLiteral("txtUserID0");
    EXPECT_EQ(store->getSetting(section, key, QStringLiteral("sa")), QStringLiteral("sa"));
    store->saveSetting(section, key, QString());
    EXPECT_EQ(store->getSetting(section, key, QStringLiteral("sa")), QString());
}

class SettingsValueRoundTripTest : public testing::TestWithParam<const char*> {};

// Every save reaches the file at once: a second store opened on the same file (as after a
// killed process) reads back exactly what was typed.
TEST_P(SettingsValueRoundTripTest, valueSurvivesReopeningTheFile) {
    QTemporaryDir folder;
    const QString file = folder.filePath(QStringLiteral("settings.ini"));
    const QString value = QString::fromUtf8(GetParam());
    {
        auto writer = SettingsStore::openFile(file);
        writer->saveSetting(QStringLiteral("txtRestoreTO"), QStringLiteral("DB3"), value);
        auto reader = SettingsStore::openFile(file);
        EXPECT_EQ(reader->getSetting(QStringLiteral("txtRestoreTO"), QStringLiteral("DB3")), value);
    }
    auto later = SettingsStore::openFile(file);
    EXPECT_EQ(later->getSetting(QStringLiteral("txtRestoreTO"), QStringLiteral("DB3")), value);
}

INSTANTIATE_TEST_SUITE_P(Values, SettingsValueRoundTripTest,
                         testing::Values("p:\\backup\\MIR\\", "\\\\sqlmain\\backup", "a, b, c", "pass;word=x",
                                         "\"quoted\"", " leading and trailing ", "@Variant(x)",
                                         "line1\r\nline2", "Ärzte Ñandú 病院", "#not a comment", "[MAIN]",
                                         "true", "0"));

} // namespace
