#include "QStringPrinter.h"

#include "sim/SimServer.h"

#include <QProcess>
#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace {

const char* const scenario = R"json({
  "login": {"user": "sa", "password": "secret"},
  "rules": [
    {"exact": "SELECT name FROM sys.databases where database_id >= 5 order by name ",
     "response": {"result": {"columns": ["name:nvarchar(128)"], "rows": [["Billing"], ["Station"]]
}
}
}
  ]
  })json";

struct Finished {
    int exitCode = -1;
    QString output;
    QString errors;
};

Finished runTool(const QStringList& arguments, const QByteArray& input) {
    QProcess process;
    process.start(QStringLiteral(QORMIN_DBTOOLS_PATH), arguments);
    EXPECT_TRUE(process.waitForStarted());
    process.write(input);
    process.closeWriteChannel();
    EXPECT_TRUE(process.waitForFinished(120000));
    return {process.exitCode(), QString::fromUtf8(process.readAllStandardOutput()),
            QString::fromUtf8(process.readAllStandardError())};
}

TEST(ExecutableTest, batchFromStandardInputDrivesTheRealProgram) {
    QString error;
    auto parsed = qormin::sim::Scenario::fromJson(QByteArray(scenario), &error);
    ASSERT_TRUE(parsed) << error.toStdString();
    qormin::sim::SimServer server(std::move(*parsed));
    ASSERT_TRUE(server.start(0, &error)) << error.toStdString();
    QTemporaryDir folder;
    const QString settings = folder.filePath(QStringLiteral("settings.ini"));
    const QByteArray commands = QStringLiteral("set txtServer(0) %1\n"
                                               "set txtPW(0) secret\n"
                                               "click cmdRefreshDB(0)\n"
                                               "print lblDBCount(0)\n"
                                               "print GridDB(0)\n"
                                               "click cmdBackup(9)\n"
                                               "print txtDB\n")
                                    .arg(server.address())
                                    .toUtf8();
    const Finished run = runTool(
        {QStringLiteral("--settings"), settings, QStringLiteral("--batch"), QStringLiteral("-")}, commands);
    EXPECT_EQ(run.exitCode, 2);
    EXPECT_EQ(run.output, QStringLiteral("3\nname\nBilling\nStation\n"));
    EXPECT_TRUE(run.errors.contains(QStringLiteral("batch line 6: unknown control \"cmdBackup(9)\"")))
        << run.errors.toStdString();
}

TEST(ExecutableTest, missingBatchFileIsReportedWithStatusTwo) {
    QTemporaryDir folder;
    const Finished run = runTool({QStringLiteral("--settings"), folder.filePath(QStringLiteral("s.ini")),
                                  QStringLiteral("--batch"), folder.filePath(QStringLiteral("missing.txt"))},
                                 QByteArray());
    EXPECT_EQ(run.exitCode, 2);
    EXPECT_TRUE(run.errors.contains(QStringLiteral("cannot read the batch file")))
        << run.errors.toStdString();
}

} // namespace
