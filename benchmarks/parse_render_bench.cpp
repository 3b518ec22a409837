// Speed and peak memory of parse_string and to_string on generated inputs,
// with two reference loops in the same binary: the least work a parser can
// do (split lines and tokens, from_chars) and a string-stream reader; and
// the reading as MOPAC reads it, its placement of a Z-matrix, and a
// keyword edit of JobEditor on the same inputs. After the table, the
// binary prints each ratio the suite is held to, from this run's times.
#include <benchmark/benchmark.h>

#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <map>
#include <new>
#include <sstream>
#include <string>
#include <vector>

#include "generated_input.hpp"
#include "vesk/input/mopac/job.hpp"
#include "vesk/input/mopac/job_editor.hpp"
#include "vesk/input/mopac/parser.hpp"
#include "xyz.hpp"

namespace {

// Counts live heap bytes so that the peak of one call can be reported.
std::size_t live_bytes = 0;
std::size_t peak_bytes = 0;

}  // namespace

// The replacements below keep a size header in front of each block; GCC
// cannot see that the free() matches the malloc() of operator new, and,
// inlining the delete, takes the header for a read before the block.
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic ignored "-Wmismatched-new-delete"
#pragma GCC diagnostic ignored "-Warray-bounds"
#endif

void* operator new(std::size_t size) {
    void* p = std::malloc(size + 16);
    if (p == nullptr) throw std::bad_alloc();
    *static_cast<std::size_t*>(p) = size;
    live_bytes += size;
    if (live_bytes > peak_bytes) peak_bytes = live_bytes;
    return static_cast<char*>(p) + 16;
}
void operator delete(void* p) noexcept {
    if (p == nullptr) return;
    char* block = static_cast<char*>(p) - 16;
    live_bytes -= *reinterpret_cast<std::size_t*>(block);
    std::free(block);
}
void operator delete(void* p, std::size_t) noexcept { operator delete(p); }

namespace {

using vesk::bench::make_zmatrix;
using vesk::input::mopac::parse_string;

// The generated Cartesian input of `atoms` atom lines, made once a process:
// 10^7 atoms take longer to write than to read, and each repetition of a
// benchmark would write them again.
const std::string& make_input(std::size_t atoms) {
    static std::map<std::size_t, std::string> made;
    auto found = made.find(atoms);
    if (found == made.end()) found = made.emplace(atoms, vesk::bench::make_input(atoms)).first;
    return found->second;
}

void report(benchmark::State& state, const std::string& text, std::size_t lines) {
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * text.size()));
    // An inverted per-iteration rate of lines is the time per line, e.g. "150ns".
    state.counters["time_per_line"] = benchmark::Counter(
        static_cast<double>(lines), benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

void BM_parse_string(benchmark::State& state) {
    const auto atoms = static_cast<std::size_t>(state.range(0));
    const std::string& text = make_input(atoms);
    for (auto _ : state) {
        auto result = parse_string(text);
        benchmark::DoNotOptimize(result);
    }
    // Peak heap use of one parse beyond the text the caller holds.
    live_bytes = peak_bytes = 0;
    { auto result = parse_string(text); benchmark::DoNotOptimize(result); }
    state.counters["peak_heap_bytes_per_line"] = static_cast<double>(peak_bytes) / static_cast<double>(atoms);
    state.counters["text_bytes_per_line"] = static_cast<double>(text.size()) / static_cast<double>(atoms);
    report(state, text, atoms);
}

void BM_to_string(benchmark::State& state) {
    const auto atoms = static_cast<std::size_t>(state.range(0));
    const std::string& text = make_input(atoms);
    const auto input = parse_string(text).input;
    for (auto _ : state) {
        std::string out = input.to_string();
        benchmark::DoNotOptimize(out);
    }
    report(state, text, atoms);
}

bool is_space(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }

// The least a reader must do: find the lines and the tokens and convert the
// numbers. Six tokens of each seven-token line are numbers.
void BM_baseline_split_from_chars(benchmark::State& state) {
    const auto atoms = static_cast<std::size_t>(state.range(0));
    const std::string& text = make_input(atoms);
    for (auto _ : state) {
        double sum = 0.0;
        const char* p = text.data();
        const char* const end = p + text.size();
        while (p < end) {
            const char* lf = static_cast<const char*>(std::memchr(p, '\n', static_cast<std::size_t>(end - p)));
            const char* line_end = lf ? lf : end;
            int token = 0;
            for (const char* q = p; q < line_end;) {
                while (q < line_end && is_space(*q)) ++q;
                const char* start = q;
                while (q < line_end && !is_space(*q)) ++q;
                if (start == q) break;
                if (token > 0) {
                    double value = 0.0;
                    std::from_chars(start, q, value);
                    sum += value;
                }
                ++token;
            }
            p = line_end + 1;
        }
        benchmark::DoNotOptimize(sum);
    }
    report(state, text, atoms);
}

// The design to avoid: a string stream per line and std::stod per token.
void BM_reference_istringstream_stod(benchmark::State& state) {
    const auto atoms = static_cast<std::size_t>(state.range(0));
    const std::string& text = make_input(atoms);
    for (auto _ : state) {
        double sum = 0.0;
        std::istringstream in(text);
        std::string line;
        while (std::getline(in, line)) {
            std::istringstream words(line);
            std::string word;
            int token = 0;
            while (words >> word) {
                if (token++ > 0) {
                    try {
                        sum += std::stod(word);
                    } catch (...) {
                    }
                }
            }
        }
        benchmark::DoNotOptimize(sum);
    }
    report(state, text, atoms);
}

// The reading as MOPAC reads it, of the same Cartesian input as BM_parse_string.
void BM_read_job(benchmark::State& state) {
    const auto atoms = static_cast<std::size_t>(state.range(0));
    const std::string& text = make_input(atoms);
    for (auto _ : state) {
        auto job = vesk::input::mopac::read_job(std::string_view(text));
        benchmark::DoNotOptimize(job);
    }
    live_bytes = peak_bytes = 0;
    { auto job = vesk::input::mopac::read_job(std::string_view(text)); benchmark::DoNotOptimize(job); }
    state.counters["peak_heap_bytes_per_line"] = static_cast<double>(peak_bytes) / static_cast<double>(atoms);
    report(state, text, atoms);
}

// A Z-matrix read and placed: read_job, then the Cartesian positions.
void BM_read_job_zmatrix_geometry(benchmark::State& state) {
    const auto atoms = static_cast<std::size_t>(state.range(0));
    const std::string text = make_zmatrix(atoms);
    for (auto _ : state) {
        auto job = vesk::input::mopac::read_job(std::string_view(text));
        auto geometry = job.geometry();
        benchmark::DoNotOptimize(geometry);
    }
    report(state, text, atoms);
}

// One keyword edit of JobEditor on the Cartesian input: the splice and the
// reading of the result that proves it, on one editor that keeps its text
// from edit to edit. Charges alternate between 2 and 0 so that every edit
// changes the text and keeps the electrons' parity: the head's SINGLET stays
// right and the proof finds no new error.
void BM_job_editor_set_charge(benchmark::State& state) {
    const auto atoms = static_cast<std::size_t>(state.range(0));
    const std::string& text = make_input(atoms);
    vesk::input::mopac::JobEditor editor{std::string(text)};
    int round = 0;
    for (auto _ : state) {
        editor.set_charge(++round % 2 == 0 ? 0 : 2);
        benchmark::DoNotOptimize(editor.text().data());
    }
    report(state, text, atoms);
}

// The positions of an all-Cartesian job once it is read: kept by the
// reading, so asking costs far less than reading (the limit is 0.2 of BM_read_job).
void BM_positions_cartesian(benchmark::State& state) {
    const auto atoms = static_cast<std::size_t>(state.range(0));
    const std::string& text = make_input(atoms);
    const vesk::input::mopac::MopacJob job = vesk::input::mopac::read_job(std::string_view(text));
    for (auto _ : state) {
        auto geometry = job.geometry();
        benchmark::DoNotOptimize(geometry);
    }
    report(state, text, atoms);
}

// What `mopac-input xyz` does once the job is read: the atoms visited as
// MOPAC places them and written as an XYZ frame, the text handed on (here:
// dropped) every MiB as the tool hands it to standard output.
void BM_xyz_output(benchmark::State& state) {
    const auto atoms = static_cast<std::size_t>(state.range(0));
    const std::string& text = make_input(atoms);
    const vesk::input::mopac::MopacJob job = vesk::input::mopac::read_job(std::string_view(text));
    vesk::tools::XyzFile frame;
    frame.comment = job.jobs()[0].title.text;
    std::string out;
    for (auto _ : state) {
        out.clear();
        vesk::tools::append_xyz_head(out, job.jobs()[0].counts.atoms, frame);
        job.for_each_atom(0, [&out](int number, const std::array<double, 3>& at) {
            vesk::tools::append_xyz_atom(out, vesk::input::mopac::element_symbol(number), at[0], at[1], at[2]);
            if (out.size() >= (std::size_t{1} << 20)) out.clear();
        });
        benchmark::DoNotOptimize(out.data());
    }
    report(state, text, atoms);
}

// The chain of edits a batch makes, proof included: method, charge and spin
// of the Cartesian input, then the proven text. Compare with BM_read_job of
// the same size: the limit is 1.3 times one reading.
void BM_job_editor_chain(benchmark::State& state) {
    const auto atoms = static_cast<std::size_t>(state.range(0));
    const std::string& text = make_input(atoms);
    const vesk::input::mopac::MopacJob job = vesk::input::mopac::read_job(std::string_view(text));
    // The electrons' parity (these elements' valence electrons have the
    // parity of their atomic numbers), so that every edit is one MOPAC runs
    // and the proof checks for new errors in full.
    std::size_t odd = 0;
    const auto& counts = job.jobs()[0].counts.by_atomic_number;
    for (std::size_t z = 1; z < counts.size(); ++z) odd += (z % 2) * counts[z];
    int round = 0;
    for (auto _ : state) {
        state.PauseTiming();  // the caller hands its reading over; copying it is no part of the edit
        vesk::input::mopac::JobEditor editor(job);
        state.ResumeTiming();
        const int charge = ++round % 2;
        editor.set_method(charge == 0 ? "PM6" : "PM7");
        editor.set_charge(charge);
        editor.set_multiplicity((odd + static_cast<std::size_t>(charge)) % 2 == 0 ? 1 : 2);
        benchmark::DoNotOptimize(editor.text().data());
    }
    report(state, text, atoms);
}

}  // namespace

BENCHMARK(BM_positions_cartesian)->Arg(100000)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_xyz_output)->Arg(100000)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_job_editor_chain)->Arg(100000)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_read_job)->Arg(1000)->Arg(100000)->Arg(1000000)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_read_job_zmatrix_geometry)->Arg(100000)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_job_editor_set_charge)->Arg(100000)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_parse_string)->Arg(1000)->Arg(100000)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_baseline_split_from_chars)->Arg(1000)->Arg(100000)->Arg(1000000)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_reference_istringstream_stod)->Arg(1000)->Arg(100000)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_to_string)->Arg(1000)->Arg(100000)->Unit(benchmark::kMicrosecond);

namespace {

// The ratios the suite is held to, each of two benchmarks of this run.
// A row whose benchmarks did not run (--benchmark_filter) is not printed.
struct Ratio {
    const char* numerator;    // benchmark name with its argument, as in the table
    const char* denominator;
    double limit;             // the numerator's time at most this many times the denominator's
    bool per_line;            // compare times per line: each time over its argument (the atom lines)
};

// ---- Ratio rows: one line per ratio ----
constexpr Ratio ratios[] = {
    {"BM_parse_string/100000", "BM_baseline_split_from_chars/100000", 1.25, false},
    {"BM_read_job/100000", "BM_baseline_split_from_chars/100000", 1.5, false},
    {"BM_positions_cartesian/100000", "BM_read_job/100000", 0.2, false},
    {"BM_job_editor_chain/100000", "BM_read_job/100000", 1.3, false},
    // Linear reading. From 10^5 to 10^6 atoms the text (46 MB) and what the
    // reading keeps of it (its copy of the text, the line table, the
    // positions: about 80 bytes a line) outgrow the caches, and the copy and
    // the positions land on pages never touched before, which the kernel
    // clears first; the baseline keeps nothing. Beyond that step, ten times
    // the lines take at most 1.25 times the time per line (10^7: --large).
    {"BM_read_job/1000000", "BM_read_job/100000", 1.5, true},
    {"BM_baseline_split_from_chars/1000000", "BM_baseline_split_from_chars/100000", 1.25, true},
    {"BM_read_job/10000000", "BM_read_job/1000000", 1.25, true},
    {"BM_baseline_split_from_chars/10000000", "BM_baseline_split_from_chars/1000000", 1.25, true},
    // Writing the atoms of a read job as XYZ, each number as the shortest
    // decimal that reads back the same, costs about what reading them does.
    {"BM_xyz_output/100000", "BM_read_job/100000", 1.25, false},
};
// ---- end of ratio rows ----

// Failed or skipped runs carry no time; the member that says so was renamed
// in Google Benchmark 1.8.
template <class Run>
auto failed(const Run& run, int) -> decltype(static_cast<bool>(run.error_occurred)) {
    return run.error_occurred;
}
template <class Run>
auto failed(const Run& run, long) -> decltype(static_cast<bool>(run.skipped)) {
    return static_cast<bool>(run.skipped);
}

// The console table as usual, and the real time of each benchmark kept for
// the ratios: the median of the repetitions when --benchmark_repetitions
// gives several, else the one run's.
class RatioReporter : public benchmark::ConsoleReporter {
public:
    using ConsoleReporter::ConsoleReporter;

    void ReportRuns(const std::vector<Run>& runs) override {
        ConsoleReporter::ReportRuns(runs);
        for (const Run& run : runs) {
            if (failed(run, 0)) continue;
            const std::string name = run.run_name.function_name + "/" + run.run_name.args;
            const double seconds = run.GetAdjustedRealTime() / benchmark::GetTimeUnitMultiplier(run.time_unit);
            if (run.run_type == Run::RT_Aggregate) {
                if (run.aggregate_name == "median") medians_[name] = seconds;
            } else {
                repetitions_[name].push_back(seconds);
            }
        }
    }

    // The time of `name` in seconds, or a negative number when it did not run.
    double seconds(const std::string& name) const {
        if (auto m = medians_.find(name); m != medians_.end()) return m->second;
        auto r = repetitions_.find(name);
        if (r == repetitions_.end() || r->second.empty()) return -1.0;
        std::vector<double> times = r->second;
        std::sort(times.begin(), times.end());
        const std::size_t n = times.size();
        return n % 2 == 1 ? times[n / 2] : (times[n / 2 - 1] + times[n / 2]) / 2.0;
    }

    void print_ratios(std::ostream& out) const {
        bool first = true;
        for (const Ratio& ratio : ratios) {
            double top = seconds(ratio.numerator);
            double bottom = seconds(ratio.denominator);
            if (top < 0.0 || bottom <= 0.0) continue;
            if (ratio.per_line) {
                top /= lines(ratio.numerator);
                bottom /= lines(ratio.denominator);
            }
            if (first) out << "\nRatios of this run's real times:\n";
            first = false;
            const double value = top / bottom;
            char line[320];
            std::snprintf(line, sizeof line, "%s = %.2fx %s%s (limit %.2fx): %s\n", short_name(ratio.numerator),
                          value, short_name(ratio.denominator), ratio.per_line ? " per line" : "", ratio.limit,
                          value <= ratio.limit ? "within" : "OVER");
            out << line;
        }
    }

private:
    static const char* short_name(const char* name) {
        return std::strncmp(name, "BM_", 3) == 0 ? name + 3 : name;
    }
    // The argument after the last '/': the atom lines of the input.
    static double lines(const char* name) { return std::strtod(std::strrchr(name, '/') + 1, nullptr); }

    std::map<std::string, double> medians_;
    std::map<std::string, std::vector<double>> repetitions_;
};

// The value of `--flag=value` on the command line, or "" when not given.
std::string flag_value(int argc, char** argv, const std::string& flag) {
    std::string value;
    const std::string prefix = "--" + flag + "=";
    for (int i = 1; i < argc; ++i)
        if (std::strncmp(argv[i], prefix.c_str(), prefix.size()) == 0) value = argv[i] + prefix.size();
    return value;
}

bool is_false(const std::string& value) {
    return value == "false" || value == "no" || value == "0" || value == "off";
}

// Whether `--flag` stands on the command line; it is taken out of argv, as
// Google Benchmark takes out its own flags.
bool take_flag(int& argc, char** argv, const char* flag) {
    bool found = false;
    int kept = 1;
    for (int i = 1; i < argc; ++i) {
        if (std::strcmp(argv[i], flag) == 0) {
            found = true;
        } else {
            argv[kept++] = argv[i];
        }
    }
    argc = kept;
    return found;
}

}  // namespace

int main(int argc, char** argv) {
    // --large adds the reading of 10^7 atoms (a text of 460 MB, about 2 GB
    // of memory while it runs, a minute or so) and the baseline's.
    if (take_flag(argc, argv, "--large")) {
        benchmark::RegisterBenchmark("BM_read_job", BM_read_job)->Arg(10000000)->Unit(benchmark::kMillisecond);
        benchmark::RegisterBenchmark("BM_baseline_split_from_chars", BM_baseline_split_from_chars)
            ->Arg(10000000)
            ->Unit(benchmark::kMillisecond);
    }
    // Read before Initialize takes the flags out of argv. The ratios go with
    // the console table only; --benchmark_format=json or csv gets the
    // library's own reporter and no ratios.
    const std::string format = flag_value(argc, argv, "benchmark_format");
    const std::string color = flag_value(argc, argv, "benchmark_color");
    const std::string tabular = flag_value(argc, argv, "benchmark_counters_tabular");
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    if (!format.empty() && format != "console") {
        benchmark::RunSpecifiedBenchmarks();
        benchmark::Shutdown();
        return 0;
    }
    // The console options as the library sets them: colour on a terminal
    // unless turned off, counters in columns when asked.
    int options = benchmark::ConsoleReporter::OO_None;
    const bool want_color = color.empty() || color == "auto" ? isatty(STDOUT_FILENO) != 0 : !is_false(color);
    if (want_color) options |= benchmark::ConsoleReporter::OO_Color;
    if (!tabular.empty() && !is_false(tabular)) options |= benchmark::ConsoleReporter::OO_Tabular;
    RatioReporter reporter(static_cast<benchmark::ConsoleReporter::OutputOptions>(options));
    benchmark::RunSpecifiedBenchmarks(&reporter);
    reporter.print_ratios(std::cout);
    benchmark::Shutdown();
    return 0;
}
