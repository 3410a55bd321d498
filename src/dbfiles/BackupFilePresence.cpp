#include "dbfiles/BackupFilePresence.h"

#include "db/EventLoopYield.h"
#include "platform/FileSystemService.h"

#include <QElapsedTimer>
#include <QEventLoop>
#include <QTimer>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>

namespace qormin::dbfiles {

namespace {
struct Listing {
    std::mutex mutex;
    bool answered = false;
    std::optional<QStringList> names;
};
} // namespace

Presence backupFilePresence(platform::FileSystemService& files, const QString& folder,
                            const QString& fileName, std::chrono::milliseconds limit) {
    auto listing = std::make_shared<Listing>();
    // Detached: a listing stuck on a dead mount must hold up neither the drill nor the window's end.
    std::thread([listing, &files, folder, fileName] {
        std::optional<QStringList> names = files.listFiles(folder, {fileName});
        const std::lock_guard lock(listing->mutex);
        listing->names = std::move(names);
        listing->answered = true;
    }).detach();
    QEventLoop loop;
    QTimer poll;
    QElapsedTimer since;
    since.start();
    QObject::connect(&poll, &QTimer::timeout, &loop, [&] {
        const std::lock_guard lock(listing->mutex);
        if (listing->answered || since.elapsed() >= limit.count())
            loop.quit();
    });
    poll.start(10);
    {
        const db::EventLoopYield yield;
        loop.exec();
    }
    const std::lock_guard lock(listing->mutex);
    if (!listing->answered || !listing->names)
        return Presence::Unknown;
    return listing->names->isEmpty() ? Presence::Absent : Presence::Present;
}

} // namespace qormin::dbfiles
