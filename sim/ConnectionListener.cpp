#include "sim/ConnectionListener.h"

namespace qormin::sim {

ConnectionListener::ConnectionListener(Handoff handoff, QObject* parent)
    : QTcpServer(parent), m_handoff(std::move(handoff)) {}

void ConnectionListener::incomingConnection(qintptr socketDescriptor) {
    m_handoff(socketDescriptor);
}

} // namespace qormin::sim
