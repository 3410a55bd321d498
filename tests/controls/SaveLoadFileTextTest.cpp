#include "controls/SaveLoadFileText.h"
#include "RowName.h"

#include <QFile>
#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace {

using qormin::test::PrintTo;

using qormin::controls::SaveLoadFileText;
using Encoding = SaveLoadFileText::Encoding;

// Saving, line ends and failures are covered through the panel that uses this.
class SaveLoadFileTextTest : public ::testing::Test {
protected:
    QString writeBytes(const QByteArray& bytes) const {
        const QString file = m_dir.filePath(QStringLiteral("ExcludedTables.txt"));
        QFile out(file);
        EXPECT_TRUE(out.open(QIODevice::WriteOnly));
        out.write(bytes);
        return file;
    }

    QTemporaryDir m_dir;
};

struct FileCase {
    const char* name;
    QByteArray bytes;
    QString text;
    Encoding encoding;
};

std::string_view label(const FileCase& row) {
    return row.name;
}

class FileTextReadTest : public SaveLoadFileTextTest, public ::testing::WithParamInterface<FileCase> {};

// Files are UTF-8 unless they cannot be, then Latin-1; nothing is dropped or changed on the way in.
TEST_P(FileTextReadTest, loadsTheWholeTextAndNotesTheEncoding) {
#ifdef Q_OS_WIN
    GTEST_SKIP() << "Windows reads the system code page";
#endif
    SaveLoadFileText fileText;
    EXPECT_EQ(fileText.read(writeBytes(GetParam().bytes)), GetParam().text);
    EXPECT_EQ(fileText.encoding(), GetParam().encoding);
}

INSTANTIATE_TEST_SUITE_P(
    Files, FileTextReadTest,
    ::testing::Values(
        FileCase{"empty", "", "", Encoding::Utf8},
        FileCase{"crLfKept", "a..b\r\nc..d\r\n", QStringLiteral("a..b\r\nc..d\r\n"), Encoding::Utf8},
        FileCase{"utf8", "M\xc3\xbcller\r\n", QStringLiteral("M\u00fcller\r\n"), Encoding::Utf8},
        FileCase{"utf8WithByteOrderMark", "\xef\xbb\xbfx", QStringLiteral("\ufeffx"), Encoding::Utf8},
        FileCase{"invalidUtf8IsLatin1", "M\xfcller\r\n", QStringLiteral("M\u00fcller\r\n"), Encoding::Latin1},
        FileCase{"cutUtf8SequenceIsLatin1", "ab\xc3", QStringLiteral("ab\u00c3"), Encoding::Latin1}),
    qormin::test::RowName());

TEST_F(SaveLoadFileTextTest, latin1TextThatGainsOtherCharactersIsSavedAsUtf8) {
#ifdef Q_OS_WIN
    GTEST_SKIP() << "Windows reads the system code page";
#endif
    SaveLoadFileText fileText;
    const QString file = writeBytes("Caf\xe9");
    const QString edited = fileText.read(file) + QStringLiteral(" \u20ac");
    ASSERT_TRUE(fileText.write(file, edited));
    QFile saved(file);
    ASSERT_TRUE(saved.open(QIODevice::ReadOnly));
    EXPECT_EQ(saved.readAll(), QByteArray("Caf\xc3\xa9 \xe2\x82\xac"));
}

} // namespace
