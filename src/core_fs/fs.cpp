// Whole-file reads and atomic whole-file replacement on POSIX systems.
#include "vesk/core/fs.hpp"

#include <dirent.h>
#include <fcntl.h>
#include <pthread.h>
#include <signal.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <climits>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <set>
#include <string>
#include <system_error>
#include <tuple>
#include <utility>

namespace vesk::core::fs {
namespace {

[[noreturn]] void fail_read(const std::string& path, int error);
int open_retrying(const char* path, int flags, mode_t mode) noexcept;
int read_all(int fd, std::string& text, std::size_t max_size);
FileIdentity identity_of(const struct stat& info) noexcept;
// Writes the whole content to an open file; answers 0 or an errno value.
using ContentWriter = std::function<int(int fd)>;
int replace_file(const std::string& path, const ContentWriter& write_content, const std::string_view* content,
                 const FileIdentity* expected, bool* unchanged = nullptr);
int replace_file(const std::string& path, std::string_view content, const FileIdentity* expected,
                 bool* unchanged = nullptr);
bool holds(const std::string& path, const struct stat& file, std::string_view content);
bool still_is(const std::string& path, const FileIdentity& expected) noexcept;
int keep_owner(int fd, const struct stat& old) noexcept;
void remove_stale_temporaries(const std::string& directory);
bool is_temporary_name(const char* name) noexcept;
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
    int release() noexcept { return std::exchange(fd_, -1); }

private:
    int fd_;
};

// The new content on its way to the target, readable by its owner alone
// (0600) until it is complete. Where the system offers it (O_TMPFILE on
// Linux) the file has no name until then, so a process killed on the way
// leaves nothing behind; elsewhere it is created under a fresh name. A name
// it was given is removed again unless the file was renamed over its target.
//
// From before it has a name until that name is gone, the file is locked
// (flock) through a second descriptor that outlives the writing one: a name
// found unlocked is what a killed writer left (remove_stale_temporaries).
class TemporaryFile {
public:
    TemporaryFile() = default;
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;
    ~TemporaryFile() {
        if (fd_ >= 0) ::close(fd_);
        if (!path_.empty()) ::unlink(path_.c_str());  // still locked: no one else removes it meanwhile
        if (lock_ >= 0) ::close(lock_);
    }

    int fd() const noexcept { return fd_; }
    int create(const std::string& directory);
    int name_and_close(const std::string& directory);
    int rename_to(const std::string& target);

private:
    int lock();

    int fd_ = -1;
    int lock_ = -1;     // the same open file, holding the lock
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

FileLock::FileLock(FileLock&& other) noexcept : fd_(std::exchange(other.fd_, -1)) {}

FileLock& FileLock::operator=(FileLock&& other) noexcept {
    if (this != &other) {
        if (fd_ >= 0) ::close(fd_);
        fd_ = std::exchange(other.fd_, -1);
    }
    return *this;
}

FileLock::~FileLock() {
    if (fd_ >= 0) ::close(fd_);
}

std::string read_text_file(const std::string& path) { return read_text_file(path, ReadOptions{}).text; }

FileSnapshot read_text_file(const std::string& path, const ReadOptions& options) {
    const int flags = O_RDONLY | O_CLOEXEC | O_NOCTTY | (options.regular_only ? O_NONBLOCK : 0);
    for (;;) {
        Descriptor fd(open_retrying(path.c_str(), flags, 0));
        struct stat info {};
        if (fd.get() < 0 || ::fstat(fd.get(), &info) != 0) fail_read(path, errno);
        if (options.regular_only && !S_ISREG(info.st_mode)) fail_read(path, S_ISDIR(info.st_mode) ? EISDIR : EINVAL);
        if (options.lock) {
            // While this waited, the holder may have renamed its result over
            // the path: then the file locked is no longer the one named.
            int locked = 0;
            while ((locked = ::flock(fd.get(), LOCK_EX)) != 0 && errno == EINTR) {
            }
            struct stat named {};
            if (locked != 0 || ::fstat(fd.get(), &info) != 0 || ::stat(path.c_str(), &named) != 0) {
                fail_read(path, errno);
            }
            if (info.st_dev != named.st_dev || info.st_ino != named.st_ino) continue;
        }
        if (S_ISREG(info.st_mode) && static_cast<std::uintmax_t>(info.st_size) > options.max_size) {
            fail_read(path, EFBIG);
        }
        FileSnapshot snapshot;
        // Read to the end whatever fstat said: pipes and /proc files report no size.
        if (S_ISREG(info.st_mode) && info.st_size > 0) snapshot.text.reserve(static_cast<std::size_t>(info.st_size));
        if (int code = read_all(fd.get(), snapshot.text, options.max_size)) fail_read(path, code);
        // As it was before the read: a change while reading shows as another identity.
        snapshot.identity = identity_of(info);
        if (options.lock) snapshot.lock = FileLock(fd.release());
        return snapshot;
    }
}

bool read_descriptor(int fd, std::string& text, std::size_t max_size, std::error_code& error) {
    const int code = read_all(fd, text, max_size);
    error = code == 0 ? std::error_code() : std::error_code(code, std::generic_category());
    return code == 0;
}

bool write_text_file_atomic(const std::string& path, std::string_view content,
                            std::error_code& error) {
    const int code = replace_file(path, content, nullptr);
    error = code == 0 ? std::error_code() : std::error_code(code, std::generic_category());
    return code == 0;
}

WriteOutcome write_text_file_atomic(const std::string& path, std::string_view content, const FileIdentity& expected,
                                    std::error_code& error) {
    bool unchanged = false;
    const int code = replace_file(path, content, &expected, &unchanged);
    error = code == 0 ? std::error_code() : std::error_code(code, std::generic_category());
    return code != 0 ? WriteOutcome::failed : unchanged ? WriteOutcome::unchanged : WriteOutcome::written;
}

bool write_output_file(const std::string& path, std::string_view content, std::error_code& error) {
    struct stat info {};
    if (path.empty() || ::stat(path.c_str(), &info) != 0 || !S_ISCHR(info.st_mode)) {
        return write_text_file_atomic(path, content, error);
    }
    Descriptor fd(open_retrying(path.c_str(), O_WRONLY | O_NOCTTY | O_CLOEXEC, 0));
    int code = fd.get() < 0 ? errno : write_all(fd.get(), content);
    if (code == 0 && ::close(fd.release()) != 0) code = errno;
    error = code == 0 ? std::error_code() : std::error_code(code, std::generic_category());
    return code == 0;
}

bool write_output_stream(const std::string& path, const std::function<bool(const OutputSink&)>& produce,
                         std::error_code& error) {
    // The pieces go to `fd`; the first failure stops them and is kept.
    const auto write_pieces = [&produce](int fd) {
        int code = 0;
        const OutputSink sink = [fd, &code](std::string_view piece) {
            if (code == 0) code = write_all(fd, piece);
            return code == 0;
        };
        const bool made = produce(sink);
        return code != 0 ? code : made ? 0 : ECANCELED;
    };
    struct stat info {};
    int code = 0;
    if (path.empty() || ::stat(path.c_str(), &info) != 0 || !S_ISCHR(info.st_mode)) {
        code = replace_file(path, write_pieces, nullptr, nullptr);
    } else {
        Descriptor fd(open_retrying(path.c_str(), O_WRONLY | O_NOCTTY | O_CLOEXEC, 0));
        code = fd.get() < 0 ? errno : write_pieces(fd.get());
        if (code == 0 && ::close(fd.release()) != 0) code = errno;
    }
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

int read_all(int fd, std::string& text, std::size_t max_size) {
    char buffer[65536];
    for (std::size_t room = max_size;;) {
        // One byte past the room tells a file that is too large from one that fits exactly.
        const std::size_t want = room >= sizeof buffer ? sizeof buffer : room + 1;
        const ssize_t n = ::read(fd, buffer, want);
        if (n > 0) {
            if (static_cast<std::size_t>(n) > room) return EFBIG;
            text.append(buffer, static_cast<std::size_t>(n));
            room -= static_cast<std::size_t>(n);
        } else if (n == 0) {
            return 0;
        } else if (errno != EINTR) {
            return errno;
        }
    }
}

FileIdentity identity_of(const struct stat& info) noexcept {
    const auto ns = [](const struct timespec& t) { return static_cast<std::int64_t>(t.tv_sec) * 1000000000 + t.tv_nsec; };
    FileIdentity identity;
    identity.device = static_cast<std::uint64_t>(info.st_dev);
    identity.inode = static_cast<std::uint64_t>(info.st_ino);
    identity.size = static_cast<std::int64_t>(info.st_size);
    identity.modified_ns = ns(info.st_mtim);
    identity.changed_ns = ns(info.st_ctim);
    return identity;
}

// Answers 0 once `content` is in place at `path`, else the errno of the step
// that failed, with the target as it was. With `expected`, the target must be
// that file (ESTALE otherwise), and one that holds `content` already is left
// alone with `unchanged` set.
int replace_file(const std::string& path, std::string_view content, const FileIdentity* expected, bool* unchanged) {
    return replace_file(path, [content](int fd) { return write_all(fd, content); }, &content, expected, unchanged);
}

// Replaces the file at `path` with what `write_content` writes. `content`,
// when known whole, lets an unchanged file (with `expected`) stay as it is.
int replace_file(const std::string& path, const ContentWriter& write_content, const std::string_view* content,
                 const FileIdentity* expected, bool* unchanged) {
    if (path.empty()) return ENOENT;
    // Writing through a symbolic link replaces the file it names and keeps the link.
    std::string target;
    if (int code = resolve_link(path, target)) return code;

    // A replaced file keeps its permission bits; a new one gets those of any new file.
    mode_t mode = 0;
    struct stat existing {};
    const bool exists = ::stat(target.c_str(), &existing) == 0;
    if (exists) {
        if (S_ISDIR(existing.st_mode)) return EISDIR;
        if (!S_ISREG(existing.st_mode)) return EINVAL;  // a device, a FIFO, a socket
        mode = existing.st_mode & 07777;
    } else if (errno == ENOENT) {
        mode = 0666 & ~current_umask();
    } else {
        return errno;
    }
    // Any write here clears what killed writers left, whether it writes or not.
    const std::string directory = directory_of(target);
    remove_stale_temporaries(directory);
    if (expected != nullptr) {
        if ((exists ? identity_of(existing) : FileIdentity{}) != *expected) return ESTALE;
        if (exists && content != nullptr && holds(target, existing, *content)) {
            *unchanged = true;
            return 0;
        }
    }

    TemporaryFile temporary;
    int code = temporary.create(directory);
    if (code == 0) code = write_content(temporary.fd());
    // The owner before the bits: chown clears the set-ID bits, and they are
    // only for a file that has its old owner and group.
    if (code == 0 && exists) code = keep_owner(temporary.fd(), existing);
    // The final bits only once the content is complete, and synced with it.
    if (code == 0 && ::fchmod(temporary.fd(), mode) != 0) code = errno;
    if (code == 0 && ::fsync(temporary.fd()) != 0) code = errno;
    if (code == 0) code = temporary.name_and_close(directory);
    if (code == 0 && expected != nullptr && !still_is(target, *expected)) code = ESTALE;
    if (code == 0) code = temporary.rename_to(target);
    if (code != 0) return code;
    // The target holds the new content now, whatever follows.
    sync_directory(directory);
    return 0;
}

// Whether the regular file `file` at `path` holds exactly `content`.
bool holds(const std::string& path, const struct stat& file, std::string_view content) {
    if (static_cast<std::uintmax_t>(file.st_size) != content.size()) return false;
    Descriptor fd(open_retrying(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC, 0));
    struct stat opened {};
    if (fd.get() < 0 || ::fstat(fd.get(), &opened) != 0 || opened.st_ino != file.st_ino ||
        opened.st_dev != file.st_dev) {
        return false;
    }
    char buffer[65536];
    for (;;) {
        const ssize_t n = ::read(fd.get(), buffer, sizeof buffer);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) return n == 0 && content.empty();
        if (static_cast<std::size_t>(n) > content.size() ||
            std::memcmp(buffer, content.data(), static_cast<std::size_t>(n)) != 0) {
            return false;
        }
        content.remove_prefix(static_cast<std::size_t>(n));
    }
}

bool still_is(const std::string& path, const FileIdentity& expected) noexcept {
    struct stat now {};
    if (::stat(path.c_str(), &now) == 0) return identity_of(now) == expected;
    return errno == ENOENT && !expected.exists();
}

// Gives the new file the old one's owner and group, where they differ (as
// root, or a group of the writer's own); EPERM where that is not allowed.
int keep_owner(int fd, const struct stat& old) noexcept {
    struct stat now {};
    if (::fstat(fd, &now) != 0) return errno;
    if (now.st_uid == old.st_uid && now.st_gid == old.st_gid) return 0;
    if (::fchown(fd, old.st_uid, old.st_gid) == 0) return 0;
    return errno == EINVAL ? EPERM : errno;  // EINVAL: an id this user namespace does not map
}

// Removes the temporary files in `directory` that killed writers left: named
// as ours, regular, of this user (any, for root, who gives them away), and
// locked by no one. Once per directory and process, so that a batch of
// writes in one directory lists it once; the directory is known by its path
// too, as a directory made anew may get the inode of one removed.
void remove_stale_temporaries(const std::string& directory) {
    static std::mutex mutex;
    static std::set<std::tuple<dev_t, ino_t, std::string>> cleaned;
    DIR* listing = ::opendir(directory.c_str());
    if (listing == nullptr) return;  // a directory that cannot be read is not cleaned
    const int at = ::dirfd(listing);
    struct stat self {};
    bool first = false;
    if (::fstat(at, &self) == 0) {
        const std::lock_guard<std::mutex> hold(mutex);
        first = cleaned.emplace(self.st_dev, self.st_ino, directory).second;
    }
    const uid_t user = ::geteuid();
    while (const struct dirent* entry = first ? ::readdir(listing) : nullptr) {
        if (!is_temporary_name(entry->d_name)) continue;
        Descriptor file(::openat(at, entry->d_name, O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
        struct stat found {};
        struct stat named {};
        if (file.get() < 0 || ::fstat(file.get(), &found) != 0 || !S_ISREG(found.st_mode) ||
            (user != 0 && found.st_uid != user) || ::flock(file.get(), LOCK_EX | LOCK_NB) != 0) {
            continue;
        }
        // Only while that name still leads to the file found unlocked.
        if (::fstatat(at, entry->d_name, &named, AT_SYMLINK_NOFOLLOW) == 0 && named.st_dev == found.st_dev &&
            named.st_ino == found.st_ino) {
            ::unlinkat(at, entry->d_name, 0);
        }
    }
    ::closedir(listing);
}

// ".vesk-" 16 lowercase hex digits ".tmp", as temporary_path() makes them.
bool is_temporary_name(const char* name) noexcept {
    if (std::strlen(name) != 26 || std::strncmp(name, ".vesk-", 6) != 0 || std::strcmp(name + 22, ".tmp") != 0) {
        return false;
    }
    return std::all_of(name + 6, name + 22, [](char c) { return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f'); });
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
            return lock();  // before it has a name
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
        if (fd_ < 0 && errno != EEXIST) return errno;
        if (fd_ < 0) continue;
        if (int code = lock()) {
            ::unlink(path.c_str());
            return code;
        }
        // Named before it was locked: another writer may have taken it for a
        // leftover and removed it in that instant. Then it is made anew.
        struct stat file {};
        struct stat named {};
        if (::fstat(fd_, &file) == 0 && ::stat(path.c_str(), &named) == 0 && file.st_dev == named.st_dev &&
            file.st_ino == named.st_ino) {
            path_ = std::move(path);
            return 0;
        }
        ::close(std::exchange(lock_, -1));
        ::close(std::exchange(fd_, -1));
    }
    return EEXIST;
}

int TemporaryFile::lock() {
    lock_ = ::fcntl(fd_, F_DUPFD_CLOEXEC, 0);
    if (lock_ < 0) return errno;
    // Unnamed, or named an instant ago: this waits at most for another
    // writer that found the name unlocked and is removing it.
    while (::flock(lock_, LOCK_EX) != 0) {
        if (errno != EINTR) return errno;
    }
    return 0;
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
