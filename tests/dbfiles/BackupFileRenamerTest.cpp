#include "QStringPrinter.h"
#include "WindowHarness.h"

#include "RowName.h"
#include "controls/FileListBox.h"
#include "db/LogBuffer.h"
#include "db/ServerAccess.h"

#include <QDir>
#include <QFile>
#include <QLineEdit>
#include <algorithm>
#include <gtest/gtest.h>

namespace qormin::test {
namespace {

using qormin::test::PrintTo;

struct RenameCase {
    const char* name;
    const char* folder;  // inside the harness root
    const char* prepare; // batch lines before the click
    const char* button;
    const char* sharedFolder; // File1's folder, when the button lists File1
    QStringList files;
    QStringList vanishing; // listed, then deleted before the click
    QStringList expectedFiles;
    QStringList expectedLog; // in the order written
};

class RenameTest : public testing::TestWithParam<RenameCase> {
protected:
    WindowHarness m_harness;
};

void touch(const QString& path) {
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly)) << path.toStdString();
}

TEST_P(RenameTest, renamesWhatHasTheTextAndLogsEverySkipAndFailure) {
    const RenameCase& param = GetParam();
    const QDir folder(m_harness.folder(QLatin1String(param.folder)));
    for (const QString& name : param.files + param.vanishing)
        touch(folder.filePath(name));
    auto& window = m_harness.window();
    const BatchResult prepared = m_harness.runBatch(QLatin1String(param.prepare));
    ASSERT_EQ(prepared.exitCode, 0) << prepared.errors.toStdString();
    if (param.sharedFolder != nullptr) {
        ASSERT_TRUE(window.File1()->setPath(QLatin1String(param.sharedFolder)));
    }
    for (const QString& name : param.vanishing)
        ASSERT_TRUE(QFile::remove(folder.filePath(name)));
    window.serverAccess().log().clear();
    const BatchResult clicked = m_harness.runBatch(QStringLiteral("click ") + QLatin1String(param.button));
    ASSERT_EQ(clicked.exitCode, 0) << clicked.errors.toStdString();
    EXPECT_EQ(folder.entryList(QDir::Files, QDir::Name), param.expectedFiles);
    QStringList written =
        window.serverAccess().log().text().split(QStringLiteral("\r\n"), Qt::SkipEmptyParts);
    std::reverse(written.begin(), written.end());
    EXPECT_EQ(written, param.expectedLog);
}

INSTANTIATE_TEST_SUITE_P(
    Buttons, RenameTest,
    testing::Values(
        RenameCase{
            "renameDirCutsAtTheSeparatorAndAddsTheMissingBackslash", "drives/d/ren",
            "set txtRestoreDir d:\\\\ren\n", "cmdRenameDir", nullptr,
            QStringList{"Billing_20150301.bak", "Lab.bak", "Lab_2016.bak", "Station.bak"}, QStringList(),
            QStringList{"Billing.bak", "Lab.bak", "Lab_2016.bak", "Station.bak"},
            QStringList{"renamed d:\\ren\\Billing_20150301.bak to Billing.bak",
                        "skipped Lab.bak: nothing to cut from the name",
                        "could not rename d:\\ren\\Lab_2016.bak to Lab.bak: a file of that name exists",
                        "skipped Station.bak: nothing to cut from the name"}},
        RenameCase{"renameDirUsesTheTypedSeparator", "drives/d/ren",
                   "set txtRestoreDir d:\\\\ren\\\\\nset txtSeparator -old\n", "cmdRenameDir", nullptr,
                   QStringList{"Billing-old.bak", "Station_2015.bak"}, QStringList{"Gone-old.bak"},
                   QStringList{"Billing.bak", "Station_2015.bak"},
                   QStringList{"renamed d:\\ren\\Billing-old.bak to Billing.bak",
                               "could not rename d:\\ren\\Gone-old.bak to Gone.bak: the file is gone",
                               "skipped Station_2015.bak: nothing to cut from the name"}},
        RenameCase{"renameCutsAt2015InTheLeftServersShare", "gvfs/smb-share:server=hospital,share=backup",
                   "set txtServer(0) hospital\n", "cmdRename", "\\\\hospital\\backup\\",
                   QStringList{"Billing_20150301.bak", "Station_2016.bak"}, QStringList(),
                   QStringList{"Billing.bak", "Station_2016.bak"},
                   QStringList{"renamed \\\\hospital\\backup\\Billing_20150301.bak to Billing.bak",
                               "skipped Station_2016.bak: nothing to cut from the name"}}),
    qormin::test::RowName());

} // namespace
} // namespace qormin::test
