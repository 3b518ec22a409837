// Whole-file text access for the product: read a file, replace one atomically.
#pragma once

#include <string>
#include <string_view>
#include <system_error>

#if defined(_WIN32)
#  define VESK_CORE_FS_API
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
/// Writes a temporary file beside the target, flushes and syncs it, renames it
/// over the target and syncs the directory. A replaced file keeps its
/// permission bits. Returns false on any failure; the temporary file is then
/// removed and an existing target keeps its old bytes.
VESK_CORE_FS_API bool write_text_file_atomic(const std::string& path, std::string_view content);

/// As above, and tells why it failed: on false, `error` holds the system's
/// errno value (std::generic_category()), e.g. ENOENT for a missing
/// directory, EISDIR for a directory, EACCES, ENOSPC; its message() is the
/// system's reason. On true, `error` is cleared.
VESK_CORE_FS_API bool write_text_file_atomic(const std::string& path, std::string_view content,
                                             std::error_code& error);

}  // namespace vesk::core::fs
