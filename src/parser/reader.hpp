// The parser's internal steps: line splitting and the coordinate section.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "vesk/input/mopac/document.hpp"

namespace vesk::input::mopac::detail {

/// Walks the lines of a text without copying them. LF is the only separator;
/// one CR at the end of a line is dropped; text behind the last LF is a line
/// only when it is not empty; and a text that is a lone LF or ends in LF LF
/// has one more empty line at its end:
///   "x\n\n" -> "x", "", ""      "x\r\n\r\n" -> "x", ""      "x\r\r\n" -> "x\r"
class LineCursor {
public:
    explicit LineCursor(std::string_view text) noexcept : text_(text) {}

    /// Whether another line is left.
    bool has_next() const noexcept { return pos_ < text_.size() || extra_empty_line_; }

    /// The next line, a view into the text; call only when has_next().
    std::string_view next() noexcept;

private:
    std::string_view text_;
    std::size_t pos_ = 0;
    bool extra_empty_line_ = false;
};

/// All lines of `text` as LineCursor delivers them.
std::vector<std::string> split_lines(std::string_view text);

/// Whether a line holds only blanks, tabs, CR and LF (an empty line does).
bool is_blank_line(std::string_view line) noexcept;

/// Reads the lines behind the comment line into `document`: records up to the
/// first blank line, that line and all behind it into trailing_lines.
/// Returns the number of Raw records made.
std::uint64_t read_coordinate_section(LineCursor& lines, MopacInput& document);

/// Fills `record` from the tokens of one line: 4 tokens (element x y z) or
/// 7 (element x fx y fy z fz). False when the line is no such record; the
/// record then holds what was read before the failure.
bool parse_coordinate_tokens(const std::string_view* tokens, std::size_t count, CoordinateRecord& record);

}  // namespace vesk::input::mopac::detail
