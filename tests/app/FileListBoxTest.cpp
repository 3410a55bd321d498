#include "controls/FileListBox.h"
#include "QStringPrinter.h"
#include "RowName.h"
#include "platform/LocalFileSystemService.h"
#include "platform/PathMapper.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace {

using qormin::test::PrintTo;

using qormin::controls::FileListBox;
using qormin::platform::LocalFileSystemService;
using qormin::platform::PathMapper;

void touch(const QString& path) {
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly)) << path.toStdString();
}

QStringList names(const FileListBox& list) {
    QStringList result;
    for (int i = 0; i < list.ListCount(); ++i)
        result.append(list.List(i));
    return result;
}

class FileListBoxTest : public testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(root.isValid());
        QDir(root.path()).mkpath(QStringLiteral("backup"));
        QDir(root.path()).mkpath(QStringLiteral("links/x/MIR"));
        for (const char* name : {"Billing.bak", "accounting.BAK", "Station_log.bak", "Station.mdf", "readme"})
            touch(folder() + u'/' + QString::fromLatin1(name));
    }
    QString folder() const { return root.filePath(QStringLiteral("backup")); }

    QTemporaryDir root;
    PathMapper paths{PathMapper::Platform::Posix, QStringLiteral("/nonexistent/gvfs"),
                     root.filePath(QStringLiteral("links"))};
    LocalFileSystemService files{paths};
};

struct PatternCase {
    const char* pattern;
    const char* expected; // names joined by "|"
};
std::string_view label(const PatternCase& row) {
    return row.pattern;
}

class FileListPatternTest : public FileListBoxTest, public testing::WithParamInterface<PatternCase> {};

TEST_P(FileListPatternTest, listsMatchingFilesSortedIgnoringCase) {
    FileListBox list(files);
    list.setPattern(QString::fromLatin1(GetParam().pattern));
    ASSERT_TRUE(list.setPath(folder()));
    EXPECT_EQ(names(list).join(u'|'), QString::fromLatin1(GetParam().expected));
}

INSTANTIATE_TEST_SUITE_P(
    Patterns, FileListPatternTest,
    testing::Values(PatternCase{"*.bak", "accounting.BAK|Billing.bak|Station_log.bak"},
                    PatternCase{"*.*", "accounting.BAK|Billing.bak|readme|Station.mdf|Station_log.bak"},
                    PatternCase{"*.mdf", "Station.mdf"},
                    PatternCase{"*.mdf;*.BAK", "accounting.BAK|Billing.bak|Station.mdf|Station_log.bak"},
                    PatternCase{"*.ldf", ""}),
    qormin::test::IndexedRowName());

TEST_F(FileListBoxTest, refreshShowsNewFilesAndKeepsTheSelection) {
    FileListBox list(files);
    list.setPattern(QStringLiteral("*.bak"));
    list.setPath(folder());
    list.setListIndex(1);
    touch(folder() + QStringLiteral("/Aardvark.bak"));
    list.Refresh();
    EXPECT_EQ(names(list).join(u'|'),
              QStringLiteral("Aardvark.bak|accounting.BAK|Billing.bak|Station_log.bak"));
    EXPECT_EQ(list.List(list.ListIndex()), QStringLiteral("Billing.bak"));
}

// An unreachable folder leaves path and list as they were, until it appears.
TEST_F(FileListBoxTest, unreachableFolderIsPickedUpByRefreshOnceItAppearsAndADriveLetterThroughItsLink) {
    FileListBox list(files);
    list.setPattern(QStringLiteral("*.bak"));
    ASSERT_TRUE(list.setPath(folder()));
    const QString later = root.filePath(QStringLiteral("later"));
    EXPECT_FALSE(list.setPath(QStringLiteral("\\\\sqlmain\\backup\\MIR")));
    EXPECT_FALSE(list.setPath(QString()));
    EXPECT_FALSE(list.setPath(later));
    list.Refresh();
    EXPECT_EQ(list.Path(), folder());
    EXPECT_EQ(list.ListCount(), 3);
    QDir(root.path()).mkpath(QStringLiteral("later"));
    touch(later + QStringLiteral("/new.bak"));
    list.Refresh();
    EXPECT_EQ(list.Path(), later);
    EXPECT_EQ(names(list), QStringList{QStringLiteral("new.bak")});
    // A drive letter folder is found through its link.
    touch(root.filePath(QStringLiteral("links/x/MIR/Payroll.bak")));
    ASSERT_TRUE(list.setPath(QStringLiteral("X:\\MIR\\")));
    EXPECT_EQ(list.Path(), QStringLiteral("X:\\MIR\\"));
    EXPECT_EQ(names(list), QStringList{QStringLiteral("Payroll.bak")});
}

} // namespace
