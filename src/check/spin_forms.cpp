// The spin keywords MOPAC accepts for a job, for an edit of its spin.
#include "check/spin_forms.hpp"

#include "check/findings.hpp"
#include "mopac/tables.hpp"

namespace vesk::input::mopac::check {

SpinKeywords spin_keywords_for(const Job& job, unsigned int multiplicity) {
    SpinKeywords form;
    if (multiplicity < 1 || multiplicity > detail::spin_state_names_size) return form;
    const Keywords keywords(job);
    const bool active_space = keywords.has("C.I.") || keywords.has("OPEN") || keywords.has("MECI");
    const bool indo = keywords.indo();
    // Without UHF an open shell beyond a doublet needs an active space.
    const bool needs_uhf = multiplicity > 2 && !active_space && !indo;
    if (indo && multiplicity > 4) return form;
    if (needs_uhf && (keywords.mozyme() || keywords.has("POLAR"))) return form;
    if (needs_uhf) form.tokens.push_back("UHF");
    // POLAR and ESP stop on the UHF an odd number of electrons runs by default.
    if (multiplicity % 2 == 0 && !active_space && !indo && (keywords.has("POLAR") || keywords.has("ESP"))) {
        form.tokens.push_back("RHF");
    }
    form.tokens.push_back(detail::spin_state_names[multiplicity - 1]);
    form.accepted = true;
    return form;
}

}  // namespace vesk::input::mopac::check
