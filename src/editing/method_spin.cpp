// Method selection and spin state: the two edits driven by the constant name tables.
#include <algorithm>
#include <cstddef>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "text/bytes.hpp"
#include "text/keyword_scan.hpp"
#include "document/number_format.hpp"
#include "editing/keyword_layout.hpp"
#include "editing/name_sets.hpp"
#include "vesk/input/mopac/editor.hpp"

namespace vesk::input::mopac {
namespace {

bool is_method_token(std::string_view token) noexcept;
bool is_spin_token(std::string_view token) noexcept;
[[noreturn]] void fail_multiplicity();

}  // namespace

// The new name is not looked up: "XYZ" is written as readily as "PM7", but a
// later set_method leaves it in place because it is no known method.
void InputEditor::set_method(std::string method, unsigned long long max_line_width) {
    std::vector<std::string> tokens = document.keyword_tokens();
    tokens.erase(std::remove_if(tokens.begin(), tokens.end(), [](const std::string& t) { return is_method_token(t); }),
                 tokens.end());
    detail::trim_blanks_in_place(method);
    if (!method.empty()) tokens.insert(tokens.begin(), std::move(method));
    set_keywords(tokens, max_line_width);
}

// Names such as TRIPLET are removed but never written: always [UHF] MS=<(m-1)/2>.
void InputEditor::set_multiplicity(unsigned int multiplicity, unsigned long long max_line_width) {
    if (multiplicity == 0) fail_multiplicity();
    std::vector<std::string> tokens = document.keyword_tokens();
    tokens.erase(std::remove_if(tokens.begin(), tokens.end(), [](const std::string& t) { return is_spin_token(t); }),
                 tokens.end());
    if (multiplicity != 1) tokens.emplace_back("UHF");
    // A whole or half number up to 2147483647: "%.12g" writes it exactly, without exponent.
    std::string spin = "MS=";
    detail::append_number(spin, (static_cast<double>(multiplicity) - 1.0) * 0.5);
    tokens.push_back(std::move(spin));
    set_keywords(tokens, max_line_width);
}

namespace {

// No table entry is longer than 16 bytes, so a longer name cannot match and
// a shorter one is upper-cased on the stack instead of in a new string.
template <typename IsName>
bool name_is(std::string_view token, IsName&& is_name) noexcept {
    const std::string_view part = detail::keyword_name_part(token);
    char name[16];
    if (part.size() > sizeof name) return false;
    for (std::size_t i = 0; i < part.size(); ++i) name[i] = detail::to_upper(part[i]);
    return is_name(std::string_view(name, part.size())) != 0;
}

bool is_method_token(std::string_view token) noexcept { return name_is(token, is_method_keyword); }

bool in_spin_keywords(std::string_view name) noexcept {
    for (std::string_view entry : detail::spin_keywords()) {
        if (entry == name) return true;
    }
    return false;
}

// A name of spin_keywords, or UHF.
bool is_spin_token(std::string_view token) noexcept {
    return detail::keyword_name_equals(token, "UHF") || name_is(token, in_spin_keywords);
}

[[noreturn]] void fail_multiplicity() { throw std::invalid_argument("MOPAC multiplicity must be positive"); }

}  // namespace
}  // namespace vesk::input::mopac
