// The parse driver: keyword block, title, comment, then the coordinate section.
#include <exception>
#include <stdexcept>
#include <string>

#include "text/continuation.hpp"
#include "document/number_format.hpp"
#include "parser/coordinates.hpp"
#include "text/lines.hpp"
#include "vesk/core/fs.hpp"
#include "vesk/input/mopac/parser.hpp"

namespace vesk::input::mopac {

ParseResult::~ParseResult() = default;

ParseResult parse_string(std::string_view text) {
    // No defect of the text throws; a view that points nowhere is the
    // caller's error, refused as constructing a std::string from it would be.
    if (text.data() == nullptr && !text.empty()) {
        throw std::logic_error("MOPAC input text is a null pointer with a non-zero length");
    }
    ParseResult result;
    MopacInput& input = result.input;
    detail::LineCursor lines(text);

    if (!lines.has_next()) {
        result.error = "MOPAC input is empty";
        return result;
    }
    input.keyword_lines.emplace_back(lines.next());
    while (keyword_line_continues(input.keyword_lines.back())) {
        if (!lines.has_next()) {
            result.error = "MOPAC keyword continuation '+' has no following keyword line";
            return result;
        }
        input.keyword_lines.emplace_back(lines.next());
    }
    if (!lines.has_next()) {
        result.error = "MOPAC input is missing the title line";
        return result;
    }
    input.title.assign(lines.next());
    if (!lines.has_next()) {
        result.error = "MOPAC input is missing the comment line";
        return result;
    }
    input.comment.assign(lines.next());

    std::uint64_t raw_count = lines.has_next() ? detail::read_coordinate_section(lines, input) : 0;
    if (raw_count != 0) {
        std::string warning;
        detail::append_integer(warning, static_cast<long long>(raw_count));
        warning += " coordinate/auxiliary line(s) were preserved as raw MOPAC records";
        result.warnings.push_back(std::move(warning));
    }
    if (input.coordinates.empty()) {
        result.warnings.emplace_back(
            "MOPAC input contains no coordinate records; this is valid only for restart/OLDGEO-style jobs");
    }
    result.ok = true;
    return result;
}

ParseResult parse_file(const std::string& path) {
    try {
        const std::string text = vesk::core::fs::read_text_file(path);
        return parse_string(text);
    } catch (const std::exception& error) {
        ParseResult failed;
        failed.error = std::string("failed to read MOPAC input file: ") + error.what();
        return failed;
    }
}

// True when the line has a token that is exactly "+", with tokens cut as the
// keyword queries cut them: quotes and parentheses hold blanks, so "(a + b)"
// and "'a +" do not continue, while "PM7 + CHARGE=1" does.
bool keyword_line_continues(std::string_view line) { return detail::holds_plus_token(line); }

}  // namespace vesk::input::mopac
