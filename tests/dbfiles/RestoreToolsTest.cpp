#include "DatabaseFileFixture.h"
#include "QStringPrinter.h"

#include "RowName.h"
#include "controls/FileListBox.h"
#include "db/ServerAccess.h"

#include <QCheckBox>
#include <QDir>
#include <QFile>
#include <QLineEdit>

namespace qormin::test {
namespace {

using qormin::test::PrintTo;

const QString databaseList =
    QStringLiteral("SELECT name FROM sys.databases where database_id >= 5 order by name ");

QString fileListQuery(const QString& folder, const QString& database) {
    return QStringLiteral(" RESTORE FILELISTONLY  FROM DISK = '") + folder + database +
           QStringLiteral(".bak' WITH FILE = 1");
}

// "RESTORE DATABASE  Billing|RESTORE LOG  Billing": what was restored, in order.
QString restoreHeads(const QStringList& statements) {
    QStringList heads;
    for (const QString& text : statements) {
        if (text.startsWith(QStringLiteral("RESTORE ")))
            heads.append(text.left(text.indexOf(QStringLiteral(" FROM "))));
    }
    return heads.join(u'|');
}

void createFiles(const QString& folder, const QStringList& names) {
    for (const QString& name : names) {
        QFile file(QDir(folder).filePath(name));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly)) << name.toStdString();
    }
}

const QString mir = QStringLiteral("p:\\backup\\MIR\\");
const QString restoreDb =
    QStringLiteral("RESTORE DATABASE  Billing FROM DISK = 'p:\\backup\\MIR\\Billing.bak' With    ");
const QString restoreLog =
    QStringLiteral("RESTORE LOG  Billing FROM DISK = 'p:\\backup\\MIR\\Billing_log.bak' With   ");

QString moves(const char* db, const char* data, const char* log) {
    return QStringLiteral("MOVE  '%1' TO '%2\\%1.mdf',  MOVE  '%1_log' TO '%3\\%1_log.ldf', ")
        .arg(QLatin1String(db), QLatin1String(data), QLatin1String(log));
}

class RestoreFixture : public DatabaseFileFixture {
protected:
    void SetUp() override {
        DatabaseFileFixture::SetUp();
        window().txtRestoreTO(0)->setText(QStringLiteral("F"));
        window().txtRestoreTO(3)->setText(QStringLiteral("E"));
        window().txtLogDrive(0)->setText(QString());
        window().txtLogDrive(1)->setText(QStringLiteral("L"));
    }
    // A native folder with these backup files, shown by the list.
    void showFiles(controls::FileListBox* list, const QStringList& names) {
        const QString folder = harness().folder(QStringLiteral("lists/") + list->objectName());
        createFiles(folder, names);
        ASSERT_TRUE(list->setPath(folder + QLatin1Char('/')));
        ASSERT_EQ(list->ListCount(), names.size());
    }
};

struct SideCase {
    int side;
    QStringList expected;
};
std::string label(const SideCase& row) {
    return "side" + std::to_string(row.side);
}

class RestoreOneDatabaseTest : public RestoreFixture, public testing::WithParamInterface<SideCase> {};

TEST_P(RestoreOneDatabaseTest, readsTheFileListThenRestoresDatabaseAndLogAndRefreshesTheGrid) {
    const int side = GetParam().side;
    run(QStringLiteral("set txtDB Billing\nclick cmdRestore(%1)\n").arg(side));
    EXPECT_EQ(statements(side), GetParam().expected);
    EXPECT_TRUE(statements(1 - side).isEmpty());
    // The drive lookup upper-cases a copy: the statements and the box keep the name as typed.
    EXPECT_EQ(window().txtDB()->text(), QStringLiteral("Billing"));
    const QString arguments = GetParam().expected.at(1).mid(QStringLiteral("RESTORE DATABASE ").size());
    EXPECT_TRUE(logLines().contains(arguments));
}

// The right server keeps both restores open for mirroring; log files go to the log drive. The
// left server gets the MOVE list's trailing comma; no log drive set, so the log follows the data.
INSTANTIATE_TEST_SUITE_P(
    Sides, RestoreOneDatabaseTest,
    testing::Values(SideCase{1, QStringList{fileListQuery(mir, QStringLiteral("Billing")),
                                            restoreDb + moves("Billing", "E:\\db", "L:\\LDF") +
                                                QStringLiteral(" NORECOVERY   "),
                                            restoreLog + moves("Billing", "E:\\db", "L:\\LDF") +
                                                QStringLiteral(" NORECOVERY  "),
                                            databaseList}},
                    SideCase{0,
                             QStringList{fileListQuery(mir, QStringLiteral("Billing")),
                                         restoreDb + moves("Billing", "F:\\db", "F:\\db"),
                                         restoreLog + moves("Billing", "F:\\db", "F:\\db"), databaseList}}),
    qormin::test::RowName());

struct AllFilesCase {
    const char* name;
    bool logOnly;
    const char* heads;
    qsizetype restored;
};

class RestoreAllFilesTest : public RestoreFixture, public testing::WithParamInterface<AllFilesCase> {};

TEST_P(RestoreAllFilesTest, walksFileBAndRestoresLogBackupsWithTheirDatabase) {
    showFiles(window().FileB(), {QStringLiteral("Billing.bak"), QStringLiteral("Billing_log.bak"),
                                 QStringLiteral("Station.bak")});
    window().chkLogOnly()->setChecked(GetParam().logOnly);
    run(QStringLiteral("set chkALL 1\nclick cmdRestore(1)\n"));
    const QStringList sent = statements(1);
    EXPECT_EQ(restoreHeads(sent), QString::fromUtf8(GetParam().heads));
    EXPECT_EQ(sent.count(databaseList), GetParam().restored);
    EXPECT_TRUE(statements(0).isEmpty());
}

INSTANTIATE_TEST_SUITE_P(
    LogOnly, RestoreAllFilesTest,
    testing::Values(AllFilesCase{"logBackupsSkipped", false,
                                 "RESTORE DATABASE  Billing|RESTORE LOG  Billing|RESTORE DATABASE  Station|"
                                 "RESTORE LOG  Station",
                                 2},
                    AllFilesCase{"logOnlyRestoresEveryFilesLog", true,
                                 "RESTORE LOG  Billing|RESTORE LOG  Billing_log|RESTORE LOG  Station", 3}),
    qormin::test::RowName());

TEST_F(RestoreFixture, scriptOnlyRestorePassSendsOnlyTheReadOnlyStatements) {
    showFiles(window().FileB(), {QStringLiteral("Billing.bak"), QStringLiteral("Station.bak")});
    run(QStringLiteral("set chkScriptOnly 1\nset chkALL 1\nclick cmdRestore(1)\n"));
    EXPECT_EQ(statements(1), (QStringList{fileListQuery(mir, QStringLiteral("Billing")), databaseList,
                                          fileListQuery(mir, QStringLiteral("Station")), databaseList}));
    const QStringList withheld = window().serverAccess().withheldStatements();
    EXPECT_EQ(restoreHeads(withheld), QStringLiteral("RESTORE DATABASE  Billing|RESTORE LOG  Billing|"
                                                     "RESTORE DATABASE  Station|RESTORE LOG  Station"));
    EXPECT_EQ(withheld.size(), 4);
}

struct StopCase {
    const char* name;
    const char* script;
    const char* listName;
    int side;
    bool stopStaysTicked;
};

class RestoreStopTest : public RestoreFixture, public testing::WithParamInterface<StopCase> {};

TEST_P(RestoreStopTest, stopEndsThePassAfterTheCurrentDatabase) {
    const StopCase& param = GetParam();
    auto* list = window().findChild<controls::FileListBox*>(QLatin1String(param.listName));
    ASSERT_NE(list, nullptr);
    showFiles(list, {QStringLiteral("Billing.bak"), QStringLiteral("Patient_Data.bak"),
                     QStringLiteral("Station.bak")});
    whenStatementStartsFor(QStringLiteral("Patient_Data"), [this] { window().chkStop()->setChecked(true); });
    run(QLatin1String(param.script));
    const QString heads = restoreHeads(statements(param.side));
    EXPECT_TRUE(heads.contains(QStringLiteral("RESTORE DATABASE  Patient_Data")));
    EXPECT_FALSE(heads.contains(QStringLiteral("Station")));
    EXPECT_EQ(window().chkStop()->isChecked(), param.stopStaysTicked);
}

INSTANTIATE_TEST_SUITE_P(Buttons, RestoreStopTest,
                         testing::Values(StopCase{"restoreToSideLeavesStopTicked",
                                                  "set chkALL 1\nclick cmdRestore(1)\n", "FileB", 1, true},
                                         StopCase{"restoreAllToMainClearsStop", "click cmdRestoreMain\n",
                                                  "File1", 0, false},
                                         StopCase{"restoreSourceFolderToMainClearsStop",
                                                  "click cmdRestoretoMain\n", "File2", 0, false}),
                         qormin::test::RowName());

TEST_F(RestoreFixture, restoreToMainReadsTheMainFolderIgnoresTheLogDriveAndSwitchesTheFolderBack) {
    showFiles(window().File1(), {QStringLiteral("Billing.bak")});
    window().txtLogDrive(0)->setText(QStringLiteral("L"));
    run(QStringLiteral("set txtBackupDrive x:\\\\other\\\\\ndblclick File1 0\n"));
    EXPECT_EQ(statements(0),
              (QStringList{
                  fileListQuery(QStringLiteral("p:\\backup\\"), QStringLiteral("Billing")),
                  QStringLiteral("RESTORE DATABASE  Billing FROM DISK = 'p:\\backup\\Billing.bak' With   ") +
                      moves("Billing", "F:\\db", "F:\\db") + QStringLiteral(" Replace "),
                  databaseList}));
    EXPECT_EQ(window().txtBackupDrive()->text(), QStringLiteral("p:\\backup\\MIR\\"));
}

TEST_F(RestoreFixture, restoreFromSourceFolderUsesTheLogDriveAndLeavesTheFolderSet) {
    createFiles(harness().folder(QStringLiteral("drives/d/src")), {QStringLiteral("Billing_x.bak")});
    window().txtLogDrive(0)->setText(QStringLiteral("L"));
    run(QStringLiteral("set txtRestoreDir d:\\\\src\\\\\nclick cmdRestoretoMain\n"));
    EXPECT_EQ(statements(0),
              (QStringList{
                  fileListQuery(QStringLiteral("d:\\src\\"), QStringLiteral("Billing_x")),
                  QStringLiteral("RESTORE DATABASE  Billing_x FROM DISK = 'd:\\src\\Billing_x.bak' With   ") +
                      moves("Billing_x", "F:\\db", "L:\\LDF") + QStringLiteral(" Replace ")}));
    EXPECT_EQ(window().txtBackupDrive()->text(), QStringLiteral("d:\\src\\"));
}

} // namespace
} // namespace qormin::test
