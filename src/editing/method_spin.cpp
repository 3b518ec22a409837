// Method selection and spin state: the two edits driven by constant name sets.
#include <algorithm>
#include <cstddef>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "document/keyword_scan.hpp"
#include "document/text.hpp"
#include "editing/keyword_layout.hpp"
#include "editing/keyword_sets.hpp"
#include "vesk/input/mopac/editor.hpp"

namespace vesk::input::mopac {
namespace {

bool name_in(const detail::KeywordSet& names, std::string_view token) noexcept;
bool is_spin_token(const detail::KeywordSet& spin_names, std::string_view token) noexcept;
[[noreturn]] void fail_multiplicity();

}  // namespace

namespace detail {

// Function-local statics: the language builds each once, makes concurrent
// first callers wait, and retries the construction after an exception.
const KeywordSet& method_keywords() {
    static const KeywordSet names{"AM1",     "INDO",     "MINDO3",   "MNDO",      "MNDOD",   "MNDO-D",
                                  "PM3",     "PM6",      "PM6-D3",   "PM6-DH+",   "PM6-DH2", "PM6-DH2X",
                                  "PM6-D3H4", "PM6-D3H4X", "PM6-ORG", "PM7",       "PM7-TS",  "RM1"};
    return names;
}

const KeywordSet& spin_keywords() {
    static const KeywordSet names{"SINGLET", "DOUBLET", "TRIPLET", "QUARTET", "QUINTET",
                                  "SEXTET",  "SEPTET",  "OCTET",   "NONET",   "MS"};
    return names;
}

}  // namespace detail

// The new name is not looked up: "XYZ" is written as readily as "PM7", but a
// later set_method leaves it in place because it is no known method.
void InputEditor::set_method(std::string method, unsigned long long max_line_width) {
    std::vector<std::string> tokens = document.keyword_tokens();
    const detail::KeywordSet& methods = detail::method_keywords();
    tokens.erase(std::remove_if(tokens.begin(), tokens.end(),
                                [&methods](const std::string& token) { return name_in(methods, token); }),
                 tokens.end());
    detail::trim_blanks_in_place(method);
    if (!method.empty()) tokens.insert(tokens.begin(), std::move(method));
    set_keywords(tokens, max_line_width);
}

// Names such as TRIPLET are removed but never written: always [UHF] MS=<(m-1)/2>.
void InputEditor::set_multiplicity(unsigned int multiplicity, unsigned long long max_line_width) {
    if (multiplicity == 0) fail_multiplicity();
    std::vector<std::string> tokens = document.keyword_tokens();
    const detail::KeywordSet& spin_names = detail::spin_keywords();
    tokens.erase(std::remove_if(tokens.begin(), tokens.end(),
                                [&spin_names](const std::string& token) { return is_spin_token(spin_names, token); }),
                 tokens.end());
    if (multiplicity != 1) tokens.emplace_back("UHF");
    // A whole or half number up to 2147483647: "%.12g" writes it exactly, without exponent.
    std::string spin = "MS=";
    detail::append_number(spin, (static_cast<double>(multiplicity) - 1.0) * 0.5);
    tokens.push_back(std::move(spin));
    set_keywords(tokens, max_line_width);
}

namespace {

// No entry is longer than 16 bytes, so a longer name cannot match and a
// shorter one is upper-cased on the stack instead of in a new string.
bool name_in(const detail::KeywordSet& names, std::string_view token) noexcept {
    const std::string_view part = detail::keyword_name_part(token);
    char name[16];
    if (part.size() > sizeof name) return false;
    for (std::size_t i = 0; i < part.size(); ++i) name[i] = detail::to_upper(part[i]);
    return names.find(std::string_view(name, part.size())) != names.end();
}

bool is_spin_token(const detail::KeywordSet& spin_names, std::string_view token) noexcept {
    return detail::keyword_name_equals(token, "UHF") || name_in(spin_names, token);
}

[[noreturn]] void fail_multiplicity() { throw std::invalid_argument("MOPAC multiplicity must be positive"); }

}  // namespace
}  // namespace vesk::input::mopac
