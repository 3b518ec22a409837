// Keyword queries on a MopacInput: tokens, names, presence and values.
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "text/keyword_scan.hpp"
#include "text/bytes.hpp"
#include "vesk/input/mopac/document.hpp"

namespace vesk::input::mopac {
namespace {

std::optional<std::string_view> first_token_named(const std::vector<std::string>& lines,
                                                  std::string_view name);

}  // namespace

std::string normalize_keyword_name(std::string_view text) {
    const std::string_view part = detail::keyword_name_part(text);
    std::string name(part.size(), '\0');
    for (std::size_t i = 0; i < part.size(); ++i) name[i] = detail::to_upper(part[i]);
    return name;
}

std::vector<std::string> MopacInput::keyword_tokens() const {
    // Counting first is cheaper than growing a vector of strings.
    std::size_t count = 0;
    for (const auto& line : keyword_lines) {
        detail::for_each_keyword_token(line, [&count](std::string_view token) {
            if (!detail::is_continuation_mark(token)) ++count;
        });
    }
    std::vector<std::string> tokens;
    tokens.reserve(count);
    for (const auto& line : keyword_lines) {
        detail::for_each_keyword_token(line, [&tokens](std::string_view token) {
            if (!detail::is_continuation_mark(token)) tokens.emplace_back(token);
        });
    }
    return tokens;
}

bool MopacInput::has_keyword(std::string_view name) const {
    return first_token_named(keyword_lines, normalize_keyword_name(name)).has_value();
}

std::optional<std::string> MopacInput::keyword_value(std::string_view name) const {
    const auto token = first_token_named(keyword_lines, normalize_keyword_name(name));
    if (!token) return std::nullopt;
    return std::string(detail::keyword_value_part(*token));
}

namespace {

// The first token, in the order of keyword_tokens, whose name is `name`.
// The "+" mark never matches: the token list does not hold it, although its
// name "+" could equal the argument's.
std::optional<std::string_view> first_token_named(const std::vector<std::string>& lines,
                                                  std::string_view name) {
    std::optional<std::string_view> found;
    for (const auto& line : lines) {
        detail::for_each_keyword_token(line, [&](std::string_view token) {
            if (!found && !detail::is_continuation_mark(token) && detail::keyword_name_equals(token, name)) {
                found = token;
            }
        });
        if (found) break;
    }
    return found;
}

}  // namespace
}  // namespace vesk::input::mopac
