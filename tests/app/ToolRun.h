#pragma once

#include <QProcess>
#include <QStringList>
#include <gtest/gtest.h>

namespace qormin::test {

struct ToolRun {
    int exitCode = -1;
    QString output;
    QString errors;
};

// One run of the real program to its end, input on its standard input.
inline ToolRun runTool(const QStringList& arguments, const QByteArray& input,
                       const QProcessEnvironment& environment = QProcessEnvironment::systemEnvironment()) {
    QProcess process;
    process.setProcessEnvironment(environment);
    process.start(QStringLiteral(QORMIN_DBTOOLS_PATH), arguments);
    EXPECT_TRUE(process.waitForStarted());
    process.write(input);
    process.closeWriteChannel();
    EXPECT_TRUE(process.waitForFinished(120000));
    return {process.exitCode(), QString::fromUtf8(process.readAllStandardOutput()),
            QString::fromUtf8(process.readAllStandardError())};
}

} // namespace qormin::test
