// Round-trip properties that hold for any text the parser reads: shared by
// the fuzz targets and the corpus test.
#pragma once

#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

#include "parser/reader.hpp"
#include "vesk/input/mopac/parser.hpp"

namespace vesk::fuzz {

/// Stops the process with a message: a broken property is a finding.
[[noreturn]] inline void fail(const std::string& what) {
    std::fprintf(stderr, "property broken: %s\n", what.c_str());
    std::abort();
}

inline void check(bool condition, const char* what) {
    if (!condition) fail(what);
}

namespace detail {

// A written line read back: LF ends it and one CR before the LF goes, so a
// line stored with k final CRs comes back with k - 1.
inline std::string reread(std::string line) {
    if (!line.empty() && line.back() == '\r') line.pop_back();
    return line;
}

inline std::vector<std::string> reread(std::vector<std::string> lines) {
    for (auto& line : lines) line = reread(std::move(line));
    return lines;
}

inline std::string number_text(double value) {
    input::mopac::CoordinateRecord record;
    record.x = value;
    return input::mopac::format_coordinate(record);
}

// Same kind and text, numbers equal to the 12 digits that are written.
inline bool same_record(const input::mopac::CoordinateRecord& a, const input::mopac::CoordinateRecord& b) {
    using input::mopac::CoordinateKind;
    if (a.kind != b.kind) return false;
    if (a.kind == CoordinateKind::Raw) return b.raw_line == reread(a.raw_line);
    const bool flags_equal = a.optimize_x == b.optimize_x && a.optimize_y == b.optimize_y && a.optimize_z == b.optimize_z;
    return (a.kind != CoordinateKind::Atom || a.element == b.element) && number_text(a.x) == number_text(b.x) &&
           number_text(a.y) == number_text(b.y) && number_text(a.z) == number_text(b.z) &&
           a.has_optimization_flags == b.has_optimization_flags && (!a.has_optimization_flags || flags_equal);
}

}  // namespace detail

/// Empty when `first`, the successful parse of `source`, survives rendering:
/// every line not held as numbers reads back from the rendering as it was
/// stored, less one final CR; the rendering parses to the same head, records
/// and trailing lines, each line less one final CR, with one empty trailing
/// line more when the rendering ends in LF LF; and the second rendering is
/// the first with one CR less before every LF, plus that LF.
/// Otherwise a sentence naming the first property that broke.
inline std::string round_trip_defect(std::string_view source, const input::mopac::MopacInput& first) {
    using detail::reread;
    const std::string rendered = first.to_string();
    const std::vector<std::string> in = input::mopac::detail::split_lines(source);
    const std::vector<std::string> out = input::mopac::detail::split_lines(rendered);
    const std::size_t head = first.keyword_lines.size() + 2;
    if (out.size() < in.size()) return "the rendering has fewer lines";
    for (std::size_t i = 0; i < in.size(); ++i) {
        const bool numbers = i >= head && i - head < first.coordinates.size() &&
                             first.coordinates[i - head].kind != input::mopac::CoordinateKind::Raw;
        if (!numbers && out[i] != reread(in[i])) return "line " + std::to_string(i + 1) + " changed";
    }

    const input::mopac::ParseResult again = input::mopac::parse_string(rendered);
    if (!again.ok) return "the rendering does not parse: " + again.error;
    const input::mopac::MopacInput& second = again.input;
    if (second.keyword_lines != reread(first.keyword_lines)) return "keyword lines changed";
    if (second.title != reread(first.title) || second.comment != reread(first.comment)) return "title or comment changed";
    if (second.coordinates.size() != first.coordinates.size()) return "record count changed";
    for (std::size_t i = 0; i < first.coordinates.size(); ++i) {
        if (!detail::same_record(first.coordinates[i], second.coordinates[i])) {
            return "record " + std::to_string(i + 1) + " changed";
        }
    }
    const bool grown = rendered.compare(rendered.size() - 2, 2, "\n\n") == 0;  // at least three lines
    std::vector<std::string> trailing = reread(first.trailing_lines);
    if (grown) trailing.emplace_back();
    if (second.trailing_lines != trailing) return "trailing lines changed";

    std::string expected = rendered;
    for (std::size_t at = expected.find("\r\n"); at != std::string::npos; at = expected.find("\r\n", at)) {
        expected.erase(at, 1);
    }
    if (grown) expected += '\n';
    if (second.to_string() != expected) return "the second rendering differs";
    return {};
}

}  // namespace vesk::fuzz
