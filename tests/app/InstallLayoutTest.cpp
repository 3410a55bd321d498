#include "QStringPrinter.h"

#include "RowName.h"
#include "app/InstallLayout.h"

#include <QDir>
#include <QFile>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace {

using qormin::test::PrintTo;

namespace install = qormin::app::install;

struct LayoutCase {
    const char* name;
    QStringList files;     // relative to the tree's root; the program runs from <root>/bin
    const char* simulator; // expected, relative to the root; empty when none is found
    const char* scenario;
    bool installed;
};

const LayoutCase layoutCases[] = {
    {"buildTree",
     {"bin/qormin-sim", "bin/scenarios/demo.json"},
     "bin/qormin-sim",
     "bin/scenarios/demo.json",
     false},
    {"installedTree",
     {"lib/qormin-dbtools/qormin-sim", "share/qormin-dbtools/scenarios/demo.json"},
     "lib/qormin-dbtools/qormin-sim",
     "share/qormin-dbtools/scenarios/demo.json",
     true},
    // Copies beside the program win, so a build tree inside an installed prefix still runs its own.
    {"besideWinsOverInstalled",
     {"bin/qormin-sim", "lib/qormin-dbtools/qormin-sim", "share/qormin-dbtools/scenarios/demo.json"},
     "bin/qormin-sim",
     "share/qormin-dbtools/scenarios/demo.json",
     true},
    {"nothing", {}, "", "", false},
};

class InstallLayoutTest : public testing::TestWithParam<LayoutCase> {};

TEST_P(InstallLayoutTest, findsTheCompanionsOfTheProgram) {
    QStandardPaths::setTestModeEnabled(true);
    const LayoutCase& c = GetParam();
    QTemporaryDir root;
    ASSERT_TRUE(QDir(root.path()).mkpath(QStringLiteral("bin")));
    for (const QString& file : c.files) {
        ASSERT_TRUE(QDir(root.path()).mkpath(QFileInfo(root.filePath(file)).path()));
        QFile created(root.filePath(file));
        ASSERT_TRUE(created.open(QIODevice::WriteOnly));
    }
    const QString program = root.filePath(QStringLiteral("bin"));
    const auto expected = [&](const char* relative) {
        return *relative == '\0' ? QString() : root.filePath(QString::fromLatin1(relative));
    };
    EXPECT_EQ(install::simulatorProgram(program), expected(c.simulator));
    EXPECT_EQ(install::demoScenario(program), expected(c.scenario));
    EXPECT_EQ(install::runsInstalled(program), c.installed);
    // An installed program keeps its text files in the user's folder, never in the installed tree.
    const QString data = install::defaultDataDirectory(program);
    if (c.installed) {
        EXPECT_EQ(data, QStandardPaths::writableLocation(QStandardPaths::AppDataLocation));
        EXPECT_TRUE(QFileInfo(data).isDir());
    } else {
        EXPECT_EQ(data, program);
    }
}

INSTANTIATE_TEST_SUITE_P(Layouts, InstallLayoutTest, testing::ValuesIn(layoutCases), qormin::test::RowName());

} // namespace
