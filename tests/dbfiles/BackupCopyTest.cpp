#include "DatabaseFileFixture.h"
#include "QStringPrinter.h"

#include "RowName.h"
#include "db/LogBuffer.h"
#include "db/ServerAccess.h"
#include "dbfiles/BackupFileCopier.h"
#include "dbfiles/DatabaseFileTools.h"
#include "dbfiles/FileCopyRunner.h"

#include <QCheckBox>
#include <QDir>
#include <QFile>
#include <QPushButton>

namespace qormin::test {
namespace {

using qormin::test::PrintTo;

// What happens to the files of x:\MIR (left share) and y:\MIR (right share) when a button or
// box is used while the first file is being copied.
struct CopyCase {
    const char* name;
    const char* script;
    const char* duringFirstCopy; // "stop", "cancel" or nothing
    QStringList leftFiles;
    QStringList expectedRight;
};

class BackupCopyTest : public DatabaseFileFixture, public testing::WithParamInterface<CopyCase> {
protected:
    QString share(const char* letter) {
        return harness().folder(QStringLiteral("drives/%1/MIR").arg(letter));
    }
    dbfiles::FileCopyRunner& runner() {
        return window()
            .findChild<dbfiles::DatabaseFileTools*>(QStringLiteral("DatabaseFileTools"))
            ->copier()
            .runner();
    }
};

TEST_P(BackupCopyTest, copiesWhatIsThereAndHonoursStopAndCancel) {
    const CopyCase& param = GetParam();
    for (const QString& name : param.leftFiles) {
        QFile file(share("x") + u'/' + name);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(name.toUtf8().repeated(1000));
    }
    share("y");
    const QString during = QLatin1String(param.duringFirstCopy);
    bool first = true;
    QObject::connect(&runner(), &dbfiles::FileCopyRunner::copyStarted, &window(), [&, this] {
        if (!std::exchange(first, false))
            return;
        if (during == u"stop")
            window().chkStop()->setChecked(true);
        if (during == u"cancel")
            window().findChild<QPushButton*>(QStringLiteral("cmdCancelCopy"))->click();
    });
    run(QLatin1String(param.script));
    EXPECT_EQ(QDir(share("y")).entryList(QDir::Files | QDir::Hidden, QDir::Name), param.expectedRight);
    EXPECT_EQ(logLines().first(), QStringLiteral("Copied"));
    for (const QString& name : param.expectedRight) {
        QFile copied(share("y") + u'/' + name);
        ASSERT_TRUE(copied.open(QIODevice::ReadOnly));
        EXPECT_EQ(copied.readAll(), name.toUtf8().repeated(1000));
    }
    EXPECT_TRUE(statements(0).isEmpty());
}

INSTANTIATE_TEST_SUITE_P(
    Cases, BackupCopyTest,
    testing::Values(
        CopyCase{"copiesFullAndLogBackupOfTxtDB", "set txtDB Billing\nclick cmdCopy(1)\n", "",
                 QStringList{"Billing.BAK", "Billing_log.BAK", "Station.BAK"},
                 QStringList{"Billing.BAK", "Billing_log.BAK"}},
        CopyCase{"logOnlyCopiesTheLogBackup", "set txtDB Billing\nset chkLogOnly 1\nclick cmdCopy(0)\n", "",
                 QStringList{"Billing.BAK", "Billing_log.BAK"}, QStringList{"Billing_log.BAK"}},
        CopyCase{"missingFileIsLoggedAndThePassGoesOn", "set chkALL 1\nset chkLogOnly 1\nclick cmdCopy(0)\n",
                 "", QStringList{"Billing_log.BAK", "Station_log.BAK"},
                 QStringList{"Billing_log.BAK", "Station_log.BAK"}},
        // A STOP left ticked must not part a full backup from its log.
        CopyCase{"stopIsNotRead", "set txtDB Billing\nclick cmdCopy(0)\n", "stop",
                 QStringList{"Billing.BAK", "Billing_log.BAK"},
                 QStringList{"Billing.BAK", "Billing_log.BAK"}},
        CopyCase{"stopIsNotReadForAllDatabases", "set chkStop 1\nset chkALL 1\nclick cmdCopy(0)\n", "",
                 QStringList{"Billing.BAK", "Billing_log.BAK", "Station.BAK", "Station_log.BAK"},
                 QStringList{"Billing.BAK", "Billing_log.BAK", "Station.BAK", "Station_log.BAK"}},
        CopyCase{"cancelLeavesNoPartOfTheFileAndTheNextOneIsCopied", "set txtDB Billing\nclick cmdCopy(0)\n",
                 "cancel", QStringList{"Billing.BAK", "Billing_log.BAK"}, QStringList{"Billing_log.BAK"}},
        CopyCase{"scriptOnlyListsTheCopiesAndMakesNone",
                 "set chkScriptOnly 1\nset txtDB Billing\nclick cmdCopy(0)\n", "",
                 QStringList{"Billing.BAK", "Billing_log.BAK"}, QStringList()}),
    qormin::test::RowName());

using MissingBackupTest = DatabaseFileFixture;

TEST_F(MissingBackupTest, eachMissingFileIsLoggedByNameAndTheDatabaseEndsWithCopied) {
    harness().folder(QStringLiteral("drives/x/MIR"));
    harness().folder(QStringLiteral("drives/y/MIR"));
    run(QStringLiteral("set txtDB Lab\nclick cmdCopy(0)\n"));
    const QStringList lines = logLines();
    EXPECT_EQ(lines.mid(0, 5), (QStringList{"Copied", "not copied, the file is missing: x:\\MIR\\Lab_log.BAK",
                                            "Copying x:\\MIR\\Lab_log.BAK to y:\\MIR\\Lab_log.BAK",
                                            "not copied, the file is missing: x:\\MIR\\Lab.BAK",
                                            "Copying x:\\MIR\\Lab.BAK to y:\\MIR\\Lab.BAK"}));
}

} // namespace
} // namespace qormin::test
