// The byte classes that the reader, the keyword scanner and the editor use,
// each named after the set it accepts.
//
// MOPAC files are bytes in no particular encoding. Every class here is fixed
// to what the "C" locale says, so that a host program that calls
// setlocale(LC_ALL, "") or std::locale::global() still reads and writes
// exactly the same bytes.
#pragma once

#include <string_view>

namespace vesk::input::mopac::detail {

/// isspace() of the "C" locale, six bytes: blank, \t, \n, \v, \f, \r.
/// Separates keyword tokens and the tokens of a coordinate line.
constexpr bool is_c_space(unsigned char c) noexcept { return c == ' ' || (c >= '\t' && c <= '\r'); }

/// A blank, four bytes: blank, \t, \r, \n; not \v and \f. The editor trims
/// these, and a line of them ends the coordinate section.
constexpr bool is_blank(char c) noexcept { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; }

/// Whether every byte of `line` is a blank; an empty line is blank.
constexpr bool is_blank_line(std::string_view line) noexcept {
    for (char c : line) {
        if (!is_blank(c)) return false;
    }
    return true;
}

/// The ten decimal digits.
constexpr bool is_digit(char c) noexcept { return c >= '0' && c <= '9'; }

/// The 52 ASCII letters.
constexpr bool is_letter(char c) noexcept { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }

/// toupper() of the "C" locale: only a-z change.
constexpr char to_upper(char c) noexcept { return (c >= 'a' && c <= 'z') ? static_cast<char>(c - 'a' + 'A') : c; }

/// tolower() of the "C" locale: only A-Z change.
constexpr char to_lower(char c) noexcept { return (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c; }

}  // namespace vesk::input::mopac::detail
