// Lines as MOPAC cuts and holds them.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "vesk/input/mopac/job.hpp"

namespace vesk::input::mopac::detail {

/// MOPAC reads at most this many bytes of a line; the rest of the line, and
/// everything else up to the next line feed, is lost.
inline constexpr std::size_t mopac_line_limit = 2000;
/// Geometry lines are read again this wide.
inline constexpr std::size_t geometry_line_limit = 241;
/// The title and the description each keep this many bytes.
inline constexpr std::size_t head_text_limit = 200;
/// The keyword string keeps this many bytes.
inline constexpr std::size_t keyword_string_limit = 3000;

/// Cuts `text` into lines: LF, CR LF and a lone CR each end a line, so that
/// "a\r\rb\n" is "a", "", "b". A line of mopac_line_limit bytes or more takes
/// the lines behind it up to the next LF with it: those get the role `lost`.
/// A line that starts with '*' gets the role `comment`, every other line the
/// role `trailing`, for the reader to change.
JobLines cut_mopac_lines(std::string_view text);

/// A line as MOPAC holds it: its first mopac_line_limit bytes, tabs expanded
/// to 8-column stops, bytes 0xC2 and 0xA0 turned into blanks. A view of
/// `line` itself when nothing changes, else of `scratch`.
std::string_view mopac_view(std::string_view line, std::string& scratch);

/// Whether mopac_view would change anything in `text`: it holds a tab, 0xC2 or 0xA0.
bool holds_view_bytes(std::string_view text) noexcept;

/// The 1-based byte column in `line` of the byte at `offset` of its
/// mopac_view: tabs make the two differ.
std::size_t file_column(std::string_view line, std::size_t offset) noexcept;

/// Whether `text` holds `part`, comparing without case (a-z only).
bool contains_upper(std::string_view text, std::string_view part) noexcept;

}  // namespace vesk::input::mopac::detail
