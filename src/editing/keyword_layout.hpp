// The editor's trim and the packing of keyword tokens into lines.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "text/bytes.hpp"

namespace vesk::input::mopac::detail {

/// `text` without blanks at either end; inner blanks stay. " \tPM7 \r\n" -> "PM7".
constexpr std::string_view trim_blanks(std::string_view text) noexcept {
    std::size_t first = 0;
    std::size_t last = text.size();
    while (first < last && is_blank(text[first])) ++first;
    while (last > first && is_blank(text[last - 1])) --last;
    return text.substr(first, last - first);
}

/// trim_blanks on an owned string, in place, so that it can be moved on.
inline void trim_blanks_in_place(std::string& text) {
    const std::string_view kept = trim_blanks(text);
    const auto first = static_cast<std::size_t>(kept.data() - text.data());
    text.erase(first + kept.size());
    text.erase(0, first);
}

/// The keyword lines for `tokens`, trimmed, without empty and "+" ones. The
/// width test counts the 2 bytes of " +" for all but the last token; a token
/// that opens a line is not tested. AAAA BBBB CCCC DDDD at 11: "AAAA BBBB +", "CCCC DDDD".
std::vector<std::string> layout_keyword_lines(const std::vector<std::string>& tokens,
                                              unsigned long long max_line_width);

}  // namespace vesk::input::mopac::detail
