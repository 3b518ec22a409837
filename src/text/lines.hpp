// The parser's line cutting: LF-separated lines as views into the text.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>


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

}  // namespace vesk::input::mopac::detail
