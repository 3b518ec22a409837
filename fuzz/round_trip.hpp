// Round-trip properties that hold for any text the parser reads, and the
// failure report of the fuzz targets.
#pragma once

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

#include "text/lines.hpp"
#include "vesk/input/mopac/parser.hpp"

namespace vesk::fuzz {

/// Stops the process with a message when a property is broken: a finding.
inline void check(bool holds, const std::string& what) {
    if (holds) return;
    std::fprintf(stderr, "property broken: %s\n", what.c_str());
    std::abort();
}

/// Whether a keyword token closes every quote and parenthesis that it opens,
/// so that a " +" laid out behind it stays a mark of its own.
inline bool closes(const std::string& token) { return input::mopac::keyword_line_continues(token + " +"); }

/// A written line read back: LF ends it and one CR before the LF goes, so a
/// line stored with k final CRs comes back with k - 1.
inline std::string reread(std::string line) {
    if (!line.empty() && line.back() == '\r') line.pop_back();
    return line;
}

/// Empty when `first`, the successful parse of `source`, survives rendering:
/// every line not held as numbers reads back from the rendering as it was
/// stored, less one final CR; and the rendering parses to the same head,
/// records and trailing lines, each line less one final CR, numbers equal to
/// the 12 digits written, with one empty trailing line more when the
/// rendering ends in LF LF. A record with a subnormal coordinate may come
/// back as a raw record of its written line: 12 digits of a subnormal are
/// never exact, and an inexact subnormal is a range error.
/// Otherwise a sentence naming the first break.
inline std::string round_trip_defect(std::string_view source, const input::mopac::MopacInput& first) {
    using namespace input::mopac;
    const std::string rendered = first.to_string();
    const std::vector<std::string> in = detail::split_lines(source), out = detail::split_lines(rendered);
    const std::size_t head = first.keyword_lines.size() + 2;
    if (out.size() < in.size()) return "the rendering has fewer lines";
    for (std::size_t i = 0; i < in.size(); ++i) {
        const bool numbers = i >= head && i - head < first.coordinates.size() &&
                             first.coordinates[i - head].kind != CoordinateKind::Raw;
        if (!numbers && out[i] != reread(in[i])) return "line " + std::to_string(i + 1) + " changed";
    }
    const ParseResult again = parse_string(rendered);
    const MopacInput& second = again.input;
    auto reread_all = [](std::vector<std::string> lines) {
        for (auto& line : lines) line = reread(line);
        return lines;
    };
    if (!again.ok) return "the rendering does not parse: " + again.error;
    if (second.keyword_lines != reread_all(first.keyword_lines)) return "keyword lines changed";
    if (second.title != reread(first.title)) return "title changed";
    if (second.comment != reread(first.comment)) return "comment changed";
    if (second.coordinates.size() != first.coordinates.size()) return "record count changed";
    for (std::size_t i = 0; i < first.coordinates.size(); ++i) {
        const CoordinateRecord& a = first.coordinates[i];
        const CoordinateRecord& b = second.coordinates[i];
        const bool subnormal = std::fpclassify(a.x) == FP_SUBNORMAL || std::fpclassify(a.y) == FP_SUBNORMAL ||
                               std::fpclassify(a.z) == FP_SUBNORMAL;
        const bool same_kind = a.kind == b.kind || (subnormal && b.kind == CoordinateKind::Raw);
        if (!same_kind || format_coordinate(b) != reread(format_coordinate(a))) {
            return "record " + std::to_string(i + 1) + " changed";
        }
    }
    std::vector<std::string> trailing = reread_all(first.trailing_lines);
    if (rendered.compare(rendered.size() - 2, 2, "\n\n") == 0) trailing.emplace_back();  // at least 3 lines
    return second.trailing_lines == trailing ? "" : "trailing lines changed";
}

}  // namespace vesk::fuzz
