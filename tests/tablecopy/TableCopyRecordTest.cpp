#include "TableCopyToolsFixture.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLabel>

namespace qormin::test {
namespace {

// Row-by-row copies: rows stream from a cursor over the source and go in as typed INSERTs.
const QByteArray recordScenario = R"json({
  "login": {"user": "sa", "password": "demo"},
  "rules": [
    {"exact": "SELECT * FROM Billing..tbRows",
     "response": {"result": {"columns": ["id:int", "name:nvarchar(20)"], "generate": 250}}},
    {"exact": "SELECT TOP 1 * FROM Billing2..tbRows",
     "response": {"result": {"columns": ["id:int", "name:nvarchar(20)"], "generate": 1}}},
    {"exact": "SELECT TOP 1 * FROM Billing..tbRows_NEW2",
     "response": {"result": {"columns": ["id:int", "name:nvarchar(20)"], "generate": 1}}},
    {"exact": "SELECT * FROM Billing..tbBad",
     "response": {"result": {"columns": ["id:int"], "generate": 3}}},
    {"exact": "SELECT TOP 1 * FROM Billing2..tbBad", "response": {"result": {"columns": ["id:int"], "generate": 1}}},
    {"prefix": "INSERT INTO Billing2..tbBad",
     "response": {"error": {"number": 2627, "severity": 14, "text": "Violation of PRIMARY KEY constraint."}}},
    {"exact": "SELECT * FROM Billing..tbTypes", "response": {"result": {"columns": [
        "i:int", "b:bigint", "d:decimal(12,2)", "f:float", "flag:bit", "at:datetime", "u:nvarchar(20)",
        "bin:varbinary(10)", "t:text", "n:int"],
      "rows": [[7, 9000000000, "12.50", 1.5, true, "2024-01-31 10:20:30.123", "Zoë Ωmega", "0x01AB", "long text", null]]}}},
    {"exact": "SELECT TOP 1 * FROM Billing2..tbTypes", "response": {"result": {"columns": [
        "i:int", "b:bigint", "d:decimal(12,2)", "f:float", "flag:bit", "at:datetime", "u:nvarchar(20)",
        "bin:varbinary(10)", "t:text", "n:int"], "rows": []}}}
  ]
})json";

class RecordCopyTest : public TableCopyToolsTest {
protected:
    void SetUp() override {
        start(recordScenario);
        QObject::connect(m_tools.get(), &TableCopyTools::copyProgress, m_tools.get(),
                         [this](qint32 copied) { m_progress.append(copied); });
    }

    QList<qormin::sim::TranscriptEntry> inserts() const {
        QList<qormin::sim::TranscriptEntry> found;
        for (const auto& entry : m_server->requests()) {
            if (entry.kind == QLatin1String("rpc") && entry.text.startsWith(QLatin1String("INSERT INTO")))
                found.append(entry);
        }
        return found;
    }

    QList<qint32> m_progress;
};

TEST_F(RecordCopyTest, copiesEveryRowShowingProgressEveryHundred) {
    showTables({QStringLiteral("tbRows")});
    click(QStringLiteral("cmdCopyTables"));
    EXPECT_EQ(m_progress, (QList<qint32>{100, 200}));
    EXPECT_EQ(m_tools->lblCnt()->text(), QStringLiteral("200"));
    EXPECT_EQ(logLines(), (QStringList{"tbRows", "copied 250", "errors 0", "Done copying"}));
    EXPECT_EQ(inserts().size(), 250);
    const QStringList sent = m_server->statements();
    ASSERT_GE(sent.size(), 5);
    EXPECT_EQ(sent.mid(0, 4),
              (QStringList{"Use Billing", "SELECT top 1 * INTO Billing2..tbRows FROM Billing..tbRows",
                           "truncate table Billing2..tbRows ", "SET IDENTITY_INSERT Billing2..tbRows ON"}));
    EXPECT_EQ(sent.back(), QStringLiteral("SET IDENTITY_INSERT Billing2..tbRows OFF"));
    // Flat memory: the source is read through a cursor, never as one result.
    EXPECT_FALSE(sent.contains(QStringLiteral("SELECT * FROM Billing..tbRows")));
}

TEST_F(RecordCopyTest, aRefusedRowIsCountedAndTheNextRowTried) {
    showTables({QStringLiteral("tbBad")});
    click(QStringLiteral("cmdCopyTables"));
    EXPECT_EQ(inserts().size(), 3);
    EXPECT_EQ(logLines(), (QStringList{"tbBad", "copied 3", "errors 3", "Done copying"}));
}

TEST_F(RecordCopyTest, stopTickedDuringTheCopyEndsItAtTheNextRow) {
    showTables({QStringLiteral("tbRows")});
    QObject::connect(m_tools.get(), &TableCopyTools::copyProgress, &m_stop,
                     [this] { m_stop.setChecked(true); });
    click(QStringLiteral("cmdCopyTables"));
    EXPECT_EQ(inserts().size(), 100);
    EXPECT_EQ(logLines(), (QStringList{"tbRows", "copied 100", "errors 0", "Done copying"}));
}

TEST_F(RecordCopyTest, valuesOfEveryKindArriveIntactByPosition) {
    showTables({QStringLiteral("tbTypes")});
    click(QStringLiteral("cmdCopyTables"));
    const auto sent = inserts();
    ASSERT_EQ(sent.size(), 1);
    QStringList values;
    for (const auto& parameter : sent.front().parameters) {
        values.append(
            QString::fromUtf8(QJsonDocument(QJsonArray{parameter.toObject().value(QStringLiteral("value"))})
                                  .toJson(QJsonDocument::Compact)));
    }
    EXPECT_EQ(values, (QStringList{"[7]", "[9000000000]", "[\"12.50\"]", "[1.5]", "[true]",
                                   "[\"2024-01-31T10:20:30.1230000\"]", "[\"Zoë Ωmega\"]", "[\"0x01AB\"]",
                                   "[\"long text\"]", "[null]"}));
    EXPECT_EQ(logLines(), (QStringList{"tbTypes", "copied 1", "errors 0", "Done copying"}));
}

TEST_F(RecordCopyTest, copyToNewStreamsIntoTheSisterTableOfTheSameDatabase) {
    showTables({QStringLiteral("tbRows")});
    click(QStringLiteral("cmdCopytoNEW"));
    EXPECT_EQ(inserts().size(), 250);
    EXPECT_EQ(m_progress, (QList<qint32>{100, 200}));
    EXPECT_EQ(logLines(), (QStringList{"tbRows", "copied 250", "errors 0"}));
}

} // namespace
TEST_F(TableCopyToolsTest, copyToNewReplacesTheSisterTableInTheSameDatabase) {
    m_tools->chkAllTables()->setChecked(true); // the button works on the current row only
    click(QStringLiteral("cmdCopytoNEW"));
    const QStringList sent = m_server->statements();
    const QStringList before{
        "Use Billing",
        "use Billing",
        "SELECT * FROM sys.objects WHERE object_id = OBJECT_ID(N'tbCash_NEW2') AND type in (N'U')",
        "drop table Billing..tbCash_NEW2 ",
        "select top 1 * from  Billing..tbCash",
        "select top  1 * into Billing..tbCash_NEW2  from Billing..tbCash",
        "SET IDENTITY_INSERT Billing..tbCash_NEW2 ON",
        "truncate table Billing..tbCash_NEW2  "};
    ASSERT_GE(sent.size(), before.size() + 1);
    EXPECT_EQ(sent.mid(0, before.size()), before);
    EXPECT_EQ(sent.back(), QStringLiteral("SET IDENTITY_INSERT Billing..tbCash_NEW2 OFF"));
    EXPECT_EQ(logLines().front(), QStringLiteral("tbCash"));
}

} // namespace qormin::test
