// mopac-input xyz: the atoms of an input, placed as MOPAC places them, as an
// XYZ file; Z-matrices included.
#include <CLI/CLI.hpp>

#include <algorithm>
#include <array>
#include <functional>
#include <vector>
#include <charconv>
#include <memory>
#include <system_error>
#include <string>

#include <vesk/input/mopac/catalogue.hpp>
#include <vesk/input/mopac/document.hpp>
#include <vesk/input/mopac/job.hpp>

#include "commands.hpp"
#include "files.hpp"
#include "xyz.hpp"

namespace vesk::tools {
namespace {

using input::mopac::GeometrySource;

struct XyzOptions {
    std::string file;
    std::string output;  // empty: standard output
    std::size_t job = 1;  // 1-based, as the tool's messages number jobs
    bool all = false;
};

int run_xyz(const XyzOptions& options);

}  // namespace

void add_xyz_command(CLI::App& app, int& status) {
    auto options = std::make_shared<XyzOptions>();
    CLI::App* xyz = app.add_subcommand(
        "xyz", "Write the atoms of an input as MOPAC places them (Z-matrices converted) as an XYZ file");
    xyz->add_option("FILE", options->file, "Input file ('-' for standard input)")->required();
    xyz->add_option("-o,--output", options->output, "Write the XYZ file here instead of standard output");
    auto* job = xyz->add_option("--job", options->job, "Write job N (1 is the first; the default)")
                    ->check(CLI::Range(std::size_t{1}, std::size_t{1} << 40));
    xyz->add_flag("--all", options->all, "Write every job, one frame each")->excludes(job);
    xyz->callback([options, &status] { status = run_xyz(*options); });
}

namespace {

// One frame of extended XYZ for a job: its atoms as MOPAC places them, Tv
// as the lattice, charge and multiplicity as its keywords state them. A job
// whose atoms MOPAC takes from elsewhere or cannot place is an error, never
// an empty frame. Sparkles, capped bonds and Mithril have no element symbol
// other readers know: they are left out, with a note.
struct Frame {
    std::size_t job = 0;
    std::size_t atoms = 0;  // written: the count that heads the frame
    XyzFile head;           // comment, lattice, charge, multiplicity; no atoms
};

bool unknown_symbol(int atomic_number) {
    const std::string_view symbol = input::mopac::element_symbol(atomic_number);
    return symbol.empty() || symbol[0] == '+' || symbol[0] == '-' || symbol == "Cb" || symbol == "Mi";
}
bool written_atom(int atomic_number) {
    return atomic_number >= 1 && atomic_number <= 106 && atomic_number != 99 && !unknown_symbol(atomic_number);
}

// The head of the frame of job k, its atoms counted: a first visit of the
// atoms, which writes nothing, so that a job MOPAC cannot place is found
// before any output.
bool plan_frame(const SourceFile& file, const input::mopac::MopacJob& job, std::size_t k, Frame& frame) {
    const input::mopac::Job& current = job.jobs()[k];
    const std::string where = "job " + std::to_string(k + 1) + ": ";
    switch (current.source) {
        case GeometrySource::geo_dat:
            report(file.path, where + "MOPAC takes the atoms from the file named by GEO_DAT=" + current.source_name);
            return false;
        case GeometrySource::previous_job:
            report(file.path, where + "MOPAC takes the atoms from the job before (OLDGEO)");
            return false;
        case GeometrySource::data_pointer:
            report(file.path, "MOPAC reads the whole data set from the file named by DATA=" + current.source_name);
            return false;
        default:
            break;
    }
    frame.job = k;
    std::size_t left_out = 0;
    const bool placed = job.for_each_atom(k, [&](int atomic_number, const std::array<double, 3>& position) {
        if (atomic_number == 107) {
            frame.head.lattice.push_back(position);
        } else if (written_atom(atomic_number)) {
            ++frame.atoms;
        } else if (atomic_number >= 1 && atomic_number <= 106 && atomic_number != 99) {
            ++left_out;
        }
    });
    if (!placed || frame.atoms + left_out == 0) {
        std::string why = where + "MOPAC cannot place the atoms";
        for (const auto& d : job.diagnostics()) {
            if (d.severity == input::mopac::Severity::error) {
                why += ": line " + std::to_string(d.line) + ": " + d.message;
                break;
            }
        }
        report(file.path, why);
        return false;
    }
    if (left_out > 0) {
        report(file.path, where + std::to_string(left_out) + " sparkle(s) or capped bond(s) left out: XYZ has no symbol for them");
    }
    frame.head.comment = current.title.text;
    if (const auto charge = current.keyword_value("CHARGE")) {
        int value = 0;
        const auto [end, error] = std::from_chars(charge->data(), charge->data() + charge->size(), value);
        if (error == std::errc() && end == charge->data() + charge->size()) frame.head.charge = value;
    } else {
        frame.head.charge = 0;
    }
    for (const auto& keyword : current.keywords) {
        const unsigned int named = input::mopac::spin_state_multiplicity(input::mopac::normalize_keyword_name(keyword.text));
        if (named != 0) frame.head.multiplicity = named;
    }
    return true;
}

// The frames as text, handed on a MiB at a time: the atoms are visited again
// and written as they come, never held.
bool write_frames(const input::mopac::MopacJob& job, const std::vector<Frame>& frames, const core::fs::OutputSink& sink) {
    constexpr std::size_t piece_size = std::size_t{1} << 20;
    std::string out;
    bool going = true;
    for (const Frame& frame : frames) {
        append_xyz_head(out, frame.atoms, frame.head);
        job.for_each_atom(frame.job, [&](int atomic_number, const std::array<double, 3>& position) {
            if (!going || !written_atom(atomic_number)) return;
            append_xyz_atom(out, input::mopac::element_symbol(atomic_number), position[0], position[1], position[2]);
            if (out.size() >= piece_size) {
                going = sink(out);
                out.clear();
            }
        });
    }
    return going && (out.empty() || sink(out));
}

int run_xyz(const XyzOptions& options) {
    return for_each_file({options.file}, [&options](SourceFile& file) {
        const input::mopac::MopacJob job = read_as_mopac(file);
        if (job.jobs().empty()) {
            report(file.path, "no job: the file holds no keyword line");
            return 1;
        }
        if (options.job > job.jobs().size()) {
            report(file.path, "no job " + std::to_string(options.job) + ": the file holds " +
                                  std::to_string(job.jobs().size()) + " (jobs are numbered from 1)");
            return 1;
        }
        std::vector<Frame> frames;
        bool complete = true;
        for (std::size_t k = 0; k < job.jobs().size(); ++k) {
            if (!options.all && k + 1 != options.job) continue;
            Frame frame;
            if (plan_frame(file, job, k, frame)) {
                frames.push_back(std::move(frame));
            } else {
                complete = false;
            }
        }
        if (!complete && !options.all) return 1;
        const bool written = write_result_stream(
            options.output, [&](const core::fs::OutputSink& sink) { return write_frames(job, frames, sink); });
        return written && complete ? 0 : 1;
    });
}

}  // namespace
}  // namespace vesk::tools
