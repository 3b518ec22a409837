// mopac-input edit: change keywords, title and description of existing
// inputs where MOPAC reads them, every other byte kept.
#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <optional>
#include <memory>
#include <string>
#include <vector>


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
    bool rewrite = false;
    bool json = false;
    std::optional<unsigned long long> width;
};

int run_edit(const EditOptions& options);

}  // namespace

void add_edit_command(CLI::App& app, int& status) {
    auto options = std::make_shared<EditOptions>();
    CLI::App* edit = app.add_subcommand(
        "edit",
        "Edit files where MOPAC reads them, every other byte kept: --method, --charge, --multiplicity, "
        "--aux/--no-aux, --remove, --set, --add, --title, --comment, applied in this order");
    edit->add_option("FILE", options->files, "Input files ('-' for standard input)")->required();
    add_edit_options(*edit, options->request);
    auto* output = edit->add_option("-o,--output", options->output, "Write the result here (one input file)");
    edit->add_flag("--in-place", options->in_place,
                   "Write each result back to its file, holding a lock (flock) on it from reading to replacing. "
                   "The file is replaced by a new one with its owner, group and mode (refused if it changed "
                   "meanwhile or its owner cannot be kept; left alone if the text is the same): a hard link is "
                   "broken (the path gets a new inode; other names of the file keep the old text); a symbolic "
                   "link stays as it is and the file it names is replaced")
        ->excludes(output);
    edit->add_flag("--force", options->request.allow_new_errors,
                   "Write a result even when the edit gives it an error MOPAC stops on");
    edit->add_flag("--rewrite", options->rewrite,
                   "Lay the keyword lines out anew (at --width, 78 by default) in the head's own continuation "
                   "style; every other line stays as it is");
    add_width_option(*edit, options->width);
    edit->add_flag("--json", options->json,
                   "Report each file as one JSON object a line (file, status: edited, unchanged, refused or "
                   "failed, message); needs --in-place or -o");
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
    if (options.width && !options.rewrite) {
        report("edit", "--width needs --rewrite: in-place edits keep every line's layout");
        return 2;
    }
    if (options.json && !options.in_place && options.output.empty()) {
        report("edit", "--json needs --in-place or -o: standard output is for the edited text otherwise");
        return 2;
    }
    EditRequest request = options.request;
    if (options.rewrite) request.layout_width = options.width.value_or(78);
    set_summary_outcomes({"edited", "unchanged", "refused", "failed"});
    return for_each_file(options.files, [&options, &request](SourceFile& file) {
        const std::string& output = options.in_place ? file.path : options.output;
        const std::string path = file.path;
        input::mopac::JobEditor editor(read_as_mopac(file));
        const EditOutcome outcome = edit_and_write(path, editor, request, output);
        if (options.json) {
            write_result("", json_line({{"schema", json_schema_version},
                                        {"command", "edit"},
                                        {"file", path},
                                        {"status", outcome.status},
                                        {"message", outcome.message}}));
        }
        return outcome.exit_status;
    }, ReadRules{options.in_place, true});
}

}  // namespace
}  // namespace vesk::tools
