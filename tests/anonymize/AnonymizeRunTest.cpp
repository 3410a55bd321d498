#include "QStringPrinter.h"
#include "SimTestServer.h"
#include "WindowHarness.h"

#include "anonymize/AnonymizePage.h"
#include "anonymize/AnonymizeStatements.h"

#include "RowName.h"
#include "db/ServerAccess.h"

#include <QCheckBox>
#include <QJsonObject>
#include <QLabel>
#include <QRegularExpression>
#include <gtest/gtest.h>
#include <map>

namespace {

using qormin::test::PrintTo;

using qormin::anonymize::AnonymizePage;
using qormin::test::SimTestServer;
using qormin::test::WindowHarness;

// tbMaster3 has a key, tbCashPatient none; tbMedPatient is a one-column line; tbGone is missing.
// The real names are on neither list, so any of them left behind would show.
const QByteArray scenario = R"json({
  "rules": [
    {"exact": "SELECT * FROM Patient_data..tbMaster3", "response": {"result": {
      "columns": ["IDNum:int", "LastName:nvarchar(50)", "FirstName:nvarchar(50)", "MiddleName:nvarchar(50)"],
      "rows": [[1, "Zyskowski", "Quenby", "Orlagh"], [2, "QUARRINGTON", "Ysolde", null],
               [3, "Vandermolen", "", "Quenby"]]}}},
    {"exact": "SELECT * FROM Billing..tbCashPatient", "response": {"result": {
      "columns": ["LastName:nvarchar(50)", "FirstName:nvarchar(50)", "Amount:int"],
      "rows": [["zyskowski", "Quenby", 5], [null, "Ysolde", 7]]}}},
    {"exact": "SELECT * FROM Billing..tbShort", "response": {"result": {
      "columns": ["LastName:nvarchar(50)", "FirstName:nvarchar(50)", "MiddleName:nvarchar(1)"],
      "rows": [["Zyskowski", "Quenby", "O"], ["Vandermolen", "Ysolde", "Q"]]}}},
    {"exact": "SELECT COUNT(*) FROM Billing..tbShort", "response": {"result": {"columns": ["n:int"], "rows": [[2]]}}},
    {"exact": "SELECT * FROM Medicare..tbMedPatient", "response": {"result": {
      "columns": ["LastName:nvarchar(50)"], "rows": [["Zyskowski"], ["Quarrington"]]}}},
    {"exact": "SELECT * FROM Lab..tbMany", "response": {"result": {
      "columns": ["LastName:nvarchar(50)", {"name": "FirstName", "type": "nvarchar(50)", "generate": {"template": "Given {n}"}},
                  {"name": "MiddleName", "type": "nvarchar(50)", "generate": {"template": "Middle {n}"}}],
      "generate": 200}}},
    {"exact": "SELECT * FROM Names..tbNvarchar", "response": {"result": {
      "columns": ["LastName:nvarchar(50)", "FirstName:nvarchar(50)"], "rows": [["Zyskowski", "Quenby"]]}}},
    {"exact": "SELECT * FROM Names..tbVarchar", "response": {"result": {
      "columns": ["LastName:nvarchar(50)", "FirstName:varchar(50)"], "rows": [["Zyskowski", "Quenby"]]}}},
    {"exact": "SELECT * FROM Names..tbShort", "response": {"result": {
      "columns": ["LastName:nvarchar(50)", "FirstName:nvarchar(3)"], "rows": [["Zyskowski", "Quenby"]]}}},
    {"regex": "^SELECT COUNT\\(\\*\\) FROM Names\\.\\.\\w+$", "response": {"result": {"columns": ["n:int"], "rows": [[1]]}}},
    {"prefix": "SELECT COUNT(*) FROM Names..", "response": {"result": {"columns": ["n:int"], "rows": [[0]]}}},
    {"exact": "SELECT * FROM Missing..tbGone", "response": {"error": {"number": 208, "text": "Invalid object name 'Missing..tbGone'."}}},
    {"regex": "^SELECT COUNT\\(\\*\\) FROM (Patient_data\\.\\.tbMaster3|Billing\\.\\.tbCashPatient|Medicare\\.\\.tbMedPatient) WHERE",
     "response": {"result": {"columns": ["n:int"], "rows": [[0]]}}},
    {"exact": "SELECT COUNT(*) FROM Patient_data..tbMaster3", "response": {"result": {"columns": ["n:int"], "rows": [[3]]}}},
    {"exact": "SELECT COUNT(*) FROM Billing..tbCashPatient", "response": {"result": {"columns": ["n:int"], "rows": [[2]]}}},
    {"exact": "SELECT COUNT(*) FROM Medicare..tbMedPatient", "response": {"result": {"columns": ["n:int"], "rows": [[2]]}}},
    {"exact": "SELECT COUNT(*) FROM Lab..tbMany", "response": {"result": {"columns": ["n:int"], "rows": [[200]]}}}
  ]
})json";

const char* const realNames[] = {"Zyskowski", "QUARRINGTON", "Quarrington", "Vandermolen",
                                 "Quenby",    "Ysolde",      "Orlagh",      "zyskowski"};

// One change the run made: table, row of the cursor, column, new value.
struct Change {
    QString table;
    int row;
    QString column;
    QString value;
};

class AnonymizeRunTest : public ::testing::Test {
protected:
    void SetUp() override {
        m_server = SimTestServer::fromJson(scenario);
        ASSERT_TRUE(m_server && m_server->isRunning());
        m_harness.storeConnection(1, m_server->address(), QStringLiteral("pw"));
        m_harness.load();
        m_page = m_harness.window().findChild<AnonymizePage*>();
        ASSERT_NE(m_page, nullptr);
        ASSERT_EQ(run("page 8\n").exitCode, 0);
        m_server->clearTranscript();
    }

    qormin::test::BatchResult run(const QString& script) { return m_harness.runBatch(script); }

    // The tables, the names and the run, typed as an operator would.
    qormin::test::BatchResult anonymize(const QString& tables, const QString& button,
                                        const QString& extra = {}) {
        return run(QStringLiteral("set ctlATables.txtFileVal ") + tables + u'\n' +
                   QStringLiteral("set txtLastNames Surname1\\r\\nSurname2\\r\\nSurname3\\r\\n\n"
                                  "set txtFirstnames Given1\\r\\nGiven2\\r\\nGiven3\\r\\nGiven4\\r\\n\n") +
                   extra + QStringLiteral("answer yes\nclick ") + button + u'\n');
    }

    std::vector<Change> changes() const {
        static const QRegularExpression declare(
            QStringLiteral("^DECLARE (\\S+) CURSOR .* FOR SELECT \\* FROM (\\S+)"));
        std::map<QString, QString> tableOf;
        std::vector<Change> found;
        for (const auto& entry : m_server->requests()) {
            const auto match = declare.match(entry.text);
            if (match.hasMatch())
                tableOf[match.captured(1)] = match.captured(2);
            const QJsonObject effect = entry.json.value(QLatin1String("effect")).toObject();
            const QJsonObject values = effect.value(QLatin1String("values")).toObject();
            for (auto it = values.begin(); it != values.end(); ++it)
                found.push_back({tableOf[effect.value(QLatin1String("cursor")).toString()],
                                 effect.value(QLatin1String("row")).toInt(), it.key(),
                                 it.value().toString()});
        }
        return found;
    }

    QString valueOf(const QString& table, int row, const QString& column) const {
        for (const Change& change : changes()) {
            if (change.table == table && change.row == row && change.column == column)
                return change.value;
        }
        return QStringLiteral("<unchanged>");
    }

    SimTestServer* server() { return m_server.get(); }

    std::unique_ptr<SimTestServer> m_server;
    WindowHarness m_harness;
    AnonymizePage* m_page = nullptr;
};

QString nameList(const QString& pattern, int count) {
    QString names;
    for (int n = 1; n <= count; ++n)
        names +=
            QString(pattern).replace(QStringLiteral("%1"), QString::number(n)) + QStringLiteral("\\r\\n");
    return names;
}

const QString completeTables =
    QStringLiteral("Patient_data..tbMaster3 LastName FirstName MiddleName\\r\\nMissing..tbGone LastName\\r\\n"
                   "Billing..tbCashPatient LastName FirstName\\r\\nMedicare..tbMedPatient LastName\\r\\n");

TEST_F(AnonymizeRunTest, completeRunReplacesEveryNameTheSameWayAndLeavesNoneBehind) {
    const auto result = anonymize(completeTables, QStringLiteral("cmdAnonymizeComplete"),
                                  QStringLiteral("set txtSecret s3cret\n"));
    // The missing table's statement failed, and the batch run says so.
    ASSERT_EQ(result.exitCode, 1) << result.errors.toStdString() << result.log.toStdString();
    EXPECT_TRUE(result.output.contains(QStringLiteral("MSGBOX: Are you sure you want to anonymize ")));
    EXPECT_FALSE(result.output.contains(QStringLiteral("PWD=pw"))) << result.output.toStdString();
    EXPECT_TRUE(result.output.contains(QStringLiteral("MSGBOX: done.")));
    const auto made = changes();
    // 3 + 2 + 2 in tbMaster3, 2 + 1 in tbCashPatient, 2 in tbMedPatient; null and empty stay.
    EXPECT_EQ(made.size(), 12U);
    for (const Change& change : made) {
        EXPECT_FALSE(change.value.isEmpty()) << change.table.toStdString();
        for (const char* real : realNames)
            EXPECT_NE(change.value, QString::fromLatin1(real)) << change.table.toStdString();
        const bool surname = change.column == QLatin1String("LastName");
        EXPECT_TRUE(change.value.startsWith(surname ? QLatin1String("Surname") : QLatin1String("Given"),
                                            Qt::CaseInsensitive))
            << change.value.toStdString();
    }
    EXPECT_EQ(valueOf(QStringLiteral("Patient_data..tbMaster3"), 2, QStringLiteral("MiddleName")),
              QStringLiteral("<unchanged>"));
    EXPECT_EQ(valueOf(QStringLiteral("Patient_data..tbMaster3"), 3, QStringLiteral("FirstName")),
              QStringLiteral("<unchanged>"));
    // All capitals stays all capitals.
    EXPECT_EQ(valueOf(QStringLiteral("Patient_data..tbMaster3"), 2, QStringLiteral("LastName")),
              valueOf(QStringLiteral("Medicare..tbMedPatient"), 2, QStringLiteral("LastName")).toUpper());
    const QString log = result.log;
    EXPECT_TRUE(log.contains(QStringLiteral("Patient_data..tbMaster3: rows visited 3, fields replaced 7, "
                                            "fields left (null/empty) 2, fields failed 0")));
    EXPECT_TRUE(log.contains(QStringLiteral("Billing..tbCashPatient: rows visited 2, fields replaced 3, "
                                            "fields left (null/empty) 1, fields failed 0")));
    EXPECT_TRUE(log.contains(QStringLiteral("Patient_data..tbMaster3: rows still holding one of 6 sampled "
                                            "original names: 0")));
    EXPECT_TRUE(log.contains(QStringLiteral("Invalid object name 'Missing..tbGone'. Missing..tbGone")));
    EXPECT_TRUE(log.contains(QStringLiteral("Records whose names could not all be replaced: 0")));
    EXPECT_FALSE(result.output.contains(QStringLiteral("MSGBOX: Invalid")));

    // The same real name gets the same fake name in every table and run.
    const QString master = QStringLiteral("Patient_data..tbMaster3");
    const QString cash = QStringLiteral("Billing..tbCashPatient");
    const QString surname = valueOf(master, 1, QStringLiteral("LastName"));
    EXPECT_EQ(valueOf(cash, 1, QStringLiteral("LastName")), surname); // "zyskowski"
    EXPECT_EQ(valueOf(QStringLiteral("Medicare..tbMedPatient"), 1, QStringLiteral("LastName")), surname);
    EXPECT_EQ(valueOf(cash, 1, QStringLiteral("FirstName")), valueOf(master, 1, QStringLiteral("FirstName")));
    EXPECT_EQ(valueOf(master, 3, QStringLiteral("MiddleName")),
              valueOf(master, 1, QStringLiteral("FirstName")));

    m_server->clearTranscript();
    ASSERT_EQ(anonymize(completeTables, QStringLiteral("cmdAnonymizeComplete")).exitCode, 1);
    EXPECT_EQ(valueOf(master, 1, QStringLiteral("LastName")), surname) << "the secret box keeps its text";
}

struct FastCase {
    const char* name;
    const char* tables;
    bool testRun;
    size_t changes;
    int exitCode;
};

class FastRunTest : public AnonymizeRunTest, public ::testing::WithParamInterface<FastCase> {};

// The fast run leaves the first listed column alone and gives the others given names.
TEST_P(FastRunTest, changesOnlyTheColumnsAfterTheFirst) {
    const FastCase& c = GetParam();
    m_page->run().setSeed(7);
    const auto result = anonymize(QString::fromLatin1(c.tables), QStringLiteral("cmdAnonymize"),
                                  c.testRun ? QStringLiteral("set chkTestRun 1\n") : QString());
    ASSERT_EQ(result.exitCode, c.exitCode) << result.errors.toStdString() << result.log.toStdString();
    const auto made = changes();
    EXPECT_EQ(made.size(), c.changes);
    for (const Change& change : made) {
        EXPECT_NE(change.column, QStringLiteral("LastName"));
        EXPECT_TRUE(change.value.isEmpty() || change.value.startsWith(QLatin1String("Given")));
    }
    EXPECT_TRUE(result.output.contains(QStringLiteral("MSGBOX: done.")));
    EXPECT_EQ(m_harness.window().findChild<QLabel*>(QStringLiteral("lblRecNo"))->text(), QStringLiteral("2"));
}

const FastCase fastCases[] = {
    // FirstName of both rows; LastName (the first column) and the amount stay.
    {"twoColumns", "Billing..tbCashPatient LastName FirstName", false, 2, 0},
    {"oneColumnLineVisitsButChangesNothing", "Medicare..tbMedPatient LastName", false, 0, 0},
    {"testRunChangesNothing", "Billing..tbCashPatient LastName FirstName", true, 0, 0},
    {"missingTableIsSkipped",
     "Missing..tbGone LastName FirstName\\r\\nBilling..tbCashPatient LastName FirstName", false, 2, 1},
};

INSTANTIATE_TEST_SUITE_P(Lines, FastRunTest, testing::ValuesIn(fastCases), qormin::test::RowName());

// Indexes run to 998 whatever the list holds: a 500-name list leaves about half the names empty.
TEST_F(AnonymizeRunTest, fastRunWithA500NameListWritesEmptyNamesForAboutHalf) {
    const QString names = nameList(QStringLiteral("Given%1"), 500);
    m_page->run().setSeed(11);
    const auto result =
        run(QStringLiteral("set ctlATables.txtFileVal Lab..tbMany LastName FirstName MiddleName\n"
                           "set txtFirstnames ") +
            names + QStringLiteral("\nanswer yes\nclick cmdAnonymize\n"));
    ASSERT_EQ(result.exitCode, 0) << result.errors.toStdString();
    const auto made = changes();
    ASSERT_EQ(made.size(), 400U);
    const auto empty =
        std::count_if(made.begin(), made.end(), [](const Change& c) { return c.value.isEmpty(); });
    EXPECT_GT(empty, 150);
    EXPECT_LT(empty, 250);
}

// A name too long for one column (initials in MiddleName) must not keep the record's other
// real names: the fields go one by one, and the records left with a real name fail the run.
TEST_F(AnonymizeRunTest, fastRunReplacesWhatFitsAndFailsOnTheRest) {
    const QString names = nameList(QStringLiteral("Given%1"), 999);
    const auto result =
        run(QStringLiteral("set ctlATables.txtFileVal Billing..tbShort LastName FirstName MiddleName\n"
                           "set txtFirstnames ") +
            names + QStringLiteral("\nanswer yes\nclick cmdAnonymize\n"));
    EXPECT_EQ(result.exitCode, 1);
    for (int row : {1, 2}) {
        EXPECT_TRUE(valueOf(QStringLiteral("Billing..tbShort"), row, QStringLiteral("FirstName"))
                        .startsWith(QLatin1String("Given")));
        EXPECT_EQ(valueOf(QStringLiteral("Billing..tbShort"), row, QStringLiteral("MiddleName")),
                  QStringLiteral("<unchanged>"));
        EXPECT_TRUE(
            result.log.contains(QStringLiteral("(Billing..tbShort, record %1, MiddleName)").arg(row)));
    }
    EXPECT_TRUE(result.log.contains(
        QStringLiteral("Records whose names could not all be replaced: 2 - the run failed")));
    EXPECT_TRUE(result.log.contains(QStringLiteral("values lost 2,")));
}

struct NameCase {
    const char* name;
    const char* table; // FirstName: tbNvarchar nvarchar(50), tbVarchar varchar(50), tbShort nvarchar(3)
    const char* button;
    const char* replacement; // the only given name on the list
    const char* sent;        // FirstName as the UPDATE set it; nullptr: refused
};

std::string_view label(const NameCase& row) {
    return row.name;
}

class NameMatrixTest : public AnonymizeRunTest, public ::testing::WithParamInterface<NameCase> {};

// A name goes in as the run means it (the complete run cuts it to its column, never inside a
// character), or its field is refused with a line, the record is counted and the run fails.
TEST_P(NameMatrixTest, writesTheNameAsMeantOrRefusesItLoudly) {
    const NameCase& c = GetParam();
    const QString names = nameList(QString::fromUtf8(c.replacement), 999);
    const QString table = QStringLiteral("Names..") + QLatin1String(c.table);
    const auto result =
        run(QStringLiteral("set ctlATables.txtFileVal ") + table +
            QStringLiteral(" LastName FirstName\nset txtFirstnames ") + names +
            QStringLiteral("\nset txtSecret s3cret\nanswer yes\nclick ") + QLatin1String(c.button) + u'\n');
    const QString sent = valueOf(table, 1, QStringLiteral("FirstName"));
    if (c.sent != nullptr) {
        EXPECT_EQ(sent, QString::fromUtf8(c.sent));
        EXPECT_EQ(result.exitCode, 0) << result.errors.toStdString() << result.log.toStdString();
        return;
    }
    EXPECT_EQ(sent, QStringLiteral("<unchanged>"));
    EXPECT_TRUE(result.log.contains(QStringLiteral("(%1, record 1, FirstName)").arg(table)))
        << result.log.toStdString();
    EXPECT_TRUE(result.log.contains(
        QStringLiteral("Records whose names could not all be replaced: 1 - the run failed")));
    EXPECT_EQ(result.exitCode, 1);
}

const NameCase nameCases[] = {
    {"fastGreekCjkEmoji", "tbNvarchar", "cmdAnonymize", "Ωμέγα漢字😀", "Ωμέγα漢字😀"},
    {"fastAccentsInVarchar", "tbVarchar", "cmdAnonymize", "Zoë-Çà", "Zoë-Çà"},
    {"fastGreekInVarchar", "tbVarchar", "cmdAnonymize", "Ωμέγα", nullptr},
    {"fastLongerThanColumn", "tbShort", "cmdAnonymize", "Quentin", nullptr},
    {"completeGreekCjkEmoji", "tbNvarchar", "cmdAnonymizeComplete", "Ωμέγα漢字😀", "Ωμέγα漢字😀"},
    {"completeAccentsInVarchar", "tbVarchar", "cmdAnonymizeComplete", "Zoë-Çà", "Zoë-Çà"},
    {"completeGreekInVarchar", "tbVarchar", "cmdAnonymizeComplete", "Ωμέγα", nullptr},
    {"completeLongerThanColumnIsCut", "tbShort", "cmdAnonymizeComplete", "Quentin", "Que"},
    {"completeCutBeforeAnEmoji", "tbShort", "cmdAnonymizeComplete", "Zo😀", "Zo"},
};

INSTANTIATE_TEST_SUITE_P(Names, NameMatrixTest, testing::ValuesIn(nameCases), qormin::test::RowName());

TEST_F(AnonymizeRunTest, answeringNoOrLackingASecretChangesNothing) {
    const auto refused =
        run(QStringLiteral("set ctlATables.txtFileVal Billing..tbCashPatient LastName FirstName\n"
                           "answer no\nclick cmdAnonymize\nprint lstFirst\n"));
    ASSERT_EQ(refused.exitCode, 0);
    EXPECT_TRUE(m_server->requests().empty());
    EXPECT_FALSE(refused.output.contains(QStringLiteral("Given1")));
    // A complete run without a secret asks for one.
    const auto unkeyed = anonymize(completeTables, QStringLiteral("cmdAnonymizeComplete"));
    ASSERT_EQ(unkeyed.exitCode, 0);
    EXPECT_TRUE(unkeyed.output.contains(QStringLiteral("MSGBOX: Type a secret")));
    EXPECT_TRUE(m_server->requests().empty());
}

// STOP ticked while a run walks a table ends it at the next record: some rows changed, the
// rest untouched.
class StopMidRunTest : public AnonymizeRunTest, public ::testing::WithParamInterface<const char*> {};

TEST_P(StopMidRunTest, endsTheRunAtTheNextRecord) {
    int statements = 0;
    auto& window = m_harness.window();
    QObject::connect(&window.serverAccess(), &qormin::db::ServerAccess::statementStarted, &window,
                     [&statements, &window](int) {
                         if (++statements == 40)
                             window.chkStop()->setChecked(true);
                     });
    anonymize(QStringLiteral("Lab..tbMany LastName FirstName MiddleName\\r\\n"),
              QString::fromLatin1(GetParam()), QStringLiteral("set txtSecret s3cret\n"));
    const auto made = changes();
    EXPECT_GT(made.size(), 0U);
    EXPECT_LT(made.size(), 100U);
}

INSTANTIATE_TEST_SUITE_P(Runs, StopMidRunTest, ::testing::Values("cmdAnonymize", "cmdAnonymizeComplete"),
                         qormin::test::RowName());

} // namespace
