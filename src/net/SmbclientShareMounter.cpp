#include "net/SmbclientShareMounter.h"

#include "net/MountErrorCodes.h"
#include "net/NetworkErrorCodes.h"
#include "net/ShareAddress.h"
#include "net/ShareCredentials.h"
#include "net/ToolProcess.h"

#include <QFileInfo>

namespace qormin::net {

namespace {

MountOutcome failure(std::uint32_t code, const QString& detail) {
    MountOutcome outcome;
    outcome.code = code;
    outcome.detail = detail;
    return outcome;
}

QStringList smbclientArguments(const ShareAddress& share, const ShareCredentials& credentials) {
    QStringList arguments{QStringLiteral("//") + share.server() + u'/' + share.share()};
    if (share.port() != 0)
        arguments << QStringLiteral("--port=") + QString::number(share.port());
    arguments << QStringLiteral("--user=") + credentials.user;
    if (!credentials.domain.isEmpty())
        arguments << QStringLiteral("--workgroup=") + credentials.domain;
    if (!share.folder().isEmpty())
        arguments << QStringLiteral("--directory=") + share.folder();
    arguments << QStringLiteral("--command=exit");
    return arguments;
}

// The line naming the NT status, else the last one: smbclient also complains about reading
// its input a second time, which says nothing.
QString statusLine(const QByteArray& text) {
    const QList<QByteArray> lines = text.trimmed().split('\n');
    for (const QByteArray& line : lines) {
        if (line.contains("NT_STATUS_"))
            return QString::fromUtf8(line).trimmed();
    }
    return QString::fromUtf8(lines.last()).trimmed();
}

} // namespace

SmbclientShareMounter::SmbclientShareMounter(FolderOf folderOf, QProcessEnvironment environment,
                                             std::chrono::milliseconds limit)
    : m_folderOf(std::move(folderOf)), m_environment(std::move(environment)), m_limit(limit) {
    m_environment.insert(QStringLiteral("PASSWD_FD"), QStringLiteral("0"));
}

MountOutcome SmbclientShareMounter::mount(const ShareAddress& share, const ShareCredentials& credentials) {
    const QString program = ToolProcess::find(QStringLiteral("smbclient"), m_environment);
    if (program.isEmpty())
        return failure(NetworkErrorCodes::noNetwork,
                       QStringLiteral("smbclient is not installed (package smbclient)"));
    QStringList arguments = smbclientArguments(share, credentials);
    QProcessEnvironment environment = m_environment;
    if (credentials.password.isEmpty()) {
        // smbclient refuses an empty password on its input; it has its own switch for none.
        arguments << QStringLiteral("--no-pass");
        environment.remove(QStringLiteral("PASSWD_FD"));
    }
    const ToolProcess smbclient(program, arguments, environment);
    const ToolProcess::Result result = smbclient.run(credentials.password.toUtf8() + '\n', m_limit);
    if (!result.started)
        return failure(NetworkErrorCodes::noNetwork, QStringLiteral("smbclient could not be started"));
    if (result.timedOut)
        return failure(NetworkErrorCodes::badNetPath, QStringLiteral("smbclient: no answer in time"));
    if (!result.succeeded()) {
        const QByteArray said = result.output + '\n' + result.errors;
        return failure(MountErrorCodes::fromSmbclientOutput(QString::fromUtf8(said)), statusLine(said));
    }
    MountOutcome outcome;
    outcome.folder = m_folderOf(share);
    if (!QFileInfo(outcome.folder).isDir())
        return failure(NetworkErrorCodes::noNetOrBadPath,
                       QStringLiteral("the share is not mounted at ") + outcome.folder);
    return outcome;
}

std::uint32_t SmbclientShareMounter::unmount(const ShareAddress&) {
    return NetworkErrorCodes::success;
}

} // namespace qormin::net
