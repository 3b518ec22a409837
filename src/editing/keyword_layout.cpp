// Packing of keyword tokens into lines with the " +" continuation mark.
#include "editing/keyword_layout.hpp"

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace vesk::input::mopac::detail {
namespace {

std::vector<std::string_view> cleaned_tokens(const std::vector<std::string>& tokens);
std::string join_line(const std::vector<std::string_view>& tokens, std::size_t first, std::size_t last,
                      std::size_t size, bool marked);

}  // namespace

std::vector<std::string> layout_keyword_lines(const std::vector<std::string>& tokens,
                                              unsigned long long max_line_width) {
    const std::vector<std::string_view> kept = cleaned_tokens(tokens);
    std::vector<std::string> lines;
    if (kept.empty()) {
        lines.emplace_back();  // the keyword position of the file stays, empty
        return lines;
    }
    // The current line is kept[first, i) and `size` bytes long without its
    // mark; it is only written out once it is complete.
    std::size_t first = 0;
    std::size_t size = kept[0].size();
    for (std::size_t i = 1; i < kept.size(); ++i) {
        const bool last_token = i + 1 == kept.size();
        const unsigned long long needed = size + 1 + kept[i].size() + (last_token ? 0 : 2);
        if (needed <= max_line_width) {
            size += 1 + kept[i].size();
            continue;
        }
        lines.push_back(join_line(kept, first, i, size, true));
        first = i;
        size = kept[i].size();
    }
    lines.push_back(join_line(kept, first, kept.size(), size, false));
    return lines;
}

namespace {

// Views into `tokens`, which outlives the layout; nothing is copied until the
// lines are joined, and a caller may pass the very lines that get replaced.
std::vector<std::string_view> cleaned_tokens(const std::vector<std::string>& tokens) {
    std::vector<std::string_view> kept;
    kept.reserve(tokens.size());
    for (const auto& token : tokens) {
        const std::string_view trimmed = trim_blanks(token);
        if (!trimmed.empty() && trimmed != "+") kept.push_back(trimmed);
    }
    return kept;
}

// tokens[first, last) joined by single spaces, `size` bytes, plus " +" when marked.
std::string join_line(const std::vector<std::string_view>& tokens, std::size_t first, std::size_t last,
                      std::size_t size, bool marked) {
    std::string line;
    line.reserve(size + (marked ? 2 : 0));
    line.append(tokens[first]);
    for (std::size_t i = first + 1; i < last; ++i) {
        line.push_back(' ');
        line.append(tokens[i]);
    }
    if (marked) line.append(" +");
    return line;
}

}  // namespace
}  // namespace vesk::input::mopac::detail
