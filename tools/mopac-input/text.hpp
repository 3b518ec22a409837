// Text helpers of the subcommands.
#pragma once

#include <string_view>
#include <vector>

namespace vesk::tools {

/// The words of a line, separated by blanks, tabs and carriage returns.
std::vector<std::string_view> split_words(std::string_view line);

}  // namespace vesk::tools
