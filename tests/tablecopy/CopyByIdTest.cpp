#include "QStringPrinter.h"
#include "SimTestServer.h"
#include "WindowHarness.h"

#include "RowName.h"
#include "db/LogBuffer.h"
#include "db/ServerAccess.h"
#include "platform/SettingsStore.h"

#include <QJsonObject>
#include <gtest/gtest.h>
#include <memory>

namespace qormin::test {
namespace {

using qormin::test::PrintTo;

// Left (database 1): Billing lists tbPatients, tbNoId and tbLeftOnly; tbPatients holds 106305 and
// has an identity and a computed column, a column of its own, and lacks the right's rightOnly.
const QByteArray leftRules = R"json(
    {"prefix": " SELECT     t.NAME AS TableName", "database": "Billing", "response": {"result": {
      "columns": ["TableName:nvarchar(128)"], "rows": [["tbPatients"], ["tbNoId"], ["tbLeftOnly"]]}}},
    {"prefix": " SELECT     t.NAME AS TableName", "database": "Station", "response": {"result": {
      "columns": ["TableName:nvarchar(128)"], "rows": [["tbStation"]]}}},
    {"exact": "Select * from   Billing..tbPatients where idnum = '106305' ", "response": {"result": {
      "columns": ["idnum:int", "name:nvarchar(20)", {"name": "rowid", "type": "int", "identity": true},
                  {"name": "total", "type": "int", "computed": true}, "note:nvarchar(10)"],
      "rows": [[106305, "kept", 1, 2, null]]}}},
    {"prefix": "Select * from   Billing..tbPatients where idnum = ", "response": {"result": {
      "columns": ["idnum:int", "name:nvarchar(20)", {"name": "rowid", "type": "int", "identity": true},
                  {"name": "total", "type": "int", "computed": true}, "note:nvarchar(10)"], "rows": []}}},
    {"prefix": "Select * from   Station..tbStation where idnum = ", "response": {"result": {
      "columns": ["idnum:int"], "rows": []}}},)json";

// Right (database 2): tbLeftOnly is missing, tbNoId has no idnum, tbPatients holds 106300..106310.
const QByteArray rightRules = R"json(
    {"regex": "^select object_id from sys.tables where name='tb(Patients|NoId|Station)'$", "response": {"result": {
      "columns": ["object_id:nvarchar(20)"], "rows": [["100{1}"]]}}},
    {"prefix": "select object_id from sys.tables", "response": {"result": {"columns": ["object_id:int"], "rows": []}}},
    {"regex": "^Select \\* From sys.columns where object_id = '100(Patients|Station)'  and name ='idnum' $",
     "response": {"result": {"columns": ["name:nvarchar(128)"], "rows": [["idnum"]]}}},
    {"prefix": "Select * From sys.columns", "response": {"result": {"columns": ["name:nvarchar(128)"], "rows": []}}},
    {"prefix": "select * from sys.tables where name=", "response": {"result": {
      "columns": ["name:nvarchar(128)"], "rows": [["t"]]}}},
    {"exact": "select * from Billing..tbPatients where idnum >= '106300' and idnum <= '106310'", "response": {"result": {
      "columns": [{"name": "IDNum", "type": "int", "generate": {"start": 106300}},
                  {"name": "name", "type": "nvarchar(20)", "generate": {"template": "Patient {n}"}},
                  "rowid:int", "total:int", "rightOnly:int"], "generate": 11}}},
    {"prefix": "select * from Station..tbStation", "response": {"result": {"columns": ["IDNum:int"], "rows": []}}},)json";

QByteArray scenario(const QByteArray& extra, const QByteArray& rules) {
    return QByteArray(R"json({"rules": [)json") + extra + rules + QByteArray(R"json(
    {"exact": "SELECT name FROM sys.databases where database_id >= 5 order by name ",
     "response": {"result": {"columns": ["name:nvarchar(128)"], "rows": [["Billing"], ["Station"]]}}}
  ]})json");
}

const QString patientsRange =
    QStringLiteral("select * from Billing..tbPatients where idnum >= '106300' and idnum <= '106310'");

class CopyByIdTest : public testing::Test {
protected:
    void SetUp() override {
        m_servers[0] = SimTestServer::fromJson(scenario(extraRules(0), leftRules));
        m_servers[1] = SimTestServer::fromJson(scenario(extraRules(1), rightRules));
        for (int side = 0; side < 2; ++side) {
            ASSERT_TRUE(m_servers[side] && m_servers[side]->isRunning());
            m_harness.storeConnection(side, m_servers[side]->address(), QStringLiteral("secret"));
        }
        m_harness.load();
        for (auto& server : m_servers)
            server->clearTranscript();
        m_harness.window().serverAccess().log().clear();
    }
    virtual QByteArray extraRules(int /*side*/) const { return QByteArray(); }

    BatchResult run(const QString& script) {
        return m_harness.runBatch(script + QStringLiteral("click cmdCopybyRecID\n"));
    }
    QStringList statements(int side) const { return m_servers[side]->statements(); }
    std::vector<sim::TranscriptEntry> inserts() const {
        std::vector<sim::TranscriptEntry> found;
        for (const auto& entry : m_servers[0]->requests())
            if (entry.text.startsWith(QStringLiteral("INSERT"), Qt::CaseInsensitive))
                found.push_back(entry);
        return found;
    }
    QString log() { return m_harness.window().serverAccess().log().text(); }
    QString errors() { return m_harness.window().serverAccess().errors().text(); }

    std::unique_ptr<SimTestServer> m_servers[2];
    WindowHarness m_harness;
};

TEST_F(CopyByIdTest, AddsTheMissingRecordsByNameAndCountsTheOnesThere) {
    run(QStringLiteral("select GridDB(0) 1\n"));

    EXPECT_EQ(statements(1),
              (QStringList{"Use Billing", "select object_id from sys.tables where name='tbPatients'",
                           "Select * From sys.columns where object_id = '100Patients'  and name ='idnum' ",
                           " Exec sp_defaultdb @loginame='sa', @defdb='Billing'", "Use Billing",
                           "select * from sys.tables where name='tbPatients'", patientsRange,
                           "select object_id from sys.tables where name='tbNoId'",
                           "Select * From sys.columns where object_id = '100NoId'  and name ='idnum' ",
                           "select object_id from sys.tables where name='tbLeftOnly'"}));
    const QStringList left = statements(0);
    ASSERT_GE(left.size(), 3);
    EXPECT_EQ(left[0], QStringLiteral("use Billing"));
    EXPECT_EQ(left[2], QStringLiteral(" Exec sp_defaultdb @loginame='sa', @defdb='Billing'"));
    EXPECT_EQ(left.filter(QStringLiteral("Select * from   Billing..tbPatients where idnum = '")).size(), 11);
    EXPECT_EQ(left.size(), 3 + 11 + 10);

    // Matched by name: the identity and computed columns, rightOnly and the left's note are left out.
    const auto added = inserts();
    ASSERT_EQ(added.size(), 10u);
    int row = 0; // the range's row number, which the generated name carries
    for (const auto& insert : added) {
        row += row == 5 ? 2 : 1; // 106305 is row 6
        EXPECT_EQ(insert.text,
                  QStringLiteral("INSERT INTO Billing..tbPatients ([idnum], [name]) VALUES (@P1, @P2)"));
        ASSERT_EQ(insert.parameters.size(), 2);
        EXPECT_EQ(insert.parameters[0].toObject()[QStringLiteral("value")].toInt(), 106299 + row);
        EXPECT_EQ(insert.parameters[1].toObject()[QStringLiteral("value")].toString(),
                  QStringLiteral("Patient %1").arg(row));
    }
    EXPECT_TRUE(log().contains(QStringLiteral("Records added to tbPatients: 10  exist:1\r\n")));
    EXPECT_TRUE(log().startsWith(QStringLiteral("table not found in database 2 tbLeftOnly\r\n")));
    EXPECT_FALSE(log().contains(QStringLiteral("tbNoId")));
    // The columns left out are named once each, with the first record they cost.
    EXPECT_EQ(errors(),
              QStringLiteral("Left out of every row: Billing..tbPatients, IDNum = 106300, column rightOnly: "
                             "the table has no column of that name\r\n"
                             "Left out of every row: Billing..tbPatients, IDNum = 106300, column rowid: an "
                             "identity column while IDENTITY_INSERT is off\r\n"));
}

TEST_F(CopyByIdTest, WalksEveryDatabaseThroughTheGridDoubleClick) {
    run(QStringLiteral("set chkALL 1\n"));

    const QStringList left = statements(0);
    const QStringList switches =
        left.filter(QRegularExpression(QStringLiteral("^(use|( Exec sp_defaultdb))")));
    EXPECT_EQ(switches, (QStringList{"use Billing", " Exec sp_defaultdb @loginame='sa', @defdb='Billing'",
                                     "use Station", " Exec sp_defaultdb @loginame='sa', @defdb='Station'"}));
    EXPECT_EQ(inserts().size(), 10u);
    EXPECT_TRUE(log().startsWith(QStringLiteral("Records added to tbStation: 0  exist:0\r\n")));
}

TEST_F(CopyByIdTest, ScriptOnlyLooksUpAndCollectsTheInserts) {
    run(QStringLiteral("set chkScriptOnly 1\nselect GridDB(0) 1\n"));

    EXPECT_TRUE(inserts().empty());
    for (int side : {0, 1})
        EXPECT_EQ(statements(side).filter(QStringLiteral("sp_defaultdb")).size(), 0) << side;
    EXPECT_EQ(statements(0).filter(QStringLiteral("where idnum = ")).size(), 11);
    const QStringList withheld = m_harness.window().serverAccess().withheldStatements();
    EXPECT_EQ(
        withheld.filter(QStringLiteral("INSERT INTO Billing..tbPatients ([idnum], [name]) VALUES (")).size(),
        10);
    EXPECT_EQ(withheld.filter(QStringLiteral("sp_defaultdb")).size(), 2);
    EXPECT_TRUE(log().contains(QStringLiteral("Records added to tbPatients: 10  exist:1\r\n")));
}

struct RefusalCase {
    const char* name;
    const char* script;
};

class CopyByIdRefusalTest : public CopyByIdTest, public testing::WithParamInterface<RefusalCase> {};

// Nothing at all is sent: neither the table list nor a look-up.
TEST_P(CopyByIdRefusalTest, SendsNothing) {
    run(QString::fromUtf8(GetParam().script));
    EXPECT_TRUE(statements(0).isEmpty()) << statements(0).join(QLatin1Char('\n')).toStdString();
    EXPECT_TRUE(statements(1).isEmpty());
    EXPECT_TRUE(log().contains(QStringLiteral("holds a quote; nothing was sent")));
}

INSTANTIATE_TEST_SUITE_P(IdTexts, CopyByIdRefusalTest,
                         testing::Values(RefusalCase{"start", "set txtStartIDNum 106300' or 1=1\n"},
                                         RefusalCase{"end", "set txtENDIDNum '\n"}),
                         qormin::test::RowName());

TEST_F(CopyByIdTest, StopEndsTheTableLoop) {
    run(QStringLiteral("select GridDB(0) 1\nset chkStop 1\n"));
    EXPECT_EQ(statements(1), QStringList{"Use Billing"});
    EXPECT_TRUE(inserts().empty());
}

// tbHuge holds 32,768 records in range, all already on the left: one more than the counter takes.
class CopyByIdOverflowTest : public CopyByIdTest {
protected:
    QByteArray extraRules(int side) const override {
        if (side == 0) {
            return R"json(
    {"prefix": " SELECT     t.NAME AS TableName", "database": "Billing", "response": {"result": {
      "columns": ["TableName:nvarchar(128)"], "rows": [["tbHuge"], ["tbPatients"]]}}},
    {"prefix": "Select * from   Billing..tbHuge where idnum = ", "response": {"result": {
      "columns": ["idnum:int"], "rows": [[1]]}}},)json";
        }
        return R"json(
    {"exact": "select object_id from sys.tables where name='tbHuge'", "response": {"result": {
      "columns": ["object_id:nvarchar(20)"], "rows": [["100Patients"]]}}},
    {"prefix": "select * from Billing..tbHuge", "response": {"result": {"columns": ["IDNum:int"], "generate": 32768}}},)json";
    }
};

TEST_F(CopyByIdOverflowTest, IsAnErrorForThatTableAndTheRunGoesOn) {
    run(QStringLiteral("select GridDB(0) 1\n"));
    EXPECT_TRUE(errors().endsWith(QStringLiteral(
        "Overflow: more than 32767 records already there in tbHuge; the table was left there\r\n")));
    EXPECT_FALSE(log().contains(QStringLiteral("Records added to tbHuge")));
    EXPECT_TRUE(log().contains(QStringLiteral("Records added to tbPatients: 10  exist:1\r\n")));
    EXPECT_EQ(statements(0).filter(QStringLiteral("Billing..tbHuge where idnum = ")).size(), 32768);
}

} // namespace
} // namespace qormin::test
