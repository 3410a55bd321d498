#include "net/MountShareConnector.h"

#include "net/DriveLinkStore.h"
#include "net/NetworkErrorCodes.h"
#include "net/ShareAddress.h"
#include "net/ShareCredentials.h"
#include "net/ShareMounter.h"

namespace qormin::net {

namespace {

// "X:" -> 'x'; a null QChar for anything that is not a drive.
QChar driveLetter(const QString& localName) {
    if (localName.size() != 2 || localName.at(1) != u':')
        return QChar();
    const QChar letter = localName.at(0);
    return letter.unicode() < 128 && letter.isLetter() ? letter.toLower() : QChar();
}

bool anotherLetterMounted(const DriveLinkStore& links, QChar except, const ShareAddress& root) {
    for (const QChar letter : links.letters()) {
        if (letter == except)
            continue;
        const auto mounted = links.mountedShare(letter);
        if (mounted && mounted->root() == root)
            return true;
    }
    return false;
}

} // namespace

std::uint32_t MountShareConnector::fail(std::uint32_t code, const QString& detail) {
    m_detail = detail;
    return code;
}

std::uint32_t MountShareConnector::addConnection(const std::string& remoteName, const std::string& localName,
                                                 const std::string& user, const std::string& password) {
    m_detail.clear();
    const QChar letter = driveLetter(QString::fromLocal8Bit(localName));
    if (letter.isNull())
        return fail(NetworkErrorCodes::badDevice,
                    QStringLiteral("not a drive: ") + QString::fromLocal8Bit(localName));
    const auto share = ShareAddress::parse(QString::fromLocal8Bit(remoteName));
    if (!share)
        return fail(NetworkErrorCodes::badNetName,
                    QStringLiteral("not a share: ") + QString::fromLocal8Bit(remoteName));
    if (m_links.isLinked(letter))
        return fail(NetworkErrorCodes::alreadyAssigned, QStringLiteral("drive ") + letter +
                                                            QStringLiteral(": is linked to ") +
                                                            m_links.target(letter));
    if (m_links.hasEntry(letter)) {
        // Left from an earlier session whose mount has ended; mapping again renews it.
        const QString problem = m_links.remove(letter);
        if (!problem.isEmpty())
            return fail(NetworkErrorCodes::alreadyAssigned, problem);
    }
    const MountOutcome mounted =
        m_mounter.mount(*share, ShareCredentials::fromAccount(QString::fromLocal8Bit(user),
                                                              QString::fromLocal8Bit(password)));
    if (mounted.code != NetworkErrorCodes::success)
        return fail(mounted.code, mounted.detail);
    // A share mounted by this tool for the other letter stays this tool's to unmount.
    const bool ours = mounted.mountedHere || anotherLetterMounted(m_links, letter, share->root());
    const QString problem =
        m_links.link(letter, mounted.folder, ours ? std::optional(share->root()) : std::nullopt);
    if (problem.isEmpty())
        return NetworkErrorCodes::success;
    if (mounted.mountedHere)
        m_mounter.unmount(share->root());
    return fail(NetworkErrorCodes::accessDenied, problem);
}

std::uint32_t MountShareConnector::cancelConnection(const std::string& localName) {
    m_detail.clear();
    const QChar letter = driveLetter(QString::fromLocal8Bit(localName));
    if (letter.isNull())
        return fail(NetworkErrorCodes::badDevice,
                    QStringLiteral("not a drive: ") + QString::fromLocal8Bit(localName));
    return cancelLetter(letter);
}

std::uint32_t MountShareConnector::cancelAllConnections() {
    m_detail.clear();
    std::uint32_t first = NetworkErrorCodes::success;
    QString firstDetail;
    for (const QChar letter : m_links.letters()) {
        const std::uint32_t code = cancelLetter(letter);
        if (code != NetworkErrorCodes::success && first == NetworkErrorCodes::success) {
            first = code;
            firstDetail = m_detail;
        }
    }
    m_detail = firstDetail;
    return first;
}

std::uint32_t MountShareConnector::cancelLetter(QChar letter) {
    if (!m_links.hasEntry(letter))
        return fail(NetworkErrorCodes::notConnected,
                    QStringLiteral("drive ") + letter + QStringLiteral(": is not mapped"));
    const auto mounted = m_links.mountedShare(letter);
    const QString problem = m_links.remove(letter);
    if (!problem.isEmpty())
        return fail(NetworkErrorCodes::accessDenied, problem);
    if (!mounted || anotherLetterMounted(m_links, letter, *mounted))
        return NetworkErrorCodes::success;
    const std::uint32_t code = m_mounter.unmount(*mounted);
    if (code != NetworkErrorCodes::success)
        return fail(code,
                    QStringLiteral("the share ") + mounted->remoteName() + QStringLiteral(" stays mounted"));
    return NetworkErrorCodes::success;
}

} // namespace qormin::net
