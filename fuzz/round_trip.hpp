// Round-trip properties that must hold for any text the parser reads: shared
// by the fuzz targets and the corpus test.
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

// A stored line that ends in CR (its file had CR CR LF) is written with that
// CR and loses it on the next read, as every line loses one final CR.
inline std::string reread(std::string line) {
    if (!line.empty() && line.back() == '\r') line.pop_back();
    return line;
}

inline bool ends_in_empty_line(const std::string& text) {
    return text == "\n" || (text.size() >= 2 && text.compare(text.size() - 2, 2, "\n\n") == 0);
}

inline std::string number_text(double value) {
    input::mopac::CoordinateRecord record;
    record.x = value;
    return input::mopac::format_coordinate(record);
}

inline bool same_record(const input::mopac::CoordinateRecord& a, const input::mopac::CoordinateRecord& b) {
    using input::mopac::CoordinateKind;
    if (a.kind != b.kind) return false;
    if (a.kind == CoordinateKind::Raw) return b.raw_line == reread(a.raw_line);
    return (a.kind != CoordinateKind::Atom || a.element == b.element) &&
           number_text(a.x) == number_text(b.x) && number_text(a.y) == number_text(b.y) &&
           number_text(a.z) == number_text(b.z) &&  // equal to 12 significant digits
           a.has_optimization_flags == b.has_optimization_flags &&
           (!a.has_optimization_flags ||
            (a.optimize_x == b.optimize_x && a.optimize_y == b.optimize_y && a.optimize_z == b.optimize_z));
}

}  // namespace detail

/// Empty when `first`, the successful parse of `source`, survives rendering:
/// every line not read as numbers stands in the output as it stood; the
/// output parses to the same head, records of the same kinds with numbers
/// equal to 12 significant digits, raw and trailing lines verbatim; and a
/// second rendering equals the first but for the empty line that a text
/// ending in LF LF gains each round and the CR of CR CR LF lines.
/// Otherwise a sentence naming the first property that broke.
inline std::string round_trip_defect(std::string_view source, const input::mopac::MopacInput& first) {
    using detail::reread;
    using input::mopac::CoordinateKind;
    const std::string rendered = first.to_string();

    const std::vector<std::string> in_lines = input::mopac::detail::split_lines(source);
    const std::vector<std::string> out_lines = input::mopac::detail::split_lines(rendered);
    const std::size_t head = first.keyword_lines.size() + 2;
    if (out_lines.size() < in_lines.size()) return "the rendering has fewer lines";
    for (std::size_t i = 0; i < in_lines.size(); ++i) {
        bool is_record = i >= head && i < head + first.coordinates.size();
        bool verbatim = !is_record || first.coordinates[i - head].kind == CoordinateKind::Raw;
        if (verbatim && reread(out_lines[i]) != reread(in_lines[i])) {
            return "line " + std::to_string(i + 1) + " changed";
        }
    }

    input::mopac::ParseResult again = input::mopac::parse_string(rendered);
    if (!again.ok) return "the rendering does not parse: " + again.error;
    const input::mopac::MopacInput& second = again.input;
    if (second.keyword_lines.size() != first.keyword_lines.size()) return "keyword line count changed";
    for (std::size_t i = 0; i < first.keyword_lines.size(); ++i) {
        if (second.keyword_lines[i] != reread(first.keyword_lines[i])) return "keyword line changed";
    }
    if (second.title != reread(first.title)) return "title changed";
    if (second.comment != reread(first.comment)) return "comment changed";
    if (second.coordinates.size() != first.coordinates.size()) return "record count changed";
    for (std::size_t i = 0; i < first.coordinates.size(); ++i) {
        if (!detail::same_record(first.coordinates[i], second.coordinates[i])) {
            return "record " + std::to_string(i + 1) + " changed";
        }
    }
    const bool grown = detail::ends_in_empty_line(rendered);
    std::vector<std::string> expected_trailing;
    for (const auto& line : first.trailing_lines) expected_trailing.push_back(reread(line));
    if (grown) expected_trailing.emplace_back();
    if (second.trailing_lines != expected_trailing) return "trailing lines changed";

    std::string expected = rendered;
    for (std::size_t at = expected.find("\r\n"); at != std::string::npos; at = expected.find("\r\n", at)) {
        expected.erase(at, 1);
    }
    if (grown) expected += '\n';
    if (second.to_string() != expected) return "the second rendering differs";
    return {};
}

}  // namespace vesk::fuzz
