// Number text of the writer and the editor, fixed to the "C" locale:
// std::to_chars never consults a locale, so there is no decimal comma and
// no digit grouping, whatever the host program selected.
#pragma once

#include <cstddef>
#include <string>

namespace vesk::input::mopac::detail {

/// Longest text that write_number() writes for a double: "-1.23456789012e-308".
inline constexpr std::size_t max_number_chars = 24;

/// Writes `value` as printf("%.12g") does in the "C" locale at `first`, which
/// must have room for max_number_chars bytes; returns the end of the text.
/// 1.5 -> "1.5", 1e-05 -> "1e-05", -12.345678901234 -> "-12.3456789012".
char* write_number(char* first, double value) noexcept;

/// Appends write_number's text of `value`.
void append_number(std::string& out, double value);

/// Appends `value` in plain decimal: "-12", "0", "2147483647".
void append_integer(std::string& out, long long value);

}  // namespace vesk::input::mopac::detail
