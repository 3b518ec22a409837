// Spin and electrons, as MOPAC sets up the occupancy of a job: the named spin
// state or MS= against the number of electrons, the open shells of RHF
// (OPEN(n,m), C.I.=), the active space a spin component needs, the root a
// C.I. must hold, and the charge of a solid's unit cell.
#include <algorithm>
#include <cmath>
#include <string>

#include "check/findings.hpp"
#include "mopac/tables.hpp"
#include "vesk/input/mopac/catalogue.hpp"

namespace vesk::input::mopac::check {
namespace {

// A fault of the open shells: at OPEN(n,m) where the job has it, else at its
// first keyword, else on its first keyword line as a whole.
void shell_error(Findings& findings, const Job& job, const JobKeyword* open, const char* code, std::string message,
                 std::string suggestion = {}) {
    if (open == nullptr && !job.keywords.empty()) open = &job.keywords.front();
    if (open != nullptr) {
        findings.error(*open, code, std::move(message), std::move(suggestion));
    } else {
        findings.add(Severity::error, code, job.first_keyword_line, 0, std::move(message), std::move(suggestion));
    }
}

// The spin states in the order MOPAC tests them, each by its first four letters.
const char* const spin_prefixes[] = {"SING", "DOUB", "TRIP", "QUAR", "QUIN", "SEXT", "SEPT", "OCTE", "NONE"};

// The named state MOPAC takes: the first of its order found, null if none;
// `twice_ms` is 2 MS of that state.
const JobKeyword* named_state(const Keywords& keywords, long long& twice_ms) {
    for (long long i = 0; i < 9; ++i) {
        if (const JobKeyword* keyword = keywords.find(spin_prefixes[i])) {
            twice_ms = i;
            return keyword;
        }
    }
    return nullptr;
}

double binomial(long long n, long long k) {
    if (k < 0 || k > n) return 0.0;
    double value = 1.0;
    for (long long i = 1; i <= k; ++i) value = value * static_cast<double>(n - k + i) / static_cast<double>(i);
    return value;
}

// The states of total spin S (2S = `twice_s`) that `electrons` make in
// `orbitals` orbitals: Weyl's dimension formula.
double states_of_spin(long long orbitals, long long electrons, long long twice_s) {
    if ((electrons - twice_s) % 2 != 0 || twice_s > electrons) return 0.0;
    return static_cast<double>(twice_s + 1) / static_cast<double>(orbitals + 1) *
           binomial(orbitals + 1, (electrons - twice_s) / 2) * binomial(orbitals + 1, (electrons + twice_s) / 2 + 1);
}

std::string parity(bool odd) { return odd ? "ODD" : "EVEN"; }

}  // namespace

void check_spin(Findings& findings, const Keywords& keywords, const Electrons& electrons) {
    if (electrons.charge_keyword != nullptr && electrons.charge != 0 && electrons.translation_vectors > 0) {
        findings.error(*electrons.charge_keyword, "charged-cell", "Unit cell has a charge. Correct fault and re-submit ",
                       "CHARGE=0");
    }
    long long msdel = 0;
    const JobKeyword* state = named_state(keywords, msdel);
    const JobKeyword* ms = keywords.find("MS=");
    const bool zero_scf = keywords.has("0SCF");
    if (!electrons.known) {
        if (state != nullptr && ms != nullptr) {
            findings.error(*ms, "ms-with-spin-state", "MS cannot be used with other keywords that define spin", state->text);
        }
        return;
    }
    const long long n = electrons.count;
    const bool odd = n % 2 != 0;
    // RHF is asked for by RHF, MECI, C.I., or OPEN without UHF; otherwise an
    // odd number of electrons runs UHF. INDO runs ROHF instead of UHF.
    const bool ci = keywords.has("C.I.");
    bool uhf = keywords.has("UHF");
    const bool rhf = keywords.has("RHF") || keywords.has("MECI") || ci || (!uhf && keywords.has("OPEN"));
    if (!rhf && !uhf) uhf = odd;
    if (keywords.indo()) uhf = false;
    if (uhf && !zero_scf && !keywords.has("UHF")) {
        for (const char* name : {"POLAR", "ESP"}) {
            if (const JobKeyword* keyword = keywords.find(name)) {
                findings.error(*keyword, "uhf-by-default",
                               std::string(name) + " used with a UHF system.  Add keyword RHF and re-run", "RHF");
                return;
            }
        }
    }
    if (state != nullptr) {
        if ((msdel % 2 == 0) == odd) {
            findings.error(*state, "spin-parity",
                           std::string(detail::spin_state_names[msdel]) + " SPECIFIED WITH " +
                               parity(odd) + " NUMBER OF ELECTRONS, CORRECT FAULT",
                           detail::spin_state_names[msdel > 0 ? msdel - 1 : 1]);
            return;
        }
        if (ms != nullptr) {
            findings.error(*ms, "ms-with-spin-state", "MS cannot be used with other keywords that define spin", state->text);
            return;
        }
    } else if (ms != nullptr) {
        double value = 0.0;
        keywords.number("MS=", value);
        msdel = std::llround(2 * value);
        if ((msdel % 2 == 0) == odd && !zero_scf) {
            const double nearer = std::fabs(value) >= 0.5 ? std::fabs(value) - 0.5 : 0.5;
            std::string written = std::to_string(nearer);
            written.erase(written.find_last_not_of('0') + 1);
            if (written.back() == '.') written.pop_back();
            findings.error(*ms, "ms-parity", "Value of MS not consistent with number of electrons", "MS=" + written);
            return;
        }
    }
    if (uhf) return;
    // RHF: closed shells, and the open shells of OPEN(n,m), BIRAD or EXCITED,
    // or one for an odd number of electrons.
    long long open_electrons = 0;
    long long open_levels = 0;
    if (keywords.has("EXCI") || keywords.has("BIRAD")) {
        if (odd) {
            findings.error(*(keywords.has("EXCI") ? keywords.find("EXCI") : keywords.find("BIRAD")), "odd-biradical",
                           "SYSTEM SPECIFIED WITH ODD NUMBER OF ELECTRONS, CORRECT FAULT");
            return;
        }
        open_electrons = open_levels = 2;
    } else if (odd) {
        open_electrons = open_levels = 1;
    }
    const JobKeyword* open = keywords.find("OPEN(");
    double value = 0.0;
    if (open != nullptr) {
        open_electrons = keywords.number("OPEN(", value) ? std::llround(value) : 0;
        open_levels = keywords.second_number("OPEN(", value) ? std::llround(value) : 0;
    }
    long long closed = n / 2;
    long long levels = n - 2 * closed;
    double fraction = 0.0;
    if (open_electrons != 0) {
        if (odd != (open_electrons % 2 != 0) && !zero_scf) {
            shell_error(findings, keywords.job(), open, "open-shell-parity", "IMPOSSIBLE NUMBER OF OPEN SHELL ELECTRONS",
                           "OPEN(" + std::to_string(open_electrons + 1 <= 2 * open_levels ? open_electrons + 1 : open_electrons - 1) +
                               "," + std::to_string(open_levels) + ")");
            return;
        }
        closed -= open_electrons / 2;
        levels = open_levels;
        if (open_levels == 0) {
            shell_error(findings, keywords.job(), open, "open-shell-levels", " NUMBER OF ELECTRONS IN OPEN(M,N) IS ZERO!");
            return;
        }
        fraction = static_cast<double>(open_electrons) / static_cast<double>(open_levels);
        if (closed < 0 && !zero_scf) {
            shell_error(findings, keywords.job(), open, "open-shell-levels", "IMPOSSIBLE NUMBER OF CLOSED SHELLS");
            return;
        }
    }
    const JobKeyword* ci_pair = keywords.find("C.I.=(");
    long long ci_doubly = 99;
    long long ci_levels = -1;
    if (ci_pair != nullptr) {
        ci_doubly = keywords.second_number("C.I.=(", value) ? std::llround(value) : 0;
        ci_levels = keywords.number("C.I.=(", value) ? std::llround(value) : 0;
        if (ci_levels - std::min(ci_doubly, closed) < levels) {
            findings.error(*ci_pair, "ci-too-small",
                           "NUMBER OF OPEN-SHELLS ALLOWED IN C.I. IS LESS THAN THAT SPECIFIED BY OTHER KEYWORDS",
                           "C.I.=(" + std::to_string(levels + std::min(ci_doubly, closed)) + "," + std::to_string(ci_doubly) + ")");
            return;
        }
    } else if (keywords.number("C.I.=", value)) {
        ci_levels = static_cast<long long>(value);
    }
    levels += closed;  // from here MOPAC's NOPEN counts the highest occupied level
    if (keywords.has("CIS")) msdel = 0;
    // The active space: the C.I. orbitals, else the open levels; the electrons in it.
    const long long active = ci_levels >= 0 ? ci_levels : levels - closed;
    const long long first = ci_doubly == 99 ? std::max((closed + levels + 1) / 2 - (active - 1) / 2, 1LL) : closed - ci_doubly + 1;
    const long long in_active = static_cast<long long>(std::max(0.0, static_cast<double>(closed - first + 1)) * 2.0 +
                                                       std::max(0.0, static_cast<double>(levels - closed) * fraction) + 0.5);
    if (msdel != 0 && !keywords.indo()) {
        const long long up = active == 0 ? 0 : (in_active + msdel) / 2;
        const long long down = active == 0 ? 0 : in_active - up;
        if (up * down < 0 || up > active || down > active || active == 0) {
            const JobKeyword& at = state != nullptr ? *state : *ms;
            findings.error(at, "spin-not-spanned", "SPECIFIED SPIN COMPONENT NOT SPANNED BY ACTIVE SPACE",
                           ci_levels < 0 && open == nullptr ? "UHF" : "C.I.=" + std::to_string(active + msdel));
            return;
        }
    }
    // The root of the C.I.: it must be one of the states of the active space
    // (of the named spin, when one is named). Counted with every spin
    // component, the most MOPAC's C.I. can hold, so that no root it has is refused.
    const JobKeyword* root = keywords.find("ROOT=");
    if (root != nullptr && active > 0 && (ci_levels >= 0 || open != nullptr) && keywords.number("ROOT=", value)) {
        const double states = state != nullptr ? states_of_spin(active, in_active, msdel) * static_cast<double>(msdel + 1)
                                               : binomial(2 * active, in_active);
        if (value > states + 0.5) {
            findings.error(*root, "root-missing", "ROOT REQUESTED DOES NOT EXIST IN C.I.",
                           "ROOT=" + std::to_string(static_cast<long long>(states)));
        }
    }
}

}  // namespace vesk::input::mopac::check
