// Fuzz target: any bytes read as MOPAC reads them give a whole reading:
// every byte in one line, every line numbered and given a role, every
// finding inside the text, atoms and positions that agree with the counts,
// and the check and the editor never failing on what the reading accepted.
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "round_trip.hpp"
#include "vesk/input/mopac/mopac_input.hpp"

namespace {

using namespace vesk::input::mopac;
using vesk::fuzz::check;

// The reading and its own properties run on every input. While fuzzing, the
// parts that cost more than a reading run on a share of the inputs each, so
// that the fuzzer tries over a thousand inputs a second: the check (it looks
// for the nearest known name of each unknown keyword), the reading of the
// text with CR LF line ends, the keyword edits (each reads the text again),
// and the atoms and positions of each job.
// Inputs are at most 4 KB unless -max_len says otherwise: the real inputs
// beyond that are replayed whole by the tests. The replays run every part
// on every input.
#ifdef VESK_LIBFUZZER
constexpr std::size_t default_max_len = 4096;
constexpr std::size_t costly_size = 4096;
constexpr std::size_t checked_keywords = 8;
constexpr unsigned costly_share = 32;  // one input in 32 runs each costly part
#else
constexpr std::size_t costly_size = static_cast<std::size_t>(-1);
constexpr std::size_t checked_keywords = static_cast<std::size_t>(-1);
constexpr unsigned costly_share = 1;
#endif

std::size_t end_size(LineEnd end) { return end == LineEnd::none ? 0 : end == LineEnd::crlf ? 2 : 1; }

// Which costly part an input runs, the same on every run of that input.
unsigned costly_part(const std::uint8_t* data, std::size_t size) {
    std::uint32_t hash = 2166136261U;
    for (std::size_t i = 0; i < size && i < 64; ++i) hash = (hash ^ data[i]) * 16777619U;
    return static_cast<unsigned>((hash ^ size) % costly_share);
}

// The text with every LF that ends a line alone made a CR LF.
std::string with_crlf(std::string_view text) {
    std::string out;
    out.reserve(text.size() + text.size() / 8);
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '\n' && (i == 0 || text[i - 1] != '\r')) out.push_back('\r');
        out.push_back(text[i]);
    }
    return out;
}

std::size_t keyword_count(const MopacJob& job) {
    std::size_t count = 0;
    for (const Job& current : job.jobs()) count += current.keywords.size();
    return count;
}

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
    for (const Diagnostic& d : job.diagnostics()) {
        check(d.line <= job.lines().size(), "a finding beyond the last line");
        check(d.line == 0 || d.column <= job.line_text(d.line).size() + 1, "a finding beyond its line");
    }
    for (const Job& current : job.jobs()) {
        check(current.geometry_begin <= current.geometry_end && current.geometry_end <= job.lines().size(),
              "a geometry outside the lines");
    }
    const bool costly = size <= costly_size;
    const unsigned part = costly_part(data, size);
    if (costly && part == 0 && keyword_count(job) <= checked_keywords) {
        for (const Diagnostic& d : check_job(job)) {
            check(d.line <= job.lines().size(), "a finding beyond the last line");
            check(d.line == 0 || d.column <= job.line_text(d.line).size() + 1, "a finding beyond its line");
            check(!d.code.empty() && !d.message.empty(), "a finding without code or message");
        }
    }

    for (std::size_t k = 0; k < job.jobs().size() && costly && part == 3 % costly_share; ++k) {
        const Job& current = job.jobs()[k];
        const GeometryCounts& counts = current.counts;
        const std::size_t atoms = job.atoms(k).size();
        check(counts.internal + counts.cartesian == atoms || current.source == GeometrySource::gaussian,
              "atom counts differ from the atom lines");
        const vesk::core::Geometry geometry = job.geometry(k);
        check(geometry.atoms.empty() || geometry.atoms.size() == counts.atoms, "placed atoms differ from the count");
        std::size_t streamed = 0;
        const bool placed = job.for_each_atom(k, [&](int number, const std::array<double, 3>& at) {
            if (number < 1 || number > 106 || number == 99) return;
            const bool same = streamed < geometry.atoms.size() && geometry.atoms[streamed].x == at[0] &&
                              geometry.atoms[streamed].y == at[1] && geometry.atoms[streamed].z == at[2];
            check(same || std::isnan(at[0]) || std::isnan(at[1]) || std::isnan(at[2]), "streamed atoms differ from the placed ones");
            ++streamed;
        });
        check((!placed || streamed == geometry.atoms.size()) && (placed || geometry.atoms.empty()),
              "streamed atoms differ in number");
    }

    // CR LF line ends change nothing MOPAC reads.
    if (costly && part == 1 % costly_share) {
        const MopacJob crlf = read_job(with_crlf(text), options);
        check(crlf.jobs() == job.jobs(), "CR LF line ends change the jobs");
        check(crlf.diagnostics() == job.diagnostics(), "CR LF line ends change the findings");
        check(crlf.lines().size() == job.lines().size(), "CR LF line ends change the lines");
        for (std::size_t i = 0; i < job.lines().size(); ++i) {
            check(crlf.lines()[i].role == job.lines()[i].role, "CR LF line ends change what a line is");
        }
        for (std::size_t k = 0; k < job.jobs().size(); ++k) {
            check(crlf.atoms(k) == job.atoms(k), "CR LF line ends change the atoms");
        }
    }

    // A keyword edit either takes, leaving every other line as it was, or is
    // refused with the text unchanged.
    if (!job.jobs().empty() && costly && part == 2 % costly_share) {
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
        // The editor reads only the edited heads again: what it holds is the reading of its text.
        const MopacJob whole = read_job(edited.text(), edited.options());
        check(whole.lines() == edited.lines() && whole.jobs() == edited.jobs() &&
                  whole.diagnostics() == edited.diagnostics(),
              "the heads read again differ from the text read whole");
    }
    return 0;
}

#ifdef VESK_LIBFUZZER
// Puts -max_len in front of the flags unless they give one.
extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv) {
    for (int i = 1; i < *argc; ++i) {
        if (std::strncmp((*argv)[i], "-max_len=", 9) == 0) return 0;
    }
    static std::string flag = "-max_len=" + std::to_string(default_max_len);
    static std::vector<char*> args;
    args.assign(*argv, *argv + *argc);
    args.insert(args.begin() + 1, flag.data());
    args.push_back(nullptr);
    *argc += 1;
    *argv = args.data();
    return 0;
}
#endif
