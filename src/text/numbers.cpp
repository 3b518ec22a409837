// Whole-token number conversion with the answers of strtod/strtol, locale-free.
#include "text/numbers.hpp"

#include <cfloat>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <string>
#include <system_error>

namespace vesk::input::mopac::detail {
namespace {

bool is_digit(char c) noexcept;
bool is_hex_digit(char c) noexcept;
long read_exponent(const char* first, const char* last) noexcept;
bool starts_hex_prefix(const char* first, const char* last) noexcept;
const char* hex_number_end(const char* digits, const char* last) noexcept;
bool is_subnormal(double magnitude) noexcept;
bool decimal_equals(const char* first, const char* last, double magnitude) noexcept;
bool hex_equals(const char* first, const char* last, double magnitude) noexcept;

// The digits of a decimal number as they are scanned, as one integer, and
// the power of ten that scales them. Up to 19 digits, leading zeros
// included, the integer is exact; more are left to the full conversion.
struct DecimalDigits {
    std::uint64_t mantissa = 0;  // wraps around past 19 digits, and is then not used
    long digits = 0;
    long power = 0;

    void add(char digit, bool fraction) noexcept {
        mantissa = mantissa * 10 + static_cast<std::uint64_t>(digit - '0');
        ++digits;
        power -= fraction ? 1 : 0;
    }
    bool exact(long exponent, double& magnitude) const noexcept;
};

}  // namespace

bool parse_double_token(std::string_view token, double& value) noexcept {
    double plain = 0.0;
    std::size_t plain_end = 0;
    if (read_plain_number(token, 0, plain, plain_end) && plain_end == token.size()) {
        value = plain;
        return true;
    }
    const char* first = token.data();
    const char* const last = first + token.size();

    // strtod takes one optional sign; std::from_chars takes only '-', so the
    // sign is read here and the magnitude converted alone.
    bool negative = false;
    if (first != last && (*first == '+' || *first == '-')) {
        negative = *first == '-';
        ++first;
    }
    if (first == last || *first == '+' || *first == '-') return false;

    // Most tokens are plain decimals of a few digits: converted as they are
    // scanned, with the answer a full conversion gives.
    {
        DecimalDigits digits;
        const char* p = first;
        bool any = false;
        for (; p != last && is_digit(*p); ++p, any = true) digits.add(*p, false);
        if (p != last && *p == '.') {
            for (++p; p != last && is_digit(*p); ++p, any = true) digits.add(*p, true);
        }
        long exponent = 0;
        if (any && p != last && (*p == 'e' || *p == 'E')) {
            const char* e = p + 1;
            if (e != last && (*e == '+' || *e == '-')) ++e;
            if (e != last && is_digit(*e)) {
                exponent = read_exponent(p + 1, last);
                for (p = e; p != last && is_digit(*p);) ++p;
            }
        }
        double magnitude = 0.0;
        if (any && p == last && digits.exact(exponent, magnitude)) {
            value = negative ? -magnitude : magnitude;
            return true;
        }
    }

    double magnitude = 0.0;
    const char* end = nullptr;
    if (starts_hex_prefix(first, last)) {
        const char* digits = first + 2;
        // from_chars would take a sign here, strtod does not.
        bool has_digits = digits != last && (is_hex_digit(*digits) || *digits == '.');
        auto result = has_digits ? std::from_chars(digits, hex_number_end(digits, last), magnitude,
                                                   std::chars_format::hex)
                                 : std::from_chars_result{digits, std::errc::invalid_argument};
        if (result.ec == std::errc::invalid_argument) {
            // "0x" with no hexadecimal digit behind it: strtod reads the 0.
            magnitude = 0.0;
            end = first + 1;
        } else if (result.ec != std::errc()) {
            return false;  // overflow or underflow to zero
        } else {
            if (is_subnormal(magnitude) && !hex_equals(digits, result.ptr, magnitude)) return false;
            end = result.ptr;
        }
    } else {
        auto result = std::from_chars(first, last, magnitude, std::chars_format::general);
        if (result.ec != std::errc()) return false;  // no number, overflow, underflow to zero
        if (is_subnormal(magnitude) && !decimal_equals(first, result.ptr, magnitude)) return false;
        end = result.ptr;
    }
    value = negative ? -magnitude : magnitude;
    return end == last;
}

bool parse_int_token(std::string_view token, int& value) noexcept {
    const char* first = token.data();
    const char* const last = first + token.size();
    // std::from_chars accepts a leading '-' but not '+'; strtol accepts either, once.
    if (first != last && *first == '+') {
        ++first;
        if (first == last || !is_digit(*first)) return false;
    }
    int parsed = 0;
    auto result = std::from_chars(first, last, parsed, 10);
    if (result.ec != std::errc()) return false;  // no digits, or outside 32 bits
    value = parsed;
    return result.ptr == last;
}

bool read_number_in_line(std::string_view text, std::size_t from, double& value, std::size_t& end) noexcept {
    value = 0.0;
    const std::size_t n = text.size();
    for (std::size_t start = from; start < n; ++start) {
        std::size_t i = start;
        if (text[i] == '+' || text[i] == '-') ++i;
        // The digits go into one integer as they are passed; how many there
        // were, and how many behind the point, follow from where they end.
        DecimalDigits scanned;
        const std::size_t integer_begin = i;
        std::uint64_t mantissa = 0;
        for (; i < n && is_digit(text[i]); ++i) mantissa = mantissa * 10 + static_cast<std::uint64_t>(text[i] - '0');
        bool digits = i > integer_begin;
        scanned.digits = static_cast<long>(i - integer_begin);
        if (i < n && text[i] == '.') {
            const std::size_t fraction_begin = ++i;
            for (; i < n && is_digit(text[i]); ++i) mantissa = mantissa * 10 + static_cast<std::uint64_t>(text[i] - '0');
            digits = digits || i > fraction_begin;
            scanned.power = -static_cast<long>(i - fraction_begin);
            scanned.digits -= scanned.power;
        }
        scanned.mantissa = mantissa;
        if (!digits) continue;  // no number starts here: look further on
        const std::size_t mantissa_end = i;
        long exponent = 0;
        if (i < n && (text[i] == 'E' || text[i] == 'e' || text[i] == 'D' || text[i] == 'd')) {
            std::size_t k = i + 1;
            if (k < n && (text[k] == '+' || text[k] == '-')) ++k;
            const std::size_t exponent_begin = k;
            while (k < n && is_digit(text[k])) ++k;
            if (k > exponent_begin) {
                exponent = read_exponent(text.data() + i + 1, text.data() + k);
                i = k;
            }
        }
        end = i;
        const bool negative = text[start] == '-';
        double magnitude = 0.0;
        if (scanned.exact(exponent, magnitude)) {
            value = negative ? -magnitude : magnitude;
            return true;
        }
        // std::from_chars reads neither a leading '+' nor a 'D' exponent.
        std::string_view number = text.substr(start, i - start);
        std::size_t mark = mantissa_end - start;
        if (number[0] == '+') {
            number.remove_prefix(1);
            --mark;
        }
        const bool fortran_exponent = mark < number.size() && (number[mark] == 'D' || number[mark] == 'd');
        char buffer[64];
        const char* first = number.data();
        if (fortran_exponent && number.size() <= sizeof buffer) {
            std::memcpy(buffer, number.data(), number.size());
            buffer[mark] = 'e';
            first = buffer;
        } else if (fortran_exponent) {
            number = number.substr(0, mark);  // a mantissa of dozens of digits: its exponent is dropped
        }
        const auto result = std::from_chars(first, first + number.size(), value, std::chars_format::general);
        if (result.ec == std::errc::result_out_of_range) {
            const bool huge = mark >= number.size() || read_exponent(first + mark + 1, first + number.size()) > 0;
            value = huge ? (negative ? -HUGE_VAL : HUGE_VAL) : (negative ? -0.0 : 0.0);
        }
        return true;
    }
    end = n;
    return false;
}

namespace {

bool is_digit(char c) noexcept { return c >= '0' && c <= '9'; }

bool is_hex_digit(char c) noexcept {
    return is_digit(c) || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
}

int hex_value(char c) noexcept {
    if (is_digit(c)) return c - '0';
    return (c | 0x20) - 'a' + 10;
}

bool starts_hex_prefix(const char* first, const char* last) noexcept {
    return last - first >= 2 && first[0] == '0' && (first[1] == 'x' || first[1] == 'X');
}

// Where strtod's hexadecimal number ends: the significand, then a 'p' only
// when one optional sign and a digit follow it. libstdc++'s from_chars reads
// "1p+-1" as 0.5, so it is given no more than this.
const char* hex_number_end(const char* digits, const char* last) noexcept {
    const char* p = digits;
    while (p != last && is_hex_digit(*p)) ++p;
    if (p != last && *p == '.') {
        ++p;
        while (p != last && is_hex_digit(*p)) ++p;
    }
    if (p == last || (*p != 'p' && *p != 'P')) return p;
    const char* exponent = p + 1;
    if (exponent != last && (*exponent == '+' || *exponent == '-')) ++exponent;
    if (exponent == last || !is_digit(*exponent)) return p;
    while (exponent != last && is_digit(*exponent)) ++exponent;
    return exponent;
}

// Clinger's fast path: an integer of at most 2^53 scaled by a power of ten
// within +-22, both exact in a double, is rounded once by the one
// multiplication or division, which is the correctly rounded answer every
// full conversion gives. Anything else is left to std::from_chars.
bool DecimalDigits::exact(long exponent, double& magnitude) const noexcept {
#if FLT_EVAL_METHOD == 0
    const auto& powers = exact_powers_of_ten;
    const long scale = exponent + power;
    if (digits > 19 || mantissa > (std::uint64_t{1} << 53) || scale < -22 || scale > 22) return false;
    const auto m = static_cast<double>(mantissa);
    magnitude = scale < 0 ? m / powers[-scale] : m * powers[scale];
    return true;
#else
    (void)exponent;
    (void)magnitude;
    return false;
#endif
}

bool is_subnormal(double magnitude) noexcept {
    return magnitude != 0.0 && magnitude < std::numeric_limits<double>::min();
}

// Reads an exponent's digits, saturating far beyond any meaningful value.
long read_exponent(const char* first, const char* last) noexcept {
    bool negative = false;
    if (first != last && (*first == '+' || *first == '-')) negative = *first++ == '-';
    long exponent = 0;
    for (; first != last && is_digit(*first); ++first) {
        if (exponent < 100000000) exponent = exponent * 10 + (*first - '0');
    }
    return negative ? -exponent : exponent;
}

// A subnormal result is a range error unless the text denotes it exactly.
// Every subnormal double has a finite decimal expansion of at most 767
// significant digits, which std::to_chars writes exactly at that precision,
// so the two digit strings can be compared as they stand:
// "4.9406564584124654e-324" is inexact, the full 751-digit 2^-1074 is not.
bool decimal_equals(const char* first, const char* last, double magnitude) noexcept {
    // The text's significant digits and the power of ten of the first one.
    std::string digits;
    long point = 0;  // digits before the decimal point, counted from the first significant one
    bool seen_point = false;
    const char* p = first;
    for (; p != last && (is_digit(*p) || *p == '.'); ++p) {
        if (*p == '.') {
            seen_point = true;
            continue;
        }
        if (digits.empty() && *p == '0') {
            if (seen_point) --point;
            continue;
        }
        digits.push_back(*p);
        if (!seen_point) ++point;
    }
    if (p != last && (*p == 'e' || *p == 'E')) point += read_exponent(p + 1, last);
    while (!digits.empty() && digits.back() == '0') digits.pop_back();

    // The same for the double: "d.ddd...e-XXX" at a precision that is exact.
    char buffer[820];
    auto result = std::to_chars(buffer, buffer + sizeof buffer, magnitude,
                                std::chars_format::scientific, 800);
    const char* exponent_mark = static_cast<const char*>(std::memchr(buffer, 'e', result.ptr - buffer));
    std::string exact(1, buffer[0]);
    exact.append(buffer + 2, static_cast<std::size_t>(exponent_mark - (buffer + 2)));
    while (!exact.empty() && exact.back() == '0') exact.pop_back();
    long exact_point = read_exponent(exponent_mark + 1, result.ptr) + 1;

    return digits == exact && point == exact_point;
}

// The hexadecimal counterpart: compares odd significands and powers of two.
bool hex_equals(const char* first, const char* last, double magnitude) noexcept {
    std::string digits;
    long binary_exponent = 0;
    bool seen_point = false;
    const char* p = first;
    for (; p != last && (is_hex_digit(*p) || *p == '.'); ++p) {
        if (*p == '.') {
            seen_point = true;
            continue;
        }
        if (digits.empty() && *p == '0') {
            if (seen_point) binary_exponent -= 4;
            continue;
        }
        digits.push_back(*p);
        if (seen_point) binary_exponent -= 4;
    }
    if (p != last && (*p == 'p' || *p == 'P')) binary_exponent += read_exponent(p + 1, last);
    while (!digits.empty() && digits.back() == '0') {
        digits.pop_back();
        binary_exponent += 4;
    }
    // More than 15 significant hex digits span more bits than a double holds.
    if (digits.empty() || digits.size() > 15) return false;
    std::uint64_t significand = 0;
    for (char c : digits) significand = significand * 16 + static_cast<std::uint64_t>(hex_value(c));
    while ((significand & 1U) == 0) {
        significand >>= 1;
        ++binary_exponent;
    }

    // A subnormal double is m * 2^-1074.
    int exponent = 0;
    double fraction = std::frexp(magnitude, &exponent);  // magnitude = fraction * 2^exponent
    auto exact = static_cast<std::uint64_t>(std::ldexp(fraction, 1074 + exponent));
    long exact_exponent = -1074;
    while ((exact & 1U) == 0) {
        exact >>= 1;
        ++exact_exponent;
    }
    return significand == exact && binary_exponent == exact_exponent;
}

}  // namespace
}  // namespace vesk::input::mopac::detail
