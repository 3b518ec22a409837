// The edits of `edit` and `new`: what may be asked, and the one order in
// which it is handed to the library's JobEditor, which proves the result.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include <vesk/input/mopac/job_editor.hpp>

namespace vesk::tools {

/// Keyword and head edits, applied in the order of the fields.
struct EditRequest {
    std::optional<std::string> method;
    std::optional<int> charge;
    std::optional<unsigned int> multiplicity;
    std::optional<int> aux_precision;
    bool aux_xp = false;
    bool no_aux = false;
    std::vector<std::string> remove;
    std::vector<std::string> set;  // NAME or NAME=VALUE
    std::vector<std::string> add;
    std::optional<std::string> title;
    std::optional<std::string> comment;              // the description line
    std::optional<unsigned long long> layout_width;  // lay the keyword lines out anew at this width
    bool allow_new_errors = false;                   // --force
};

/// Hands `request` to `editor`: method, charge, multiplicity, aux or no-aux,
/// remove, set, add, title, comment, then the layout. The editor proves the
/// result when its text is asked for.
void apply_edits(input::mopac::JobEditor& editor, const EditRequest& request);

/// What became of one edited file: "edited", "unchanged", "refused" or
/// "failed", with the reason of the last two, and the exit status.
struct EditOutcome {
    const char* status = "edited";
    std::string message;
    int exit_status = 0;
};

/// Edits `editor` as asked and writes the proven text to `output` (standard
/// output when empty); `source` names the input in messages. Nothing is
/// written when the result is refused. Counts the outcome for the summary.
EditOutcome edit_and_write(const std::string& source, input::mopac::JobEditor& editor, const EditRequest& request,
                           const std::string& output);

}  // namespace vesk::tools
