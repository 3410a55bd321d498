#include "db/WorkerThread.h"

#include <chrono>

namespace qormin::db {

namespace {

// Long enough for a loop's next statement, posted right after the last one's answer.
constexpr std::chrono::microseconds workerWatch{20};

void spinPause() {
#if defined(__x86_64__) || defined(__i386__)
    __builtin_ia32_pause();
#elif defined(__aarch64__)
    asm volatile("yield");
#endif
}

} // namespace

bool watchBriefly(const std::atomic<bool>& flag, std::chrono::microseconds time) {
    const auto until = std::chrono::steady_clock::now() + time;
    while (!flag.load(std::memory_order_acquire)) {
        if (std::chrono::steady_clock::now() >= until) {
            return false;
        }
        // Not sched_yield: on a busy machine a yield hands the core to every other runnable
        // process first, and a hand-off that should take microseconds took milliseconds (a
        // transfer row 27 ms under a load of 18).
        spinPause();
    }
    return true;
}

WorkerThread::~WorkerThread() {
    {
        std::lock_guard lock(m_mutex);
        m_stopping = true;
        m_hasWork = true;
    }
    m_wake.notify_one();
    if (m_thread.joinable()) {
        m_thread.join();
    }
}

void WorkerThread::post(std::function<void()> job) {
    {
        std::lock_guard lock(m_mutex);
        m_jobs.push_back(std::move(job));
        m_hasWork = true;
        if (!m_thread.joinable()) {
            m_thread = std::thread([this] { run(); });
        }
    }
    m_wake.notify_one();
}

bool WorkerThread::isCurrent() const {
    return std::this_thread::get_id() == m_thread.get_id();
}

void WorkerThread::run() {
    for (;;) {
        std::function<void()> job;
        watchBriefly(m_hasWork, workerWatch);
        {
            std::unique_lock lock(m_mutex);
            m_wake.wait(lock, [this] { return m_stopping || !m_jobs.empty(); });
            if (m_jobs.empty()) {
                return;
            }
            job = std::move(m_jobs.front());
            m_jobs.pop_front();
            m_hasWork = m_stopping || !m_jobs.empty();
        }
        job();
    }
}

} // namespace qormin::db
