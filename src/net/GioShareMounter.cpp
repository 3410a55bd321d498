#include "net/GioShareMounter.h"

#include "net/GioPromptResponder.h"
#include "net/MountErrorCodes.h"
#include "net/NetworkErrorCodes.h"
#include "net/ShareAddress.h"
#include "net/ToolProcess.h"

#include <QDeadlineTimer>
#include <QEventLoop>
#include <QFileInfo>
#include <QTimer>

namespace qormin::net {

namespace {

// gio's own error line, e.g. "gio: smb://host/share/: Failed to mount Windows share: ...";
// the rest of its error output is warnings of GVfs's volume monitors.
QString errorLine(const QByteArray& errors) {
    QString found;
    for (const QByteArray& line : errors.split('\n')) {
        if (line.startsWith("gio: "))
            found = QString::fromUtf8(line).trimmed();
    }
    return found;
}

MountOutcome failure(std::uint32_t code, const QString& detail) {
    MountOutcome outcome;
    outcome.code = code;
    outcome.detail = detail;
    return outcome;
}

MountOutcome failureOf(const ToolProcess::Result& result, const QString& what) {
    if (result.timedOut)
        return failure(NetworkErrorCodes::badNetPath, what + QStringLiteral(": no answer in time"));
    const QString message = errorLine(result.errors);
    std::uint32_t code = MountErrorCodes::fromGioMessage(message);
    if (code == NetworkErrorCodes::success)
        code = NetworkErrorCodes::generalFailure;
    return failure(code, message.isEmpty() ? what + QStringLiteral(" failed") : message);
}

// gvfsd-fuse shows a new mount (and takes an old one away) a moment after gio reports it;
// until then a drive would lead nowhere, or mapping it again would find it still there.
bool waitForFolder(const QString& folder, bool present, std::chrono::milliseconds limit) {
    const QDeadlineTimer deadline(limit);
    while (QFileInfo(folder).isDir() != present) {
        if (deadline.hasExpired())
            return false;
        QEventLoop wait;
        QTimer::singleShot(50, &wait, &QEventLoop::quit);
        wait.exec(QEventLoop::ExcludeUserInputEvents);
    }
    return true;
}

} // namespace

GioShareMounter::GioShareMounter(QProcessEnvironment environment, std::chrono::milliseconds limit)
    : m_environment(std::move(environment)), m_limit(limit) {
    // Untranslated prompts and messages: they are read by the program.
    m_environment.insert(QStringLiteral("LC_ALL"), QStringLiteral("C.UTF-8"));
    m_environment.remove(QStringLiteral("LANGUAGE"));
}

MountOutcome GioShareMounter::mount(const ShareAddress& share, const ShareCredentials& credentials) {
    m_gio = ToolProcess::find(QStringLiteral("gio"), m_environment);
    if (m_gio.isEmpty())
        return failure(NetworkErrorCodes::noNetwork,
                       QStringLiteral("gio is not installed (package libglib2.0-bin)"));
    const MountOutcome mounted = mountRoot(share.root(), credentials);
    if (mounted.code != NetworkErrorCodes::success)
        return mounted;
    return findLocalFolder(share, mounted);
}

MountOutcome GioShareMounter::mountRoot(const ShareAddress& share,
                                        const ShareCredentials& credentials) const {
    GioPromptResponder responder(credentials);
    const ToolProcess gio(m_gio, {QStringLiteral("mount"), share.uri()}, m_environment);
    const ToolProcess::Result result =
        gio.converse([&](const QByteArray& output) { return responder.read(output); }, m_limit);
    if (!result.started)
        return failure(NetworkErrorCodes::noNetwork, QStringLiteral("gio could not be started"));
    if (responder.credentialsRefused())
        return failure(NetworkErrorCodes::invalidPassword,
                       QStringLiteral("the server refused the user or password"));
    if (result.succeeded()) {
        MountOutcome outcome;
        outcome.mountedHere = true;
        return outcome;
    }
    const QString message = errorLine(result.errors);
    if (!result.timedOut && MountErrorCodes::fromGioMessage(message) == NetworkErrorCodes::success)
        return MountOutcome{}; // mounted before, by someone else
    return failureOf(result, QStringLiteral("gio mount"));
}

ToolProcess::Result GioShareMounter::information(const ShareAddress& share) const {
    const ToolProcess gio(
        m_gio, {QStringLiteral("info"), QStringLiteral("-a"), QStringLiteral("standard::type"), share.uri()},
        m_environment);
    return gio.run(QByteArray(), m_limit);
}

QString GioShareMounter::localFolder(const ToolProcess::Result& information) {
    static const QByteArray label("local path: ");
    for (const QByteArray& line : information.output.split('\n')) {
        if (line.startsWith(label))
            return QString::fromUtf8(line.mid(label.size()));
    }
    return QString();
}

MountOutcome GioShareMounter::findLocalFolder(const ShareAddress& share, MountOutcome mounted) {
    const ToolProcess::Result result = information(share);
    MountOutcome outcome = mounted;
    if (!result.succeeded()) {
        outcome = failureOf(result, QStringLiteral("gio info"));
    } else {
        outcome.folder = localFolder(result);
        if (outcome.folder.isEmpty()) {
            outcome.code = NetworkErrorCodes::noNetOrBadPath;
            outcome.detail = QStringLiteral(
                "the share has no local folder: gvfsd-fuse is not running (package gvfs-fuse)");
        } else if (!waitForFolder(outcome.folder, true, std::chrono::seconds(10))) {
            outcome.code = NetworkErrorCodes::noNetOrBadPath;
            outcome.detail = QStringLiteral("the share's folder did not appear: ") + outcome.folder;
        }
    }
    if (outcome.code != NetworkErrorCodes::success && mounted.mountedHere)
        unmount(share.root());
    return outcome;
}

std::uint32_t GioShareMounter::unmount(const ShareAddress& share) {
    m_gio = ToolProcess::find(QStringLiteral("gio"), m_environment);
    if (m_gio.isEmpty())
        return NetworkErrorCodes::noNetwork;
    const QString folder = localFolder(information(share.root()));
    const ToolProcess gio(m_gio, {QStringLiteral("mount"), QStringLiteral("-u"), share.root().uri()},
                          m_environment);
    const ToolProcess::Result result = gio.run(QByteArray(), m_limit);
    // Unmounted already (in the file manager, say): nothing is left to undo.
    if (!result.succeeded() && !errorLine(result.errors).endsWith(QStringLiteral("is not mounted")))
        return failureOf(result, QStringLiteral("gio mount -u")).code;
    if (!folder.isEmpty())
        waitForFolder(folder, false, std::chrono::seconds(10));
    return NetworkErrorCodes::success;
}

} // namespace qormin::net
