// The keywords MOPAC knows, from MOPAC's own keyword list.
#pragma once

#include <cstddef>
#include <string_view>

#include "vesk/input/mopac/export.hpp"

namespace vesk::input::mopac {

/// One keyword of MOPAC's list.
struct KeywordInfo {
    std::string_view name;      ///< "CHARGE"; empty for a prefix MOPAC accepts but does not document
    std::string_view forms;     ///< how it is written: "NAME", "NAME=value", "NAME(args)", several with ','
    std::string_view prefixes;  ///< what MOPAC's check recognises: "CHARGE=", "PM7|PM7-TS"; "\"AM1 \"" must be the whole word
    bool method = false;        ///< whether the name alone selects the Hamiltonian MOPAC runs
};

/// The whole list, in MOPAC's order.
struct KeywordCatalogue {
    const KeywordInfo* first = nullptr;
    std::size_t size = 0;
    const KeywordInfo* begin() const noexcept { return first; }
    const KeywordInfo* end() const noexcept { return first + size; }
};

/// MOPAC's keywords: 290 names and the prefixes its keyword check accepts.
VESK_MOPAC_API KeywordCatalogue keyword_catalogue() noexcept;

/// The entry of a keyword name (upper case, as normalize_keyword_name gives
/// it); null when MOPAC's list has no such name.
VESK_MOPAC_API const KeywordInfo* find_keyword(std::string_view name) noexcept;

/// Whether a name (upper case) is a method keyword of MOPAC: the 17 methods
/// of its list ("PM7", "PM6-D3H4", "PM8", ...), PM5 (which runs PM7), and the
/// older names MINDO3 and MNDO-D. Setting a job's method removes them all.
VESK_MOPAC_API bool is_mopac_method(std::string_view name) noexcept;

/// The Hamiltonian MOPAC runs for a method keyword (upper case): the name
/// itself, "PM7" for "PM5"; empty for MINDO3, MNDO-D and any other name.
VESK_MOPAC_API std::string_view mopac_method_runs(std::string_view name) noexcept;

/// The multiplicity that MOPAC's spin-state name states: "SINGLET" 1,
/// "DOUBLET" 2, ... "NONET" 9; 0 for every other name, "MS" included.
VESK_MOPAC_API unsigned int spin_state_multiplicity(std::string_view name) noexcept;

/// Whether a keyword name (upper case) sets up an active space in which RHF
/// describes open shells: C.I., OPEN, C.A.S., C.I.D., MRCI, CIS, CISD, CISDT.
VESK_MOPAC_API bool is_active_space_keyword(std::string_view name) noexcept;

/// Whether MOPAC's own keyword check accepts a keyword as written (any case):
/// its name must start with one of the prefixes of the list, or be one whole.
/// "CHRAGE=1" is not accepted, "CHARGE=1" and "AUX(PRECISION=9)" are.
VESK_MOPAC_API bool mopac_accepts_keyword(std::string_view keyword) noexcept;

}  // namespace vesk::input::mopac
