#include "net/ShareAddress.h"

#include <QStringList>
#include <QUrl>

namespace qormin::net {

namespace {

bool isSeparator(QChar c) {
    return c == u'\\' || c == u'/';
}

// "host" or "host:port"; false when the port is not a number in range.
bool splitServer(const QString& text, QString& host, int& port) {
    const qsizetype colon = text.lastIndexOf(u':');
    if (colon < 0) {
        host = text;
        port = 0;
        return true;
    }
    bool isNumber = false;
    port = text.mid(colon + 1).toInt(&isNumber);
    host = text.left(colon);
    return isNumber && port > 0 && port <= 65535;
}

} // namespace

std::optional<ShareAddress> ShareAddress::parse(const QString& remoteName) {
    const QString text = remoteName.trimmed();
    if (text.size() < 2 || !isSeparator(text.at(0)) || !isSeparator(text.at(1)))
        return std::nullopt;
    QString slashed = text.mid(2);
    slashed.replace(u'\\', u'/');
    const QStringList parts = slashed.split(u'/', Qt::SkipEmptyParts);
    if (parts.size() < 2)
        return std::nullopt;
    ShareAddress address;
    if (!splitServer(parts.at(0), address.m_server, address.m_port))
        return std::nullopt;
    address.m_share = parts.at(1);
    address.m_folder = parts.mid(2).join(u'/');
    QUrl check;
    check.setHost(address.m_server, QUrl::StrictMode);
    if (address.m_server.isEmpty() || !check.isValid())
        return std::nullopt;
    return address;
}

ShareAddress ShareAddress::root() const {
    ShareAddress shareOnly = *this;
    shareOnly.m_folder.clear();
    return shareOnly;
}

QString ShareAddress::uri() const {
    QUrl url;
    url.setScheme(QStringLiteral("smb"));
    url.setHost(m_server);
    if (m_port != 0)
        url.setPort(m_port);
    QString path = u'/' + m_share;
    if (!m_folder.isEmpty())
        path += u'/' + m_folder;
    url.setPath(path);
    return url.toString(QUrl::FullyEncoded);
}

QString ShareAddress::remoteName() const {
    QString name = QStringLiteral("\\\\") + m_server;
    if (m_port != 0)
        name += u':' + QString::number(m_port);
    name += u'\\' + m_share;
    if (!m_folder.isEmpty())
        name += u'\\' + QString(m_folder).replace(u'/', u'\\');
    return name;
}

} // namespace qormin::net
