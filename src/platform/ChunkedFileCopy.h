#pragma once

#include <atomic>
#include <cstdint>
#include <filesystem>
#include <string>

namespace qormin::platform {

// Shared between the copying thread and the one that watches it.
struct FileCopyProgress {
    std::atomic<std::int64_t> copied{0};
    std::atomic<std::int64_t> total{-1}; // known once the source is open
    std::atomic<bool> cancelRequested{false};
};

struct FileCopyOutcome {
    enum class Result { Copied, Cancelled, SourceMissing, Failed };
    Result result = Result::Failed;
    std::string reason; // for Failed: what the system said
};

// Copies a file of any size in chunks, in bounded memory, checking for Cancel between chunks.
// The data goes to a hidden file beside the target, which replaces the target only when it is
// complete: a cancelled or failed copy leaves no partial file under the target's name (an
// existing target stays as it was). Runs on whatever thread calls it.
class ChunkedFileCopy {
public:
    static constexpr std::size_t defaultChunkBytes = std::size_t{64} << 20;

    static FileCopyOutcome copy(const std::filesystem::path& source, const std::filesystem::path& target,
                                FileCopyProgress& progress, std::size_t chunkBytes = defaultChunkBytes);
    // The hidden name the data is written under until the copy is complete.
    static std::filesystem::path partialName(const std::filesystem::path& target);
};

} // namespace qormin::platform
