#include "DatabaseFileFixture.h"
#include "QStringPrinter.h"

#include "RowName.h"
#include "db/ServerAccess.h"

#include <QCheckBox>
#include <QDir>
#include <QFile>
#include <QLineEdit>
#include <QRegularExpression>

namespace qormin::test {
namespace {

using qormin::test::PrintTo;

const QString folder = QStringLiteral("p:\\backup\\MIR\\");
const QString exists = QStringLiteral("SELECT name FROM sys.databases WHERE name = 'Billing_drill'");
const QString fileList =
    QStringLiteral(" RESTORE FILELISTONLY  FROM DISK = 'p:\\backup\\MIR\\Billing.bak' WITH FILE = 1");
const QString moves = QStringLiteral(
    "MOVE 'Billing' TO 'E:\\db\\Billing_drill.mdf', MOVE 'Billing_log' TO 'L:\\LDF\\Billing_log_drill.ldf'");
QString restoreWith(const char* recovery) {
    return QStringLiteral(
               "RESTORE DATABASE Billing_drill FROM DISK = 'p:\\backup\\MIR\\Billing.bak' WITH %1, %2")
        .arg(moves, QLatin1String(recovery));
}
const QString restoreThenLog = restoreWith("NORECOVERY");
const QString restoreAlone = restoreWith("RECOVERY");
const QString restoreLog =
    QStringLiteral("RESTORE LOG Billing_drill FROM DISK = 'p:\\backup\\MIR\\Billing_log.bak' WITH RECOVERY");
const QString checkDb = QStringLiteral("DBCC CHECKDB (Billing_drill) WITH NO_INFOMSGS");
const QString figures = QStringLiteral(
    "SELECT (SELECT COUNT(*) FROM Billing_drill.sys.tables), (SELECT SUM(p.rows) FROM "
    "Billing_drill.sys.partitions p JOIN Billing_drill.sys.tables t ON t.object_id = p.object_id WHERE "
    "p.index_id IN (0, 1)), (SELECT SUM(CAST(size AS bigint)) / 128 FROM sys.master_files WHERE "
    "database_id = DB_ID('Billing_drill'))");
const QString drop = QStringLiteral("DROP DATABASE Billing_drill");

const char* const existsRow =
    R"json({"result": {"columns": ["name:nvarchar(128)"], "rows": [["Billing_drill"]]}})json";
const char* const corruption =
    "Table error: Object ID 2105058535 index ID 0. Page (1:157) could not be processed.";
const QByteArray refused =
    R"json({"prefix": "RESTORE DATABASE Billing_drill", "response": {"error": "RESTORE DATABASE is terminating abnormally."}},)json";

struct DrillCase {
    const char* name;
    bool logBackup; // Billing_log.bak lies in the backup folder
    QByteArray rules;
    QStringList expected; // sent to the right server
    int exitCode;
    const char* logLine;   // the drill's line in txtLog starts so, after "Drill Billing (right): "
    const char* runResult; // the run log row's result and error; empty: no row
};

std::string_view label(const DrillCase& row) {
    return row.name;
}

QByteArray existsAnswers(const char* first, const char* second) {
    return QByteArray(
               R"json({"exact": "SELECT name FROM sys.databases WHERE name = 'Billing_drill'", "responses": [)json") +
           first + ", " + second + "]},";
}

// The right server's drive E and log drive L; the restored copy holds 12 tables, 3400 rows, 250 MB.
class DrillFixture : public DatabaseFileFixture {
protected:
    void SetUp() override {
        DatabaseFileFixture::SetUp();
        window().txtRestoreTO(3)->setText(QStringLiteral("E"));
        window().txtLogDrive(1)->setText(QStringLiteral("L"));
    }
    QByteArray extraRules() const override {
        return QByteArray(R"json({"prefix": "SELECT (SELECT COUNT(*)", "response": {"result": {
            "columns": ["tables:int", "rows:bigint", "mb:bigint"], "rows": [[12, 3400, 250]]}}},)json") +
               caseRules();
    }
    virtual QByteArray caseRules() const { return QByteArray(); }
    QString lastRunLogLine() {
        const QStringList lines = runLogLines();
        return lines.size() > 1 ? lines.at(lines.size() - 2) : QString();
    }
};

class RestoreDrillTest : public DrillFixture, public testing::WithParamInterface<DrillCase> {
protected:
    QByteArray caseRules() const override { return GetParam().rules; }
};

TEST_P(RestoreDrillTest, sendsTheDrillsStatementsAndDropsWhateverItCreated) {
    const DrillCase& param = GetParam();
    const QDir backups(harness().folder(QStringLiteral("drives/p/backup/MIR")));
    if (param.logBackup) {
        QFile log(backups.filePath(QStringLiteral("Billing_log.bak")));
        ASSERT_TRUE(log.open(QIODevice::WriteOnly));
    }
    run(QStringLiteral("set txtDB Billing\nclick cmdRestoreDrill(1)\n"), param.exitCode);
    EXPECT_EQ(statements(1), param.expected);
    EXPECT_TRUE(statements(0).isEmpty());
    EXPECT_TRUE(logLines().filter(QStringLiteral("could not be listed")).isEmpty());
    // "#" stands for the restore's seconds; other lines are compared by their start.
    const QString line = QStringLiteral("Drill Billing (right): ") + QString::fromUtf8(param.logLine);
    const QString pattern =
        QRegularExpression::escape(line).replace(QStringLiteral("\\#"), QStringLiteral("\\d+\\.\\d"));
    EXPECT_TRUE(line.contains(u'#') ? QRegularExpression(QLatin1Char('^') + pattern + QLatin1Char('$'))
                                          .match(logLines().front())
                                          .hasMatch()
                                    : logLines().front().startsWith(line))
        << logLines().front().toStdString();
    const QString result = QString::fromUtf8(param.runResult);
    const QString files =
        folder + QStringLiteral("Billing.bak") +
        (param.logBackup ? QStringLiteral("; ") + folder + QStringLiteral("Billing_log.bak") : QString());
    EXPECT_EQ(lastRunLogLine(),
              result.isEmpty() ? QString() : QStringLiteral("drill,Billing,") + files + u',' + result);
}

INSTANTIATE_TEST_SUITE_P(
    Cases, RestoreDrillTest,
    testing::Values(
        DrillCase{"fullAndLogBackup", true, "",
                  QStringList{exists, fileList, restoreThenLog, restoreLog, checkDb, figures, drop}, 0,
                  "restored in # s, checks clean, 12 tables, 3400 rows, 250 MB", "OK,"},
        DrillCase{"fullBackupAlone", false, "",
                  QStringList{exists, fileList, restoreAlone, checkDb, figures, drop}, 0,
                  "restored in # s, checks clean, 12 tables, 3400 rows, 250 MB", "OK,"},
        DrillCase{"scratchNameTaken", true, existsAnswers(existsRow, existsRow), QStringList{exists}, 0,
                  "skipped, a database Billing_drill exists", ""},
        DrillCase{
            "checkDbReportsCorruption", false,
            QByteArray(
                R"json({"prefix": "DBCC CHECKDB", "response": {"error": {"number": 8928, "text": ")json") +
                corruption + "\"}}},",
            QStringList{exists, fileList, restoreAlone, checkDb, drop}, 1,
            "failed at DBCC CHECKDB: Table error",
            "failed,Table error: Object ID 2105058535 index ID 0. Page (1:157) could not be processed."},
        DrillCase{"restoreRefusedHalfWayDropsTheScratchCopy", false,
                  existsAnswers(R"json({"done": {}})json", existsRow) + refused,
                  QStringList{exists, fileList, restoreAlone, exists, drop}, 1,
                  "failed at RESTORE DATABASE: RESTORE DATABASE is terminating",
                  "failed,RESTORE DATABASE is terminating abnormally."},
        DrillCase{"restoreRefusedBeforeCreatingDropsNothing", false, refused,
                  QStringList{exists, fileList, restoreAlone, exists}, 1,
                  "failed at RESTORE DATABASE: RESTORE DATABASE is terminating",
                  "failed,RESTORE DATABASE is terminating abnormally."},
        DrillCase{
            "logRestoreRefusedDropsTheScratchCopy", true,
            QByteArray(
                R"json({"prefix": "RESTORE LOG Billing_drill", "response": {"error": "The log is too late."}},)json"),
            QStringList{exists, fileList, restoreThenLog, restoreLog, drop}, 1,
            "failed at RESTORE LOG: The log is too late.", "failed,The log is too late."}),
    qormin::test::RowName());

// "RESTORE DATABASE x_drill|DROP DATABASE x_drill|...": what each database's drill did, in order.
QString drillHeads(const QStringList& statements) {
    QStringList heads;
    for (const QString& text : statements) {
        if (text.startsWith(QLatin1String("RESTORE DATABASE ")) || text.startsWith(QLatin1String("DROP ")))
            heads.append(text.section(QLatin1Char(' '), 0, 2));
    }
    return heads.join(u'|');
}

TEST_F(DrillFixture, allDrillsEveryDatabaseOfTheGridUntilStop) {
    whenStatementStartsFor(QStringLiteral("Patient_Data"), [this] { window().chkStop()->setChecked(true); });
    run(QStringLiteral("set chkALL 1\nclick cmdRestoreDrill(1)\n"));
    // The header row goes first, as in every all-databases pass; STOP ends the pass after Patient_Data.
    EXPECT_EQ(
        drillHeads(statements(1)),
        QStringLiteral("RESTORE DATABASE name_drill|DROP DATABASE name_drill|RESTORE DATABASE Billing_drill|"
                       "DROP DATABASE Billing_drill|RESTORE DATABASE Patient_Data_drill|"
                       "DROP DATABASE Patient_Data_drill"));
}

TEST_F(DrillFixture, scriptOnlyCollectsTheDrillAndRunsOnlyItsReads) {
    run(QStringLiteral("set chkScriptOnly 1\nset txtDB Billing\nclick cmdRestoreDrill(1)\n"));
    EXPECT_EQ(statements(1), (QStringList{exists, fileList}));
    EXPECT_EQ(window().serverAccess().withheldStatements(), (QStringList{restoreAlone, checkDb, drop}));
    EXPECT_EQ(logLines().front(),
              QStringLiteral("Drill Billing (right): script only, the statements were collected"));
}

TEST_F(DrillFixture, drillFolderTakesEveryFileAndIsKept) {
    run(QStringLiteral("set txtDrillFolder(1) T:\\\\drill\nset txtDB Billing\nclick cmdRestoreDrill(1)\n"));
    EXPECT_TRUE(statements(1).contains(QStringLiteral(
        "RESTORE DATABASE Billing_drill FROM DISK = 'p:\\backup\\MIR\\Billing.bak' WITH MOVE 'Billing' TO "
        "'T:\\drill\\Billing_drill.mdf', MOVE 'Billing_log' TO 'T:\\drill\\Billing_log_drill.ldf', "
        "RECOVERY")));
    EXPECT_EQ(harness().settings().getSetting(QStringLiteral("MAIN"), QStringLiteral("txtDrillFolder1")),
              QStringLiteral("T:\\drill"));
}

} // namespace
} // namespace qormin::test
