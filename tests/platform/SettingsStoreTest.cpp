#include "platform/SettingsStore.h"
#include "RowName.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace {

using qormin::test::PrintTo;

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
                                         "true", "0"),
                         qormin::test::IndexedRowName());

} // namespace

using qormin::test::PrintTo;

struct DamagedFileCase {
    const char* name;
    QByteArray contents;
    bool setAside; // the file does not read as settings: kept under another name, defaults used
};

class DamagedSettingsFileTest : public testing::TestWithParam<DamagedFileCase> {};

// A damaged file never crashes the store or loses what it held: unreadable contents are set
// aside and said so, values that read are used, and saving works afterwards.
TEST_P(DamagedSettingsFileTest, givesDefaultsOrItsValuesAndSavesAgain) {
    QTemporaryDir folder;
    const QString file = folder.filePath(QStringLiteral("settings.ini"));
    QFile damaged(file);
    ASSERT_TRUE(damaged.open(QIODevice::WriteOnly));
    damaged.write(GetParam().contents);
    damaged.close();
    QStringList problems;
    auto store = SettingsStore::openFile(file);
    store->setProblemReporter([&problems](const QString& problem) { problems.append(problem); });
    EXPECT_EQ(store->getSetting(QStringLiteral("MAIN"), QStringLiteral("txtUserID0"), QStringLiteral("sa")),
              QStringLiteral("sa"));
    store->saveSetting(QStringLiteral("MAIN"), QStringLiteral("txtUserID1"), QStringLiteral("admin"));
    EXPECT_EQ(SettingsStore::openFile(file)->getSetting(QStringLiteral("MAIN"), QStringLiteral("txtUserID1")),
              QStringLiteral("admin"));
    const QStringList aside = QDir(folder.path()).entryList({QStringLiteral("settings.ini.unreadable-*")});
    EXPECT_EQ(aside.size(), GetParam().setAside ? 1 : 0);
    EXPECT_EQ(problems.size(), GetParam().setAside ? 1 : 0) << problems.join(u'\n').toStdString();
    if (GetParam().setAside) {
        QFile kept(folder.filePath(aside.value(0)));
        ASSERT_TRUE(kept.open(QIODevice::ReadOnly));
        EXPECT_EQ(kept.readAll(), GetParam().contents);
    }
}

INSTANTIATE_TEST_SUITE_P(
    Files, DamagedSettingsFileTest,
    testing::Values(
        DamagedFileCase{"binary", QByteArray::fromHex("00ff10fe7f0a5b00"), true},
        // These read without complaint and were lost at the first save.
        DamagedFileCase{"pngHeader", QByteArray::fromHex("89504e470d0a1a0a0000000d49484452"), true},
        DamagedFileCase{"pdfText", QByteArray("%PDF-1.4\n%\xe2\xe3\xcf\xd3\n1 0 obj\n<< /Type /Catalog >>\n"),
                        true},
        DamagedFileCase{"controlBytesInALine", QByteArray("[MAIN]\ntxtServer0=a\n\x01\x02=\x03\n"), true},
        DamagedFileCase{"invalidUtf8", QByteArray("[MAIN]\ntxtServer0=\xff\xfe\xfd\n"), false},
        DamagedFileCase{"unclosedSection", QByteArray("[MAIN\ntxtUserID0\n=x\n"), true},
        DamagedFileCase{"wrongShape", QByteArray("[MAIN]\ntxtUserID0=@Variant(\\0\\0\\0\\x7f)\n"), false},
        DamagedFileCase{"empty", QByteArray(), false}),
    qormin::test::RowName());

TEST(SettingsStoreSaveTest, aStoreThatCannotSaveSaysSoOnceAndKeepsWorking) {
    QTemporaryDir folder;
    // A folder where the file should be: nothing can be written there, not even by root.
    const QString file = folder.filePath(QStringLiteral("settings.ini"));
    ASSERT_TRUE(QDir().mkpath(file));
    auto store = SettingsStore::openFile(file);
    QStringList problems;
    store->setProblemReporter([&problems](const QString& problem) { problems.append(problem); });
    store->saveSetting(QStringLiteral("MAIN"), QStringLiteral("txtUserID0"), QStringLiteral("admin"));
    store->saveSetting(QStringLiteral("MAIN"), QStringLiteral("txtUserID1"), QStringLiteral("admin"));
    EXPECT_EQ(problems.filter(QRegularExpression(QStringLiteral("^Settings cannot be saved to "))).size(), 1)
        << problems.join(u'\n').toStdString();
    EXPECT_EQ(store->getSetting(QStringLiteral("MAIN"), QStringLiteral("txtUserID0")),
              QStringLiteral("admin"));
}
