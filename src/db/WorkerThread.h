#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>

namespace qormin::db {

// Watches flag for up to time without sleeping or giving the core away. True once it is set. A
// thread that is about to be handed work within microseconds reacts faster this way than when
// it has to be woken from sleep.
bool watchBriefly(const std::atomic<bool>& flag, std::chrono::microseconds time);

// One thread that runs posted jobs in order. Lighter than an event loop: a job starts within
// microseconds of being posted. After a job the thread watches the queue a little while before
// it sleeps, because callers usually post the next statement right away and waking a sleeping
// thread costs more than a small statement. The destructor lets queued jobs finish, then joins.
class WorkerThread {
public:
    WorkerThread() = default;
    ~WorkerThread();
    WorkerThread(const WorkerThread&) = delete;
    WorkerThread& operator=(const WorkerThread&) = delete;

    void post(std::function<void()> job);
    bool isCurrent() const;

private:
    void run();

    std::mutex m_mutex;
    std::condition_variable m_wake;
    std::deque<std::function<void()>> m_jobs;
    bool m_stopping = false;
    std::atomic<bool> m_hasWork{false}; // jobs queued or stopping; read without the lock
    std::thread m_thread;
};

} // namespace qormin::db
