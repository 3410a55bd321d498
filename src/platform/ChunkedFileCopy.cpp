#include "platform/ChunkedFileCopy.h"

#include <system_error>
#include <vector>

#ifdef __linux__
#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#else
#include <algorithm>
#include <fstream>
#endif

namespace qormin::platform {

namespace {

using Result = FileCopyOutcome::Result;

constexpr std::size_t bufferBytes = std::size_t{1} << 20;

FileCopyOutcome failed(const std::string& reason) {
    return {Result::Failed, reason};
}

void removeQuietly(const std::filesystem::path& path) {
    std::error_code ignored;
    std::filesystem::remove(path, ignored);
}

FileCopyOutcome replaceTarget(const std::filesystem::path& partial, const std::filesystem::path& target) {
    std::error_code error;
    std::filesystem::rename(partial, target, error);
    if (error) {
        removeQuietly(partial);
        return failed(error.message());
    }
    return {Result::Copied, {}};
}

#ifdef __linux__

class Descriptor {
public:
    explicit Descriptor(int fd) : m_fd(fd) {}
    ~Descriptor() {
        if (m_fd >= 0)
            ::close(m_fd);
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    int get() const { return m_fd; }
    bool valid() const { return m_fd >= 0; }
    // Closing is where a full disk may show for the last written data.
    bool close() {
        const int fd = m_fd;
        m_fd = -1;
        return ::close(fd) == 0;
    }

private:
    int m_fd;
};

std::string systemReason(int error) {
    return std::generic_category().message(error);
}

bool writeAll(int fd, const char* data, std::size_t size) {
    while (size > 0) {
        const ssize_t written = ::write(fd, data, size);
        if (written < 0 && errno == EINTR)
            continue;
        if (written <= 0)
            return false;
        data += written;
        size -= static_cast<std::size_t>(written);
    }
    return true;
}

// One chunk through a buffer; for file systems that cannot copy between files in the kernel.
ssize_t copyThroughBuffer(int in, int out, std::vector<char>& buffer, std::size_t chunkBytes) {
    if (buffer.empty())
        buffer.resize(bufferBytes);
    ssize_t total = 0;
    while (static_cast<std::size_t>(total) < chunkBytes) {
        const ssize_t got = ::read(in, buffer.data(), buffer.size());
        if (got < 0 && errno == EINTR)
            continue;
        if (got < 0)
            return -1;
        if (got == 0)
            break;
        if (!writeAll(out, buffer.data(), static_cast<std::size_t>(got)))
            return -1;
        total += got;
    }
    return total;
}

bool kernelCopyUnsupported(int error) {
    return error == EXDEV || error == ENOSYS || error == EINVAL || error == EOPNOTSUPP || error == EBADF;
}

// Bytes copied, 0 at the end, -1 on an error (errno set).
ssize_t copyChunk(int in, int out, std::size_t chunkBytes, bool& kernelCopy, std::vector<char>& buffer) {
    if (kernelCopy) {
        const ssize_t copied = ::copy_file_range(in, nullptr, out, nullptr, chunkBytes, 0);
        if (copied >= 0 || !kernelCopyUnsupported(errno))
            return copied;
        kernelCopy = false;
    }
    return copyThroughBuffer(in, out, buffer, chunkBytes);
}

FileCopyOutcome copyFile(const std::filesystem::path& source, const std::filesystem::path& target,
                         FileCopyProgress& progress, std::size_t chunkBytes) {
    Descriptor in(::open(source.c_str(), O_RDONLY | O_CLOEXEC));
    if (!in.valid())
        return errno == ENOENT ? FileCopyOutcome{Result::SourceMissing, {}} : failed(systemReason(errno));
    struct stat status {};
    if (::fstat(in.get(), &status) != 0)
        return failed(systemReason(errno));
    if (!S_ISREG(status.st_mode))
        return failed("not a plain file");
    progress.total = status.st_size;
    const std::filesystem::path partial = ChunkedFileCopy::partialName(target);
    Descriptor out(::open(partial.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644));
    if (!out.valid())
        return failed(systemReason(errno));
    bool kernelCopy = true;
    std::vector<char> buffer;
    for (;;) {
        if (progress.cancelRequested) {
            out.close();
            removeQuietly(partial);
            return {Result::Cancelled, {}};
        }
        const ssize_t copied = copyChunk(in.get(), out.get(), chunkBytes, kernelCopy, buffer);
        if (copied < 0) {
            const int error = errno;
            out.close();
            removeQuietly(partial);
            return failed(systemReason(error));
        }
        if (copied == 0)
            break;
        progress.copied += copied;
    }
    if (!out.close()) {
        const int error = errno;
        removeQuietly(partial);
        return failed(systemReason(error));
    }
    return replaceTarget(partial, target);
}

#else

FileCopyOutcome copyFile(const std::filesystem::path& source, const std::filesystem::path& target,
                         FileCopyProgress& progress, std::size_t chunkBytes) {
    std::error_code error;
    const auto size = std::filesystem::file_size(source, error);
    if (error)
        return error == std::errc::no_such_file_or_directory ? FileCopyOutcome{Result::SourceMissing, {}}
                                                             : failed(error.message());
    std::ifstream in(source, std::ios::binary);
    if (!in)
        return failed("the file cannot be read");
    progress.total = static_cast<std::int64_t>(size);
    const std::filesystem::path partial = ChunkedFileCopy::partialName(target);
    std::ofstream out(partial, std::ios::binary | std::ios::trunc);
    if (!out)
        return failed("the target cannot be written");
    std::vector<char> buffer(std::min(chunkBytes, bufferBytes));
    while (in) {
        if (progress.cancelRequested) {
            out.close();
            removeQuietly(partial);
            return {Result::Cancelled, {}};
        }
        in.read(buffer.data(), static_cast<std::streamsize>(buffer.size()));
        const std::streamsize got = in.gcount();
        if (got > 0 && !out.write(buffer.data(), got)) {
            out.close();
            removeQuietly(partial);
            return failed("the target cannot be written");
        }
        progress.copied += got;
    }
    out.close();
    if (!out || in.bad()) {
        removeQuietly(partial);
        return failed("the copy did not complete");
    }
    return replaceTarget(partial, target);
}

#endif

} // namespace

FileCopyOutcome ChunkedFileCopy::copy(const std::filesystem::path& source,
                                      const std::filesystem::path& target, FileCopyProgress& progress,
                                      std::size_t chunkBytes) {
    progress.copied = 0;
    progress.total = -1;
    return copyFile(source, target, progress, chunkBytes == 0 ? defaultChunkBytes : chunkBytes);
}

std::filesystem::path ChunkedFileCopy::partialName(const std::filesystem::path& target) {
    std::filesystem::path partial = target;
    partial.replace_filename("." + target.filename().string() + ".part");
    return partial;
}

} // namespace qormin::platform
