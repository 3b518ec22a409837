// The subcommands of mopac-input. Each file command_NAME.cpp holds one
// subcommand whole: its options and its body.
#pragma once

#include <optional>
#include <string>

#include <nlohmann/json_fwd.hpp>
#include <vesk/input/mopac/job.hpp>

namespace CLI {
class App;
}

namespace vesk::tools {

struct EditRequest;

/// Each adds its subcommand to `app`; when it runs, it stores the exit status
/// (0 success, 1 a file failed or something was found) in `status`.
void add_show_command(CLI::App& app, int& status);
void add_edit_command(CLI::App& app, int& status);
void add_new_command(CLI::App& app, int& status);
void add_xyz_command(CLI::App& app, int& status);
void add_check_command(CLI::App& app, int& status);

/// The keyword and head options that `edit` and `new` share, filling `request`.
void add_edit_options(CLI::App& command, EditRequest& request);

/// --width BYTES, the keyword line width of a layout anew.
void add_width_option(CLI::App& command, std::optional<unsigned long long>& width);

/// The version of the JSON objects the commands print ("schema" in each),
/// described by tools/mopac-input/mopac-input.schema.json.
inline constexpr const char* json_schema_version = "mopac-input/1";

/// --max-size BYTES, the largest input `command` reads (set_input_limit).
void add_input_limit_option(CLI::App& command);

/// -j,--jobs N: how many files a batch works on at once.
void add_jobs_option(CLI::App& command);

/// After a usage error: "did you mean" for a misspelt subcommand or option,
/// on standard error.
void suggest_for_usage_error(const CLI::App& app, int argc, char** argv);

/// One JSON object on one line; bytes that are not UTF-8 are replaced, not refused.
std::string json_line(const nlohmann::json& value);

/// A finding as editors and CI read it: "PATH:LINE:COLUMN: severity: message [code]",
/// with "(write SUGGESTION)" where there is one; one line.
std::string finding_line(const std::string& path, const input::mopac::Diagnostic& finding);

/// A finding as JSON: line, column, severity, code, message, suggestion (or null).
nlohmann::json finding_json(const input::mopac::Diagnostic& finding);

}  // namespace vesk::tools
