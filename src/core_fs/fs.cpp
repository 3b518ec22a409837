// Whole-file reads and atomic whole-file replacement on POSIX systems.
#include "vesk/core/fs.hpp"

#include <fcntl.h>
#include <pthread.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <climits>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <system_error>

namespace vesk::core::fs {
namespace {

[[noreturn]] void fail_read(const std::string& path, int error);
int replace_file(const std::string& path, std::string_view content);
int resolve_link(const std::string& path, std::string& target);
std::string directory_of(const std::string& path);
int create_temporary(const std::string& target, std::string& temporary_path);
int write_all(int fd, std::string_view content) noexcept;
int sync_directory(const std::string& directory) noexcept;

// Closes a descriptor on every way out.
class Descriptor {
public:
    explicit Descriptor(int fd) noexcept : fd_(fd) {}
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    ~Descriptor() {
        if (fd_ >= 0) ::close(fd_);
    }
    int get() const noexcept { return fd_; }
    // Closes now and reports whether the close succeeded (a delayed write
    // error of some file systems only shows here).
    bool close() noexcept {
        int fd = fd_;
        fd_ = -1;
        return ::close(fd) == 0;
    }

private:
    int fd_;
};

}  // namespace

std::string read_text_file(const std::string& path) {
    int raw = -1;
    do {
        raw = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    } while (raw < 0 && errno == EINTR);
    if (raw < 0) fail_read(path, errno);
    Descriptor fd(raw);

    std::string content;
    struct stat info {};
    if (::fstat(fd.get(), &info) == 0 && S_ISREG(info.st_mode) && info.st_size > 0) {
        content.reserve(static_cast<std::size_t>(info.st_size));
    }
    // Read to the end whatever fstat said: pipes and /proc files report no size.
    char buffer[65536];
    for (;;) {
        ssize_t n = ::read(fd.get(), buffer, sizeof buffer);
        if (n > 0) {
            content.append(buffer, static_cast<std::size_t>(n));
        } else if (n == 0) {
            break;
        } else if (errno != EINTR) {
            fail_read(path, errno);
        }
    }
    return content;
}

bool write_text_file_atomic(const std::string& path, std::string_view content,
                            std::error_code& error) {
    const int code = replace_file(path, content);
    error = code == 0 ? std::error_code() : std::error_code(code, std::generic_category());
    return code == 0;
}

bool write_text_file_atomic(const std::string& path, std::string_view content) {
    std::error_code ignored;
    return write_text_file_atomic(path, content, ignored);
}

namespace {

[[noreturn]] void fail_read(const std::string& path, int error) {
    throw std::system_error(error, std::generic_category(), "cannot read '" + path + "'");
}

// Answers 0 once `content` is in place at `path`, else the errno of the step
// that failed, with the target as it was.
int replace_file(const std::string& path, std::string_view content) {
    if (path.empty()) return ENOENT;
    // Writing through a symbolic link replaces the file it names and keeps the link.
    std::string target;
    if (int code = resolve_link(path, target)) return code;

    struct stat existing {};
    const bool replaces = ::stat(target.c_str(), &existing) == 0;
    if (!replaces && errno != ENOENT) return errno;
    if (replaces && S_ISDIR(existing.st_mode)) return EISDIR;
    if (replaces && !S_ISREG(existing.st_mode)) return EINVAL;  // a device, a FIFO, a socket

    std::string temporary;
    Descriptor fd(create_temporary(target, temporary));
    if (fd.get() < 0) return errno;

    int code = write_all(fd.get(), content);
    if (code == 0 && ::fsync(fd.get()) != 0) code = errno;
    if (code == 0 && replaces && ::fchmod(fd.get(), existing.st_mode & 07777) != 0) code = errno;
    if (!fd.close() && code == 0) code = errno;
    if (code == 0 && ::rename(temporary.c_str(), target.c_str()) != 0) code = errno;
    if (code != 0) {
        ::unlink(temporary.c_str());
        return code;
    }
    // The rename is only durable once the directory entry is on disk.
    return sync_directory(directory_of(target));
}

// Follows a chain of symbolic links to its end, which may not exist yet. A
// chain that does not end, a loop or more links than the kernel itself
// follows (40), is ELOOP: replacing the last link by a file would break it.
int resolve_link(const std::string& path, std::string& target) {
    target = path;
    for (int hops = 0;; ++hops) {
        struct stat info {};
        if (::lstat(target.c_str(), &info) != 0 || !S_ISLNK(info.st_mode)) return 0;
        if (hops == 40) return ELOOP;
        std::string link(static_cast<std::size_t>(info.st_size > 0 ? info.st_size : PATH_MAX), '\0');
        ssize_t n = ::readlink(target.c_str(), link.data(), link.size());
        if (n < 0) return errno;
        link.resize(static_cast<std::size_t>(n));
        // A relative link is relative to the directory that holds the link.
        target = (!link.empty() && link[0] == '/') ? link : directory_of(target) + "/" + link;
    }
}

std::string directory_of(const std::string& path) {
    std::string::size_type slash = path.rfind('/');
    if (slash == std::string::npos) return ".";
    if (slash == 0) return "/";
    return path.substr(0, slash);
}

// A fresh ".vesk-<16 hex digits>.tmp" in `directory`. The name is short
// and not made from the target's, so that it fits beside any legal name;
// the caller still has to create it exclusively.
std::string temporary_path(const std::string& directory) {
    static std::atomic<std::uint64_t> counter{0};
    const auto now = std::chrono::steady_clock::now().time_since_epoch().count();
    std::uint64_t x = (static_cast<std::uint64_t>(::getpid()) << 40) ^ static_cast<std::uint64_t>(now) ^
                      counter.fetch_add(1, std::memory_order_relaxed);
    // The splitmix64 finaliser, so that names made close together differ in every digit.
    x = (x ^ (x >> 30)) * 0xbf58476d1ce4e5b9;
    x = (x ^ (x >> 27)) * 0x94d049bb133111eb;
    x ^= x >> 31;
    char name[32];
    std::snprintf(name, sizeof name, "/.vesk-%016llx.tmp", static_cast<unsigned long long>(x));
    return directory + name;
}

// Creates a new temporary file beside the target. Mode 0666 lets the
// process umask decide the bits of a new file, as for any other new file.
int create_temporary(const std::string& target, std::string& temporary_path_out) {
    const std::string directory = directory_of(target);
    for (int attempt = 0; attempt < 100; ++attempt) {
        temporary_path_out = temporary_path(directory);
        int fd = ::open(temporary_path_out.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
        if (fd >= 0 || (errno != EEXIST && errno != EINTR)) return fd;
    }
    return -1;
}

// Holds SIGXFSZ back from the calling thread while it writes, so that a
// write past RLIMIT_FSIZE fails with EFBIG instead of ending the process.
// The signal such a write raised is taken back before the old mask returns;
// one that was pending already is left for its owner. No disposition changes.
class FileSizeSignalBlock {
public:
    FileSizeSignalBlock() noexcept {
        ::sigemptyset(&signal_);
        ::sigaddset(&signal_, SIGXFSZ);
        blocked_ = ::pthread_sigmask(SIG_BLOCK, &signal_, &previous_) == 0;
        sigset_t pending;
        was_pending_ = ::sigpending(&pending) == 0 && ::sigismember(&pending, SIGXFSZ) == 1;
    }
    FileSizeSignalBlock(const FileSizeSignalBlock&) = delete;
    FileSizeSignalBlock& operator=(const FileSizeSignalBlock&) = delete;
    ~FileSizeSignalBlock() {
        if (blocked_) ::pthread_sigmask(SIG_SETMASK, &previous_, nullptr);
    }
    // After a write failed with EFBIG.
    void discard_raised() noexcept {
        if (!blocked_ || was_pending_) return;
        const struct timespec now {};
        while (::sigtimedwait(&signal_, nullptr, &now) < 0 && errno == EINTR) {
        }
    }

private:
    sigset_t signal_{};
    sigset_t previous_{};
    bool blocked_ = false;
    bool was_pending_ = false;
};

int write_all(int fd, std::string_view content) noexcept {
    FileSizeSignalBlock file_size_signal;
    const char* data = content.data();
    std::size_t left = content.size();
    while (left > 0) {
        ssize_t n = ::write(fd, data, left);
        if (n < 0) {
            const int code = errno;  // EFBIG past RLIMIT_FSIZE, ENOSPC, EDQUOT, EIO, ...
            if (code == EINTR) continue;
            if (code == EFBIG) file_size_signal.discard_raised();
            return code;
        }
        data += n;
        left -= static_cast<std::size_t>(n);
    }
    return 0;
}

int sync_directory(const std::string& directory) noexcept {
    int fd = ::open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd < 0) return errno;
    int code = ::fsync(fd) == 0 ? 0 : errno;
    ::close(fd);
    return code;
}

}  // namespace
}  // namespace vesk::core::fs
