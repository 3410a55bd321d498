#pragma once

#include <QString>
#include <cstdint>

namespace qormin::net {

class ShareConnector;

// Maps a server's share to a drive letter and remembers how the last attempt went, the way
// the share buttons and their message boxes expect it.
class ModNetUse {
public:
    explicit ModNetUse(ShareConnector& connector) : m_connector(connector) {}

    // remote: server + "\backup"; drive: "X:" or "Y:".
    void NetUseConnect(const QString& remote, const QString& drive, const QString& user,
                       const QString& password);

    std::int32_t NetLastError() const { return m_lastError; }
    QString NetLastErrorText() const { return m_lastErrorText; }
    std::int32_t NetLastResult() const { return m_lastResult; }

    ShareConnector& connector() { return m_connector; }

private:
    ShareConnector& m_connector;
    std::int32_t m_lastError = 0;
    QString m_lastErrorText;
    std::int32_t m_lastResult = 0;
};

} // namespace qormin::net
