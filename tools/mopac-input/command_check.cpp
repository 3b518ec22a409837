// mopac-input check: everything MOPAC would stop on or misread, before the
// job is queued, as "PATH:LINE:COLUMN: severity: message [code]" lines.
#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include <memory>
#include <string>
#include <vector>

#include <vesk/input/mopac/check.hpp>

#include "commands.hpp"
#include "files.hpp"

namespace vesk::tools {
namespace {

using input::mopac::Diagnostic;
using Json = nlohmann::json;

struct CheckOptions {
    std::vector<std::string> files;
    bool json = false;
    bool warnings_as_errors = false;
};

int run_check(const CheckOptions& options);

}  // namespace

void add_check_command(CLI::App& app, int& status) {
    auto options = std::make_shared<CheckOptions>();
    CLI::App* check = app.add_subcommand(
        "check", "Find what MOPAC would stop on (errors) or read otherwise than meant (warnings); exit 1 on an error");
    check->add_option("FILE", options->files, "Input files ('-' for standard input)")->required();
    check->add_flag("--json", options->json, "One JSON object per file, one per line");
    check->add_flag("--warnings-as-errors", options->warnings_as_errors, "Exit 1 on a warning too");
    check->callback([options, &status] { status = run_check(*options); });
}

namespace {

int run_check(const CheckOptions& options) {
    set_summary_outcomes({"ok", "with errors", "failed"});
    return for_each_file(options.files, [&options](SourceFile& file) {
        const std::vector<Diagnostic> findings = input::mopac::check_job(read_as_mopac(file), {file.path == "-" ? std::string() : file.path});
        bool failing = false;
        std::size_t errors = 0;
        std::string out;
        Json listed = Json::array();
        for (const Diagnostic& d : findings) {
            errors += d.severity == input::mopac::Severity::error;
            failing = failing || d.severity == input::mopac::Severity::error || options.warnings_as_errors;
            if (options.json) {
                listed.push_back(finding_json(d));
            } else {
                out += finding_line(file.path, d);
            }
        }
        if (options.json) {
            out = json_line({{"schema", json_schema_version},
                             {"command", "check"},
                             {"file", file.path},
                             {"ok", !failing},
                             {"counts", {{"errors", errors}, {"warnings", findings.size() - errors}}},
                             {"findings", listed}});
        }
        tally(errors == 0 ? "ok" : "with errors");
        const bool written = write_result("", out);
        return failing || !written ? 1 : 0;
    }, ReadRules{false, true});
}

}  // namespace
}  // namespace vesk::tools
