// Line cutting and the line view of MOPAC's reader.
#include "job/text_lines.hpp"

#include <cstring>

#include "text/bytes.hpp"

namespace vesk::input::mopac::detail {
namespace {

bool needs_rewrite(std::string_view line) noexcept;

}  // namespace

std::vector<JobLine> cut_mopac_lines(std::string_view text) {
    // Count first: one exact allocation instead of a doubling growth.
    std::size_t ends = 0;
    for (char mark : {'\n', '\r'}) {
        for (const char* at = text.data(); (at = static_cast<const char*>(std::memchr(at, mark, static_cast<std::size_t>(
                                                text.data() + text.size() - at)))) != nullptr;
             ++at) {
            ++ends;
        }
    }
    std::vector<JobLine> lines;
    lines.reserve(ends + 1);

    const char* const data = text.data();
    const std::size_t size = text.size();
    bool losing = false;  // inside the part behind an over-long line, up to the next LF
    std::size_t offset = 0;
    while (offset < size) {
        JobLine line;
        line.offset = offset;
        const void* lf = std::memchr(data + offset, '\n', size - offset);
        const std::size_t lf_at = lf != nullptr ? static_cast<std::size_t>(static_cast<const char*>(lf) - data) : size;
        const void* cr = std::memchr(data + offset, '\r', lf_at - offset);
        if (cr != nullptr) {
            const auto cr_at = static_cast<std::size_t>(static_cast<const char*>(cr) - data);
            line.length = cr_at - offset;
            line.end = lf != nullptr && cr_at + 1 == lf_at ? LineEnd::crlf : LineEnd::cr;
            offset = line.end == LineEnd::crlf ? lf_at + 1 : cr_at + 1;
        } else {
            line.length = lf_at - offset;
            line.end = lf != nullptr ? LineEnd::lf : LineEnd::none;
            offset = lf_at + (lf != nullptr ? 1 : 0);
        }
        const bool ends_in_lf = line.end == LineEnd::lf || line.end == LineEnd::crlf;
        // The reader takes the first 2000 bytes and then skips to the next LF:
        // a lone CR behind them no longer ends the line.
        if (losing) {
            line.role = LineRole::lost;
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
    for (char c : {'\t', '\xC2', '\xA0'}) {
        if (std::memchr(line.data(), c, line.size()) != nullptr) return true;
    }
    return false;
}

}  // namespace
}  // namespace vesk::input::mopac::detail
