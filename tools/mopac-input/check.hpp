// Compatibility checks: places where MOPAC reads a file otherwise than this
// library does, so that an edit could turn into a job MOPAC misreads.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include <vesk/input/mopac/parser.hpp>

namespace vesk::tools {

/// One finding: the 1-based line it concerns (0 for the whole file), a
/// stable code for scripts, and a sentence for people.
struct Finding {
    std::size_t line = 0;
    std::string code;
    std::string message;
    bool blocks_edit = false;  // MOPAC would not read the keyword line as keywords
};

/// Checks the raw text of a file and what the library parsed from it.
std::vector<Finding> check_input(std::string_view text, const input::mopac::ParseResult& parsed);

}  // namespace vesk::tools
