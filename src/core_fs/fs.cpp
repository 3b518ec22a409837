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
#include <utility>

namespace vesk::core::fs {
namespace {

[[noreturn]] void fail_read(const std::string& path, int error);
int open_retrying(const char* path, int flags, mode_t mode) noexcept;
int replace_file(const std::string& path, std::string_view content);
int resolve_link(const std::string& path, std::string& target);
std::string directory_of(const std::string& path);
mode_t current_umask();
std::string temporary_path(const std::string& directory);
std::string proc_fd_path(int fd);
int write_all(int fd, std::string_view content) noexcept;
void sync_directory(const std::string& directory) noexcept;

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

private:
    int fd_;
};

// The new content on its way to the target, readable by its owner alone
// (0600) until it is complete. Where the system offers it (O_TMPFILE on
// Linux) the file has no name until then, so a process killed on the way
// leaves nothing behind; elsewhere it is created under a fresh name. A name
// it was given is removed again unless the file was renamed over its target.
class TemporaryFile {
public:
    TemporaryFile() = default;
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;
    ~TemporaryFile() {
        if (fd_ >= 0) ::close(fd_);
        if (!path_.empty()) ::unlink(path_.c_str());
    }

    int fd() const noexcept { return fd_; }
    int create(const std::string& directory);
    int name_and_close(const std::string& directory);
    int rename_to(const std::string& target);

private:
    int fd_ = -1;
    std::string path_;  // empty while the file has no name
};

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

}  // namespace

std::string read_text_file(const std::string& path) {
    const int raw = open_retrying(path.c_str(), O_RDONLY | O_CLOEXEC, 0);
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

int open_retrying(const char* path, int flags, mode_t mode) noexcept {
    int fd = -1;
    do {
        fd = ::open(path, flags, mode);
    } while (fd < 0 && errno == EINTR);
    return fd;
}

// Answers 0 once `content` is in place at `path`, else the errno of the step
// that failed, with the target as it was.
int replace_file(const std::string& path, std::string_view content) {
    if (path.empty()) return ENOENT;
    // Writing through a symbolic link replaces the file it names and keeps the link.
    std::string target;
    if (int code = resolve_link(path, target)) return code;

    // A replaced file keeps its permission bits; a new one gets those of any new file.
    mode_t mode = 0;
    struct stat existing {};
    if (::stat(target.c_str(), &existing) == 0) {
        if (S_ISDIR(existing.st_mode)) return EISDIR;
        if (!S_ISREG(existing.st_mode)) return EINVAL;  // a device, a FIFO, a socket
        mode = existing.st_mode & 07777;
    } else if (errno == ENOENT) {
        mode = 0666 & ~current_umask();
    } else {
        return errno;
    }

    const std::string directory = directory_of(target);
    TemporaryFile temporary;
    int code = temporary.create(directory);
    if (code == 0) code = write_all(temporary.fd(), content);
    // The final bits only once the content is complete, and synced with it.
    if (code == 0 && ::fchmod(temporary.fd(), mode) != 0) code = errno;
    if (code == 0 && ::fsync(temporary.fd()) != 0) code = errno;
    if (code == 0) code = temporary.name_and_close(directory);
    if (code == 0) code = temporary.rename_to(target);
    if (code != 0) return code;
    // The target holds the new content now, whatever follows.
    sync_directory(directory);
    return 0;
}

// Creates the file in `directory`, unnamed where the file system allows it.
int TemporaryFile::create(const std::string& directory) {
#ifdef O_TMPFILE
    fd_ = open_retrying(directory.c_str(), O_TMPFILE | O_WRONLY | O_CLOEXEC, 0600);
    if (fd_ >= 0) {
        // linkat() will name it through /proc/self/fd, which a chroot or a
        // bare container may lack: make sure that leads to this very file.
        struct stat file {};
        struct stat through_proc {};
        if (::fstat(fd_, &file) == 0 && ::stat(proc_fd_path(fd_).c_str(), &through_proc) == 0 &&
            file.st_dev == through_proc.st_dev && file.st_ino == through_proc.st_ino) {
            return 0;
        }
        ::close(fd_);
        fd_ = -1;
    } else if (errno != EOPNOTSUPP && errno != EISDIR && errno != EINVAL) {
        return errno;  // ENOENT, EACCES, ... which a named file would meet as well
    }
#endif
    for (int attempt = 0; attempt < 100; ++attempt) {
        std::string path = temporary_path(directory);
        fd_ = open_retrying(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
        if (fd_ >= 0) {
            path_ = std::move(path);
            return 0;
        }
        if (errno != EEXIST) return errno;
    }
    return EEXIST;
}

// Gives an unnamed file a fresh name in `directory`, then closes it: some
// file systems report a delayed write error only on close.
int TemporaryFile::name_and_close(const std::string& directory) {
    for (int attempt = 0; path_.empty(); ++attempt) {
        std::string path = temporary_path(directory);
        if (::linkat(AT_FDCWD, proc_fd_path(fd_).c_str(), AT_FDCWD, path.c_str(), AT_SYMLINK_FOLLOW) == 0) {
            path_ = std::move(path);
        } else if (errno != EEXIST || attempt == 100) {
            return errno;
        }
    }
    return ::close(std::exchange(fd_, -1)) == 0 ? 0 : errno;
}

int TemporaryFile::rename_to(const std::string& target) {
    if (::rename(path_.c_str(), target.c_str()) != 0) return errno;
    path_.clear();  // the name is the target's now
    return 0;
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

// The process's umask, read without changing it where Linux shows it in
// /proc/self/status (4.7 and later). Elsewhere it can only be read by setting
// it; the interim 077 makes a file another thread creates in that instant
// private to its owner at worst, never open to others.
mode_t current_umask() {
    try {
        const std::string status = read_text_file("/proc/self/status");
        const std::string::size_type at = status.find("\nUmask:");
        if (at != std::string::npos) {
            return static_cast<mode_t>(std::strtoul(status.c_str() + at + 7, nullptr, 8)) & 0777;
        }
    } catch (const std::system_error&) {
    }
    const mode_t mask = ::umask(077);
    ::umask(mask);
    return mask;
}

std::string proc_fd_path(int fd) { return "/proc/self/fd/" + std::to_string(fd); }

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

// The rename is only durable once the directory entry is on disk. This is
// best effort: a directory the process may write but not read (mode 0300)
// cannot be opened, and a failure here cannot take the rename back.
void sync_directory(const std::string& directory) noexcept {
    const int fd = open_retrying(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC, 0);
    if (fd < 0) return;
    ::fsync(fd);
    ::close(fd);
}

}  // namespace
}  // namespace vesk::core::fs
