// mopac-input: inspect, check, edit and create MOPAC input files from the shell.
#include <CLI/CLI.hpp>

#include "commands.hpp"

#ifndef MOPAC_INPUT_VERSION
#define MOPAC_INPUT_VERSION "unknown"
#endif

namespace {

using vesk::tools::EditOptions;

// The keyword options that `edit` and `new` share.
void add_keyword_options(CLI::App& command, EditOptions& edits) {
    command.add_option("--method", edits.method, "Replace every method keyword, new method first (e.g. PM7)");
    command.add_option("--charge", edits.charge, "Write CHARGE=Q in place of every CHARGE keyword");
    command.add_option("--multiplicity", edits.multiplicity,
                       "Replace the spin keywords by UHF (unless 1) and MS=(N-1)/2");
    auto* aux = command.add_option("--aux", edits.aux_precision, "Write AUX(PRECISION=P) (P from 0 to 18)");
    command.add_flag("--aux-xp", edits.aux_xp, "With --aux: add XP,XS,XW")->needs(aux);
    command.add_option("--title", edits.title, "Replace the title line");
    command.add_option("--comment", edits.comment, "Replace the comment line");
    command.add_option("--width", edits.width, "Keyword line width in bytes (default 78)");
}

}  // namespace

int main(int argc, char** argv) {
    CLI::App app{"Inspect, check, edit and create MOPAC input files.\n"
                 "Files are read whole and written atomically; '-' reads standard input."};
    app.set_version_flag("--version", "mopac-input " MOPAC_INPUT_VERSION);
    app.require_subcommand(1);
    int status = 0;

    std::vector<std::string> show_files;
    bool show_json = false;
    auto* show = app.add_subcommand("show", "Show what the library reads from each file");
    show->add_option("FILE", show_files, "Input files ('-' for standard input)")->required();
    show->add_flag("--json", show_json, "One JSON object per file, one per line");
    show->callback([&] { status = vesk::tools::run_show(show_files, show_json); });

    std::vector<std::string> edit_files;
    EditOptions edit_options;
    vesk::tools::OutputOptions edit_output;
    auto* edit = app.add_subcommand(
        "edit",
        "Edit files: --method, --charge, --multiplicity, --aux/--no-aux, --remove, --set, --add, --title, "
        "--comment, applied in this order");
    edit->add_option("FILE", edit_files, "Input files ('-' for standard input)")->required();
    add_keyword_options(*edit, edit_options);
    edit->add_flag("--no-aux", edit_options.no_aux, "Remove every AUX keyword")->excludes("--aux");
    edit->add_option("--remove", edit_options.remove, "Remove every keyword of this name (repeatable)");
    edit->add_option("--set", edit_options.set, "Set NAME or NAME=VALUE, replacing that keyword (repeatable)");
    edit->add_option("--add", edit_options.add, "Append a keyword token (repeatable)");
    auto* out = edit->add_option("-o,--output", edit_output.output, "Write the result here (one input file)");
    edit->add_flag("--in-place", edit_output.in_place, "Write each result back to its file")->excludes(out);
    edit->add_flag("--force", edit_output.force, "Edit even files whose keyword line MOPAC would not read");
    edit->callback([&] { status = vesk::tools::run_edit(edit_files, edit_options, edit_output); });

    std::string xyz_in;
    EditOptions new_options;
    bool fixed = false;
    std::string new_output;
    auto* create = app.add_subcommand("new", "Create an input from an XYZ geometry; its comment is the title");
    create->add_option("--xyz", xyz_in, "XYZ file ('-' for standard input)")->required();
    add_keyword_options(*create, new_options);
    create->add_option("--keyword", new_options.add, "Add a keyword token (repeatable)");
    create->add_flag("--fixed", fixed, "Mark no atom for optimisation (flags 0)");
    create->add_option("-o,--output", new_output, "Write the input here instead of standard output");
    create->callback([&] { status = vesk::tools::run_new(xyz_in, new_options, fixed, new_output); });

    std::string xyz_file;
    std::string xyz_output;
    auto* xyz = app.add_subcommand("xyz", "Write the Cartesian atoms of an input as an XYZ file");
    xyz->add_option("FILE", xyz_file, "Input file ('-' for standard input)")->required();
    xyz->add_option("-o,--output", xyz_output, "Write the XYZ file here instead of standard output");
    xyz->callback([&] { status = vesk::tools::run_xyz(xyz_file, xyz_output); });

    std::vector<std::string> check_files;
    bool check_json = false;
    auto* check = app.add_subcommand(
        "check", "Report what MOPAC would read otherwise than this library (exit 1 when anything is found)");
    check->add_option("FILE", check_files, "Input files ('-' for standard input)")->required();
    check->add_flag("--json", check_json, "One JSON object per file, one per line");
    check->callback([&] { status = vesk::tools::run_check(check_files, check_json); });

    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        int code = app.exit(error);
        return code == 0 ? 0 : 2;
    }
    return status;
}
