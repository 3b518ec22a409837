// The two constant name tables: the methods that set_method replaces and the
// spin-state names that set_multiplicity replaces.
//
// Both are constant arrays, so there is nothing to build on first use and
// nothing to guard against concurrent first use.
#include <array>
#include <string_view>

#include "vesk/input/mopac/document.hpp"

namespace vesk::input::mopac {
namespace {

constexpr std::array<std::string_view, 18> method_names = {
    "AM1",     "INDO",    "MINDO3",   "MNDO",     "MNDOD",     "MNDO-D",  "PM3", "PM6",    "PM6-D3",
    "PM6-DH+", "PM6-DH2", "PM6-DH2X", "PM6-D3H4", "PM6-D3H4X", "PM6-ORG", "PM7", "PM7-TS", "RM1"};

// In order of multiplicity, from 1.
constexpr std::array<std::string_view, 9> spin_state_names = {
    "SINGLET", "DOUBLET", "TRIPLET", "QUARTET", "QUINTET", "SEXTET", "SEPTET", "OCTET", "NONET"};

}  // namespace

bool is_method_keyword(std::string_view name) noexcept {
    for (std::string_view method : method_names) {
        if (method == name) return true;
    }
    return false;
}

unsigned int spin_state_multiplicity(std::string_view name) noexcept {
    for (unsigned int i = 0; i < spin_state_names.size(); ++i) {
        if (spin_state_names[i] == name) return i + 1;
    }
    return 0;
}

}  // namespace vesk::input::mopac
