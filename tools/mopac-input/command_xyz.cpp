// mopac-input xyz: the atoms of an input, placed as MOPAC places them, as an
// XYZ file; Z-matrices included.
#include <CLI/CLI.hpp>

#include <memory>
#include <string>

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
};

int run_xyz(const XyzOptions& options);

}  // namespace

void add_xyz_command(CLI::App& app, int& status) {
    auto options = std::make_shared<XyzOptions>();
    CLI::App* xyz = app.add_subcommand(
        "xyz", "Write the atoms of an input as MOPAC places them (Z-matrices converted) as an XYZ file");
    xyz->add_option("FILE", options->file, "Input file ('-' for standard input)")->required();
    xyz->add_option("-o,--output", options->output, "Write the XYZ file here instead of standard output");
    xyz->callback([options, &status] { status = run_xyz(*options); });
}

namespace {

// The atoms of the first job; a job whose atoms MOPAC takes from elsewhere or
// cannot place is an error, never an empty XYZ file.
int run_xyz(const XyzOptions& options) {
    return for_each_file({options.file}, [&options](SourceFile& file) {
        const input::mopac::MopacJob job = read_as_mopac(file);
        if (job.jobs().empty()) {
            report(file.path, "no job: the file holds no keyword line");
            return 1;
        }
        const input::mopac::Job& first = job.jobs()[0];
        switch (first.source) {
            case GeometrySource::geo_dat:
                report(file.path, "MOPAC takes the atoms from the file named by GEO_DAT=" + first.source_name);
                return 1;
            case GeometrySource::previous_job:
                report(file.path, "MOPAC takes the atoms from the job before (OLDGEO)");
                return 1;
            case GeometrySource::data_pointer:
                report(file.path, "MOPAC reads the whole data set from the file named by DATA=" + first.source_name);
                return 1;
            default:
                break;
        }
        const vesk::core::Geometry geometry = job.geometry(0);
        if (geometry.atoms.empty()) {
            std::string why = "MOPAC cannot place the atoms";
            for (const auto& d : job.diagnostics()) {
                if (d.severity == input::mopac::Severity::error) {
                    why += ": line " + std::to_string(d.line) + ": " + d.message;
                    break;
                }
            }
            report(file.path, why);
            return 1;
        }
        return write_result(options.output, format_xyz(geometry, first.title.text)) ? 0 : 1;
    });
}

}  // namespace
}  // namespace vesk::tools
