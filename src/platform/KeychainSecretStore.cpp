#include "platform/KeychainSecretStore.h"

#include "db/EventLoopYield.h"

#include <QDeadlineTimer>
#include <QEventLoop>
#include <QObject>
#include <QTimer>
#include <qt6keychain/keychain.h>

namespace qormin::platform {

namespace {

// A key the store does not hold is an answer, not a failure: nothing to read, nothing to remove.
bool answered(const QKeychain::Job& job) {
    return job.error() == QKeychain::NoError || job.error() == QKeychain::EntryNotFound;
}

QString problemOf(const QKeychain::Job& job) {
    const QString said = job.errorString();
    return said.isEmpty() ? QStringLiteral("error %1").arg(static_cast<int>(job.error())) : said;
}

} // namespace

KeychainSecretStore::KeychainSecretStore(QString service, std::chrono::milliseconds limit)
    : m_service(std::move(service)), m_limit(limit), m_context(std::make_unique<QObject>()) {}

KeychainSecretStore::~KeychainSecretStore() = default;

SecretStore::Loaded KeychainSecretStore::load(const QStringList& keys) {
    Loaded loaded;
    QObject context; // a read answered after the wait gave up must not reach this frame
    qsizetype open = keys.size();
    for (const QString& key : keys) {
        auto* job = new QKeychain::ReadPasswordJob(m_service);
        job->setAutoDelete(true);
        job->setKey(key);
        QObject::connect(job, &QKeychain::Job::finished, &context, [&, key](QKeychain::Job* finished) {
            --open;
            if (finished->error() == QKeychain::NoError)
                loaded.values.insert(key, static_cast<QKeychain::ReadPasswordJob*>(finished)->textData());
            else if (!answered(*finished) && loaded.problem.isEmpty())
                loaded.problem = problemOf(*finished);
            wake();
        });
        job->start();
    }
    if (!waitUntil([&open] { return open == 0; })) {
        m_unanswered = true;
        return {false, unansweredProblem(), {}};
    }
    loaded.reachable = loaded.problem.isEmpty();
    if (!loaded.reachable)
        loaded.values.clear();
    return loaded;
}

bool KeychainSecretStore::writeNow(const QString& key, const QString& value, QString& problem) {
    if (m_unanswered) {
        problem = unansweredProblem();
        return false;
    }
    QObject context;
    bool done = false;
    startWrite({key, value}, context, [&](QKeychain::Job& job) {
        done = true;
        if (!answered(job))
            problem = problemOf(job);
        wake();
    });
    if (!waitUntil([&done] { return done; })) {
        m_unanswered = true;
        problem = unansweredProblem();
        return false;
    }
    return problem.isEmpty();
}

// Only the newest value of a key that has not been sent yet matters: typing a password sends
// one write per key stroke, and the store needs only the last.
void KeychainSecretStore::writeLater(const QString& key, const QString& value) {
    for (Write& queued : m_queued) {
        if (queued.key == key) {
            queued.value = value;
            return;
        }
    }
    m_queued.append({key, value});
    if (!m_writing)
        startNextWrite();
}

bool KeychainSecretStore::flush() {
    return !m_unanswered && waitUntil([this] { return !m_writing && m_queued.isEmpty(); });
}

void KeychainSecretStore::startWrite(const Write& write, QObject& context, Finished finished) {
    QKeychain::Job* job = nullptr;
    if (write.value.isEmpty()) {
        job = new QKeychain::DeletePasswordJob(m_service);
    } else {
        auto* writing = new QKeychain::WritePasswordJob(m_service);
        writing->setTextData(write.value);
        job = writing;
    }
    job->setAutoDelete(true);
    job->setKey(write.key);
    QObject::connect(job, &QKeychain::Job::finished, &context,
                     [finished = std::move(finished)](QKeychain::Job* done) { finished(*done); });
    job->start();
}

void KeychainSecretStore::startNextWrite() {
    if (m_queued.isEmpty())
        return;
    m_writing = true;
    startWrite(m_queued.takeFirst(), *m_context, [this](QKeychain::Job& job) {
        m_writing = false;
        if (answered(job)) {
            startNextWrite();
        } else {
            m_queued.clear();
            if (m_failed)
                m_failed(problemOf(job));
        }
        wake();
    });
}

void KeychainSecretStore::wake() {
    if (m_waiting != nullptr)
        m_waiting->quit();
}

// A local event loop that takes no user input, as a statement wait does: the store answers
// through the event loop (D-Bus on Linux).
bool KeychainSecretStore::waitUntil(const std::function<bool()>& done) {
    const QDeadlineTimer deadline(m_limit);
    const db::EventLoopYield yield;
    while (!done()) {
        if (deadline.hasExpired())
            return false;
        QEventLoop loop;
        m_waiting = &loop;
        QTimer::singleShot(std::max<qint64>(1, deadline.remainingTime()), &loop, &QEventLoop::quit);
        loop.exec(QEventLoop::ExcludeUserInputEvents);
        m_waiting = nullptr;
    }
    return true;
}

QString KeychainSecretStore::unansweredProblem() const {
    return QStringLiteral("the credential store did not answer within %1 s")
        .arg(static_cast<double>(m_limit.count()) / 1000.0);
}

} // namespace qormin::platform
