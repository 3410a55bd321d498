#pragma once

#include <QTcpServer>
#include <functional>

namespace qormin::sim {

// Accepts connections and hands each socket descriptor on, so a connection thread can own it.
class ConnectionListener : public QTcpServer {
    Q_OBJECT
public:
    using Handoff = std::function<void(qintptr)>;
    explicit ConnectionListener(Handoff handoff, QObject* parent = nullptr);

protected:
    void incomingConnection(qintptr socketDescriptor) override;

private:
    Handoff m_handoff;
};

} // namespace qormin::sim
