// Whole-token number conversion for coordinate lines.
//
// The accepted grammar is that of strtod and strtol in the "C" locale, and
// the answers are those of std::stod / std::stoi followed by a check that the
// whole token was used:
//
//   double: [+-] digits [. digits] [(e|E) [+-] digits]   (a digit on either side of '.')
//           [+-] 0x|0X hexdigits [. hexdigits] [(p|P) [+-] digits]
//           [+-] inf | infinity | nan | nan(n-char-sequence)   (any case)
//   int:    [+-] digits, within the signed 32-bit range
//
// A value that starts the token is written to the target even when more
// characters follow (the answer is then false), so "1.5abc" stores 1.5. A
// range error stores nothing: overflow, and underflow to zero or to an
// inexact subnormal value, as strtod reports it with ERANGE.
//
// Nothing here consults the locale or touches errno: "1,5" is never a number
// and "1.5" always is, whatever the host program selected with setlocale().
#pragma once

#include <string_view>

namespace vesk::input::mopac::detail {

/// Converts a whole token to a double; see the grammar above.
bool parse_double_token(std::string_view token, double& value) noexcept;

/// Converts a whole token to a signed 32-bit integer, base 10.
bool parse_int_token(std::string_view token, int& value) noexcept;

/// MOPAC's own reading of a number inside a line: the first number that
/// starts at or after `from`, in the grammar
///
///   [+-] digits [. [digits]] [(E|e|D|d) [+-] digits]   or   [+-] . digits [exponent]
///
/// Whatever stands before it is skipped, and whatever follows it ends it:
/// "C13" from 0 gives 13, "1.0-2.0" gives 1, "1.5D-3x" gives 0.0015. Sets
/// `end` behind the number. False, with `value` 0, when no number follows.
/// Overflow gives an infinity, underflow 0, as accumulating digits would.
bool read_number_in_line(std::string_view text, std::size_t from, double& value, std::size_t& end) noexcept;

}  // namespace vesk::input::mopac::detail
