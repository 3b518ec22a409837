// Keywords that MOPAC refuses together, tested as MOPAC tests them, in its
// order: a keyword's name is looked for as the start of any word.
#include <cmath>
#include <string>
#include <string_view>

#include "check/findings.hpp"
#include "mopac/tables.hpp"
#include "vesk/input/mopac/catalogue.hpp"
#include "vesk/input/mopac/document.hpp"

namespace vesk::input::mopac::check {
namespace {

// The family of a method for MOPAC's "only one method" test: PM6-D3H4 and
// PM6 are both PM6, PM7-TS is PM7. PM5 runs PM7 and is not counted.
std::string family_of(const JobKeyword& keyword) {
    const std::string name = normalize_keyword_name(keyword.text);
    if (name == "PM5" || mopac_method_runs(name).empty()) return {};
    return name.substr(0, name.find('-'));
}

bool several_methods(Findings& findings, const Keywords& keywords) {
    std::string first;
    for (const JobKeyword& keyword : keywords.job().keywords) {
        if (!is_mopac_method(normalize_keyword_name(keyword.text))) continue;
        const std::string family = family_of(keyword);
        if (family.empty()) continue;
        if (first.empty()) first = family;
        if (family != first) {
            findings.error(keyword, "several-methods", "IMPOSSIBLE OPTION REQUESTED", first);
            return true;
        }
    }
    return false;
}

// Keywords of INDO that other methods refuse, and those INDO refuses.
bool check_indo(Findings& findings, const Keywords& keywords) {
    if (!keywords.indo()) {
        for (std::size_t i = 0; i < detail::indo_only_size; ++i) {
            if (const JobKeyword* keyword = keywords.find(detail::indo_only[i])) {
                findings.error(*keyword, "indo-only", std::string(detail::indo_only[i]) + " is only compatible with INDO", "INDO");
                return true;
            }
        }
        return false;
    }
    const JobKeyword* cis = nullptr;
    bool cisd = false;
    for (const JobKeyword& keyword : keywords.job().keywords) {
        if (keyword.text == "CIS") cis = &keyword;
        cisd = cisd || keyword.text == "CISD";
    }
    if (cis != nullptr && cisd) {
        findings.error(*cis, "indo-refuses", "CIS and CISD are incompatible keywords");
        return true;
    }
    if (cis != nullptr && keywords.has("C.I.D.")) {
        findings.error(*cis, "indo-refuses", "CIS and C.I.D. are incompatible keywords");
        return true;
    }
    for (const char* high : {"QUIN", "SEXT", "SEPT", "OCTE", "NONE"}) {
        if (const JobKeyword* keyword = keywords.find(high)) {
            findings.error(*keyword, "indo-refuses", "Spin is incompatible with INDO");
            return true;
        }
    }
    for (std::size_t i = 0; i < detail::indo_refuses_size; ++i) {
        if (const JobKeyword* keyword = keywords.find(detail::indo_refuses[i])) {
            const std::string name = detail::indo_refuses[i];
            // INDO runs open shells as ROHF: a spin state by name says what MS= or UHF meant.
            std::string instead;
            double ms = 0.0;
            if (name == "UHF") instead = "RHF";
            if (name == "MS=" && keywords.number("MS=", ms) && std::fabs(ms) <= 1.5) {
                instead = detail::spin_state_names[static_cast<std::size_t>(std::llround(2 * std::fabs(ms)))];
            }
            findings.error(*keyword, "indo-refuses", name + " is incompatible with INDO", instead);
            return true;
        }
    }
    return false;
}

}  // namespace

void check_combinations(Findings& findings, const Keywords& keywords) {
    const bool uhf = keywords.has("UHF");
    const bool ci = keywords.has("C.I.");
    const bool birad = keywords.has("BIRAD");
    const bool exci = keywords.has("EXCI");
    const bool open = keywords.has("OPEN");
    // C.I. keywords need an active space.
    if (!(birad || exci || ci || keywords.indo() || open)) {
        for (const char* name : {"CIS", "CISD", "CISDT", "MECI"}) {
            const JobKeyword* keyword = keywords.find(name);
            if (keyword != nullptr && (std::string_view(name) == "MECI" || normalize_keyword_name(keyword->text) == name)) {
                findings.error(*keyword, "no-ci", "Keyword \"" + std::string(name) + "\" used, but no C.I. defined", "C.I.=");
                return;
            }
        }
    }
    const bool mozyme = keywords.mozyme();
    if (!mozyme && !keywords.has("RESID") && !keywords.has("ADD-H") && !keywords.has("0SCF")) {
        if (const JobKeyword* keyword = keywords.find("CVB")) {
            findings.error(*keyword, "needs-mozyme", "Keyword CVB only works with MOZYME", "MOZYME");
            return;
        }
        if (const JobKeyword* keyword = keywords.find("SETPI")) {
            findings.error(*keyword, "needs-mozyme", "Keyword SETPI only works with MOZYME ", "MOZYME");
            return;
        }
    }
    if (mozyme && uhf) {
        findings.error(*keywords.find("UHF"), "mozyme-uhf", "Keyword UHF cannot be used with MOZYME", "RHF");
    }
    if (mozyme && keywords.has("1SCF") && keywords.has("RAPID")) {
        findings.error(*keywords.find("RAPID"), "mozyme-rapid", "RAPID cannot be used with 1SCF");
        return;
    }
    if (uhf && keywords.has("MULLIK")) {
        findings.error(*keywords.find("MULLIK"), "uhf-mulliken", "MULLIKEN POPULATION NOT AVAILABLE WITH UHF");
        return;
    }
    if (uhf) {
        // MECI, C.I. and OPEN ask for RHF as well.
        if (keywords.has("RHF") || keywords.has("MECI") || ci) {
            findings.error(*keywords.find("UHF"), "rhf-and-uhf", "UHF and RHF cannot both be used");
        }
        if (birad || exci || ci) {
            findings.error(*keywords.find("UHF"), "uhf-with-ci", "UHF USED WITH EITHER BIRAD, EXCITED OR C.I.", "RHF");
            return;
        }
        if (keywords.has("POLAR")) {
            findings.error(*keywords.find("UHF"), "polar-uhf", "POLAR does not work with UHF", "RHF");
            return;
        }
    } else if (exci && keywords.has("TRIP")) {
        findings.error(*keywords.find("TRIP"), "excited-triplet", "EXCITED USED WITH TRIPLET", "SINGLET");
        return;
    }
    if (const JobKeyword* keyword = keywords.find("PMEP")) {
        if (keywords.method() == nullptr || normalize_keyword_name(keywords.method()->text) != "AM1") {
            findings.error(*keyword, "pmep-am1", "PMEP only works with AM1", "AM1");
            return;
        }
    }
    if (several_methods(findings, keywords)) return;
    if (const JobKeyword* keyword = keywords.find("HESSIAN")) {
        if (!keywords.has("EF")) {
            findings.error(*keyword, "hessian-ef", " Keyword EF must be present if HESSIAN is used", "EF");
            return;
        }
    }
    double size = 0.0;
    if (keywords.number("C.I.=", size)) {
        const long long orbitals = keywords.find("C.I.=")->text.compare(0, 6, "C.I.=(") == 0 ? std::llround(size)
                                                                                           : static_cast<long long>(size);
        if (orbitals > 29 && !keywords.indo()) {
            findings.error(*keywords.find("C.I.="), "ci-size", "Maximum size of open space = 29 M.O.s", "C.I.=29");
            return;
        }
        if (orbitals < 1) {
            findings.error(*keywords.find("C.I.="), "ci-size", "Minimum size of open space = 1 M.O.s", "C.I.=1");
            return;
        }
    }
    check_indo(findings, keywords);
}

}  // namespace vesk::input::mopac::check
