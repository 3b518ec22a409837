// The preflight check: the findings of the reading, then each job's keywords,
// spin and electrons, method and elements, and the files the input names.
#include "vesk/input/mopac/check.hpp"

#include <algorithm>
#include <cmath>
#include <string>
#include <string_view>
#include <vector>

#include "check/findings.hpp"
#include "job/elements.hpp"
#include "mopac/tables.hpp"
#include "text/bytes.hpp"
#include "text/keyword_scan.hpp"
#include "text/numbers.hpp"
#include "vesk/input/mopac/catalogue.hpp"
#include "vesk/input/mopac/document.hpp"

namespace vesk::input::mopac {

std::vector<Diagnostic> check_job(const MopacJob& job) { return check_job(job, CheckOptions{}); }

std::vector<Diagnostic> check_job(const MopacJob& job, const CheckOptions& options) {
    std::vector<Diagnostic> found = job.diagnostics();
    check::Findings findings(job, found);
    // The folder of the input: relative names are taken from there.
    const std::size_t slash = options.input_path.find_last_of("/\\");
    const std::string folder = options.input_path.empty()   ? std::string()
                               : slash == std::string::npos ? std::string("./")
                                                            : options.input_path.substr(0, slash + 1);
    const std::string input = slash == options.input_path.size() - 1 ? std::string() : options.input_path;
    const GeometryCounts* atoms = nullptr;  // of the job whose geometry an OLDGEO job takes
    check::ChargeMemory charges;
    for (const Job& current : job.jobs()) {
        const bool own = current.source == GeometrySource::inline_text || current.source == GeometrySource::gaussian ||
                         current.source == GeometrySource::pdb;
        if (own) atoms = &current.counts;
        if (current.source != GeometrySource::previous_job && !own) atoms = nullptr;
        const check::Keywords keywords(current);
        check::check_keywords(findings, keywords);
        check::check_combinations(findings, keywords);
        check::check_spin(findings, keywords, check::electrons_of(keywords, atoms, charges));
        check::check_method_elements(findings, keywords, atoms);
        if (!folder.empty()) check::check_named_files(findings, keywords, folder, input);
    }
    check::check_lines(findings);
    std::stable_sort(found.begin(), found.end(), [](const Diagnostic& a, const Diagnostic& b) {
        return a.line != b.line ? a.line < b.line : a.column < b.column;
    });
    return found;
}

namespace check {

Keywords::Keywords(const Job& job) : job_(job) {
    for (const JobKeyword& keyword : job.keywords) {
        if (method_ == nullptr && is_mopac_method(normalize_keyword_name(keyword.text))) method_ = &keyword;
    }
}

const JobKeyword* Keywords::find(std::string_view prefix) const noexcept {
    for (const JobKeyword& keyword : job_.keywords) {
        if (keyword.text.compare(0, prefix.size(), prefix) == 0) return &keyword;
    }
    return nullptr;
}

bool Keywords::number(std::string_view prefix, double& value) const noexcept {
    const JobKeyword* keyword = find(prefix);
    std::size_t end = 0;
    return keyword != nullptr && detail::read_number_in_line(keyword->text, prefix.size(), value, end);
}

bool Keywords::second_number(std::string_view prefix, double& value) const noexcept {
    const JobKeyword* keyword = find(prefix);
    if (keyword == nullptr) return false;
    const std::size_t comma = keyword->text.find(',', prefix.size());
    std::size_t end = 0;
    return comma != std::string::npos && detail::read_number_in_line(keyword->text, comma + 1, value, end);
}

bool Keywords::indo() const noexcept { return method_ != nullptr && normalize_keyword_name(method_->text) == "INDO"; }

bool Keywords::mozyme() const noexcept {
    for (std::size_t i = 0; i < detail::mozyme_prefixes_size; ++i) {
        if (has(detail::mozyme_prefixes[i])) return true;
    }
    return false;
}

// MOPAC's NELECS: the core electrons of the real atoms (dummies and Tv have
// none) less the charge, never below 0. The charge is the first CHARGE=;
// a job without one that takes the geometry of the job before (OLDGEO) runs
// with the charge an earlier job gave.
Electrons electrons_of(const Keywords& keywords, const GeometryCounts* atoms, ChargeMemory& memory) {
    Electrons electrons;
    double charge = 0.0;
    if (keywords.number("CHARGE=", charge)) {
        electrons.charge = std::llround(charge);
        electrons.charge_keyword = keywords.find("CHARGE=");
        memory.last = electrons.charge;
    } else if (keywords.has("OLDGEO")) {
        electrons.charge = memory.last;
    }
    if (atoms == nullptr) return electrons;
    long long sum = 0;
    for (std::size_t number = 1; number < atoms->by_atomic_number.size(); ++number) {
        sum += static_cast<long long>(atoms->by_atomic_number[number]) * detail::core_electrons[number];
    }
    electrons.known = true;
    electrons.translation_vectors = atoms->translation_vectors;
    electrons.count = std::max(0LL, sum - electrons.charge);
    return electrons;
}

bool whole_number(std::string_view text, double& value) noexcept {
    text = detail::trim_space(text);
    std::size_t end = 0;
    return !text.empty() && (detail::is_digit(text[0]) || text[0] == '+' || text[0] == '-' || text[0] == '.') &&
           detail::read_number_in_line(text, 0, value, end) && end == text.size();
}

}  // namespace check
}  // namespace vesk::input::mopac
