// Text helpers of the subcommands: words of a line, strict whole numbers,
// AUX options for people, and text made safe to print.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vesk::tools {

/// The words of a line, separated by blanks, tabs and carriage returns.
std::vector<std::string_view> split_words(std::string_view line);

/// `text` as a plain decimal whole number from `min` to `max`. A leading '-'
/// or '+' is allowed only when `min` is negative; "0x10", "1.5", "1e3", " 1"
/// and values out of range give an empty optional.
std::optional<long long> parse_decimal(std::string_view text, long long min, long long max);

/// The options of an AUX keyword token, as a person reads them:
/// "AUX(PRECISION=9,XP)" -> {"PRECISION=9", "XP"}; a bare "AUX" has none.
std::vector<std::string> aux_options(std::string_view token);

/// The word of `candidates` nearest to `word` by edits (a swap of neighbours
/// counting one), if it is a plausible misspelling: at most one edit for
/// words under six bytes, two above; empty otherwise. "eidt" -> "edit".
std::string nearest_word(std::string_view word, const std::vector<std::string>& candidates);

/// The length of the well-formed UTF-8 sequence that starts at `at`, or 0
/// (no overlong forms, no surrogates, nothing above U+10FFFF).
std::size_t utf8_sequence_length(std::string_view text, std::size_t at);

/// `text` made safe for a terminal: tab, CR and LF as \t, \r, \n, other
/// control bytes (C1 controls included) and bytes that are not UTF-8 as \xHH,
/// a backslash as \\. Printable ASCII and UTF-8 characters stay as they are.
std::string escape_for_terminal(std::string_view text);

}  // namespace vesk::tools
