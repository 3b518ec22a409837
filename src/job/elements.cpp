// MOPAC's element table (1-96 H to Cm, 97 Bk, 98 Mi, then the special entries).
#include "job/elements.hpp"

#include <array>

#include "text/bytes.hpp"

namespace vesk::input::mopac::detail {
namespace {

constexpr std::array<std::string_view, highest_atomic_number> symbols = {
    "H",  "He", "Li", "Be", "B",  "C",  "N",  "O",  "F",  "Ne", "Na", "Mg", "Al", "Si", "P",  "S",  "Cl", "Ar",
    "K",  "Ca", "Sc", "Ti", "V",  "Cr", "Mn", "Fe", "Co", "Ni", "Cu", "Zn", "Ga", "Ge", "As", "Se", "Br", "Kr",
    "Rb", "Sr", "Y",  "Zr", "Nb", "Mo", "Tc", "Ru", "Rh", "Pd", "Ag", "Cd", "In", "Sn", "Sb", "Te", "I",  "Xe",
    "Cs", "Ba", "La", "Ce", "Pr", "Nd", "Pm", "Sm", "Eu", "Gd", "Tb", "Dy", "Ho", "Er", "Tm", "Yb", "Lu", "Hf",
    "Ta", "W",  "Re", "Os", "Ir", "Pt", "Au", "Hg", "Tl", "Pb", "Bi", "Po", "At", "Rn", "Fr", "Ra", "Ac", "Th",
    "Pa", "U",  "Np", "Pu", "Am", "Cm", "Bk", "Mi", "XX", "+3", "-3", "Cb", "++", "+",  "--", "-",  "Tv"};

// Symbols by their two upper-cased bytes (the second 0 for one-byte symbols).
constexpr std::array<unsigned char, 128 * 128> numbers_by_symbol = [] {
    std::array<unsigned char, 128 * 128> table{};
    for (std::size_t i = 0; i < symbols.size(); ++i) {
        const std::string_view entry = symbols[i];
        const auto first = static_cast<unsigned char>(to_upper(entry[0]));
        const auto second = entry.size() > 1 ? static_cast<unsigned char>(to_upper(entry[1])) : 0U;
        table[first * 128U + second] = static_cast<unsigned char>(i + 1);
    }
    return table;
}();

}  // namespace

std::string_view element_symbol(int atomic_number) noexcept {
    if (atomic_number < 1 || atomic_number > highest_atomic_number) return {};
    return symbols[static_cast<std::size_t>(atomic_number - 1)];
}

int atomic_number_of(std::string_view symbol) noexcept {
    if (symbol.empty() || symbol.size() > 2) return 0;
    const auto first = static_cast<unsigned char>(to_upper(symbol[0]));
    const auto second = symbol.size() > 1 ? static_cast<unsigned char>(to_upper(symbol[1])) : 0U;
    if (first >= 128 || second >= 128) return 0;
    return numbers_by_symbol[first * 128U + second];
}

}  // namespace vesk::input::mopac::detail
