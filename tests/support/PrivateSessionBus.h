#pragma once

#include <QProcess>
#include <QProcessEnvironment>
#include <QString>

namespace qormin::test {

// A D-Bus session bus of a test's own: its socket in <folder>/bus and <folder>/runtime as the
// session's XDG_RUNTIME_DIR, so programs started with environment() meet their services there
// and never the user's. The bus ends with this object, or with the test process if that dies
// first.
class PrivateSessionBus {
public:
    explicit PrivateSessionBus(QString folder) : m_folder(std::move(folder)) {}
    ~PrivateSessionBus() { stop(); }
    PrivateSessionBus(const PrivateSessionBus&) = delete;
    PrivateSessionBus& operator=(const PrivateSessionBus&) = delete;

    // base: what the bus and the programs it starts see besides the two variables it adds.
    // False, with the reason, when the bus did not come up.
    bool start(QProcessEnvironment base, QString& whyNot);
    void stop();

    QProcessEnvironment environment() const { return m_environment; }

    // Ends process along with the test process, should that die without its destructors.
    static void endWithTheTest(QProcess& process);
    static void stop(QProcess& process);

private:
    QString m_folder;
    QProcess m_bus;
    QProcessEnvironment m_environment;
};

} // namespace qormin::test
