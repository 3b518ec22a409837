// The compatibility checks of `mopac-input check`, as pure functions of a file.
#include "check.hpp"

#include <charconv>
#include <cmath>
#include <system_error>
#include <set>
#include <string>

#include "text.hpp"

namespace vesk::tools {
namespace {

using input::mopac::CoordinateKind;
using input::mopac::MopacInput;

void check_line_ends(std::string_view text, std::vector<Finding>& out);
void check_head(const MopacInput& input, std::vector<Finding>& out);
void check_methods_and_spin(const MopacInput& input, std::vector<Finding>& out);
void check_records(const MopacInput& input, std::vector<Finding>& out);

}  // namespace

std::vector<Finding> check_input(std::string_view text, const input::mopac::ParseResult& parsed) {
    std::vector<Finding> findings;
    check_line_ends(text, findings);
    if (!parsed.ok) return findings;
    check_head(parsed.input, findings);
    check_methods_and_spin(parsed.input, findings);
    check_records(parsed.input, findings);
    return findings;
}

namespace {

// Classic-Mac files end their lines in CR alone; MOPAC reads lines there,
// this library sees one line.
void check_line_ends(std::string_view text, std::vector<Finding>& out) {
    if (text.find('\r') != std::string_view::npos && text.find('\n') == std::string_view::npos) {
        out.push_back({1, "cr-line-ends",
                       "the file has CR-only line ends: it reads as one line here, as many lines in MOPAC",
                       false});
    }
}

void check_head(const MopacInput& input, std::vector<Finding>& out) {
    const std::size_t keyword_count = input.keyword_lines.size();
    std::vector<std::string_view> head(input.keyword_lines.begin(), input.keyword_lines.end());
    head.push_back(input.title);
    head.push_back(input.comment);

    for (std::size_t i = 0; i < head.size(); ++i) {
        const std::size_t line = i + 1;
        if (!head[i].empty() && head[i][0] == '*') {
            out.push_back({line, "star-comment",
                           "line " + std::to_string(line) +
                               " starts with '*': MOPAC skips it as a comment, so it reads its keywords, "
                               "title and comment from later lines",
                           true});
        }
        if (i > keyword_count) continue;  // '&' and "++" matter on keyword lines and the title
        for (std::string_view word : split_words(head[i])) {
            if (word == "&") {
                out.push_back({line, "ampersand",
                               "line " + std::to_string(line) +
                                   " holds '&': MOPAC reads the next line as more keywords, this library as "
                                   "the title or comment",
                               true});
            } else if (word == "++" && i < keyword_count) {
                out.push_back({line, "double-plus",
                               "line " + std::to_string(line) +
                                   " holds '++': MOPAC continues its keywords there, this library does not",
                               false});
            }
        }
    }
    if (keyword_count > 3) {
        out.push_back({1, "too-many-keyword-lines",
                       std::to_string(keyword_count) + " keyword lines: MOPAC reads at most three", false});
    }
}

void check_methods_and_spin(const MopacInput& input, std::vector<Finding>& out) {
    std::vector<std::string> methods;
    std::set<double> multiplicities;
    for (const std::string& token : input.keyword_tokens()) {
        const std::string name = input::mopac::normalize_keyword_name(token);
        if (input::mopac::is_method_keyword(name)) methods.push_back(name);
        if (unsigned int m = input::mopac::spin_state_multiplicity(name); m != 0) multiplicities.insert(m);
        if (name == "MS") {
            const std::size_t equals = token.find('=');
            if (equals == std::string::npos) continue;
            double ms = 0.0;
            const char* first = token.data() + equals + 1;
            const char* last = token.data() + token.size();
            auto [end, error] = std::from_chars(first, last, ms);
            if (error == std::errc() && end == last) multiplicities.insert(2 * ms + 1);
        }
    }
    if (methods.size() > 1) {
        std::string list;
        for (const auto& m : methods) list += (list.empty() ? "" : ", ") + m;
        out.push_back({1, "several-methods", "more than one method keyword: " + list, false});
    }
    if (multiplicities.size() > 1) {
        out.push_back({1, "conflicting-spin", "the spin keywords state different multiplicities", false});
    }
}

void check_records(const MopacInput& input, std::vector<Finding>& out) {
    const std::size_t first_line = input.keyword_lines.size() + 3;
    for (std::size_t i = 0; i < input.coordinates.size(); ++i) {
        const auto& record = input.coordinates[i];
        if (record.kind == CoordinateKind::Raw) continue;
        const std::size_t line = first_line + i;
        if (!std::isfinite(record.x) || !std::isfinite(record.y) || !std::isfinite(record.z)) {
            out.push_back({line, "non-finite", "line " + std::to_string(line) + " has a coordinate that is not finite",
                           false});
        }
        if (record.has_optimization_flags) {
            for (int flag : {record.optimize_x, record.optimize_y, record.optimize_z}) {
                if (flag < -1 || flag > 1) {
                    out.push_back({line, "odd-flag",
                                   "line " + std::to_string(line) + " has the optimisation flag " +
                                       std::to_string(flag) + " (MOPAC knows -1, 0 and 1)",
                                   false});
                    break;
                }
            }
        }
    }
}

}  // namespace
}  // namespace vesk::tools
