#include "SqlToolsFixture.h"

#include "sqltools/CrLfText.h"
#include "sqltools/SpReplacePage.h"
#include "sqltools/SpReplaceStatements.h"

#include <QDir>
#include <QFile>
#include <QPlainTextEdit>

namespace qormin::test {

namespace {

const QString listing =
    QStringLiteral(" SELECT * FROM temp ORDER BY [Database_Name], [Object_Name], [Object_Type]");

// Temp of Billing lists two procedures of two databases; Station has no Temp yet, and its
// search finds nothing.
class SpReplacePageTest : public SqlToolsFixture {
protected:
    QByteArray rules() const override {
        return QByteArray(R"json(
    {"exact": "DROP TABLE Temp", "database": "Station",
     "response": {"error": {"number": 3701, "severity": 11, "text": "Cannot drop the table 'Temp', because it does not exist or you do not have permission."}}},
    {"exact": " SELECT * FROM temp ORDER BY [Database_Name], [Object_Name], [Object_Type]", "database": "Billing",
     "response": {"result": {"columns": ["Database_Name:nvarchar(128)", "Schema_Name:nvarchar(128)", "Object_Name:nvarchar(128)", "Object_Type:nvarchar(60)", "definition:text"],
                             "rows": [["Billing", "dbo", "spCash", "SQL_STORED_PROCEDURE", "CREATE PROCEDURE spCash AS\r\nSELECT 1 WHERE IsNull(A.RecordStatus,'') = 'X'"],
                                      ["Station", "dbo", "spBeds", "SQL_STORED_PROCEDURE", "create  procedure spBeds AS SELECT 2"]]}}},
    {"exact": " SELECT * FROM temp ORDER BY [Database_Name], [Object_Name], [Object_Type]",
     "response": {"result": {"columns": ["Database_Name:nvarchar(128)", "definition:text"], "rows": []}}},
)json");
    }

    sqltools::SpReplacePage* page() { return window().findChild<sqltools::SpReplacePage*>(); }
    QString script() { return sqltools::CrLfText::text(*page()->txtSPSpec()); }
};

const QString billingListing = QStringLiteral(
    "USE Billing\r\nGO\r\nCREATE PROCEDURE spCash AS\r\nSELECT 1 WHERE IsNull(A.RecordStatus,'') = "
    "'X'\r\nGO\r\n--------------\r\nUSE Station\r\nGO\r\ncreate  procedure spBeds AS SELECT "
    "2\r\nGO\r\n--------------\r\n");

TEST_F(SpReplacePageTest, searchRecreatesTempOnTheLeftConnectionAndListsItsModules) {
    const BatchResult result = run(QStringLiteral("set txtSearchSP O'Brien\nclick cmdReloadSPs\n"));
    EXPECT_EQ(result.exitCode, 0) << result.log.toStdString();
    EXPECT_EQ(statements(),
              QStringList({QStringLiteral("USE [Billing]"), QStringLiteral("DROP TABLE Temp"),
                           sqltools::SpReplaceStatements::searchBatch(QStringLiteral("O'Brien")),
                           QStringLiteral("USE [Billing]"), listing}));
    for (const auto& request : server().requests())
        EXPECT_EQ(request.connection, leftConnection());
    EXPECT_TRUE(statements().at(2).contains(QStringLiteral("Like ''%O''''Brien%'' '")));
    EXPECT_EQ(script(), billingListing);
    EXPECT_EQ(logLines(), QStringList({QStringLiteral("Done"), QStringLiteral("Done")}));
}

TEST_F(SpReplacePageTest, searchWithoutTempAndWithoutMatchesLeavesTheScriptEmpty) {
    page()->txtSPSpec()->setPlainText(QStringLiteral("old"));
    const BatchResult result =
        run(QStringLiteral("set txtDB Station\nset txtSearchSP nowhere\nclick cmdReloadSPs\n"));
    EXPECT_EQ(result.exitCode, 1); // the refused DROP is passed over but still counts
    EXPECT_EQ(statements().size(), 5);
    EXPECT_EQ(script(), QString());
    EXPECT_EQ(logLines(), QStringList({QStringLiteral("Done"), QStringLiteral("Done")}));
}

TEST_F(SpReplacePageTest, listReplaceAndSaveEditTheScriptAndWriteBothFiles) {
    const QString data = harness().folder(QStringLiteral("data"));
    page()->cmdSPTemplate_Click(3);
    page()->cmdSPTemplate_Click(4);
    page()->cmdSPTemplate_Click(5); // no such template: the boxes keep the fourth
    const BatchResult result = run(QStringLiteral("click cmdListSP\nclick cmdReplaceSP\nclick cmdSaveSP\n"));
    EXPECT_EQ(result.exitCode, 0) << result.errors.toStdString();
    EXPECT_EQ(statements(), QStringList({QStringLiteral("USE [Billing]"), listing}));
    const QString rewritten =
        QString(billingListing)
            .replace(QStringLiteral("CREATE PROCEDURE"), QStringLiteral("ALTER PROCEDURE"))
            .replace(QStringLiteral("create  procedure"), QStringLiteral("ALTER PROCEDURE"))
            .replace(QStringLiteral("IsNull(A.RecordStatus,'') = '"), QStringLiteral("A.RecordStatus = '"));
    EXPECT_EQ(script(), rewritten);
    const QStringList files = QDir(data).entryList({QStringLiteral("SP*.txt")}, QDir::Files, QDir::Name);
    ASSERT_EQ(files.size(), 2) << files.join(u' ').toStdString();
    EXPECT_TRUE(files[0].startsWith(QStringLiteral("SPAfter")));
    EXPECT_TRUE(files[1].startsWith(QStringLiteral("SPBefore")));
    for (const QString& name : files) {
        QFile file(QDir(data).filePath(name));
        ASSERT_TRUE(file.open(QIODevice::ReadOnly));
        EXPECT_EQ(QString::fromUtf8(file.readAll()), rewritten);
    }
    EXPECT_EQ(logLines().first(), QStringLiteral("Done"));
}

TEST_F(SpReplacePageTest, aRefusedDatabaseNameSendsNothing) {
    const BatchResult result =
        run(QStringLiteral("set txtDB Billing;DROP DATABASE Billing\nclick cmdReloadSPs\n"));
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_TRUE(statements().isEmpty());
    EXPECT_EQ(logLines().size(), 1);
}

} // namespace

} // namespace qormin::test
