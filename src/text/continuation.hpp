// The continuation of a keyword block, as each reading sees it. The document
// model continues a keyword line that holds a lone "+" token (quotes and
// parentheses respected); MOPAC continues at a blank-plus anywhere in the
// line, quotes or not, at "++", and at the first '&' (the head rules of the
// job reading). One home for both, so that a writer of keyword text asks the
// same rules the readers use.
#pragma once

#include <string>
#include <string_view>

#include "text/keyword_scan.hpp"

namespace vesk::input::mopac::detail {

/// The document model's rule: whether a keyword line holds a token that is
/// exactly "+", tokens cut as the keyword queries cut them.
/// "PM7 + CHARGE=1" -> true, "PM7 +1" -> false, "(a + b)" -> false.
inline bool holds_plus_token(std::string_view line) noexcept {
    KeywordNesting nesting;
    bool in_token = false;
    bool plus_only = false;
    for (char c : line) {
        const bool quoted_before = nesting.quote != 0;
        const long long depth_before = nesting.depth;
        if (nesting.splits(c)) {
            if (in_token && plus_only) return true;
            in_token = plus_only = false;
            continue;
        }
        const bool structural = quoted_before || nesting.quote != 0 || nesting.depth != depth_before;
        if (!in_token) {
            in_token = true;
            plus_only = c == '+' && !structural;
        } else {
            plus_only = false;
        }
    }
    return in_token && plus_only;
}

/// Whether a keyword line holds `part` as MOPAC tests it: on the line padded
/// with a blank behind it always, and in front of it for the second and
/// third keyword lines (`blank_in_front`); so " + " matches a '+' at the end.
inline bool padded_line_holds(std::string_view line, std::string_view part, bool blank_in_front) {
    std::string padded;
    padded.reserve(line.size() + 2);
    if (blank_in_front) padded.push_back(' ');
    padded.append(line);
    padded.push_back(' ');
    return padded.find(part) != std::string::npos;
}

/// MOPAC's " +" rule: a keyword line that holds a blank-plus anywhere,
/// quotes or not, continues ("PM7 +1" too).
inline bool holds_blank_plus(std::string_view line, bool blank_in_front) {
    return padded_line_holds(line, " +", blank_in_front);
}

/// MOPAC's "++" rule: a first keyword line that holds "++" anywhere glues
/// the next line to it.
inline bool holds_double_plus(std::string_view line) noexcept { return line.find("++") != std::string_view::npos; }

/// MOPAC's '&' rule: a first keyword line that holds '&' anywhere continues.
inline bool holds_ampersand(std::string_view line) noexcept { return line.find('&') != std::string_view::npos; }

}  // namespace vesk::input::mopac::detail
