#include "../db/FakeServerAccessHost.h"
#include "QStringPrinter.h"
#include "SimTestServer.h"

#include "RowName.h"
#include "app/batch/BatchMessageBoxService.h"
#include "db/ServerAccess.h"
#include "db/SideConnection.h"
#include "transfer/frmMigrateData.h"

#include <QCheckBox>
#include <QFile>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QSet>
#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace qormin::test {

namespace {

using qormin::test::PrintTo;

// Old..tbPat on the right holds three patients; New..tbPatient on the left already has patient 2.
const QByteArray scenario = R"json({"rules": [
  {"exact": "SELECT COUNT (1) FROM Old..tbPat AS RECCOUNT", "response": {"result": {"columns": ["c:int"], "rows": [[3]]}}},
  {"regex": "^SELECT (TOP 20 )?\\* FROM (Old\\.\\.)?tbPat$", "response": {"result": {
     "columns": ["PatID:nvarchar(10)", "Name:nvarchar(50)", "Town:nvarchar(50)"],
     "rows": [["1", "Ann", "Cebu"], ["2", "Ben", "Iloilo"], ["3", "Benjamin", null], ["4'", "O'Neil", "Bohol"]]}}},
  {"exact": "SELECT TOP 1 * FROM New..tbPatient", "response": {"result": {
     "columns": ["PatientID:int", "LastName:nvarchar(3)", "City:nvarchar(50)", "Status:char(1)"], "rows": []}}},
  {"exact": "SELECT * FROM New..tbPatient WHERE PatientID = '2'", "response": {"result": {
     "columns": ["PatientID:int"], "rows": [[2]]}}},
  {"prefix": "SELECT * FROM New..tbPatient WHERE ", "response": {"result": {"columns": ["PatientID:int"], "rows": []}}}
]})json";

const char* const twoBlocks = "/ patients of the old system\n"
                              "#New..tbPatient|Old..tbPat\n"
                              "*PatientID|PatID\n"
                              "*LastName|Name 3\n"
                              "*City|Town\n"
                              "*Status|=A\n"
                              ".\n"
                              "\n"
                              " #New..tbX|Old..tbPat\n"
                              "#New..tbEmpty|Old..tbPat\n"
                              "garbage line\r\n"
                              ".\n";

class MigrateDataTest : public ::testing::Test {
protected:
    void SetUp() override {
        m_server = SimTestServer::fromJson(scenario);
        ASSERT_TRUE(m_server && m_server->isRunning());
        m_host.server[0] = m_server->address();
        m_host.server[1] = m_server->address();
        m_access = std::make_unique<db::ServerAccess>(m_host);
        m_access->ConnectServer(0);
        m_access->ConnectServer(1);
        m_window = std::make_unique<transfer::frmMigrateData>(*m_access, m_boxes, m_folder.path());
    }

    void writeFile(const QByteArray& text) {
        QFile file(m_folder.filePath(QStringLiteral("migrate.txt")));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(text);
    }

    void start() {
        m_server->clearTranscript();
        m_window->findChild<QPushButton*>(QStringLiteral("cmdStart"))->click();
    }

    template <typename T> T* control(const char* name) {
        return m_window->findChild<T*>(QString::fromLatin1(name));
    }

    QStringList log() { return control<QPlainTextEdit>("txtLog")->toPlainText().split(QLatin1Char('\n')); }

    // Each INSERT as its column list and the values that arrived.
    QStringList inserts() const {
        QStringList rows;
        for (const auto& entry : m_server->requests()) {
            if (!entry.text.startsWith(QStringLiteral("INSERT INTO New..tbPatient"))) {
                continue;
            }
            rows.append(insertedRow(entry));
        }
        return rows;
    }

    QTemporaryDir m_folder;
    QString m_boxOutput;
    QString m_boxWarnings;
    QTextStream m_boxOut{&m_boxOutput};
    QTextStream m_boxWarn{&m_boxWarnings};
    app::BatchMessageBoxService m_boxes{m_boxOut, m_boxWarn};
    std::unique_ptr<SimTestServer> m_server;
    FakeServerAccessHost m_host;
    std::unique_ptr<db::ServerAccess> m_access;
    std::unique_ptr<transfer::frmMigrateData> m_window;
};

TEST_F(MigrateDataTest, copiesMissingRowsByMappingAndNamesEveryIgnoredLine) {
    writeFile(twoBlocks);
    start();
    EXPECT_EQ(inserts(), (QStringList{"[PatientID], [LastName], [City], [Status] [1,\"Ann\",\"Cebu\",\"A\"]",
                                      "[PatientID], [LastName], [Status] [3,\"Ben\",\"A\"]"}));
    const QStringList sent = m_server->statements();
    EXPECT_TRUE(sent.contains(QStringLiteral("SELECT COUNT (1) FROM Old..tbPat AS RECCOUNT")));
    EXPECT_TRUE(sent.contains(QStringLiteral("SELECT * FROM New..tbPatient WHERE PatientID = '2'")));
    EXPECT_FALSE(sent.filter(QStringLiteral("4'")).size() > 0) << "a key with a quote is never looked up";
    EXPECT_EQ(control<QLabel>("lblRecCount")->text(), QStringLiteral("3"));
    EXPECT_EQ(control<QLabel>("lblStatus")->text(), QStringLiteral("4"));
    EXPECT_EQ(control<QLabel>("lblCurrent")->text(), QStringLiteral("Done."));
    EXPECT_EQ(log(), (QStringList{"Line 9 ignored (begins with a blank):  #New..tbX|Old..tbPat",
                                  "Line 11 ignored (no marker): garbage line", "No destination fields"}));
    EXPECT_EQ(control<QLineEdit>("txtTableDest")->text(), QStringLiteral("New..tbEmpty"));
    EXPECT_TRUE(control<QPlainTextEdit>("txtMigrate")->toPlainText().contains(QStringLiteral("*Status|=A")));
}

// The source is counted on ServerConn(1) and read there too, in the database it is in, so a
// table named without its database is the same table both times.
TEST_F(MigrateDataTest, readsTheSourceWhereServerConn1Counted) {
    m_access->side(1).execute(QStringLiteral("USE Old"));
    writeFile("#New..tbPatient|tbPat\n*PatientID|PatID\n.\n");
    start();
    QStringList seen;
    QSet<int> connections;
    for (const auto& entry : m_server->requests()) {
        if (entry.text.contains(QStringLiteral("tbPat")) && !entry.text.contains(QStringLiteral("New.."))) {
            seen.append(entry.database + QStringLiteral(": ") + entry.text);
            connections.insert(entry.connection);
        }
    }
    EXPECT_EQ(seen,
              (QStringList{"Old: SELECT COUNT (1) FROM tbPat AS RECCOUNT", "Old: SELECT * FROM tbPat"}));
    EXPECT_EQ(connections.size(), 1);
    EXPECT_EQ(inserts().size(), 2);
}

// Simulate copies nothing; twenty records reads the top of the source only.
class MigrateRunTest : public MigrateDataTest, public ::testing::WithParamInterface<const char*> {};

TEST_P(MigrateRunTest, simulateCopiesNothingAndTwentyRecordsReadsTheTop) {
    const QByteArray setting(GetParam());
    control<QCheckBox>(GetParam())->setChecked(true);
    writeFile("#New..tbPatient|Old..tbPat\n*PatientID|PatID\n.\n");
    start();
    EXPECT_EQ(inserts().size(), setting == "chkTop20" ? 2 : 0);
    EXPECT_EQ(control<QLabel>("lblCurrent")->text(), QStringLiteral("Done."));
    const bool top = m_server->statements().contains(QStringLiteral("SELECT TOP 20 * FROM Old..tbPat"));
    EXPECT_EQ(top, setting == "chkTop20");
}

INSTANTIATE_TEST_SUITE_P(Settings, MigrateRunTest, ::testing::Values("chkSimulate", "chkTop20"),
                         qormin::test::RowName());

// A missing file says where it was looked for; without destination fields (the block ended or
// not) nothing is sent either.
TEST_F(MigrateDataTest, aMissingFileOrNoDestinationFieldsSendNothing) {
    start();
    EXPECT_TRUE(m_boxOutput.contains(QStringLiteral("MSGBOX: Cannot read ")));
    EXPECT_TRUE(log().front().contains(QStringLiteral("migrate.txt")));
    control<QCheckBox>("chkSimulate")->setChecked(true);
    writeFile("#New..tbPatient|Old..tbPat\n*|PatID\n");
    m_window->findChild<QPushButton*>(QStringLiteral("cmdStart"))->click();
    writeFile("#New..tbPatient|Old..tbPat\n*|PatID\n.\n");
    m_window->findChild<QPushButton*>(QStringLiteral("cmdStart"))->click();
    EXPECT_TRUE(m_server->statements().isEmpty());
    EXPECT_EQ(log().mid(1), (QStringList{"No destination fields", "Simulate: No destination fields "}));
}

struct AnswerCase {
    const char* name;
    platform::MessageBoxAnswer answer;
    QStringList inserted;
};

class FailingFieldTest : public MigrateDataTest, public ::testing::WithParamInterface<AnswerCase> {};

// "Benjamin" does not fit LastName nvarchar(3): the question comes; Yes stores the row without
// the field and goes on, No ends the run with the rows saved so far kept.
TEST_P(FailingFieldTest, aFailingFieldAsksWhetherToContinue) {
    const AnswerCase& c = GetParam();
    m_boxes.queueAnswer(c.answer);
    writeFile("#New..tbPatient|Old..tbPat\n*PatientID|PatID\n*LastName|Name\n.\n");
    start();
    EXPECT_EQ(inserts(), c.inserted);
    EXPECT_TRUE(m_boxOutput.contains(QStringLiteral(
        "MSGBOX: Error Multiple-step operation generated errors. Check each status value. Source "
        "field:Name Dest field: LastName value:Benjamin. Continue? -> ")))
        << m_boxOutput.toStdString();
}

INSTANTIATE_TEST_SUITE_P(
    Answers, FailingFieldTest,
    ::testing::Values(AnswerCase{"yes",
                                 platform::MessageBoxAnswer::Yes,
                                 {"[PatientID], [LastName] [1,\"Ann\"]", "[PatientID] [3]"}},
                      AnswerCase{
                          "no", platform::MessageBoxAnswer::No, {"[PatientID], [LastName] [1,\"Ann\"]"}}),
    qormin::test::RowName());

// Untrusted files: random bytes, a huge line, NULs; the run ends with every refused line named.
TEST_F(MigrateDataTest, binaryAndHugeFilesEndWithoutHarm) {
    QByteArray text("#New..tbPatient|Old..tbPat\n*PatientID|PatID\n");
    text += QByteArray(1'000'000, 'x') + "\n";
    text += QByteArray("\0\x01\xff\xfe\n", 5);
    text += "*Na\x01me|PatID\n.\n";
    writeFile(text);
    start();
    EXPECT_EQ(control<QLabel>("lblCurrent")->text(), QStringLiteral("Done."));
    const QStringList lines = log();
    EXPECT_TRUE(lines.value(0).startsWith(QStringLiteral("Line 3 ignored (no marker): xxx")));
    EXPECT_TRUE(lines.value(1).startsWith(QStringLiteral("Line 4 ignored (no marker): ")));
    EXPECT_TRUE(inserts().isEmpty()) << "a field name holding a control character stops the block";
}

} // namespace

} // namespace qormin::test
