// What several subcommands share on the command line: the edit options of
// `edit` and `new` (one definition of each) and the JSON output line.
#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include "commands.hpp"
#include "edits.hpp"

namespace vesk::tools {

void add_edit_options(CLI::App& command, EditRequest& request) {
    command.add_option("--method", request.method, "Replace every method keyword, new method first (e.g. PM7)");
    command.add_option("--charge", request.charge, "Write CHARGE=Q in place of every CHARGE keyword");
    command.add_option("--multiplicity", request.multiplicity,
                       "Replace the spin keywords by UHF (unless 1) and MS=(N-1)/2");
    auto* aux = command.add_option("--aux", request.aux_precision, "Write AUX(PRECISION=P) (P from 0 to 18)");
    command.add_flag("--aux-xp", request.aux_xp, "With --aux: add XP,XS,XW")->needs(aux);
    command.add_flag("--no-aux", request.no_aux, "Remove every AUX keyword")->excludes(aux);
    command.add_option("--remove", request.remove, "Remove every keyword of this name (repeatable)");
    command.add_option("--set", request.set, "Set NAME or NAME=VALUE, replacing that keyword (repeatable)");
    command.add_option("--add,--keyword", request.add, "Append a keyword token (repeatable)");
    command.add_option("--title", request.title, "Replace the title line");
    command.add_option("--comment", request.comment, "Replace the comment line");
    command.add_option("--width", request.width, "Keyword line width in bytes (default 78)");
}

std::string json_line(const nlohmann::json& value) {
    return value.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace) + '\n';
}

}  // namespace vesk::tools
