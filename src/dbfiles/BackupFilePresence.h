#pragma once

#include <QString>
#include <chrono>

namespace qormin::platform {
class FileSystemService;
}

namespace qormin::dbfiles {

enum class Presence { Present, Absent, Unknown };

// Whether a backup file lies in a folder, as this machine sees it. The backup folders are network
// mounts and a dead one blocks whoever lists it, so the listing runs on a thread of its own and is
// given up after limit; the window keeps turning meanwhile. Unknown: the folder cannot be read
// here or did not answer in time.
Presence backupFilePresence(platform::FileSystemService& files, const QString& folder,
                            const QString& fileName,
                            std::chrono::milliseconds limit = std::chrono::milliseconds(2000));

} // namespace qormin::dbfiles
