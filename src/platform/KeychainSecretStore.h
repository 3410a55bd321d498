#pragma once

#include "platform/SecretStore.h"

#include <QList>
#include <chrono>
#include <functional>
#include <memory>

class QEventLoop;
class QObject;

namespace QKeychain {
class Job;
}

namespace qormin::platform {

// The operating system's credential store through QtKeychain: the Secret Service (GNOME
// keyring, KWallet) on Linux, the Credential Manager on Windows. Every wait is bounded: a
// store that never answers (a session bus nobody serves, a keyring prompt nobody sees) costs
// the time limit once, and is not asked again in this run.
class KeychainSecretStore : public SecretStore {
public:
    KeychainSecretStore(QString service, std::chrono::milliseconds limit);
    ~KeychainSecretStore() override;
    KeychainSecretStore(const KeychainSecretStore&) = delete;
    KeychainSecretStore& operator=(const KeychainSecretStore&) = delete;

    Loaded load(const QStringList& keys) override;
    bool writeNow(const QString& key, const QString& value, QString& problem) override;
    void writeLater(const QString& key, const QString& value) override;
    void setFailureHandler(FailureHandler handler) override { m_failed = std::move(handler); }
    bool flush() override;

private:
    struct Write {
        QString key;
        QString value;
    };
    using Finished = std::function<void(QKeychain::Job&)>;

    void startWrite(const Write& write, QObject& context, Finished finished);
    void startNextWrite();
    void wake();
    bool waitUntil(const std::function<bool()>& done);
    QString unansweredProblem() const;

    QString m_service;
    std::chrono::milliseconds m_limit;
    std::unique_ptr<QObject> m_context; // answers arriving after the store is gone go nowhere
    QList<Write> m_queued;
    bool m_writing = false;
    bool m_unanswered = false;
    QEventLoop* m_waiting = nullptr;
    FailureHandler m_failed;
};

} // namespace qormin::platform
