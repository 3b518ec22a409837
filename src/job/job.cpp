// MopacJob's answers: keyword queries, the atoms of a job and their positions,
// kept from the reading or worked out afresh from the lines on each call.
#include <algorithm>
#include <array>
#include <cstddef>
#include <iterator>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "text/keyword_scan.hpp"
#include "job/elements.hpp"
#include "job/job_placement.hpp"
#include "job/reader.hpp"
#include "vesk/input/mopac/document.hpp"

namespace vesk::input::mopac {
namespace {

const JobKeyword* first_keyword_named(const Job& job, std::string_view name);
bool may_place(const MopacJob& job, std::size_t job_index);

}  // namespace

std::string_view element_symbol(int atomic_number) noexcept { return detail::element_symbol(atomic_number); }

bool Job::has_keyword(std::string_view name) const { return first_keyword_named(*this, name) != nullptr; }

std::optional<std::string> Job::keyword_value(std::string_view name) const {
    const JobKeyword* keyword = first_keyword_named(*this, name);
    if (keyword == nullptr) return std::nullopt;
    return std::string(detail::keyword_value_part(keyword->text));
}

std::string_view MopacJob::line_text(std::size_t number) const noexcept {
    if (number == 0 || number > lines_.size()) return {};
    return std::string_view(text_).substr(lines_.offset(number - 1), lines_.length(number - 1));
}

JobLine JobLines::at(std::size_t index) const {
    if (index >= size()) throw std::out_of_range("line index " + std::to_string(index) + " past the last line");
    return (*this)[index];
}

bool MopacJob::has_errors() const noexcept {
    for (const Diagnostic& diagnostic : diagnostics_) {
        if (diagnostic.severity == Severity::error) return true;
    }
    return false;
}

std::vector<JobAtom> MopacJob::atoms(std::size_t job) const {
    std::vector<JobAtom> described;
    if (job >= jobs_.size()) return described;
    std::vector<detail::ParsedAtom> parsed;
    detail::reread_atoms(*this, job, false, parsed, nullptr, &described);
    return described;
}

vesk::core::Geometry MopacJob::geometry(std::size_t job) const {
    vesk::core::Geometry geometry;
    Placed scratch;
    const Placed* placed = placement(job, scratch);
    if (placed == nullptr) return geometry;
    std::size_t kept = 0;
    for (const std::uint8_t number : placed->atomic_numbers) kept += detail::is_kept_atom(number);
    geometry.atoms.reserve(kept);
    for (std::size_t i = 0; i < placed->positions.size(); ++i) {
        const int number = placed->atomic_numbers[i];
        if (!detail::is_kept_atom(number)) continue;
        const std::array<double, 3>& position = placed->positions[i];
        geometry.atoms.emplace_back(std::string(detail::element_symbol(number)), position[0], position[1], position[2]);
    }
    return geometry;
}

std::vector<std::array<double, 3>> MopacJob::translation_vectors(std::size_t job) const {
    std::vector<std::array<double, 3>> vectors;
    if (job >= jobs_.size() || jobs_[job].counts.translation_vectors == 0) return vectors;
    Placed scratch;
    const Placed* placed = placement(job, scratch);
    if (placed == nullptr) return vectors;
    for (std::size_t i = 0; i < placed->positions.size(); ++i) {
        if (placed->atomic_numbers[i] == detail::translation_vector) vectors.push_back(placed->positions[i]);
    }
    return vectors;
}

bool MopacJob::visit_atoms(std::size_t job, void (*visit)(void*, int, const std::array<double, 3>&),
                          void* context) const {
    if (job < placed_.size() && !placed_[job].positions.empty()) {
        const Placed& kept = placed_[job];
        for (std::size_t i = 0; i < kept.positions.size(); ++i) visit(context, kept.atomic_numbers[i], kept.positions[i]);
        return true;
    }
    if (!may_place(*this, job)) return false;
    if (detail::visit_cartesian_atoms(*this, job, visit, context)) return true;
    Placed scratch;
    const Placed* placed = placement(job, scratch);
    if (placed == nullptr) return false;
    for (std::size_t i = 0; i < placed->positions.size(); ++i) visit(context, placed->atomic_numbers[i], placed->positions[i]);
    return true;
}

const MopacJob::Placed* MopacJob::placement(std::size_t job, Placed& scratch) const {
    if (job < placed_.size() && !placed_[job].positions.empty()) return &placed_[job];
    if (!may_place(*this, job)) return nullptr;
    detail::PlacedAtoms placed;
    if (!detail::place_job_atoms(*this, job, nullptr, placed, nullptr)) return nullptr;
    scratch.positions = std::move(placed.positions);
    scratch.atomic_numbers = std::move(placed.atomic_numbers);
    return &scratch;
}

namespace detail {

GeometrySettings geometry_settings(const Job& job) {
    GeometrySettings settings;
    settings.mini = job.has_keyword("MINI");
    settings.geo_ok = job.has_keyword("GEO-OK");
    settings.mopac = job.has_keyword("MOPAC");
    return settings;
}

bool has_keyword_prefix(const Job& job, std::string_view prefix) noexcept {
    for (const JobKeyword& keyword : job.keywords) {
        if (keyword.text.compare(0, prefix.size(), prefix) == 0) return true;
    }
    return false;
}

bool uses_symmetry(const Job& job) { return has_keyword_prefix(job, "SYMM") || job.has_keyword("SYM"); }

}  // namespace detail

namespace {

const JobKeyword* first_keyword_named(const Job& job, std::string_view name) {
    const std::string key = normalize_keyword_name(name);
    for (const JobKeyword& keyword : job.keywords) {
        if (detail::keyword_name_equals(keyword.text, key)) return &keyword;
    }
    return nullptr;
}

// False when MOPAC would not place the atoms of a job: they come from
// elsewhere, or the reading found an error in its geometry. The findings are
// in line order (a last count of findings not listed aside), so only those
// of the job's own lines are looked at: a file of many jobs is placed job
// by job in linear time.
bool may_place(const MopacJob& job, std::size_t job_index) {
    if (job_index >= job.jobs().size()) return false;
    const Job& current = job.jobs()[job_index];
    const std::size_t first_line = current.geometry_begin + 1;
    const std::size_t last_line = current.geometry_end;
    const std::vector<Diagnostic>& found = job.diagnostics();
    auto end = found.end();
    if (end != found.begin() && std::prev(end)->line == 0) --end;
    const std::size_t from = std::min(first_line, current.first_keyword_line);
    auto at = std::lower_bound(found.begin(), end, from,
                               [](const Diagnostic& d, std::size_t line) { return d.line < line; });
    for (; at != end && at->line <= std::max(last_line, current.first_keyword_line); ++at) {
        const Diagnostic& diagnostic = *at;
        const bool in_geometry = diagnostic.line >= first_line && diagnostic.line <= last_line;
        if (diagnostic.severity == Severity::error && (in_geometry || diagnostic.code == "no-atoms")) {
            if (in_geometry || diagnostic.line == current.first_keyword_line) return false;
        }
    }
    return true;
}

}  // namespace
}  // namespace vesk::input::mopac
