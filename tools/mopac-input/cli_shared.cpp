// What several subcommands share on the command line: the edit options of
// `edit` and `new` (one definition of each) and the JSON output line.
#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include <climits>
#include <functional>
#include <string>

#include <vesk/input/mopac/catalogue.hpp>
#include <vesk/input/mopac/document.hpp>

#include "commands.hpp"
#include "edits.hpp"
#include "files.hpp"
#include "files.hpp"
#include "text.hpp"

namespace vesk::tools {
namespace {

CLI::Option* add_whole_number(CLI::App& command, const std::string& name, long long min, long long max,
                              std::function<void(long long)> store, const std::string& description);
CLI::Validator refusing(std::string (*problem)(std::string_view));

}  // namespace

void add_edit_options(CLI::App& command, EditRequest& request) {
    // What cannot be written safely is a usage error before any file is read.
    const CLI::Validator one_token = refusing(input::mopac::keyword_word_problem);
    const CLI::Validator one_line = refusing(input::mopac::head_line_problem);
    command.add_option("--method", request.method, "Replace every method keyword, new method first (e.g. PM7)")
        ->check(one_token)
        ->check(CLI::Validator(
            [](std::string& value) -> std::string {
                std::string name = input::mopac::normalize_keyword_name(value);
                if (!input::mopac::mopac_method_runs(name).empty()) return {};
                std::vector<std::string> methods;
                for (const input::mopac::KeywordInfo& info : input::mopac::keyword_catalogue()) {
                    if (info.method) methods.emplace_back(info.name);
                }
                const std::string near = nearest_word(name, methods);
                return escape_for_terminal(value) + " is not a method MOPAC runs" +
                       (near.empty() ? std::string(" (MOPAC runs PM7, PM6, AM1, RM1, ...)") : "; did you mean " + near + "?");
            },
            ""));
    add_whole_number(command, "--charge", INT_MIN, INT_MAX,
                     [&request](long long q) { request.charge = static_cast<int>(q); },
                     "Write CHARGE=Q in place of every CHARGE keyword");
    add_whole_number(command, "--multiplicity", 1, UINT_MAX,
                     [&request](long long n) { request.multiplicity = static_cast<unsigned int>(n); },
                     "Replace the spin keywords by one (the state's name where the file named it, "
                     "else MS=(N-1)/2), with UHF above 1");
    auto* aux = add_whole_number(command, "--aux", 0, 18,
                                 [&request](long long p) { request.aux_precision = static_cast<int>(p); },
                                 "Write AUX(PRECISION=P) (P from 0 to 18)");
    command.add_flag("--aux-xp", request.aux_xp, "With --aux: add XP,XS,XW")->needs(aux);
    command.add_flag("--no-aux", request.no_aux, "Remove every AUX keyword")->excludes(aux);
    command.add_option("--remove", request.remove, "Remove every keyword of this name (repeatable)");
    command.add_option("--set", request.set, "Set NAME or NAME=VALUE, replacing that keyword (repeatable)")
        ->check(one_token);
    command.add_option("--add,--keyword", request.add, "Append a keyword token (repeatable)")->check(one_token);
    command.add_option("--title", request.title, "Replace the title line")->check(one_line);
    command.add_option("--comment", request.comment, "Replace the comment line")->check(one_line);
}

void add_width_option(CLI::App& command, std::optional<unsigned long long>& width) {
    add_whole_number(command, "--width", 0, LLONG_MAX,
                     [&width](long long w) { width = static_cast<unsigned long long>(w); },
                     "Keyword line width in bytes of the layout (default 78; 0 puts each keyword on a line of its "
                     "own, up to the lines MOPAC reads)");
}

void add_input_limit_option(CLI::App& command) {
    add_whole_number(command, "--max-size", 1, LLONG_MAX,
                     [](long long bytes) { set_input_limit(static_cast<std::size_t>(bytes)); },
                     "Refuse an input larger than this many bytes, before it fills memory (default " +
                         std::to_string(default_input_limit) + ", " + std::to_string(default_input_limit >> 20) +
                         " MiB)")
        ->type_name("BYTES");
}

void add_jobs_option(CLI::App& command) {
    add_whole_number(command, "-j,--jobs", 1, 256, [](long long n) { set_batch_jobs(static_cast<int>(n)); },
                     "Work on N files at once (output stays in the order of the files)");
}

void suggest_for_usage_error(const CLI::App& app, int argc, char** argv) {
    std::vector<std::string> commands;
    for (const CLI::App* command : app.get_subcommands({})) commands.push_back(command->get_name());
    const CLI::App* chosen = nullptr;
    for (int i = 1; i < argc; ++i) {
        const std::string word = argv[i];
        if (chosen == nullptr) {
            if (word.rfind("-", 0) == 0) continue;
            for (const CLI::App* command : app.get_subcommands({})) {
                if (command->get_name() == word) chosen = command;
            }
            if (chosen != nullptr) continue;
            const std::string near = nearest_word(word, commands);
            if (!near.empty()) report(word, "no such subcommand; did you mean \"" + near + "\"?");
            return;
        }
        if (word.rfind("--", 0) != 0) continue;
        const std::string name = word.substr(0, word.find('='));
        std::vector<std::string> options;
        bool known = false;
        for (const CLI::Option* option : chosen->get_options()) {
            for (const std::string& long_name : option->get_lnames()) {
                options.push_back("--" + long_name);
                known = known || "--" + long_name == name;
            }
        }
        if (known) continue;
        const std::string near = nearest_word(name, options);
        if (!near.empty()) report(name, "no such option of " + chosen->get_name() + "; did you mean " + near + "?");
        return;
    }
}

std::string json_line(const nlohmann::json& value) {
    return value.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace) + '\n';
}

namespace {

// CLI11 would read "0x10" as 16 and "-1" as the largest unsigned value; these
// options take plain decimal only, and anything else is a usage error.
CLI::Option* add_whole_number(CLI::App& command, const std::string& name, long long min, long long max,
                              std::function<void(long long)> store, const std::string& description) {
    auto check_and_store = [name, min, max, store](const std::string& text) {
        const std::optional<long long> value = parse_decimal(text, min, max);
        if (!value) {
            throw CLI::ValidationError(name, "expected a whole number from " + std::to_string(min) + " to " +
                                                 std::to_string(max) + ", found \"" +
                                                 escape_for_terminal(text) + "\"");
        }
        store(*value);
    };
    return command.add_option_function<std::string>(name, check_and_store, description)->type_name("INT");
}

// A check that refuses a value for which `problem` has something to say.
CLI::Validator refusing(std::string (*problem)(std::string_view)) {
    return CLI::Validator(
        [problem](std::string& value) {
            const std::string found = problem(value);
            return found.empty() ? found : "\"" + escape_for_terminal(value) + "\" " + found;
        },
        "");
}

}  // namespace

}  // namespace vesk::tools
