// Round-trip properties that must hold for any bytes given to the parser.
#pragma once

#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

#include "vesk/input/mopac/parser.hpp"

namespace vesk::fuzz {

/// Stops the process with a message: a broken property is a finding.
[[noreturn]] inline void fail(const char* what) {
    std::fprintf(stderr, "round-trip property broken: %s\n", what);
    std::abort();
}

inline void check(bool condition, const char* what) {
    if (!condition) fail(what);
}

/// A stored line that ends in CR loses that CR when it is read again.
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

/// Checks that the document parses back from its own rendering: the same head,
/// records of the same kinds with numbers equal to 12 significant digits,
/// raw and trailing lines verbatim; and that a second rendering equals the
/// first but for the empty line that a text ending in LF LF gains each round.
inline void check_document_round_trip(const input::mopac::MopacInput& first) {
    using input::mopac::CoordinateKind;
    const std::string rendered = first.to_string();
    input::mopac::ParseResult again = input::mopac::parse_string(rendered);
    check(again.ok, "the rendering does not parse");
    const input::mopac::MopacInput& second = again.input;

    check(second.keyword_lines.size() == first.keyword_lines.size() ||
              (first.keyword_lines.empty() && second.keyword_lines.size() == 1),
          "keyword line count changed");
    for (std::size_t i = 0; i < first.keyword_lines.size(); ++i) {
        check(second.keyword_lines[i] == reread(first.keyword_lines[i]), "keyword line changed");
    }
    check(second.title == reread(first.title), "title changed");
    check(second.comment == reread(first.comment), "comment changed");
    check(second.coordinates.size() == first.coordinates.size(), "record count changed");
    for (std::size_t i = 0; i < first.coordinates.size(); ++i) {
        const auto& a = first.coordinates[i];
        const auto& b = second.coordinates[i];
        check(a.kind == b.kind, "record kind changed");
        if (a.kind == CoordinateKind::Raw) {
            check(b.raw_line == reread(a.raw_line), "raw line changed");
            continue;
        }
        check(a.kind != CoordinateKind::Atom || a.element == b.element, "element changed");
        check(number_text(a.x) == number_text(b.x) && number_text(a.y) == number_text(b.y) &&
                  number_text(a.z) == number_text(b.z),
              "coordinate changed beyond 12 digits");
        check(a.has_optimization_flags == b.has_optimization_flags, "flags appeared or vanished");
        check(!a.has_optimization_flags ||
                  (a.optimize_x == b.optimize_x && a.optimize_y == b.optimize_y && a.optimize_z == b.optimize_z),
              "flag changed");
    }
    std::size_t grown = ends_in_empty_line(rendered) ? 1 : 0;
    check(second.trailing_lines.size() == first.trailing_lines.size() + grown, "trailing line count changed");
    for (std::size_t i = 0; i < first.trailing_lines.size(); ++i) {
        check(second.trailing_lines[i] == reread(first.trailing_lines[i]), "trailing line changed");
    }

    std::string expected = rendered;
    for (std::size_t at = expected.find("\r\n"); at != std::string::npos; at = expected.find("\r\n", at)) {
        expected.erase(at, 1);
    }
    if (grown) expected += '\n';
    check(second.to_string() == expected, "second rendering differs");
}

}  // namespace vesk::fuzz
