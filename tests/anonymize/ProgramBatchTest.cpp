#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace {

// The program in batch mode edits and saves the excluded tables in the folder given by --data-dir.
TEST(ProgramBatchTest, panelSaveWritesIntoTheDataFolder) {
    QTemporaryDir root;
    const QString data = root.filePath(QStringLiteral("data"));
    ASSERT_TRUE(QDir().mkpath(data));
    const QString list = QDir(data).filePath(QStringLiteral("ExcludedTables.txt"));
    {
        QFile file(list);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write("Lab..tbResults\r\n");
    }
    QProcess process;
    process.start(QStringLiteral(QORMIN_DBTOOLS_PATH),
                  {QStringLiteral("--settings"), root.filePath(QStringLiteral("settings.ini")),
                   QStringLiteral("--data-dir"), data, QStringLiteral("--batch"), QStringLiteral("-")});
    ASSERT_TRUE(process.waitForStarted());
    process.write("click cmdInit\n"
                  "print ctlExclue.lblFile\n"
                  "print ctlExclue.txtFileVal\n"
                  "set ctlExclue.txtFileVal Lab..tbResults\\r\\nBilling..tbAudit\\r\\n\n"
                  "click ctlExclue.cmdSaveFile\n");
    process.closeWriteChannel();
    ASSERT_TRUE(process.waitForFinished(120000));
    EXPECT_EQ(process.exitCode(), 0) << process.readAllStandardError().toStdString();
    EXPECT_EQ(process.readAllStandardOutput(), QByteArray("ExcludedTables.txt\nLab..tbResults\\r\\n\n"));
    QFile saved(list);
    ASSERT_TRUE(saved.open(QIODevice::ReadOnly));
    EXPECT_EQ(saved.readAll(), QByteArray("Lab..tbResults\r\nBilling..tbAudit\r\n"));
}

} // namespace
