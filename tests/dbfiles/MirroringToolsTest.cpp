#include "DatabaseFileFixture.h"
#include "QStringPrinter.h"

#include "RowName.h"
#include "db/LogBuffer.h"
#include "db/ServerAccess.h"
#include "db/ServerMessageLog.h"
#include "dbfiles/AttachTools.h"
#include "dbfiles/DatabaseFileTools.h"
#include "net/SessionStatements.h"

#include <QCheckBox>
#include <QFile>
#include <QFileInfo>
#include <QLineEdit>

namespace qormin::test {
namespace {

using qormin::test::PrintTo;

const QString databaseList =
    QStringLiteral("SELECT name FROM sys.databases where database_id >= 5 order by name ");

QStringList makeOnline(const QString& db) {
    return {QStringLiteral("ALTER DATABASE ") + db + QStringLiteral(" SET PARTNER OFF "),
            QStringLiteral("RESTORE DATABASE ") + db + QStringLiteral(" WITH RECOVERY  "),
            QStringLiteral("ALTER DATABASE ") + db + QStringLiteral(" SET RECOVERY FULL")};
}

QStringList setPartner(const QString& partner) {
    return {QStringLiteral("ALTER DATABASE [Billing] SET PARTNER = 'TCP://") + partner +
                QStringLiteral(":5024'  "),
            QStringLiteral("ALTER DATABASE [Billing] SET SAFETY OFF  ")};
}

class MirroringToolsTest : public DatabaseFileFixture {
protected:
    // A server message that repeats a password, as a script's PRINT could.
    QByteArray extraRules() const override {
        return R"json({"regex": "CREATE LOGIN mirroring WITH", "response": {"info": "made with Login'Secret"}},)json";
    }
    dbfiles::DatabaseFileTools& tools() {
        return *window().findChild<dbfiles::DatabaseFileTools*>(QStringLiteral("DatabaseFileTools"));
    }
};

// %L and %R in the expected texts stand for the left and right servers' addresses.
struct StatementCase {
    const char* name;
    const char* script;
    QStringList left;
    QStringList right;
};

class OneDatabaseTest : public MirroringToolsTest, public testing::WithParamInterface<StatementCase> {};

TEST_P(OneDatabaseTest, sendsTheQuotedTextsToTheButtonsSide) {
    run(QStringLiteral("set txtDB Billing\n") + QLatin1String(GetParam().script));
    const auto expand = [this](QStringList texts) {
        for (QString& text : texts)
            text.replace(QStringLiteral("%L"), server(0).address())
                .replace(QStringLiteral("%R"), server(1).address());
        return texts;
    };
    EXPECT_EQ(statements(0), expand(GetParam().left));
    EXPECT_EQ(statements(1), expand(GetParam().right));
}

INSTANTIATE_TEST_SUITE_P(
    Buttons, OneDatabaseTest,
    testing::Values(
        StatementCase{"setPartnerLeftNamesTheRightServer", "click cmdSetPartner(0)\n",
                      setPartner(QStringLiteral("%R")), QStringList()},
        StatementCase{"setPartnerRightNamesTheLeftServer", "click cmdSetPartner(1)\n", QStringList(),
                      setPartner(QStringLiteral("%L"))},
        StatementCase{"makeOnlineSendsAllThreeWhateverTheyReturn", "click cmdMakeOnline(1)\n", QStringList(),
                      makeOnline(QStringLiteral("Billing"))},
        StatementCase{"detachAlwaysOnTheRight", "click cmdDetachAll\n", QStringList(),
                      QStringList{QStringLiteral("EXEC sp_detach_db 'Billing','true'")}},
        StatementCase{"dropOnTheRightRefreshesItsGrid", "click cmdDrop(1)\n", QStringList(),
                      QStringList{QStringLiteral("DROP DATABASE Billing "), databaseList}},
        StatementCase{"dropOnTheLeftIsInert", "click cmdDrop(0)\n", QStringList(), QStringList()},
        StatementCase{"refusedNameIsNeverSent",
                      "set txtDB Bill'ing\nclick cmdSetPartner(0)\nclick cmdMakeOnline(1)\nclick cmdDrop(1)\n"
                      "click cmdDetachAll\nclick cmdMirrorAll(1)\nset txtDB Bill]ing\nclick cmdDrop(1)\n"
                      "set txtDB Bill;ing\nclick cmdMakeOnline(0)\n",
                      QStringList(), QStringList()},
        StatementCase{
            "scriptOnlyWithholdsEveryNewStatement",
            "set chkScriptOnly 1\nclick cmdSetPartner(0)\nclick cmdMakeOnline(1)\nclick cmdDrop(1)\n"
            "click cmdDetachAll\nclick cmdRunScript(2)\n",
            QStringList(), QStringList{databaseList, QStringLiteral("USE master\r")}},
        StatementCase{"restartScriptRunsThroughItsOwnButton",
                      "click cmdRunScript(4)\nclick cmdRestartEndpoint(1)\n", QStringList(),
                      QStringList{QStringLiteral("ALTER ENDPOINT Endpoint_Mirroring STATE=STOPPED\r"),
                                  QStringLiteral("ALTER ENDPOINT Endpoint_Mirroring STATE=STARTED\r")}}),
    qormin::test::RowName());

TEST_F(MirroringToolsTest, scriptsRunOnTheirServersAndAcceptLowerCaseGo) {
    run(QStringLiteral("click cmdRunScript(0)\nclick cmdRunScript(1)\nclick cmdRunScript(3)\n"));
    const QStringList left = statements(0);
    ASSERT_EQ(left.size(), 8 + 8 + 5);
    EXPECT_EQ(left.first(), QStringLiteral("drop endpoint Endpoint_Mirroring\r"));
    EXPECT_EQ(left.at(4), QStringLiteral("\r\ndrop login mirroring\r"));
    EXPECT_EQ(left.at(7), QStringLiteral("drop USER mirroringB\r"));
    EXPECT_EQ(left.at(8), QStringLiteral("CREATE MASTER KEY ENCRYPTION BY PASSWORD = 'harbor@579'\r"));
    EXPECT_EQ(left.at(12),
              QStringLiteral("BACKUP CERTIFICATE Mirroring  TO FILE = 'p:\\backup\\MIR\\SERVER1.cer'\r"));
    EXPECT_EQ(left.at(19), QStringLiteral("CREATE CERTIFICATE mirroringB\r\nAUTHORIZATION mirroringB\r\n"
                                          "FROM FILE = 'p:\\BACKUP\\mir\\SERVER2.cer'\r"));
    EXPECT_EQ(statements(1), left.mid(0, 8));
}

// Changed passwords reach the statements, and no output shows them or the built-in one.
TEST_F(MirroringToolsTest, changedPasswordsReachTheServerAndNoOutputShowsThem) {
    const QString scriptFile = harness().folder(QStringLiteral("out")) + QStringLiteral("/withheld.sql");
    const BatchResult result = harness().runBatch(
        QStringLiteral(
            "set txtMirroringKeyPassword Key-Secret-88\nset txtMirroringLoginPassword Login'Secret\n"
            "click cmdRunScript(1)\nset chkScriptOnly 1\nclick cmdRunScript(3)\nanswer file %1\n"
            "click cmdSaveScript\nprint txtLog\nprint txtTESTConnection\n"
            "print txtMirroringKeyPassword\n")
            .arg(scriptFile));
    ASSERT_EQ(result.exitCode, 0) << result.errors.toStdString();
    const QString sent = statements(0).join(u'\n');
    EXPECT_TRUE(sent.contains(QStringLiteral("BY PASSWORD = 'Key-Secret-88'"))) << sent.toStdString();
    EXPECT_TRUE(sent.contains(QStringLiteral("WITH PASSWORD = 'Login''Secret'"))) << sent.toStdString();
    const auto read = [](const QString& path) {
        QFile file(path);
        return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
    };
    const struct {
        const char* name;
        QString text;
    } sinks[] = {
        {"batch output", result.output + result.log},
        {"txtLog", window().serverAccess().log().text()},
        {"server messages", window().serverAccess().serverMessages().text()},
        {"Script only file", read(scriptFile)},
        {"audit trail",
         read(QFileInfo(harness().settingsFile()).absolutePath() + QStringLiteral("/audit.jsonl"))},
        {"TEST page", window().findChild<QLineEdit*>(QStringLiteral("txtTESTConnection"))->text()},
    };
    for (const auto& sink : sinks) {
        EXPECT_TRUE(sink.text.contains(QStringLiteral("********"))) << sink.name;
        for (const char* secret : {"Key-Secret-88", "Login'Secret", "Login''Secret", "harbor@579"})
            EXPECT_FALSE(sink.text.contains(QLatin1String(secret))) << sink.name << " shows " << secret;
    }
}

TEST_F(MirroringToolsTest, attachAllTriesThreeLogNamesPerDataFileOnTheRight) {
    for (const char* file : {"/Billing.mdf", "/Bad'x.mdf"})
        QFile(harness().folder(QStringLiteral("drives/d/att")) + QLatin1String(file))
            .open(QIODevice::WriteOnly);
    run(QStringLiteral("set txtRestoreDir d:\\\\att\\\\\nclick cmdAttachAll\n"));
    const QString prefix =
        QStringLiteral("EXEC sp_attach_db @dbname = N'Billing', @filename1=N'd:\\att\\\\Billing.mdf'  "
                       ", @filename2=N'd:\\att\\\\Billing");
    EXPECT_EQ(statements(1),
              (QStringList{prefix + QStringLiteral(".ldf'  "), prefix + QStringLiteral("_1.ldf'  "),
                           prefix + QStringLiteral("_log.ldf'  ")}));
    EXPECT_TRUE(statements(0).isEmpty());
    EXPECT_TRUE(logLines().contains(
        QStringLiteral("Skipped \"Bad'x\": the name holds a quote and is not put into a statement")));
}

TEST_F(MirroringToolsTest, dropAllDropsEveryListedDatabaseOfTheRightAndNothingOnTheLeft) {
    run(QStringLiteral("click cmdDropAll(0)\n"));
    ASSERT_EQ(statements(0).size(), 4 * 4);
    EXPECT_FALSE(statements(0).join(QLatin1Char('\n')).contains(QStringLiteral("DROP DATABASE")));
    clearTranscripts();
    run(QStringLiteral("click cmdDropAll(1)\n"));
    QStringList expected;
    for (const char* db : {"name", "Billing", "Patient_Data", "Station"}) {
        const QString name = QLatin1String(db);
        expected << net::SessionStatements::clearConnections(name) << makeOnline(name)
                 << QStringLiteral("DROP DATABASE ") + name + QStringLiteral(" ") << databaseList;
    }
    EXPECT_EQ(statements(1), expected);
    EXPECT_TRUE(statements(0).isEmpty());
}

TEST_F(MirroringToolsTest, mirrorAllFromTwoCopiesRestoresAndPairsMirrorFirstWithoutBackup) {
    run(QStringLiteral("set txtDB Billing\nclick cmdMirrorAll(1)\n"));
    const QStringList right = statements(1);
    ASSERT_EQ(right.size(), 6);
    EXPECT_TRUE(right.at(0).startsWith(QStringLiteral(" RESTORE FILELISTONLY ")));
    EXPECT_TRUE(right.at(1).startsWith(QStringLiteral("RESTORE DATABASE  Billing ")));
    EXPECT_TRUE(right.at(2).endsWith(QStringLiteral(" NORECOVERY  ")));
    EXPECT_EQ(right.mid(4), setPartner(server(0).address()));
    EXPECT_EQ(statements(0), setPartner(server(1).address()));
    // The copy came first: both files were missing on the left share, and the pass went on.
    EXPECT_TRUE(logLines().contains(QStringLiteral("not copied, the file is missing: x:\\MIR\\Billing.BAK")));
}

TEST_F(MirroringToolsTest, mirrorAllFromOneWalksTheLeftGridAndLeavesAllUnticked) {
    run(QStringLiteral("set chkALL 1\nclick cmdMirrorAll(0)\n"));
    EXPECT_FALSE(window().chkALL()->isChecked());
    const QStringList left = statements(0);
    ASSERT_EQ(left.size(), 4 * 4);
    for (int database = 0; database < 4; ++database) {
        EXPECT_TRUE(left.at(database * 4).startsWith(QStringLiteral("BACKUP DATABASE ")));
        EXPECT_TRUE(left.at(database * 4 + 2).contains(QStringLiteral("SET PARTNER = 'TCP://")));
    }
    EXPECT_TRUE(left.at(4).startsWith(QStringLiteral("BACKUP DATABASE Billing ")));
}

TEST_F(MirroringToolsTest, certificateCopiesSayDoneWhateverTheIndex) {
    const QString left = harness().folder(QStringLiteral("drives/x/MIR"));
    harness().folder(QStringLiteral("drives/y/MIR"));
    QFile certificate(left + QStringLiteral("/SERVER1.cer"));
    ASSERT_TRUE(certificate.open(QIODevice::WriteOnly));
    certificate.write("certificate");
    certificate.close();
    const BatchResult result =
        harness().runBatch(QStringLiteral("click cmdCopyCert(0)\nclick cmdCopyCert(2)\n"));
    EXPECT_EQ(result.output.count(QStringLiteral("MSGBOX: done.")), 2);
    QFile copied(harness().folder(QStringLiteral("drives/y/MIR")) + QStringLiteral("/SERVER1.cer"));
    ASSERT_TRUE(copied.open(QIODevice::ReadOnly));
    EXPECT_EQ(copied.readAll(), QByteArray("certificate"));
}

} // namespace
} // namespace qormin::test
