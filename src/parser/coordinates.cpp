// Recognition of the lines behind the comment line: atoms, translation vectors, raw text.
#include <cstring>
#include <string>

#include "text/bytes.hpp"
#include "parser/coordinates.hpp"
#include "text/numbers.hpp"
#include "text/lines.hpp"

namespace vesk::input::mopac::detail {
namespace {

constexpr std::size_t max_tokens = 8;  // one more than any accepted line has

std::size_t split_tokens(std::string_view line, std::string_view (&tokens)[max_tokens]) noexcept;
bool read_plain_record(std::string_view line, CoordinateRecord& record);
std::size_t count_coordinate_lines(LineCursor lines) noexcept;
bool is_translation_label(std::string_view label) noexcept;

}  // namespace

std::uint64_t read_coordinate_section(LineCursor& lines, MopacInput& document) {
    // Reserve the records exactly: a second, cheap pass instead of a vector
    // of line views or a doubling growth that copies every record.
    document.coordinates.reserve(document.coordinates.size() + count_coordinate_lines(lines));

    std::uint64_t raw_count = 0;
    while (lines.has_next()) {
        std::string_view line = lines.next();
        if (is_blank_line(line)) {
            // The blank line and everything behind it is kept as text, however
            // much it looks like coordinates.
            document.trailing_lines.emplace_back(line);
            while (lines.has_next()) document.trailing_lines.emplace_back(lines.next());
            break;
        }
        CoordinateRecord& record = document.coordinates.emplace_back();
        if (read_plain_record(line, record)) continue;
        std::string_view tokens[max_tokens];
        std::size_t count = split_tokens(line, tokens);
        if (!parse_coordinate_tokens(tokens, count, record)) {
            record.kind = CoordinateKind::Raw;
            record.raw_line.assign(line);
            ++raw_count;
        }
    }
    return raw_count;
}

bool parse_coordinate_tokens(const std::string_view* tokens, std::size_t count, CoordinateRecord& record) {
    if (count != 4 && count != 7) return false;
    if (is_translation_label(tokens[0])) record.kind = CoordinateKind::TranslationVector;
    record.element.assign(tokens[0]);
    if (count == 4) {
        return parse_double_token(tokens[1], record.x) && parse_double_token(tokens[2], record.y) &&
               parse_double_token(tokens[3], record.z);
    }
    record.has_optimization_flags = true;
    return parse_double_token(tokens[1], record.x) && parse_int_token(tokens[2], record.optimize_x) &&
           parse_double_token(tokens[3], record.y) && parse_int_token(tokens[4], record.optimize_y) &&
           parse_double_token(tokens[5], record.z) && parse_int_token(tokens[6], record.optimize_z);
}

namespace {

// Splits at the six "C" locale white-space bytes; stops after max_tokens,
// since no line with more tokens than that can be a record.
std::size_t split_tokens(std::string_view line, std::string_view (&tokens)[max_tokens]) noexcept {
    std::size_t count = 0;
    std::size_t i = 0;
    const std::size_t n = line.size();
    while (count < max_tokens) {
        while (i < n && is_c_space(static_cast<unsigned char>(line[i]))) ++i;
        if (i == n) break;
        std::size_t start = i;
        while (i < n && !is_c_space(static_cast<unsigned char>(line[i]))) ++i;
        tokens[count++] = line.substr(start, i - start);
    }
    return count;
}

// The line nearly every file is made of, read in one pass over its bytes: a
// token, then 3 or 6 numbers of the form "[-]digits[.digits]" (the 2nd, 4th
// and 6th of six whole, of at most 9 digits), each converted where it is
// found. Such a line reads as parse_coordinate_tokens reads it. False, with
// `record` untouched, for every other line, which the general path takes.
bool read_plain_record(std::string_view line, CoordinateRecord& record) {
    const char* const data = line.data();
    const std::size_t n = line.size();
    std::size_t i = 0;
    while (i < n && is_c_space(static_cast<unsigned char>(data[i]))) ++i;
    const std::size_t element_begin = i;
    while (i < n && !is_c_space(static_cast<unsigned char>(data[i]))) ++i;
    const std::size_t element_end = i;
    if (element_begin == element_end) return false;

    double numbers[6];
    bool whole[6];
    std::size_t count = 0;
    for (;;) {
        while (i < n && is_c_space(static_cast<unsigned char>(data[i]))) ++i;
        if (i == n) break;
        std::size_t end = 0;
        if (count == 6 || !read_plain_number(line, i, numbers[count], end)) return false;
        if (end < n && !is_c_space(static_cast<unsigned char>(data[end]))) return false;
        const std::size_t digits = end - i - (data[i] == '-' ? 1 : 0);
        whole[count++] = digits <= 9 && std::memchr(data + i, '.', end - i) == nullptr;
        i = end;
    }
    const bool flags = count == 6;
    if (!flags && count != 3) return false;
    if (flags && !(whole[1] && whole[3] && whole[5])) return false;

    const std::string_view element = line.substr(element_begin, element_end - element_begin);
    if (is_translation_label(element)) record.kind = CoordinateKind::TranslationVector;
    record.element.assign(element);
    if (flags) {
        record.has_optimization_flags = true;
        record.x = numbers[0];
        record.y = numbers[2];
        record.z = numbers[4];
        record.optimize_x = static_cast<int>(numbers[1]);
        record.optimize_y = static_cast<int>(numbers[3]);
        record.optimize_z = static_cast<int>(numbers[5]);
    } else {
        record.x = numbers[0];
        record.y = numbers[1];
        record.z = numbers[2];
    }
    return true;
}

std::size_t count_coordinate_lines(LineCursor lines) noexcept {
    std::size_t count = 0;
    while (lines.has_next() && !is_blank_line(lines.next())) ++count;
    return count;
}

// "Tv", "TV", "tv" and "tV" all label a translation vector; "Tv1" does not.
bool is_translation_label(std::string_view label) noexcept {
    return label.size() == 2 && to_lower(label[0]) == 't' && to_lower(label[1]) == 'v';
}

}  // namespace
}  // namespace vesk::input::mopac::detail
