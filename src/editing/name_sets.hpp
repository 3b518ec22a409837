// The document editor's own two name sets. They are not MOPAC's lists (those
// are in src/mopac/): InputEditor::set_method removes the tokens whose name is
// in method_keywords(), InputEditor::set_multiplicity those in spin_keywords()
// and UHF. Both are fixed by the document model and never follow MOPAC.
#pragma once

#include <array>
#include <string_view>

namespace vesk::input::mopac::detail {

/// The 18 method names that InputEditor::set_method replaces.
const std::array<std::string_view, 18>& method_keywords() noexcept;

/// The 10 names that InputEditor::set_multiplicity removes beside UHF:
/// SINGLET ... NONET and MS.
const std::array<std::string_view, 10>& spin_keywords() noexcept;

}  // namespace vesk::input::mopac::detail
