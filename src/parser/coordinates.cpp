// Recognition of the lines behind the comment line: atoms, translation vectors, raw text.
#include <string>

#include "text/bytes.hpp"
#include "parser/coordinates.hpp"
#include "text/numbers.hpp"
#include "text/lines.hpp"

namespace vesk::input::mopac::detail {
namespace {

constexpr std::size_t max_tokens = 8;  // one more than any accepted line has

std::size_t split_tokens(std::string_view line, std::string_view (&tokens)[max_tokens]) noexcept;
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
        std::string_view tokens[max_tokens];
        std::size_t count = split_tokens(line, tokens);
        CoordinateRecord& record = document.coordinates.emplace_back();
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
