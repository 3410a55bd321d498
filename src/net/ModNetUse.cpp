#include "net/ModNetUse.h"

#include "net/NetErrorText.h"
#include "net/ShareConnector.h"

namespace qormin::net {

namespace {

// The networking call takes 8-bit texts in the system's code page.
std::string eightBit(const QString& text) {
    return text.toLocal8Bit().toStdString();
}

} // namespace

void ModNetUse::NetUseConnect(const QString& remote, const QString& drive, const QString& user,
                              const QString& password) {
    m_lastError = 0;
    m_lastErrorText.clear();
    const std::uint32_t result = m_connector.addConnection(
        eightBit(QStringLiteral("\\\\") + remote), eightBit(drive), eightBit(user), eightBit(password));
    m_lastResult = static_cast<std::int32_t>(result);
    if (result == 0)
        return;
    m_lastError = m_lastResult;
    m_lastErrorText = NetErrorText(m_lastResult);
}

} // namespace qormin::net
