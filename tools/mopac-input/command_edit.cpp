// mopac-input edit: change keywords, title and comment of existing inputs.
#include <CLI/CLI.hpp>

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include "check.hpp"
#include "commands.hpp"
#include "edits.hpp"
#include "files.hpp"

namespace vesk::tools {
namespace {

struct EditOptions {
    std::vector<std::string> files;
    EditRequest request;
    std::string output;  // -o; empty: standard output
    bool in_place = false;
    bool force = false;
};

int run_edit(const EditOptions& options);

}  // namespace

void add_edit_command(CLI::App& app, int& status) {
    auto options = std::make_shared<EditOptions>();
    CLI::App* edit = app.add_subcommand(
        "edit",
        "Edit files: --method, --charge, --multiplicity, --aux/--no-aux, --remove, --set, --add, --title, "
        "--comment, applied in this order");
    edit->add_option("FILE", options->files, "Input files ('-' for standard input)")->required();
    add_edit_options(*edit, options->request);
    auto* output = edit->add_option("-o,--output", options->output, "Write the result here (one input file)");
    edit->add_flag("--in-place", options->in_place,
                   "Write each result back to its file, holding a lock (flock) on it from reading to replacing")
        ->excludes(output);
    edit->add_flag("--force", options->force, "Edit even files whose keyword line MOPAC would not read");
    edit->callback([options, &status] { status = run_edit(*options); });
}

namespace {

int run_edit(const EditOptions& options) {
    if (options.files.size() > 1 && !options.in_place) {
        report("edit", "several files need --in-place");
        return 2;
    }
    if (options.in_place && std::find(options.files.begin(), options.files.end(), "-") != options.files.end()) {
        report("edit", "--in-place cannot write to standard input");
        return 2;
    }
    return for_each_file(options.files, [&options](SourceFile& file) {
        if (!file.parsed.ok) return 1;  // reported already; the file stays as it is
        for (const Finding& finding : check_input(file.text, file.parsed)) {
            if (finding.blocks_edit && !options.force) {
                report(file.path, "not edited: " + finding.message + " (use --force to edit anyway)");
                return 1;
            }
        }
        return edit_and_write(file.path, std::move(file.parsed.input), options.request,
                              options.in_place ? file.path : options.output);
    }, options.in_place);
}

}  // namespace
}  // namespace vesk::tools
