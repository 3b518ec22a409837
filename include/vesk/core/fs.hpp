// Whole-file text access for the product: read a file, replace one atomically.
#pragma once

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

/// Replaces the file at `path` with `content`, all or nothing.
///
/// Returns true when the file at `path` holds `content`; returns false on
/// any failure, and then an existing file keeps its old bytes and no
/// temporary file is left beside it.
///
/// The content is written to a temporary file in the target's directory,
/// which only its owner may read (0600) until it is complete and synced; it
/// is then renamed over the target. On Linux the temporary file has no name
/// until that moment (O_TMPFILE), so a process killed while writing leaves
/// nothing behind; elsewhere, or where the file system does not support it,
/// it has a short name of its own (".vesk-<16 hex digits>.tmp").
///
/// - A replaced file keeps its permission bits; a new file gets 0666 less
///   the process umask, as any new file.
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
/// is not a regular one (a device, a FIFO), ELOOP, EACCES, EFBIG, ENOSPC,
/// EDQUOT; its message() is the system's reason. On true, `error` is cleared.
VESK_CORE_FS_API bool write_text_file_atomic(const std::string& path, std::string_view content,
                                             std::error_code& error);

}  // namespace vesk::core::fs
