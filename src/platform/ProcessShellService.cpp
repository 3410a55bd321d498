#include "platform/ProcessShellService.h"

#include "platform/PathMapper.h"

#include <QDesktopServices>
#include <QProcess>
#include <QUrl>

namespace qormin::platform {

namespace {

void describe(QProcess& process, const QString& commandLine) {
#ifdef Q_OS_WIN
    process.setProgram(QStringLiteral("cmd.exe"));
    process.setNativeArguments(QStringLiteral("/c ") + commandLine);
#else
    process.setProgram(QStringLiteral("/bin/sh"));
    process.setArguments({QStringLiteral("-c"), commandLine});
#endif
}

} // namespace

int ProcessShellService::run(const QString& commandLine, bool wait) {
    if (!wait) {
        QProcess process;
        describe(process, commandLine);
        return process.startDetached() ? 0 : -1;
    }
    QProcess process;
    describe(process, commandLine);
    process.setProcessChannelMode(QProcess::ForwardedChannels);
    process.start();
    if (!process.waitForStarted())
        return -1;
    process.waitForFinished(-1);
    return process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
}

bool ProcessShellService::openFolder(const QString& folder) {
    const QString local = m_paths.resolve(folder);
    if (local.isEmpty())
        return false;
    return QDesktopServices::openUrl(QUrl::fromLocalFile(local));
}

} // namespace qormin::platform
