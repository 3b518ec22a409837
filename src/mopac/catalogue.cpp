// Lookups in the tables of MOPAC knowledge.
#include <cstddef>
#include <string>
#include <string_view>

#include "mopac/tables.hpp"
#include "text/keyword_scan.hpp"
#include "vesk/input/mopac/catalogue.hpp"

namespace vesk::input::mopac {
namespace {

bool starts_with_upper(std::string_view text, std::string_view prefix) noexcept;
const detail::MethodName* find_method(std::string_view name) noexcept;

}  // namespace

KeywordCatalogue keyword_catalogue() noexcept { return {detail::keyword_table, detail::keyword_table_size}; }

const KeywordInfo* find_keyword(std::string_view name) noexcept {
    for (const KeywordInfo& info : keyword_catalogue()) {
        if (!info.name.empty() && info.name == name) return &info;
    }
    return nullptr;
}

bool is_mopac_method(std::string_view name) noexcept { return find_method(name) != nullptr; }

std::string_view mopac_method_runs(std::string_view name) noexcept {
    const detail::MethodName* method = find_method(name);
    return method == nullptr ? std::string_view() : std::string_view(method->runs);
}

unsigned int spin_state_multiplicity(std::string_view name) noexcept {
    for (std::size_t i = 0; i < detail::spin_state_names_size; ++i) {
        if (detail::spin_state_names[i] == name) return static_cast<unsigned int>(i + 1);
    }
    return 0;
}

bool is_active_space_keyword(std::string_view name) noexcept {
    for (std::size_t i = 0; i < detail::active_space_names_size; ++i) {
        if (detail::active_space_names[i] == name) return true;
    }
    return false;
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

namespace detail {

const MethodElements* elements_of_method(std::string_view runs) noexcept {
    for (std::size_t i = 0; i < method_elements_size; ++i) {
        if (runs == method_elements[i].method) return &method_elements[i];
    }
    return nullptr;
}

bool is_spin_keyword(std::string_view name) noexcept {
    return name == "MS" || name == "BIRADICAL" || spin_state_multiplicity(name) != 0;
}

}  // namespace detail

namespace {

bool starts_with_upper(std::string_view text, std::string_view prefix) noexcept {
    if (text.size() < prefix.size()) return false;
    for (std::size_t i = 0; i < prefix.size(); ++i) {
        if (detail::to_upper(text[i]) != prefix[i]) return false;
    }
    return true;
}

const detail::MethodName* find_method(std::string_view name) noexcept {
    for (std::size_t i = 0; i < detail::method_names_size; ++i) {
        if (detail::method_names[i].name == name) return &detail::method_names[i];
    }
    return nullptr;
}

}  // namespace
}  // namespace vesk::input::mopac
