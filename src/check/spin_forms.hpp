// Which spin keywords MOPAC accepts for a job: what an edit of the spin writes.
#pragma once

#include <string>
#include <vector>

#include "vesk/input/mopac/job.hpp"

namespace vesk::input::mopac::check {

/// The spin keywords to write for a multiplicity.
struct SpinKeywords {
    bool accepted = false;            ///< false when MOPAC runs no form of that spin for the job
    std::vector<std::string> tokens;  ///< in order: "RHF" or "UHF" where needed, then the state's name
};

/// The spin keywords MOPAC accepts for `job` (its other keywords as they
/// stand; spin keywords of its own are disregarded) at `multiplicity` (1
/// singlet ... 9 nonet). INDO takes neither UHF nor MS= and names up to
/// QUARTET; MOZYME takes no UHF; POLAR runs only RHF, which an odd number of
/// electrons asks for by name. Open shells beyond a doublet need UHF unless an
/// active space (C.I., OPEN) is set up, where UHF is refused.
SpinKeywords spin_keywords_for(const Job& job, unsigned int multiplicity);

}  // namespace vesk::input::mopac::check
