// Byte classes and number text shared by the reader, the writer and the editor.
//
// MOPAC files are bytes in no particular encoding. Every class here is fixed to
// what the "C" locale says, so that a host program that calls
// setlocale(LC_ALL, "") or std::locale::global() still reads and writes
// exactly the same bytes.
#pragma once

#include <string>
#include <string_view>

namespace vesk::input::mopac::detail {

/// The six bytes that isspace() accepts in the "C" locale:
/// blank, \t, \n, \v, \f, \r.
constexpr bool is_space(unsigned char c) noexcept {
    return c == ' ' || (c >= '\t' && c <= '\r');
}

/// toupper() of the "C" locale: only a-z change.
constexpr char to_upper(char c) noexcept {
    return (c >= 'a' && c <= 'z') ? static_cast<char>(c - 'a' + 'A') : c;
}

/// tolower() of the "C" locale: only A-Z change.
constexpr char to_lower(char c) noexcept {
    return (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c;
}

/// Longest text that append_number() writes for a double: "-1.23456789012e-308".
inline constexpr std::size_t max_number_chars = 24;

/// Appends `value` as printf("%.12g") does in the "C" locale:
/// 1.5 -> "1.5", 1e-05 -> "1e-05", -12.345678901234 -> "-12.3456789012".
void append_number(std::string& out, double value);

/// Writes `value` as "%.12g" at `first`, which must have room for
/// max_number_chars bytes; returns the end of the text.
char* write_number(char* first, double value) noexcept;

/// Appends `value` in plain decimal: "-12", "0", "2147483647".
void append_integer(std::string& out, long long value);

}  // namespace vesk::input::mopac::detail
