// Text helpers of the subcommands.
#pragma once

#include <optional>
#include <string_view>
#include <vector>

namespace vesk::tools {

/// The words of a line, separated by blanks, tabs and carriage returns.
std::vector<std::string_view> split_words(std::string_view line);

/// `text` as a plain decimal whole number from `min` to `max`. A leading '-'
/// or '+' is allowed only when `min` is negative; "0x10", "1.5", "1e3", " 1"
/// and values out of range give an empty optional.
std::optional<long long> parse_decimal(std::string_view text, long long min, long long max);

}  // namespace vesk::tools
