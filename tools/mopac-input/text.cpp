// Text helpers of the subcommands.
#include "text.hpp"

#include <charconv>
#include <system_error>

namespace vesk::tools {
namespace {

bool is_word_separator(char c) { return c == ' ' || c == '\t' || c == '\r'; }

}  // namespace

std::vector<std::string_view> split_words(std::string_view line) {
    std::vector<std::string_view> words;
    std::size_t i = 0;
    while (i < line.size()) {
        while (i < line.size() && is_word_separator(line[i])) ++i;
        const std::size_t start = i;
        while (i < line.size() && !is_word_separator(line[i])) ++i;
        if (i > start) words.push_back(line.substr(start, i - start));
    }
    return words;
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

}  // namespace vesk::tools
