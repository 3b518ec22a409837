// Lookups in MOPAC's keyword list.
#include <cstddef>
#include <string>
#include <string_view>

#include "check/keyword_table.hpp"
#include "document/byte_classes.hpp"
#include "document/keyword_scan.hpp"
#include "vesk/input/mopac/catalogue.hpp"
#include "vesk/input/mopac/document.hpp"

namespace vesk::input::mopac {
namespace {

bool starts_with_upper(std::string_view text, std::string_view prefix) noexcept;

}  // namespace

KeywordCatalogue keyword_catalogue() noexcept { return {detail::keyword_table, detail::keyword_table_size}; }

const KeywordInfo* find_keyword(std::string_view name) noexcept {
    for (const KeywordInfo& info : keyword_catalogue()) {
        if (!info.name.empty() && info.name == name) return &info;
    }
    return nullptr;
}

bool is_mopac_method(std::string_view name) noexcept {
    if (name == "PM5" || is_method_keyword(name)) return true;
    const KeywordInfo* info = find_keyword(name);
    return info != nullptr && info->method;
}

// A prefix "X" matches a keyword that starts with X; a prefix written as
// "\"X \"" matches only the whole name X (the part before '=' or '(').
bool mopac_accepts_keyword(std::string_view keyword) noexcept {
    const std::string_view name = detail::keyword_name_part(keyword);
    for (const KeywordInfo& info : keyword_catalogue()) {
        std::string_view rest = info.prefixes;
        while (!rest.empty()) {
            const std::size_t bar = rest.find('|');
            std::string_view prefix = rest.substr(0, bar);
            rest = bar == std::string_view::npos ? std::string_view() : rest.substr(bar + 1);
            if (prefix.size() >= 2 && prefix.front() == '"') {
                prefix = detail::trim_space(prefix.substr(1, prefix.size() - 2));
                if (name.size() == prefix.size() && starts_with_upper(name, prefix)) return true;
            } else if (!prefix.empty() && starts_with_upper(keyword, prefix)) {
                return true;
            }
        }
    }
    return false;
}

namespace {

bool starts_with_upper(std::string_view text, std::string_view prefix) noexcept {
    if (text.size() < prefix.size()) return false;
    for (std::size_t i = 0; i < prefix.size(); ++i) {
        if (detail::to_upper(text[i]) != prefix[i]) return false;
    }
    return true;
}

}  // namespace
}  // namespace vesk::input::mopac
