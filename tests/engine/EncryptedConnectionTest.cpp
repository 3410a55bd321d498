#include "FakeServerAccessHost.h"
#include "QStringPrinter.h"

#include "db/LogBuffer.h"
#include "db/Recordset.h"
#include "db/ServerAccess.h"

#include <QFile>
#include <QProcess>
#include <QProcessEnvironment>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QUuid>
#include <gtest/gtest.h>
#include <unistd.h>

namespace qormin::test {
namespace {

using db::ConnectionSecurity;
using db::Encryption;

const QString encryptedQuery =
    QStringLiteral("SELECT encrypt_option FROM sys.dm_exec_connections WHERE session_id = @@SPID");

// The engine that encrypts, as scripts/engines.sh starts it with QORMIN_ENGINE_TLS=1: its
// certificate names localhost and is signed by the test CA; the other CA signed nothing.
struct TlsEngine {
    QString server; // "localhost,port"
    QString port;
    QString ca;
    QString otherCa;
    QString user;
    QString password;
    QString plainServer; // one of the pair that does not encrypt: "127.0.0.1,port"
};

std::optional<TlsEngine> tlsEngine() {
    const QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    TlsEngine engine{environment.value(QStringLiteral("QORMIN_TEST_TLS_SERVER")),
                     {},
                     environment.value(QStringLiteral("QORMIN_TEST_TLS_CA")),
                     environment.value(QStringLiteral("QORMIN_TEST_TLS_OTHER_CA")),
                     environment.value(QStringLiteral("QORMIN_TEST_USER"), QStringLiteral("sa")),
                     environment.value(QStringLiteral("QORMIN_TEST_PASSWORD")),
                     environment.value(QStringLiteral("QORMIN_TEST_SERVER_LEFT"))};
    if (engine.server.isEmpty() || engine.ca.isEmpty() || engine.plainServer.isEmpty()) {
        return std::nullopt;
    }
    engine.port = engine.server.section(u',', 1);
    return engine;
}

class EncryptedConnectionTest : public testing::Test {
protected:
    void SetUp() override {
        const auto engine = tlsEngine();
        if (!engine) {
            GTEST_SKIP() << "no engine with TLS: QORMIN_TEST_TLS_SERVER, QORMIN_TEST_TLS_CA and "
                            "QORMIN_TEST_SERVER_LEFT are not set (scripts/engines.sh start with "
                            "QORMIN_ENGINE_TLS=1 sets them)";
        }
        m_engine = *engine;
        m_host.user[0] = m_engine.user;
        m_host.password[0] = m_engine.password;
        m_access = std::make_unique<db::ServerAccess>(m_host);
    }

    void connect(const QString& server, const ConnectionSecurity& security) {
        m_host.server[0] = server;
        m_access->setConnectionSecurity(0, security);
        m_access->closeConnection(0);
        m_access->ConnectServer(0);
    }

    QString firstValue(const QString& sql) {
        QString error;
        if (!m_access->OpenRecordset(0, sql, {}, error)) {
            return error;
        }
        return m_access->sharedRecordset().field(0).toString();
    }

    TlsEngine m_engine;
    FakeServerAccessHost m_host;
    std::unique_ptr<db::ServerAccess> m_access;
};

TEST_F(EncryptedConnectionTest, requiredConnectsOnlyToTheServerTheCertificateNamesSignedByTheCa) {
    const QString byAddress = QStringLiteral("127.0.0.1,") + m_engine.port;
    const QString refused = QStringLiteral("Encrypted connection to the left server %1 refused: ");
    struct Case {
        const char* name;
        QString server;
        QString caFile;
        QString expectedRefusal; // empty: connects
    };
    const Case cases[] = {
        {"rightCaAndName", m_engine.server, m_engine.ca, {}},
        {"otherCa", m_engine.server, m_engine.otherCa,
         refused.arg(m_engine.server) +
             QStringLiteral("the server's certificate is not signed by the CA in ") + m_engine.otherCa},
        {"systemStore",
         m_engine.server,
         {},
         refused.arg(m_engine.server) +
             QStringLiteral("the server's certificate is not signed by a CA of the system's trust store")},
        {"nameNotInCertificate", byAddress, m_engine.ca,
         refused.arg(byAddress) +
             QStringLiteral("the server's certificate does not carry the name 127.0.0.1")},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        m_host.errorBoxes.clear();
        connect(c.server, {Encryption::Required, c.caFile, {}});
        if (c.expectedRefusal.isEmpty()) {
            ASSERT_TRUE(m_access->IsConnected(0)) << m_host.errorBoxes.join(u'\n').toStdString();
            EXPECT_EQ(firstValue(encryptedQuery), QStringLiteral("TRUE"));
            continue;
        }
        EXPECT_FALSE(m_access->IsConnected(0));
        EXPECT_EQ(m_host.errorBoxes, QStringList{c.expectedRefusal});
        EXPECT_TRUE(m_access->errors().text().contains(u' ' + c.expectedRefusal + QStringLiteral("\r\n")))
            << m_access->errors().text().toStdString();
    }
}

// The TDS log-on carries the password merely scrambled: each byte's halves swapped, then XOR 0xA5.
QByteArray scrambledPassword(const QString& password) {
    QByteArray bytes(reinterpret_cast<const char*>(password.utf16()), password.size() * 2);
    for (char& byte : bytes) {
        const auto value = static_cast<unsigned char>(byte);
        byte = static_cast<char>(((value << 4) | (value >> 4)) ^ 0xA5);
    }
    return bytes;
}

QByteArray utf16(const QString& text) {
    return {reinterpret_cast<const char*>(text.utf16()), text.size() * 2};
}

// A capture on the loopback interface of one log-on and one statement: encrypted, neither the
// password nor the statement's text is in it; unencrypted (the control, on an engine without TLS:
// the one with TLS requires it, and FreeTDS gives in even when told not to encrypt), both are.
TEST_F(EncryptedConnectionTest, logOnAndStatementDoNotCrossInClear) {
    const QString tcpdump = QStandardPaths::findExecutable(QStringLiteral("tcpdump"));
    if (tcpdump.isEmpty() || geteuid() != 0) {
        GTEST_SKIP() << "a capture needs tcpdump (scripts/install-deps.sh with the test tools) and root";
    }
    QTemporaryDir folder;
    for (const Encryption encryption : {Encryption::Required, Encryption::Off}) {
        const bool encrypted = encryption == Encryption::Required;
        const QString server = encrypted ? m_engine.server : m_engine.plainServer;
        SCOPED_TRACE(encrypted ? "required" : "off");
        const QString capture =
            folder.filePath(encrypted ? QStringLiteral("required.pcap") : QStringLiteral("off.pcap"));
        QProcess dump;
        dump.setReadChannel(QProcess::StandardError);
        dump.start(tcpdump, {QStringLiteral("-i"), QStringLiteral("lo"), QStringLiteral("-U"),
                             QStringLiteral("--immediate-mode"), QStringLiteral("-w"), capture,
                             QStringLiteral("tcp port ") + server.section(u',', 1)});
        QByteArray said;
        while (!said.contains("listening on") && dump.waitForReadyRead(-1)) {
            said += dump.readAllStandardError();
        }
        ASSERT_TRUE(said.contains("listening on")) << said.toStdString();
        const QString marker = QStringLiteral("qormin-marker-") + QUuid::createUuid().toString(QUuid::Id128);
        connect(server, {encryption, m_engine.ca, {}});
        ASSERT_TRUE(m_access->IsConnected(0)) << m_host.errorBoxes.join(u'\n').toStdString();
        EXPECT_EQ(firstValue(QStringLiteral("SELECT '") + marker + QStringLiteral("'")), marker);
        m_access->closeConnection(0);
        dump.terminate();
        ASSERT_TRUE(dump.waitForFinished(-1));
        QFile file(capture);
        ASSERT_TRUE(file.open(QIODevice::ReadOnly));
        const QByteArray bytes = file.readAll();
        EXPECT_EQ(bytes.contains(utf16(marker)), !encrypted);
        EXPECT_EQ(bytes.contains(scrambledPassword(m_engine.password)), !encrypted);
    }
}

} // namespace
} // namespace qormin::test
