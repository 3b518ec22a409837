// The document editor's name sets, as constant arrays: nothing to build on
// first use, nothing to guard against concurrent first use.
#include "editing/name_sets.hpp"

#include "vesk/input/mopac/document.hpp"

namespace vesk::input::mopac {
namespace detail {

const std::array<std::string_view, 18>& method_keywords() noexcept {
    static constexpr std::array<std::string_view, 18> names = {
        "AM1",     "INDO",    "MINDO3",   "MNDO",     "MNDOD",     "MNDO-D",  "PM3", "PM6",    "PM6-D3",
        "PM6-DH+", "PM6-DH2", "PM6-DH2X", "PM6-D3H4", "PM6-D3H4X", "PM6-ORG", "PM7", "PM7-TS", "RM1"};
    return names;
}

const std::array<std::string_view, 10>& spin_keywords() noexcept {
    static constexpr std::array<std::string_view, 10> names = {
        "SINGLET", "DOUBLET", "TRIPLET", "QUARTET", "QUINTET", "SEXTET", "SEPTET", "OCTET", "NONET", "MS"};
    return names;
}

}  // namespace detail

bool is_method_keyword(std::string_view name) noexcept {
    for (std::string_view method : detail::method_keywords()) {
        if (method == name) return true;
    }
    return false;
}

}  // namespace vesk::input::mopac
