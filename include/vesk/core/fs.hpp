// Whole-file text access for the product: read a file, replace one atomically.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <limits>
#include <string>
#include <string_view>
#include <system_error>

// Exported from the shared library: __declspec(dllexport) while it is built
// (VESK_CORE_FS_BUILDING), __declspec(dllimport) for its users on Windows,
// nothing for a static build (VESK_CORE_FS_STATIC).
#if defined(VESK_CORE_FS_STATIC)
#  define VESK_CORE_FS_API
#elif defined(_WIN32) || defined(__CYGWIN__)
#  if defined(VESK_CORE_FS_BUILDING)
#    define VESK_CORE_FS_API __declspec(dllexport)
#  else
#    define VESK_CORE_FS_API __declspec(dllimport)
#  endif
#else
#  define VESK_CORE_FS_API __attribute__((visibility("default")))
#endif

namespace vesk::core::fs {

/// Returns the whole content of the file at `path`, byte for byte.
///
/// Throws an exception derived from std::exception (std::system_error) whose
/// what() names the path and the system's reason, e.g.
/// "cannot read 'in.mop': No such file or directory".
VESK_CORE_FS_API std::string read_text_file(const std::string& path);

/// Which file was read, and in which state: its device and inode, its size
/// and its modification and status-change times (nanoseconds). Another file
/// renamed over the path, a file removed, written, truncated, touched or
/// given other permissions no longer has the identity it had. A default
/// identity stands for "no file".
struct FileIdentity {
    std::uint64_t device = 0;
    std::uint64_t inode = 0;
    std::int64_t size = -1;  // -1: no file
    std::int64_t modified_ns = 0;
    std::int64_t changed_ns = 0;

    bool exists() const noexcept { return size >= 0; }
    friend bool operator==(const FileIdentity& a, const FileIdentity& b) noexcept {
        return a.device == b.device && a.inode == b.inode && a.size == b.size && a.modified_ns == b.modified_ns &&
               a.changed_ns == b.changed_ns;
    }
    friend bool operator!=(const FileIdentity& a, const FileIdentity& b) noexcept { return !(a == b); }
};

/// An exclusive lock (flock) on an open file, released when this is
/// destroyed or assigned over. Locks of this kind bind only programs that
/// take them too.
class VESK_CORE_FS_API FileLock {
public:
    FileLock() noexcept = default;
    /// Takes over `locked_fd`, an open descriptor that holds the lock.
    explicit FileLock(int locked_fd) noexcept : fd_(locked_fd) {}
    FileLock(FileLock&& other) noexcept;
    FileLock& operator=(FileLock&& other) noexcept;
    FileLock(const FileLock&) = delete;
    FileLock& operator=(const FileLock&) = delete;
    ~FileLock();

    bool held() const noexcept { return fd_ >= 0; }

private:
    int fd_ = -1;
};

/// How read_text_file(path, options) reads.
struct ReadOptions {
    /// A file larger than this fails with EFBIG, before its content is held
    /// where its size is known, else once one byte more has been read.
    std::size_t max_size = std::numeric_limits<std::size_t>::max();
    /// Only a regular file is read: a FIFO, a device or a socket fails with
    /// EINVAL, a directory with EISDIR. The file is opened without blocking,
    /// so that a FIFO without a writer is refused instead of waited for.
    bool regular_only = false;
    /// The file is locked (flock, exclusive) before it is read, waiting for
    /// another holder, and stays locked in FileSnapshot::lock. When the file
    /// the path names changed while this waited (renamed over by the holder),
    /// the new one is opened and locked instead.
    bool lock = false;
};

/// What read_text_file(path, options) read.
struct FileSnapshot {
    std::string text;
    FileIdentity identity;  // of the file read, taken with the text
    FileLock lock;          // held only when read with ReadOptions::lock
};

/// Reads the file at `path` as `options` say, with the identity of what was
/// read. Throws std::system_error as read_text_file(path) does: ENOENT,
/// EACCES, EISDIR, EINVAL (not a regular file, with regular_only), EFBIG
/// (larger than max_size), ...
VESK_CORE_FS_API FileSnapshot read_text_file(const std::string& path, const ReadOptions& options);

/// Reads the open descriptor `fd` (standard input, a pipe) to its end,
/// appending to `text`. Answers false with the errno value in `error` when a
/// read fails, or with EFBIG as soon as `text` would grow by more than
/// `max_size` bytes. `fd` stays open.
VESK_CORE_FS_API bool read_descriptor(int fd, std::string& text, std::size_t max_size, std::error_code& error);

/// Replaces the file at `path` with `content`, all or nothing.
///
/// Returns true when the file at `path` holds `content`; returns false on
/// any failure, and then an existing file keeps its old bytes and no
/// temporary file is left beside it.
///
/// The content is written to a temporary file in the target's directory,
/// which only its owner may read (0600) until it is complete and synced; it
/// is then renamed over the target. Only a name can be renamed, so it gets
/// a short one of its own (".vesk-<16 hex digits>.tmp"): on Linux just
/// before the rename (O_TMPFILE, so that a process killed while writing
/// leaves nothing behind), elsewhere or where the file system does not
/// support it when it is created.
///
/// - A replaced file keeps its owner, group and permission bits: when the
///   new file cannot be given the old one's owner and group (a user other
///   than root replacing another user's file), the write fails with EPERM
///   and the file is kept. The set-user-ID and set-group-ID bits are put on
///   the new file only once it has that owner and group. A new file gets
///   0666 less the process umask, as any new file.
/// - The temporary file is locked (flock) from before it has a name until it
///   is renamed or removed. A process killed in between leaves it behind;
///   the next write in that directory (the first of each process) removes
///   every such file that no live writer holds locked.
/// - Writing through a symbolic link replaces the file it names and keeps
///   the link; a chain of links that does not end (a loop, or more than 40
///   links) fails with ELOOP.
/// - A write past the file-size limit (RLIMIT_FSIZE) fails with EFBIG
///   instead of ending the process: SIGXFSZ is blocked in the calling thread
///   while it writes and the signal that write raised is discarded; a
///   SIGXFSZ pending before the call stays pending, and the process's signal
///   dispositions are not touched.
/// - Once the rename has succeeded the answer is true. The directory is then
///   synced so that the rename survives a crash, as far as possible: where
///   the directory cannot be opened (write but no read permission) or
///   synced, the new content is in place but its durability across a power
///   loss is not guaranteed.
VESK_CORE_FS_API bool write_text_file_atomic(const std::string& path, std::string_view content);

/// As above, and tells why it failed: on false, `error` holds the system's
/// errno value (std::generic_category()), e.g. ENOENT for an empty path or a
/// missing directory, EISDIR for a directory, EINVAL for another file that
/// is not a regular one (a device, a FIFO), ELOOP, EACCES, EPERM, EFBIG,
/// ENOSPC, EDQUOT; its message() is the system's reason. On true, `error`
/// is cleared.
VESK_CORE_FS_API bool write_text_file_atomic(const std::string& path, std::string_view content,
                                             std::error_code& error);

/// What a write that expects a certain file did.
enum class WriteOutcome {
    written,    // the file holds the new content
    unchanged,  // the file held that content already: nothing was written
    failed,     // nothing was written; `error` says why
};

/// As above, for a file read before (read_text_file(path, options)) and
/// written back: the file at `path` (through links) must still be the one
/// `expected` identifies, checked before anything is written and again just
/// before the rename; otherwise nothing is written and `error` is ESTALE, so
/// that what another program put there, or its removal, stays. A default
/// `expected` (no file) means that no file may be there. When the file holds
/// `content` already it is not touched at all: same inode, same times, and
/// the answer is `unchanged`.
///
/// Programs that do not lock can still change the file between the last
/// check and the rename; the check makes that window a few system calls wide.
/// Where file times are coarse (a clock tick), a rewrite to the same size
/// within the tick of the read keeps the identity.
VESK_CORE_FS_API WriteOutcome write_text_file_atomic(const std::string& path, std::string_view content,
                                                     const FileIdentity& expected, std::error_code& error);

/// Writes `content` as a command's output to `path`: a character device
/// (/dev/null, a terminal, /dev/stdout on one) is opened and written
/// directly, as it cannot be replaced; anything else goes through
/// write_text_file_atomic(path, content, error), whose errors it answers.
VESK_CORE_FS_API bool write_output_file(const std::string& path, std::string_view content, std::error_code& error);

/// Takes the pieces of an output in order; false once it can take no more.
using OutputSink = std::function<bool(std::string_view piece)>;

/// write_output_file for an output made piece by piece, none of it held
/// here: `produce` hands each piece to the sink it is given and answers
/// whether it made the whole output. A character device takes each piece as
/// it comes; any other path is replaced all or nothing, from a temporary
/// file the pieces go to as they come (as write_text_file_atomic does). When
/// `produce` answers false, or a piece cannot be written (`error` says why,
/// else ECANCELED), a replaced file keeps its old bytes.
VESK_CORE_FS_API bool write_output_stream(const std::string& path, const std::function<bool(const OutputSink&)>& produce,
                                          std::error_code& error);

}  // namespace vesk::core::fs
