// Line cutting and the line view of MOPAC's reader.
#include "job/text_lines.hpp"

#include <cstring>

#include "document/byte_classes.hpp"

namespace vesk::input::mopac::detail {
namespace {

bool needs_rewrite(std::string_view line) noexcept;

}  // namespace

std::vector<JobLine> cut_mopac_lines(std::string_view text) {
    // Count first: one exact allocation instead of a doubling growth.
    std::size_t count = 0;
    for (char c : text) count += c == '\n' || c == '\r';
    std::vector<JobLine> lines;
    lines.reserve(count + 1);

    bool losing = false;  // inside the part behind an over-long line, up to the next LF
    std::size_t offset = 0;
    while (offset < text.size()) {
        JobLine line;
        line.offset = offset;
        std::size_t end = offset;
        while (end < text.size() && text[end] != '\n' && text[end] != '\r') ++end;
        line.length = end - offset;
        if (end == text.size()) {
            line.end = LineEnd::none;
            offset = end;
        } else if (text[end] == '\n') {
            line.end = LineEnd::lf;
            offset = end + 1;
        } else if (end + 1 < text.size() && text[end + 1] == '\n') {
            line.end = LineEnd::crlf;
            offset = end + 2;
        } else {
            line.end = LineEnd::cr;
            offset = end + 1;
        }
        if (losing) line.role = LineRole::lost;
        const bool ends_in_lf = line.end == LineEnd::lf || line.end == LineEnd::crlf;
        // The reader takes the first 2000 bytes and then skips to the next LF:
        // a lone CR behind them no longer ends the line.
        if (losing) {
            losing = !ends_in_lf;
        } else if (line.length >= mopac_line_limit) {
            losing = !ends_in_lf;
        }
        lines.push_back(line);
    }
    return lines;
}

std::string_view mopac_view(std::string_view line, std::string& scratch) {
    if (line.size() > mopac_line_limit) line = line.substr(0, mopac_line_limit);
    if (!needs_rewrite(line)) return line;
    scratch.clear();
    for (char c : line) {
        if (c == '\t') {
            do {
                scratch.push_back(' ');
            } while (scratch.size() % 8 != 0);
        } else if (c == '\xC2' || c == '\xA0') {
            scratch.push_back(' ');
        } else {
            scratch.push_back(c);
        }
    }
    return scratch;
}

std::size_t file_column(std::string_view line, std::size_t offset) noexcept {
    std::size_t expanded = 0;
    for (std::size_t i = 0; i < line.size(); ++i) {
        expanded = line[i] == '\t' ? (expanded / 8 + 1) * 8 : expanded + 1;
        if (expanded > offset) return i + 1;
    }
    return line.size() + 1;
}

bool contains_upper(std::string_view text, std::string_view part) noexcept {
    if (part.empty()) return true;
    if (part.size() > text.size()) return false;
    for (std::size_t i = 0; i + part.size() <= text.size(); ++i) {
        std::size_t k = 0;
        while (k < part.size() && to_upper(text[i + k]) == to_upper(part[k])) ++k;
        if (k == part.size()) return true;
    }
    return false;
}

namespace {

bool needs_rewrite(std::string_view line) noexcept {
    for (char c : line) {
        if (c == '\t' || c == '\xC2' || c == '\xA0') return true;
    }
    return false;
}

}  // namespace
}  // namespace vesk::input::mopac::detail
