// mopac-input new: an input from an XYZ geometry, through the edits of `edit`.
#include <CLI/CLI.hpp>

#include <exception>
#include <memory>
#include <string>

#include "commands.hpp"
#include "edits.hpp"
#include "files.hpp"
#include "xyz.hpp"

namespace vesk::tools {
namespace {

struct NewOptions {
    std::string xyz_file;
    EditRequest request;
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
    // An empty keyword line, the XYZ comment as the title, an empty comment:
    // from here on a new input is edited like any other.
    input::mopac::MopacInput document;
    document.keyword_lines = {""};
    document.title = std::move(xyz.comment);
    input::mopac::InputEditor start(std::move(document));
    start.set_geometry(xyz.geometry, !options.fixed);
    return edit_and_write(options.xyz_file, start.input(), options.request, options.output);
}

}  // namespace
}  // namespace vesk::tools
