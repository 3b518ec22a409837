// Keyword edits by name: add, set and remove, and the CHARGE and AUX keywords.
#include <algorithm>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "text/keyword_scan.hpp"
#include "document/number_format.hpp"
#include "editing/keyword_layout.hpp"
#include "vesk/input/mopac/editor.hpp"

namespace vesk::input::mopac {
namespace {

bool remove_named(std::vector<std::string>& tokens, std::string_view name);
[[noreturn]] void fail_aux_precision();

}  // namespace

// Each edit changes a fresh token list and hands it to set_keywords.

void InputEditor::add_keyword(std::string keyword, unsigned long long max_line_width) {
    std::vector<std::string> tokens = document.keyword_tokens();
    detail::trim_blanks_in_place(keyword);
    if (!keyword.empty() && keyword != "+") tokens.push_back(std::move(keyword));
    set_keywords(tokens, max_line_width);
}

// The new token goes last, in the caller's case: ("charge", "-1") writes charge=-1.
void InputEditor::set_keyword(std::string_view name, std::optional<std::string_view> value,
                              unsigned long long max_line_width) {
    std::vector<std::string> tokens = document.keyword_tokens();
    remove_named(tokens, normalize_keyword_name(name));
    std::string token(detail::trim_blanks(name));
    if (value) {
        token.reserve(token.size() + 1 + value->size());
        token.push_back('=');
        token.append(*value);  // neither trimmed nor quoted: an empty value writes "KEY="
    }
    if (!token.empty()) tokens.push_back(std::move(token));
    set_keywords(tokens, max_line_width);
}

bool InputEditor::remove_keyword(std::string_view name, unsigned long long max_line_width) {
    std::vector<std::string> tokens = document.keyword_tokens();
    const bool removed = remove_named(tokens, normalize_keyword_name(name));
    set_keywords(tokens, max_line_width);
    return removed;
}

void InputEditor::set_charge(int charge, unsigned long long max_line_width) {
    std::string value;
    detail::append_integer(value, charge);
    set_keyword("CHARGE", value, max_line_width);
}

void InputEditor::set_auxiliary_output(int precision, bool include_xp_xs_xw, unsigned long long max_line_width) {
    // Compared as unsigned, so every negative value is out of range too.
    if (static_cast<unsigned int>(precision) > 18U) fail_aux_precision();
    std::string token = "AUX(PRECISION=";
    detail::append_integer(token, precision);
    if (include_xp_xs_xw) token.append(",XP,XS,XW");
    token.push_back(')');

    std::vector<std::string> tokens = document.keyword_tokens();
    remove_named(tokens, "AUX");
    tokens.push_back(std::move(token));
    set_keywords(tokens, max_line_width);
}

bool InputEditor::clear_auxiliary_output(unsigned long long max_line_width) {
    return remove_keyword("AUX", max_line_width);
}

namespace {

// `name` is already normalised; true when a token went.
bool remove_named(std::vector<std::string>& tokens, std::string_view name) {
    const auto kept_end = std::remove_if(tokens.begin(), tokens.end(), [name](const std::string& token) {
        return detail::keyword_name_equals(token, name);
    });
    const bool removed = kept_end != tokens.end();
    tokens.erase(kept_end, tokens.end());
    return removed;
}

[[noreturn]] void fail_aux_precision() {
    throw std::invalid_argument("MOPAC AUX precision must be between 0 and 18");
}

}  // namespace
}  // namespace vesk::input::mopac
