// mopac-input new: an input from an XYZ geometry, through the edits of `edit`.
#include <CLI/CLI.hpp>

#include <exception>
#include <memory>
#include <optional>
#include <string>

#include <vesk/input/mopac/document.hpp>

#include "commands.hpp"
#include "edits.hpp"
#include "files.hpp"
#include "xyz.hpp"

namespace vesk::tools {
namespace {

struct NewOptions {
    std::string xyz_file;
    EditRequest request;
    std::optional<unsigned long long> width;
    bool fixed = false;
    std::string output;  // empty: standard output
};

int run_new(const NewOptions& options);

}  // namespace

void add_new_command(CLI::App& app, int& status) {
    auto options = std::make_shared<NewOptions>();
    CLI::App* create = app.add_subcommand("new", "Create an input from an XYZ geometry; its comment is the title");
    create->add_option("--xyz", options->xyz_file, "XYZ file ('-' for standard input)")->required();
    add_edit_options(*create, options->request);
    add_width_option(*create, options->width);
    create->add_flag("--fixed", options->fixed, "Mark no atom for optimisation (flags 0)");
    create->add_option("-o,--output", options->output, "Write the input here instead of standard output");
    create->callback([options, &status] { status = run_new(*options); });
}

namespace {

int run_new(const NewOptions& options) {
    std::string text;
    if (!read_source(options.xyz_file, text)) return 1;
    XyzFile xyz;
    try {
        xyz = parse_xyz(text);
    } catch (const XyzError& error) {
        report(options.xyz_file, error.what());
        return 1;
    }
    // An empty keyword line, an empty title and description, the atoms:
    // from here on a new input is edited like any other, the XYZ comment
    // becoming its title, and its keyword lines laid out.
    std::string mopac = "\n\n\n";
    input::mopac::CoordinateRecord record;
    record.has_optimization_flags = true;
    record.optimize_x = record.optimize_y = record.optimize_z = options.fixed ? 0 : 1;
    for (const core::Atom& atom : xyz.geometry.atoms) {
        record.element = atom.element;
        record.x = atom.x;
        record.y = atom.y;
        record.z = atom.z;
        mopac += input::mopac::format_coordinate(record) + "\n";
    }
    // Extended XYZ: the periodic lattice vectors become Tv lines, the
    // charge and multiplicity keywords unless the options say otherwise.
    record.kind = input::mopac::CoordinateKind::TranslationVector;
    for (const auto& vector : xyz.lattice) {
        record.x = vector[0];
        record.y = vector[1];
        record.z = vector[2];
        mopac += input::mopac::format_coordinate(record) + "\n";
    }
    EditRequest request = options.request;
    if (!request.title) request.title = std::move(xyz.comment);
    if (!request.charge && xyz.charge && (*xyz.charge != 0 || !xyz.lattice.empty())) request.charge = xyz.charge;
    if (!request.multiplicity && xyz.multiplicity) request.multiplicity = xyz.multiplicity;
    request.layout_width = options.width.value_or(78);
    input::mopac::JobEditor editor(std::move(mopac));
    return edit_and_write(options.xyz_file, editor, request, options.output).exit_status;
}

}  // namespace
}  // namespace vesk::tools
