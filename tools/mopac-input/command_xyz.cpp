// mopac-input xyz: the Cartesian atoms of an input as an XYZ file.
#include <CLI/CLI.hpp>

#include <memory>
#include <string>

#include "commands.hpp"
#include "files.hpp"
#include "xyz.hpp"

namespace vesk::tools {
namespace {

struct XyzOptions {
    std::string file;
    std::string output;  // empty: standard output
};

}  // namespace

void add_xyz_command(CLI::App& app, int& status) {
    auto options = std::make_shared<XyzOptions>();
    CLI::App* xyz = app.add_subcommand("xyz", "Write the Cartesian atoms of an input as an XYZ file");
    xyz->add_option("FILE", options->file, "Input file ('-' for standard input)")->required();
    xyz->add_option("-o,--output", options->output, "Write the XYZ file here instead of standard output");
    xyz->callback([options, &status] {
        status = for_each_file({options->file}, [&options](SourceFile& file) {
            if (!file.parsed.ok) return 1;
            const auto& input = file.parsed.input;
            return write_result(options->output, format_xyz(input.cartesian_geometry(), input.title)) ? 0 : 1;
        });
    });
}

}  // namespace vesk::tools
