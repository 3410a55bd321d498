#pragma once

#include <QObject>
#include <QString>
#include <chrono>
#include <memory>

namespace qormin::db {

// Reads, about once per interval, how far another session's request has come
// (sys.dm_exec_requests), on a connection and a thread of its own: the working connection is
// busy with the request, and the window thread must not wait for a poll. Nothing it sends
// counts as a statement. A connection that is refused or lost ends polling with failed(),
// once; the request it watches is not affected.
class RequestProgressPoller : public QObject {
    Q_OBJECT
public:
    RequestProgressPoller(QString odbcConnectionString, int loginTimeoutSeconds, int sessionId,
                          std::chrono::milliseconds interval, QObject* parent = nullptr);
    // Stops polling and waits for the thread (at most one poll or connect attempt).
    ~RequestProgressPoller() override;
    RequestProgressPoller(const RequestProgressPoller&) = delete;
    RequestProgressPoller& operator=(const RequestProgressPoller&) = delete;

    static QString pollText(int sessionId);

    void start();
    // Returns at once: a poll under way is cancelled, the thread ends on its own.
    void stop();

Q_SIGNALS:
    // Delivered on the owner's thread; millisecondsLeft is the server's estimate.
    void progressRead(double percent, qint64 millisecondsLeft);
    void failed(const QString& reason);

private:
    struct Shared;

    void poll();
    // Hands what the thread read over to the owner's thread; called there by name, so the queued
    // call carries nothing of ours across threads.
    Q_INVOKABLE void deliver();
    void post();

    QString m_connectionString;
    int m_loginTimeout;
    int m_sessionId;
    std::chrono::milliseconds m_interval;
    std::shared_ptr<Shared> m_shared;
};

} // namespace qormin::db
