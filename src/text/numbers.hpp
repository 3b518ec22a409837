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

#include <cfloat>
#include <cstddef>
#include <cstdint>
#include <cstring>
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

/// 10^0 to 10^22, each exact in a double.
inline constexpr double exact_powers_of_ten[] = {1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,  1e8,
                                                  1e9,  1e10, 1e11, 1e12, 1e13, 1e14, 1e15, 1e16, 1e17,
                                                  1e18, 1e19, 1e20, 1e21, 1e22};

/// Adds the decimal digits from data[i] on to `mantissa` and moves `i`
/// behind them, eight at a time while eight digits follow; answers how many
/// there were. The mantissa wraps past 19 digits, which the callers refuse.
inline std::size_t add_digits(const char* data, std::size_t& i, std::size_t n, std::uint64_t& mantissa) noexcept {
    const std::size_t first = i;
#if defined(__BYTE_ORDER__) && defined(__ORDER_LITTLE_ENDIAN__) && __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__
    while (n - i >= 8) {
        std::uint64_t word = 0;
        std::memcpy(&word, data + i, 8);
        // A byte is a digit when adding 0x46 and subtracting 0x30 both leave its high bit clear.
        if ((((word + 0x4646464646464646ULL) | (word - 0x3030303030303030ULL)) & 0x8080808080808080ULL) != 0) break;
        // The first digit is the lowest byte: pairs, then fours, then all eight.
        word -= 0x3030303030303030ULL;
        word = word * 10 + (word >> 8);
        word = (((word & 0x000000FF000000FFULL) * (100 + (1000000ULL << 32))) +
                (((word >> 16) & 0x000000FF000000FFULL) * (1 + (10000ULL << 32)))) >> 32;
        mantissa = mantissa * 100000000U + word;
        i += 8;
    }
#endif
    for (; i < n && static_cast<unsigned char>(data[i] - '0') < 10; ++i) {
        mantissa = mantissa * 10 + static_cast<std::uint64_t>(data[i] - '0');
    }
    return i - first;
}

/// read_number_in_line for the number most fields hold, inline: "[-]digits
/// [.digits]" right at `from`, at most 19 digits, no exponent behind. The
/// digits as one integer divided once by an exact power of ten is the
/// correctly rounded value. False, with nothing set, for anything else.
inline bool read_plain_number(std::string_view text, std::size_t from, double& value, std::size_t& end) noexcept {
#if FLT_EVAL_METHOD == 0
    const char* const data = text.data();
    const std::size_t n = text.size();
    std::size_t i = from;
    const bool negative = i < n && data[i] == '-';
    if (negative) ++i;
    std::uint64_t mantissa = 0;
    std::size_t digits = add_digits(data, i, n, mantissa);
    std::size_t fraction = 0;
    if (i < n && data[i] == '.') {
        ++i;
        fraction = add_digits(data, i, n, mantissa);
        digits += fraction;
    }
    if (digits == 0 || digits > 19 || fraction > 22 || mantissa > (std::uint64_t{1} << 53)) return false;
    if (i < n && ((data[i] | 0x20) == 'e' || (data[i] | 0x20) == 'd')) return false;  // an exponent follows
    const double magnitude = static_cast<double>(mantissa) / exact_powers_of_ten[fraction];
    value = negative ? -magnitude : magnitude;
    end = i;
    return true;
#else
    (void)text;
    (void)from;
    (void)value;
    (void)end;
    return false;
#endif
}

}  // namespace vesk::input::mopac::detail
