// Reading MOPAC input text into a document.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "vesk/input/mopac/document.hpp"
#include "vesk/input/mopac/export.hpp"

namespace vesk::input::mopac {

/// The parser's answer. Input defects are reported here, never thrown.
struct ParseResult {
    MopacInput input;                   ///< the document, as far as the text was read
    bool ok = false;                    ///< true when the whole head was read
    std::string error;                  ///< the one error when ok is false, else empty
    std::vector<std::string> warnings;  ///< remarks on a document that was read

    ParseResult() = default;
    ParseResult(const ParseResult&) = default;
    ParseResult(ParseResult&&) noexcept = default;
    ParseResult& operator=(const ParseResult&) = default;
    ParseResult& operator=(ParseResult&&) noexcept = default;
    VESK_MOPAC_API ~ParseResult();
};

/// Parses the text of a MOPAC input file. Any bytes are accepted.
///
///     ParseResult r = parse_string(text);
///     if (!r.ok) std::cerr << r.error << '\n';
VESK_MOPAC_API ParseResult parse_string(std::string_view text);

/// Reads the file at `path` and parses it; a read failure becomes an error
/// "failed to read MOPAC input file: <reason>".
VESK_MOPAC_API ParseResult parse_file(const std::string& path);

/// Whether a keyword line holds the lone "+" token that continues the block.
VESK_MOPAC_API bool keyword_line_continues(std::string_view line);

}  // namespace vesk::input::mopac
