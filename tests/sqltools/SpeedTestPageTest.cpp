#include "SqlToolsFixture.h"

#include "db/ServerAccess.h"
#include "sqltools/SpeedTestPage.h"
#include "sqltools/SpeedTestStatements.h"

#include <QLabel>
#include <QLineEdit>
#include <set>

namespace qormin::test {

namespace {

namespace Statements = sqltools::SpeedTestStatements;

// Station has no SpeedTest table: every statement on it is refused.
class SpeedTestPageTest : public SqlToolsFixture {
protected:
    QByteArray rules() const override {
        return R"json(
    {"regex": "Station\\.\\.SpeedTest", "response": {"error": {"number": 208, "text": "Invalid object name 'Station..SpeedTest'."}}},
    {"exact": "select top 5000 * from Billing..SpeedTest",
     "response": {"result": {"columns": ["DESC2:varchar(100)", "TransDate:datetime"], "generate": 5000}}},
)json";
    }

    sqltools::SpeedTestPage* page() { return window().findChild<sqltools::SpeedTestPage*>(); }
    QString testConnection() const {
        return QStringLiteral("Provider=SQLOLEDB;Server=%1;UID=sa;Database=MASTER;Password=x")
            .arg(server().address());
    }
    SimTestServer& server() const { return const_cast<SpeedTestPageTest*>(this)->SqlToolsFixture::server(); }
};

TEST_F(SpeedTestPageTest, fourStepsRunInOrderEachOnAConnectionOfItsOwn) {
    // The default connection names the left server and shows its password masked, filled in as
    // it runs; the test types its own.
    const QString shown = page()->txtTESTConnection()->text();
    EXPECT_FALSE(shown.contains(QStringLiteral("harbor@579"))) << shown.toStdString();
    EXPECT_EQ(Statements::withPassword(shown, QStringLiteral("harbor@579")),
              Statements::defaultConnection(server().address()));
    const BatchResult result =
        run(QStringLiteral("set txtTESTConnection %1\nclick cmdTest(0)\nclick cmdTest(1)\n"
                           "click cmdTest(2)\nclick cmdTest(3)\nclick cmdTestCopy\n")
                .arg(testConnection()));
    EXPECT_EQ(result.exitCode, 0) << result.log.toStdString();
    const QStringList sent = statements();
    constexpr int rows = 5000;
    ASSERT_EQ(sent.size(), 1 + Statements::insertCount + Statements::deleteCount + 1 + rows + 1 + 1);
    QStringList expected{Statements::createTable(QStringLiteral("Billing"))};
    QDate date = Statements::firstDate();
    for (int number = 1; number <= Statements::insertCount; ++number, date = date.addDays(1))
        expected.append(Statements::insertRow(QStringLiteral("Billing"), number, date));
    for (int number = 1; number <= Statements::deleteCount; ++number)
        expected.append(Statements::deleteOneRow(QStringLiteral("Billing")));
    // The read walks a cursor row by row, one fetch per row and one that finds the end.
    expected.append(Statements::openReadCursor(QStringLiteral("Billing")));
    for (int row = 0; row <= rows; ++row)
        expected.append(Statements::fetchReadCursor());
    expected.append(Statements::closeReadCursor());
    EXPECT_EQ(sent, expected);
    std::set<int> connections;
    for (const auto& request : server().requests())
        connections.insert(request.connection);
    EXPECT_EQ(connections.size(), 4);
    EXPECT_EQ(connections.count(leftConnection()), 0);
    bool isNumber = false;
    page()->lblTime()->text().toFloat(&isNumber);
    EXPECT_TRUE(isNumber) << page()->lblTime()->text().toStdString();
    EXPECT_TRUE(logLines().isEmpty());
}

TEST_F(SpeedTestPageTest, failuresAreOneLogLinePerStep) {
    const BatchResult result =
        run(QStringLiteral("set txtTESTConnection %1\nset txtDB Station\nclick cmdTest(2)\n"
                           "set txtTESTConnection Provider=SQLOLEDB;Server=127.0.0.1,1;UID=sa\n"
                           "click cmdTest(0)\n")
                .arg(testConnection()));
    EXPECT_EQ(result.exitCode, 1);
    const QStringList lines = logLines();
    ASSERT_EQ(lines.size(), 2);
    EXPECT_TRUE(lines[0].startsWith(QStringLiteral("Create Table: the test connection failed: ")))
        << lines[0].toStdString();
    EXPECT_EQ(lines[1],
              QStringLiteral(
                  "Test Delete: 5000 of 5000 statements failed: Invalid object name 'Station..SpeedTest'."));
    EXPECT_EQ(window().serverAccess().tally().failed, 5000 + 1);
}

// A step whose connection does not open sent nothing, yet it failed: a batch run says so.
TEST_F(SpeedTestPageTest, aTestConnectionThatFailsIsAFailedStatement) {
    const BatchResult result = run(QStringLiteral(
        "set txtTESTConnection Provider=SQLOLEDB;Server=127.0.0.1,1;UID=sa\nclick cmdTest(3)\n"));
    EXPECT_EQ(result.exitCode, 1) << result.log.toStdString();
    EXPECT_EQ(window().serverAccess().tally().failed, 1);
    EXPECT_TRUE(logLines().value(0).startsWith(QStringLiteral("Test Read: the test connection failed: ")));
}

TEST_F(SpeedTestPageTest, scriptOnlyWithholdsTheChanges) {
    const BatchResult result =
        run(QStringLiteral("set txtTESTConnection %1\nset chkScriptOnly 1\nclick cmdTest(0)\n")
                .arg(testConnection()));
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_TRUE(statements().isEmpty());
    EXPECT_EQ(window().serverAccess().withheldStatements(),
              QStringList(Statements::createTable(QStringLiteral("Billing"))));
}

} // namespace

} // namespace qormin::test
