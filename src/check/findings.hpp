// What the families of the preflight check share: the findings of one input,
// the keyword string of a job as MOPAC tests it, and the electrons MOPAC counts.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "vesk/input/mopac/check.hpp"
#include "vesk/input/mopac/job.hpp"

namespace vesk::input::mopac::check {

// Findings of one input, at the place of the keyword they concern.
class Findings {
public:
    Findings(const MopacJob& job, std::vector<Diagnostic>& out) : job_(job), out_(out) {}

    void add(Severity severity, const char* code, std::size_t line, std::size_t column, std::string message,
             std::string suggestion = {}) {
        out_.push_back({severity, code, line, column, std::move(message), std::move(suggestion)});
    }
    void at(const JobKeyword& keyword, Severity severity, const char* code, std::string message,
            std::string suggestion = {}) {
        add(severity, code, keyword.line, keyword.column, std::move(message), std::move(suggestion));
    }
    void error(const JobKeyword& keyword, const char* code, std::string message, std::string suggestion = {}) {
        at(keyword, Severity::error, code, std::move(message), std::move(suggestion));
    }
    const MopacJob& job() const noexcept { return job_; }

private:
    const MopacJob& job_;
    std::vector<Diagnostic>& out_;
};

// A job's keywords as MOPAC tests them: most tests look for " NAME" anywhere in
// the keyword string, so " TRIP" holds for TRIPLET and " UHF" for UHF=2.
class Keywords {
public:
    explicit Keywords(const Job& job);
    // The first keyword whose text starts with `prefix` ("UHF", "MS=", "C.I."); null if none.
    const JobKeyword* find(std::string_view prefix) const noexcept;
    bool has(std::string_view prefix) const noexcept { return find(prefix) != nullptr; }
    // The number MOPAC reads behind `prefix` of the first such keyword ("CHARGE=" -> 2
    // for CHARGE=2, "OPEN(" -> 2 for OPEN(2,2)); false without one.
    bool number(std::string_view prefix, double& value) const noexcept;
    // The second number of a pair behind `prefix`: "OPEN(" -> 3 for OPEN(2,3).
    bool second_number(std::string_view prefix, double& value) const noexcept;
    const Job& job() const noexcept { return job_; }
    // The method keyword MOPAC runs (its first), null for PM7 by default.
    const JobKeyword* method() const noexcept { return method_; }
    bool indo() const noexcept;
    // MOZYME, or a keyword that sets it up (LEWIS, RESEQ, CHARGES, RAPID, SITE=(, PDBOUT, ...).
    bool mozyme() const noexcept;

private:
    const Job& job_;
    const JobKeyword* method_ = nullptr;
};

// What MOPAC knows of the electrons of a job.
struct Electrons {
    bool known = false;     // false when an atom's core is unknown or the atoms come from elsewhere
    long long count = 0;    // MOPAC's NELECS: the cores' valence electrons less the charge, at least 0
    long long charge = 0;
    std::size_t translation_vectors = 0;
    const JobKeyword* charge_keyword = nullptr;  // where the charge is given, null when inherited or 0
};

// The charge a job runs with as MOPAC takes it: the first CHARGE=, else that
// of an earlier job of the file when this one takes its geometry (OLDGEO).
struct ChargeMemory {
    long long last = 0;  // MOPAC's OLD_CHRGE: the last CHARGE= a job of the file gave
};

Electrons electrons_of(const Keywords& keywords, const GeometryCounts* atoms, ChargeMemory& memory);

// The families of the check, each over one job.
void check_keywords(Findings& findings, const Keywords& keywords);
void check_combinations(Findings& findings, const Keywords& keywords);
void check_spin(Findings& findings, const Keywords& keywords, const Electrons& electrons);
void check_method_elements(Findings& findings, const Keywords& keywords, const GeometryCounts* atoms);
// `folder` ends in '/'; `input_path` names the input itself (its job name
// gives the restart files), empty when only its folder is known.
void check_named_files(Findings& findings, const Keywords& keywords, const std::string& folder,
                       const std::string& input_path);
void check_lines(Findings& findings);

// The whole text is one number: "1", "-2", "0.5", "1.5D0".
bool whole_number(std::string_view text, double& value) noexcept;
// The name of MOPAC's list a misspelt word most likely means, with "=" where
// it takes a value; empty when none is near enough. `has_value`: the word was
// written with "=value".
std::string suggestion_for(std::string_view name, bool has_value = false);

}  // namespace vesk::input::mopac::check
