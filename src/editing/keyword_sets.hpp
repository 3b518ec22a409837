// The two constant name sets that say which tokens set_method and
// set_multiplicity take out of a document.
#pragma once

#include <functional>
#include <set>
#include <string>

namespace vesk::input::mopac::detail {

/// Normalised keyword names; std::less<> lets a std::string_view be looked up.
using KeywordSet = std::set<std::string, std::less<>>;

/// The 18 method names ("AM1", "PM6-DH+", ...), built on first use, thread-safe.
const KeywordSet& method_keywords();

/// The 10 spin-state names, "SINGLET" to "NONET" and "MS", built like method_keywords.
const KeywordSet& spin_keywords();

}  // namespace vesk::input::mopac::detail
