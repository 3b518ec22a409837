// The keyword tokeniser and the name of a token, shared by the queries and the editor.
// A blank is dropped only where it ends a token, so every token is one
// contiguous piece of its line and the scanner hands out views.
#pragma once

#include <cstddef>
#include <string_view>

#include "text/bytes.hpp"

namespace vesk::input::mopac::detail {

/// The quotes and parentheses around a byte of a keyword line, taken a byte
/// at a time: a blank splits tokens only outside all of them. A ')' with no
/// '(' open is an ordinary byte.
struct KeywordNesting {
    char quote = 0;
    long long depth = 0;

    /// Takes the next byte; true when it is a blank that splits tokens.
    constexpr bool splits(char c) noexcept {
        if (quote != 0) {
            if (c == quote) quote = 0;
        } else if (c == '\'' || c == '"') {
            quote = c;
        } else if (c == '(') {
            ++depth;
        } else if (c == ')' && depth > 0) {
            --depth;
        } else {
            return depth == 0 && is_c_space(static_cast<unsigned char>(c));
        }
        return false;
    }
    /// Whether a quote or parenthesis is still open.
    constexpr bool open() const noexcept { return quote != 0 || depth != 0; }
};

/// Calls `on_token(std::string_view)` for each token of a line, "+" marks
/// included: "X 'a b' (p(q) r) s)" -> "X", "'a b'", "(p(q) r)", "s)".
template <typename OnToken>
void for_each_keyword_token(std::string_view line, OnToken&& on_token) {
    KeywordNesting nesting;
    std::size_t start = 0;
    bool in_token = false;
    for (std::size_t i = 0; i < line.size(); ++i) {
        if (nesting.splits(line[i])) {
            if (in_token) on_token(line.substr(start, i - start));
            in_token = false;
            continue;
        }
        // Every byte that reaches here belongs to a token, a ")" at depth 0 too.
        if (!in_token) {
            start = i;
            in_token = true;
        }
    }
    if (in_token) on_token(line.substr(start));
}

/// Whether a token is the continuation mark that the token list leaves out.
constexpr bool is_continuation_mark(std::string_view token) noexcept {
    return token.size() == 1 && token[0] == '+';
}

/// `text` without whitespace at either end.
constexpr std::string_view trim_space(std::string_view text) noexcept {
    std::size_t first = 0;
    std::size_t last = text.size();
    while (first < last && is_c_space(static_cast<unsigned char>(text[first]))) ++first;
    while (last > first && is_c_space(static_cast<unsigned char>(text[last - 1]))) --last;
    return text.substr(first, last - first);
}

/// The name before upper-casing: " aux (precision=9)" -> "aux", "=5" -> "", "\"A=B\"" -> "\"A".
constexpr std::string_view keyword_name_part(std::string_view text) noexcept {
    text = trim_space(text);
    return trim_space(text.substr(0, text.find_first_of("=(")));
}

/// normalize_keyword_name(token) == name, without making a string.
constexpr bool keyword_name_equals(std::string_view token, std::string_view name) noexcept {
    const std::string_view part = keyword_name_part(token);
    if (part.size() != name.size()) return false;
    for (std::size_t i = 0; i < part.size(); ++i) {
        if (to_upper(part[i]) != name[i]) return false;
    }
    return true;
}

/// The value of a token: what follows its first '=', else what lies between
/// its first '(' and a final ')'. "CHARGE=1" -> "1", "Z(5)" -> "5",
/// "AUX(PRECISION=9,XP)" -> "9,XP)" (an '=' anywhere wins), "Y(5)x" and "W(5" -> "".
constexpr std::string_view keyword_value_part(std::string_view token) noexcept {
    const std::size_t equals = token.find('=');
    if (equals != std::string_view::npos) return token.substr(equals + 1);
    const std::size_t open = token.find('(');
    if (open != std::string_view::npos && !token.empty() && token.back() == ')') return token.substr(open + 1, token.size() - open - 2);
    return {};
}

/// Calls `on_item(std::string_view)` for each comma-separated item of a
/// value list, trimmed; commas inside nested parentheses belong to their item:
/// "PRECISION=9, MOS=(-5,5), XP" -> "PRECISION=9", "MOS=(-5,5)", "XP".
template <typename OnItem>
void for_each_list_item(std::string_view list, OnItem&& on_item) {
    long long depth = 0;
    std::size_t start = 0;
    for (std::size_t i = 0; i <= list.size(); ++i) {
        if (i < list.size() && list[i] == '(') ++depth;
        if (i < list.size() && list[i] == ')' && depth > 0) --depth;
        if (i == list.size() || (list[i] == ',' && depth == 0)) {
            on_item(trim_space(list.substr(start, i - start)));
            start = i + 1;
        }
    }
}

}  // namespace vesk::input::mopac::detail
