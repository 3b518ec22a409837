// mopac-input check: where MOPAC would read a file otherwise than the library.
#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include <memory>
#include <string>
#include <vector>

#include "check.hpp"
#include "commands.hpp"
#include "files.hpp"
#include "text.hpp"

namespace vesk::tools {
namespace {

using Json = nlohmann::json;

struct CheckOptions {
    std::vector<std::string> files;
    bool json = false;
};

int run_check(const CheckOptions& options);

}  // namespace

void add_check_command(CLI::App& app, int& status) {
    auto options = std::make_shared<CheckOptions>();
    CLI::App* check = app.add_subcommand(
        "check", "Report what MOPAC would read otherwise than this library (exit 1 when anything is found)");
    check->add_option("FILE", options->files, "Input files ('-' for standard input)")->required();
    check->add_flag("--json", options->json, "One JSON object per file, one per line");
    check->callback([options, &status] { status = run_check(*options); });
}

namespace {

int run_check(const CheckOptions& options) {
    return for_each_file(options.files, [&options](SourceFile& file) {
        const std::vector<Finding> findings = check_input(file.text, file.parsed);
        std::string out;
        if (options.json) {
            Json list = Json::array();
            for (const auto& f : findings) {
                list.push_back(
                    {{"line", f.line}, {"code", f.code}, {"message", f.message}, {"blocks_edit", f.blocks_edit}});
            }
            out = json_line({{"file", file.path},
                             {"ok", file.parsed.ok},
                             {"error", file.parsed.ok ? Json() : Json(file.parsed.error)},
                             {"findings", list}});
        } else {
            const std::string path = escape_for_terminal(file.path);
            if (findings.empty() && file.parsed.ok) out = path + ": no findings\n";
            for (const auto& f : findings) {
                out += path + ':' + std::to_string(f.line) + ": " + f.code + ": " + escape_for_terminal(f.message) +
                       '\n';
            }
        }
        const bool written = write_result("", out);
        return findings.empty() && written ? 0 : 1;
    });
}

}  // namespace
}  // namespace vesk::tools
