#include "controls/SaveLoadFileText.h"

#include <QFile>
#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace {

using qormin::controls::SaveLoadFileText;

class SaveLoadFileTextTest : public ::testing::Test {
protected:
    QString path(const char* name) const { return m_dir.filePath(QString::fromUtf8(name)); }

    QString writeBytes(const QByteArray& bytes) const {
        const QString file = path("ExcludedTables.txt");
        QFile out(file);
        EXPECT_TRUE(out.open(QIODevice::WriteOnly));
        out.write(bytes);
        return file;
    }

    static QByteArray readBytes(const QString& file) {
        QFile in(file);
        EXPECT_TRUE(in.open(QIODevice::ReadOnly));
        return in.readAll();
    }

    QTemporaryDir m_dir;
};

TEST_F(SaveLoadFileTextTest, missingFileLoadsEmpty) {
    SaveLoadFileText fileText;
    EXPECT_EQ(fileText.read(path("missing.txt")), QString());
}

TEST_F(SaveLoadFileTextTest, saveAddsNoLineBreak) {
    SaveLoadFileText fileText;
    const QString file = path("new.txt");
    ASSERT_TRUE(fileText.write(file, QStringLiteral("Billing..Invoices\r\nLab..Results")));
    EXPECT_EQ(readBytes(file), QByteArray("Billing..Invoices\r\nLab..Results"));
}

TEST_F(SaveLoadFileTextTest, latin1TextThatGainsOtherCharactersIsSavedAsUtf8) {
#ifdef Q_OS_WIN
    GTEST_SKIP() << "Windows reads the system code page";
#endif
    SaveLoadFileText fileText;
    const QString file = writeBytes("Caf\xe9");
    const QString edited = fileText.read(file) + QStringLiteral(" \u20ac");
    ASSERT_TRUE(fileText.write(file, edited));
    EXPECT_EQ(readBytes(file), QByteArray("Caf\xc3\xa9 \xe2\x82\xac"));
    EXPECT_EQ(SaveLoadFileText().read(file), edited);
}

TEST_F(SaveLoadFileTextTest, failedSaveSaysWhyAndKeepsTheFile) {
    SaveLoadFileText fileText;
    const QString file = writeBytes("kept");
    EXPECT_FALSE(fileText.write(file + QStringLiteral("/not-a-folder.txt"), QStringLiteral("x")));
    EXPECT_FALSE(fileText.errorText().isEmpty());
    EXPECT_EQ(readBytes(file), QByteArray("kept"));
}

TEST(ExclusionLineTest, isQualifiedTableWithCrLf) {
    EXPECT_EQ(SaveLoadFileText::exclusionLine("Patient_Data", "Visits"),
              QStringLiteral("Patient_Data..Visits\r\n"));
}

struct FileCase {
    const char* name;
    QByteArray bytes;
    QString text;
    SaveLoadFileText::Encoding encoding;
};

void PrintTo(const FileCase& c, std::ostream* out) {
    *out << c.name;
}

class FileTextCycleTest : public SaveLoadFileTextTest, public ::testing::WithParamInterface<FileCase> {};

TEST_P(FileTextCycleTest, loadsTheWholeText) {
#ifdef Q_OS_WIN
    GTEST_SKIP() << "Windows reads the system code page";
#endif
    SaveLoadFileText fileText;
    EXPECT_EQ(fileText.read(writeBytes(GetParam().bytes)), GetParam().text);
    EXPECT_EQ(fileText.encoding(), GetParam().encoding);
}

TEST_P(FileTextCycleTest, loadAndSaveGivesBackTheSameBytes) {
    SaveLoadFileText fileText;
    const QString file = writeBytes(GetParam().bytes);
    ASSERT_TRUE(fileText.write(file, fileText.read(file)));
    EXPECT_EQ(readBytes(file), GetParam().bytes);
}

using Encoding = SaveLoadFileText::Encoding;

INSTANTIATE_TEST_SUITE_P(
    Files, FileTextCycleTest,
    ::testing::Values(
        FileCase{"empty", "", "", Encoding::Utf8},
        FileCase{"crLfKept", "Billing..Invoices\r\nLab..Results\r\n",
                 QStringLiteral("Billing..Invoices\r\nLab..Results\r\n"), Encoding::Utf8},
        FileCase{"bareLfKept", "a\nb", QStringLiteral("a\nb"), Encoding::Utf8},
        FileCase{"utf8", "M\xc3\xbcller\r\n", QStringLiteral("M\u00fcller\r\n"), Encoding::Utf8},
        FileCase{"utf8WithByteOrderMark", "\xef\xbb\xbfx", QStringLiteral("\ufeffx"), Encoding::Utf8},
        FileCase{"invalidUtf8IsLatin1", "M\xfcller\r\n", QStringLiteral("M\u00fcller\r\n"), Encoding::Latin1},
        FileCase{"cutUtf8SequenceIsLatin1", "ab\xc3", QStringLiteral("ab\u00c3"), Encoding::Latin1}),
    [](const auto& caseInfo) { return std::string(caseInfo.param.name); });

} // namespace
