#pragma once

#include <QProcess>
#include <QString>
#include <QTemporaryDir>
#include <memory>

namespace qormin::test {

// A real Samba server on loopback for the share tests: its own smb.conf, password database,
// lock and state folders in a temporary folder, one share "backup", and the current user as
// its only account (Samba accounts need a local user). It listens on a free port, not 445.
class SambaTestServer {
public:
    SambaTestServer();
    ~SambaTestServer();
    SambaTestServer(const SambaTestServer&) = delete;
    SambaTestServer& operator=(const SambaTestServer&) = delete;

    // False, with the reason, when Samba cannot run here.
    bool start(QString& whyNot);

    QString host() const { return QStringLiteral("127.0.0.1"); }
    int port() const { return m_port; }
    // What the operator types as the server when Samba is not on 445: "127.0.0.1:<port>".
    QString serverText() const;
    QString user() const { return m_user; }
    QString password() const { return m_password; }
    // The folder the share "backup" serves.
    QString backupFolder() const;

private:
    bool writeConfiguration(QString& whyNot);
    bool addUser(const QString& smbpasswd, QString& whyNot);
    bool waitUntilListening(QString& whyNot);
    void stop();

    std::unique_ptr<QTemporaryDir> m_folder;
    QProcess m_smbd;
    int m_port = 0;
    QString m_user;
    QString m_password = QStringLiteral("Backup#2024 pass");
};

} // namespace qormin::test
