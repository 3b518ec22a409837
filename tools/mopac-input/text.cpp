// Words, whole numbers, AUX options and escaped text for the subcommands.
#include "text.hpp"

#include "text/distance.hpp"
#include "text/fields.hpp"
#include "text/keyword_scan.hpp"

#include <algorithm>
#include <charconv>
#include <system_error>

namespace vesk::tools {
namespace {


}  // namespace

std::vector<std::string_view> split_words(std::string_view line) {
    return input::mopac::detail::split_fields(line, std::string_view(" \t\r", 3));
}

std::optional<long long> parse_decimal(std::string_view text, long long min, long long max) {
    const bool has_sign = !text.empty() && (text[0] == '-' || text[0] == '+');
    if (has_sign && min >= 0) return std::nullopt;
    const std::size_t first_digit = has_sign ? 1 : 0;
    if (text.size() == first_digit) return std::nullopt;
    for (std::size_t i = first_digit; i < text.size(); ++i) {
        if (text[i] < '0' || text[i] > '9') return std::nullopt;
    }
    if (text[0] == '+') text.remove_prefix(1);  // from_chars knows only '-'
    long long value = 0;
    const char* end = text.data() + text.size();
    auto [stop, error] = std::from_chars(text.data(), end, value);
    if (error != std::errc() || stop != end || value < min || value > max) return std::nullopt;
    return value;
}

std::vector<std::string> aux_options(std::string_view token) {
    std::string_view inner;
    if (const std::size_t open = token.find('('); open != std::string_view::npos) {
        inner = token.substr(open + 1);
        if (!inner.empty() && inner.back() == ')') inner.remove_suffix(1);
    } else if (const std::size_t equals = token.find('='); equals != std::string_view::npos) {
        inner = token.substr(equals + 1);  // AUX=... is no MOPAC form, but show what it says
    }
    std::vector<std::string> options;
    input::mopac::detail::for_each_list_item(inner, [&options](std::string_view option) {
        if (!option.empty()) options.emplace_back(option);
    });
    return options;
}

// The length of the well-formed UTF-8 sequence that starts at `at`, or 0:
// no overlong forms, no surrogates, nothing above U+10FFFF.
std::size_t utf8_sequence_length(std::string_view text, std::size_t at) {
    const auto lead = static_cast<unsigned char>(text[at]);
    std::size_t length = 0;
    unsigned char low = 0x80, high = 0xBF;  // the allowed range of the second byte
    if (lead >= 0xC2 && lead <= 0xDF) {
        length = 2;
    } else if (lead >= 0xE0 && lead <= 0xEF) {
        length = 3;
        if (lead == 0xE0) low = 0xA0;
        if (lead == 0xED) high = 0x9F;
    } else if (lead >= 0xF0 && lead <= 0xF4) {
        length = 4;
        if (lead == 0xF0) low = 0x90;
        if (lead == 0xF4) high = 0x8F;
    } else {
        return 0;
    }
    if (text.size() - at < length) return 0;
    for (std::size_t k = 1; k < length; ++k) {
        const auto byte = static_cast<unsigned char>(text[at + k]);
        if (byte < (k == 1 ? low : 0x80) || byte > (k == 1 ? high : 0xBF)) return 0;
    }
    return length;
}

std::string nearest_word(std::string_view word, const std::vector<std::string>& candidates) {
    const auto distance = [](std::string_view a, std::string_view b) { return input::mopac::detail::edit_distance(a, b); };
    const std::size_t letters = word.size() - std::min(word.find_first_not_of('-'), word.size());
    if (letters < 3 || word.size() > 64) return {};
    std::size_t best = letters < 6 ? 1 : 2;
    std::string found;
    for (const std::string& candidate : candidates) {
        const std::size_t d = distance(word, candidate);
        if (d <= best && (found.empty() || d < best)) {
            best = d;
            found = candidate;
        }
    }
    return found;
}

std::string escape_for_terminal(std::string_view text) {
    static const char hex[] = "0123456789abcdef";
    std::string out;
    out.reserve(text.size());
    auto escape_byte = [&out](unsigned char byte) {
        out += "\\x";
        out += hex[byte >> 4];
        out += hex[byte & 0xF];
    };
    for (std::size_t i = 0; i < text.size();) {
        const auto byte = static_cast<unsigned char>(text[i]);
        if (byte == '\\') {
            out += "\\\\";
        } else if (byte == '\t') {
            out += "\\t";
        } else if (byte == '\r') {
            out += "\\r";
        } else if (byte == '\n') {
            out += "\\n";
        } else if (byte < 0x20 || byte == 0x7F) {
            escape_byte(byte);
        } else if (byte >= 0x80) {
            const std::size_t length = utf8_sequence_length(text, i);
            // U+0080 to U+009F are the C1 controls; some terminals obey them.
            const bool c1_control = length == 2 && byte == 0xC2 && static_cast<unsigned char>(text[i + 1]) < 0xA0;
            if (length == 0 || c1_control) {
                const std::size_t bytes = length == 0 ? 1 : length;
                for (std::size_t k = 0; k < bytes; ++k) escape_byte(static_cast<unsigned char>(text[i + k]));
                i += bytes;
            } else {
                out.append(text.substr(i, length));
                i += length;
            }
            continue;
        } else {
            out += static_cast<char>(byte);
        }
        ++i;
    }
    return out;
}

namespace {


}  // namespace
}  // namespace vesk::tools
