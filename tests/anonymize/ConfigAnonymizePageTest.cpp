#include "WindowHarness.h"

#include "RowName.h"
#include "anonymize/ConfigAnonymizePage.h"
#include "controls/FlexGrid.h"
#include "controls/ctlSaveLoadFile.h"

#include <QDir>
#include <QFile>
#include <QGroupBox>
#include <gtest/gtest.h>

namespace {

using qormin::test::PrintTo;

using qormin::anonymize::ConfigAnonymizePage;
using qormin::test::WindowHarness;

class ConfigAnonymizePageTest : public ::testing::Test {
protected:
    ConfigAnonymizePageTest() {
        m_harness.load();
        m_page = m_harness.window().findChild<ConfigAnonymizePage*>();
        m_data = m_harness.folder(QStringLiteral("data"));
    }

    void writeFile(const char* name, const QByteArray& bytes) const {
        QFile out(QDir(m_data).filePath(QString::fromLatin1(name)));
        ASSERT_TRUE(out.open(QIODevice::WriteOnly));
        out.write(bytes);
    }

    QByteArray readFile(const char* name) const {
        QFile in(QDir(m_data).filePath(QString::fromLatin1(name)));
        return in.open(QIODevice::ReadOnly) ? in.readAll() : QByteArray("<missing>");
    }

    // The name-column grid as discovery leaves it: header row, then database, table, columns.
    void fillGridC() const {
        qormin::controls::FlexGrid* grid = m_page->GridC();
        grid->setRows(3);
        grid->setCols(3);
        const char* const cells[3][3] = {{"Database", "Table", "Column"},
                                         {"Billing", "tbCashPatient", "LastName"},
                                         {"Patient_data", "tbMaster3", "FirstName"}};
        for (int row = 0; row < 3; ++row)
            for (int column = 0; column < 3; ++column)
                grid->setTextMatrix(row, column, QString::fromLatin1(cells[row][column]));
    }

    qormin::test::BatchResult run(const char* script) {
        return m_harness.runBatch(QString::fromLatin1(script));
    }

    WindowHarness m_harness;
    ConfigAnonymizePage* m_page = nullptr;
    QString m_data;
};

struct ConfigureCase {
    const char* name;
    const char* script;
};

class ConfigureTest : public ConfigAnonymizePageTest, public ::testing::WithParamInterface<ConfigureCase> {};

// Configure, by its button or by turning to "Config Anonymize", loads the excluded tables and
// shows the frame.
TEST_P(ConfigureTest, loadsTheExcludedTablesAndShowsTheFrame) {
    ASSERT_NE(m_page, nullptr);
    writeFile("ExcludedTables.txt", "Billing..tbAudit\r\n");
    EXPECT_TRUE(m_page->fraConfig()->isHidden());
    const auto result = run(GetParam().script);
    ASSERT_EQ(result.exitCode, 0) << result.errors.toStdString();
    EXPECT_FALSE(m_page->fraConfig()->isHidden());
    EXPECT_EQ(m_page->ctlExclue()->fileName(), QStringLiteral("ExcludedTables.txt"));
    EXPECT_EQ(m_page->ctlExclue()->text(), QStringLiteral("Billing..tbAudit\r\n"));
}

const ConfigureCase configureCases[] = {
    {"configureButton", "click cmdInit\n"},
    {"configAnonymizePageHook", "page 9\n"},
};

INSTANTIATE_TEST_SUITE_P(Ways, ConfigureTest, testing::ValuesIn(configureCases), qormin::test::RowName());

TEST_F(ConfigAnonymizePageTest, anonymizePageBindsTheTableListOnce) {
    writeFile("AnonymizeTables.txt", "Billing..tbCashPatient LastName\r\n");
    ASSERT_EQ(run("page 8\n").exitCode, 0);
    EXPECT_EQ(m_page->ctlATables()->fileName(), QStringLiteral("AnonymizeTables.txt"));
    EXPECT_EQ(m_page->ctlATables()->text(), QStringLiteral("Billing..tbCashPatient LastName\r\n"));
    m_page->ctlATables()->setText(QStringLiteral("edited"));
    ASSERT_EQ(run("page 0\npage 8\n").exitCode, 0);
    EXPECT_EQ(m_page->ctlATables()->text(), QStringLiteral("edited"));
}

struct GridClickCase {
    const char* name;
    bool excludeTicked;
    int row;
    const char* printed; // ctlExclue's text as batch mode prints it
    bool saved;          // the panel's save clicked afterwards
};

class GridClickTest : public ConfigAnonymizePageTest, public ::testing::WithParamInterface<GridClickCase> {};

// A click on GridC adds "database..table" + CR LF of the clicked row only with Exclude Table
// ticked; only the panel's save writes it.
TEST_P(GridClickTest, addsTheClickedTableToTheExcludedTables) {
    const GridClickCase& c = GetParam();
    writeFile("ExcludedTables.txt", "Lab..tbResults\r\n");
    ASSERT_EQ(run("click cmdInit\n").exitCode, 0);
    fillGridC();
    const QString script = QStringLiteral("set chkExcludeTable ") + (c.excludeTicked ? u'1' : u'0') +
                           QStringLiteral("\nselect GridC ") + QString::number(c.row) +
                           QStringLiteral("\nprint ctlExclue.txtFileVal\n") +
                           (c.saved ? QStringLiteral("click ctlExclue.cmdSaveFile\n") : QString());
    const auto result = m_harness.runBatch(script);
    ASSERT_EQ(result.exitCode, 0) << result.errors.toStdString();
    EXPECT_EQ(result.output, QString::fromLatin1(c.printed) + u'\n');
    const QString printed = QString::fromLatin1(c.printed);
    EXPECT_EQ(readFile("ExcludedTables.txt"),
              c.saved ? QString(printed).replace(QStringLiteral("\\r\\n"), QStringLiteral("\r\n")).toLatin1()
                      : QByteArray("Lab..tbResults\r\n"));
}

const GridClickCase gridClickCases[] = {
    {"notTicked", false, 2, "Lab..tbResults\\r\\n", false},
    {"firstDataRow", true, 1, "Lab..tbResults\\r\\nBilling..tbCashPatient\\r\\n", false},
    {"secondDataRow", true, 2, "Lab..tbResults\\r\\nPatient_data..tbMaster3\\r\\n", false},
    {"headerRowAddsTheColumnNames", true, 0, "Lab..tbResults\\r\\nDatabase..Table\\r\\n", false},
    {"savedAddsExactlyOneLine", true, 1, "Lab..tbResults\\r\\nBilling..tbCashPatient\\r\\n", true},
};

INSTANTIATE_TEST_SUITE_P(Clicks, GridClickTest, testing::ValuesIn(gridClickCases), qormin::test::RowName());

struct NameCase {
    const char* name;
    const char* script;
    const char* reason;
};

class PanelNameTest : public ConfigAnonymizePageTest, public ::testing::WithParamInterface<NameCase> {};

// The panels' inner controls share their names, so batch mode wants the panel named too.
TEST_P(PanelNameTest, refusesWithReason) {
    const auto result = run(GetParam().script);
    EXPECT_EQ(result.exitCode, 2);
    EXPECT_TRUE(result.errors.contains(QString::fromLatin1(GetParam().reason)))
        << result.errors.toStdString();
}

const NameCase nameCases[] = {
    {"bareInnerName", "click txtFileVal",
     "\"txtFileVal\" is inside a text-file panel; name the panel too: ctlExclue.txtFileVal, "
     "ctlATables.txtFileVal"},
    {"unknownInnerName", "print ctlExclue.txtNothing", "unknown control \"ctlExclue.txtNothing\""},
    {"unknownPanel", "print ctlNothing.txtFileVal", "window \"ctlNothing\" is not open"},
    {"saveBeforeBinding", "click ctlExclue.cmdSaveFile", "\"cmdSaveFile\" is disabled"},
};

INSTANTIATE_TEST_SUITE_P(Names, PanelNameTest, testing::ValuesIn(nameCases), qormin::test::RowName());

} // namespace
