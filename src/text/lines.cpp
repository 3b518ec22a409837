// The parser's line cursor: lines as views into the text, cut at LF.
#include "text/lines.hpp"

#include <cstring>
#include <string>
#include <vector>

namespace vesk::input::mopac::detail {

std::string_view LineCursor::next() noexcept {
    std::string_view line;
    if (pos_ < text_.size()) {
        const char* begin = text_.data() + pos_;
        std::size_t rest = text_.size() - pos_;
        const void* lf = std::memchr(begin, '\n', rest);
        std::size_t length = lf ? static_cast<std::size_t>(static_cast<const char*>(lf) - begin) : rest;
        line = std::string_view(begin, length);
        pos_ += length + (lf ? 1 : 0);
        // "x\n\n" and "\n" end in one empty line more than their LFs separate.
        if (lf && pos_ == text_.size() && (text_.size() == 1 || text_[text_.size() - 2] == '\n')) {
            extra_empty_line_ = true;
        }
        if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
    } else {
        extra_empty_line_ = false;
    }
    return line;
}

std::vector<std::string> split_lines(std::string_view text) {
    std::vector<std::string> lines;
    LineCursor cursor(text);
    while (cursor.has_next()) lines.emplace_back(cursor.next());
    return lines;
}

}  // namespace vesk::input::mopac::detail
