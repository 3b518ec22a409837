// Fuzz target: any bytes read as MOPAC reads them give a whole reading:
// every byte in one line, every line numbered and given a role, every
// finding inside the text, atoms and positions that agree with the counts,
// and the check and the editor never failing on what the reading accepted.
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>

#include "round_trip.hpp"
#include "vesk/input/mopac/mopac_input.hpp"

namespace {

using namespace vesk::input::mopac;
using vesk::fuzz::check;

std::size_t end_size(LineEnd end) { return end == LineEnd::none ? 0 : end == LineEnd::crlf ? 2 : 1; }

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    ReadOptions options;
    options.arc = size > 0 && data[0] % 7 == 0;
    const MopacJob job = read_job(text, options);
    check(job.text() == text, "the reading changed the text");

    std::size_t offset = 0;
    for (const JobLine& line : job.lines()) {
        check(line.offset == offset, "lines do not follow one another");
        offset += line.length + end_size(line.end);
        check(job.jobs().empty() || line.job < job.jobs().size(), "a line of no job");
    }
    check(offset == text.size(), "the lines do not cover the text");
    for (const Diagnostic& d : check_job(job)) {
        check(d.line <= job.lines().size(), "a finding beyond the last line");
        check(d.line == 0 || d.column <= job.line_text(d.line).size() + 1, "a finding beyond its line");
        check(!d.code.empty() && !d.message.empty(), "a finding without code or message");
    }

    for (std::size_t k = 0; k < job.jobs().size(); ++k) {
        const Job& current = job.jobs()[k];
        check(current.geometry_begin <= current.geometry_end && current.geometry_end <= job.lines().size(),
              "a geometry outside the lines");
        const GeometryCounts& counts = current.counts;
        const std::size_t atoms = job.atoms(k).size();
        check(counts.internal + counts.cartesian == atoms || current.source == GeometrySource::gaussian,
              "atom counts differ from the atom lines");
        const vesk::core::Geometry geometry = job.geometry(k);
        check(geometry.atoms.empty() || geometry.atoms.size() == counts.atoms, "placed atoms differ from the count");
    }

    // A keyword edit either takes, leaving every other line as it was, or is
    // refused with the text unchanged.
    if (!job.jobs().empty() && size < 4096) {
        JobEditor editor(job);
        editor.allow_new_errors();
        try {
            editor.set_method("PM6");
            editor.set_charge(-1);
            editor.set_multiplicity(3);
            editor.apply();
        } catch (const std::invalid_argument&) {  // EditRefused too
        }
        const MopacJob& edited = editor.job();
        check(edited.lines().size() == job.lines().size(), "an edit added or removed lines");
        for (std::size_t i = 0; i < job.lines().size(); ++i) {
            if (job.lines()[i].role == LineRole::keywords) continue;
            check(edited.line_text(i + 1) == job.line_text(i + 1), "an edit changed a line that holds no keywords");
            check(edited.lines()[i].end == job.lines()[i].end, "an edit changed a line end");
        }
    }
    return 0;
}
