#include "dbfiles/FileCopyRunner.h"

#include "db/EventLoopYield.h"

#include <QCoreApplication>
#include <QEventLoop>
#include <QTimer>
#include <memory>
#include <thread>

namespace qormin::dbfiles {

namespace {

std::filesystem::path localPath(const QString& name) {
    return std::filesystem::path(name.toStdU16String());
}

// What the copying thread and the waiting one share; the thread may outlive neither.
struct CopyJob {
    platform::FileCopyProgress progress;
    platform::FileCopyOutcome outcome;
    std::atomic<bool> finished{false};
};

} // namespace

FileCopyRunner::FileCopyRunner(QObject* parent) : QObject(parent) {}

platform::FileCopyOutcome FileCopyRunner::copy(const QString& source, const QString& target) {
    auto job = std::make_shared<CopyJob>();
    m_progress = &job->progress;
    m_copying = true;
    Q_EMIT copyStarted(source);
    {
        QEventLoop loop;
        QTimer tick;
        tick.setInterval(progressIntervalMilliseconds);
        connect(&tick, &QTimer::timeout, &loop, [this, &job, &loop] {
            Q_EMIT progress(job->progress.copied, job->progress.total);
            if (job->finished)
                loop.quit();
        });
        std::thread worker([job, from = localPath(source), to = localPath(target), &loop] {
            job->outcome = platform::ChunkedFileCopy::copy(from, to, job->progress);
            job->finished = true;
            // By name, so nothing of ours crosses threads inside Qt (see SideConnection).
            QMetaObject::invokeMethod(&loop, "quit", Qt::QueuedConnection);
        });
        tick.start();
        if (QCoreApplication::instance() != nullptr) {
            const db::EventLoopYield yield;
            while (!job->finished)
                loop.exec();
        }
        worker.join();
    }
    Q_EMIT progress(job->progress.copied, job->progress.total);
    m_progress = nullptr;
    m_copying = false;
    Q_EMIT copyEnded();
    return job->outcome;
}

void FileCopyRunner::cancel() {
    if (m_progress != nullptr)
        m_progress->cancelRequested = true;
}

} // namespace qormin::dbfiles
