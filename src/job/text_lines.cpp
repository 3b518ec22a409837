// Line cutting and the line view of MOPAC's reader.
#include "job/text_lines.hpp"

#include <cstdint>
#include <cstring>

#include "text/bytes.hpp"

namespace vesk::input::mopac::detail {
namespace {

// The index of the first `byte` at or behind `from`, else the text's size.
std::size_t find_byte(std::string_view text, char byte, std::size_t from) noexcept {
    const void* at = std::memchr(text.data() + from, byte, text.size() - from);
    return at != nullptr ? static_cast<std::size_t>(static_cast<const char*>(at) - text.data()) : text.size();
}

// How often `byte` occurs: eight bytes at a time, each byte equal to it
// turned into the high bit of its lane, the high bits summed by a multiply.
std::size_t count_byte(std::string_view text, char byte) noexcept {
    constexpr std::uint64_t ones = 0x0101010101010101ULL;
    constexpr std::uint64_t low7 = 0x7F7F7F7F7F7F7F7FULL;
    const std::uint64_t pattern = ones * static_cast<unsigned char>(byte);
    const char* p = text.data();
    std::size_t left = text.size();
    std::size_t count = 0;
    for (; left >= 8; p += 8, left -= 8) {
        std::uint64_t word = 0;
        std::memcpy(&word, p, 8);
        const std::uint64_t x = word ^ pattern;                      // 0 where the byte matches
        const std::uint64_t high = ~(((x & low7) + low7) | x) & ~low7;  // 0x80 in exactly those lanes
        count += static_cast<std::size_t>(((high >> 7) * ones) >> 56);
    }
    for (; left > 0; ++p, --left) count += *p == byte;
    return count;
}

}  // namespace

JobLines cut_mopac_lines(std::string_view text) {
    const char* const data = text.data();
    const std::size_t size = text.size();
    // Where the next CR stands: searched again only once passed, so a text
    // without CR is searched for one once.
    std::size_t cr_at = find_byte(text, '\r', 0);
    JobLines lines;
    // One exact allocation instead of a doubling growth.
    lines.reserve(count_byte(text, '\n') + (cr_at < size ? count_byte(text, '\r') : 0) + 1);
    lines.set_text_size(size);

    bool losing = false;  // inside the part behind an over-long line, up to the next LF
    std::size_t offset = 0;
    while (offset < size) {
        const void* lf = std::memchr(data + offset, '\n', size - offset);
        const std::size_t lf_at = lf != nullptr ? static_cast<std::size_t>(static_cast<const char*>(lf) - data) : size;
        if (cr_at < offset) cr_at = find_byte(text, '\r', offset);
        LineEnd end = LineEnd::none;
        std::size_t length = 0;
        const std::size_t start = offset;
        if (cr_at < lf_at) {
            length = cr_at - offset;
            end = lf != nullptr && cr_at + 1 == lf_at ? LineEnd::crlf : LineEnd::cr;
            offset = end == LineEnd::crlf ? lf_at + 1 : cr_at + 1;
        } else {
            length = lf_at - offset;
            end = lf != nullptr ? LineEnd::lf : LineEnd::none;
            offset = lf_at + (lf != nullptr ? 1 : 0);
        }
        lines.push_back(start, end);
        const bool ends_in_lf = end == LineEnd::lf || end == LineEnd::crlf;
        // The reader takes the first 2000 bytes and then skips to the next LF:
        // a lone CR behind them no longer ends the line.
        if (losing) {
            lines.set_role(lines.size() - 1, LineRole::lost);
            losing = !ends_in_lf;
        } else {
            if (length > 0 && data[start] == '*') lines.set_role(lines.size() - 1, LineRole::comment);
            losing = length >= mopac_line_limit && !ends_in_lf;
        }
    }
    return lines;
}

std::string_view mopac_view(std::string_view line, std::string& scratch) {
    if (line.size() > mopac_line_limit) line = line.substr(0, mopac_line_limit);
    if (!holds_view_bytes(line)) return line;
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

bool holds_view_bytes(std::string_view line) noexcept {
    for (char c : {'\t', '\xC2', '\xA0'}) {
        if (std::memchr(line.data(), c, line.size()) != nullptr) return true;
    }
    return false;
}

}  // namespace vesk::input::mopac::detail
