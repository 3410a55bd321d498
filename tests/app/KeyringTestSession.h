#pragma once

#include "PrivateSessionBus.h"

#include <QProcess>
#include <QProcessEnvironment>
#include <QString>
#include <QTemporaryDir>

namespace qormin::test {

// A private desktop session with a real GNOME keyring: its own session bus, home, runtime
// and configuration folders, and gnome-keyring-daemon serving the Secret Service with a login
// keyring unlocked by a known password. The tool started with environment() keeps its
// settings file at settingsFile().
class KeyringTestSession {
public:
    KeyringTestSession() = default;
    ~KeyringTestSession();
    KeyringTestSession(const KeyringTestSession&) = delete;
    KeyringTestSession& operator=(const KeyringTestSession&) = delete;

    // False, with the reason, where the keyring cannot run here.
    bool start(QString& whyNot);

    QProcessEnvironment environment() const { return m_environment; }
    QString settingsFile() const;
    QString folder() const { return m_folder.path(); }
    // The tool's entry for key ("MIR/DB0") as secret-tool reads it; empty when there is none.
    QString lookup(const QString& key) const;

private:
    bool waitForKeyring() const;

    QTemporaryDir m_folder;
    PrivateSessionBus m_bus{m_folder.path()};
    QProcess m_keyring;
    QProcessEnvironment m_environment;
};

} // namespace qormin::test
