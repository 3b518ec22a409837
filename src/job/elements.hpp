// MOPAC's element table: atomic numbers 1 to 107 and their symbols.
#pragma once

#include <string_view>

namespace vesk::input::mopac::detail {

/// The numbers of MOPAC's table beyond the elements.
inline constexpr int mithril = 98;          // "Mi", a fictitious heavy atom
inline constexpr int dummy_atom = 99;       // "XX": placed, then removed
inline constexpr int capped_bond = 102;     // "Cb"
inline constexpr int translation_vector = 107;  // "Tv"
inline constexpr int highest_atomic_number = 107;

/// The symbol of an atomic number as MOPAC spells it ("C", "Cl", "XX", "+3",
/// "Tv"); empty outside 1-107.
std::string_view element_symbol(int atomic_number) noexcept;

/// The atomic number of a symbol of one or two bytes, any case; 0 when the
/// table has no such symbol. "CL" -> 17, "++" -> 103, "X" -> 0.
int atomic_number_of(std::string_view symbol) noexcept;

/// Whether an atomic number is a sparkle: +3, -3, ++, +, --, -.
constexpr bool is_sparkle(int atomic_number) noexcept {
    return atomic_number >= 100 && atomic_number <= 106 && atomic_number != capped_bond;
}

/// Whether MOPAC keeps the atom in the job's atom list: everything but
/// dummies and translation vectors.
constexpr bool is_kept_atom(int atomic_number) noexcept {
    return atomic_number >= 1 && atomic_number <= 106 && atomic_number != dummy_atom;
}

}  // namespace vesk::input::mopac::detail
