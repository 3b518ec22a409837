// The edits of `edit` and `new`: what may be asked, the one order in which it
// is applied, and the one way an edited file is checked and written.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <vesk/input/mopac/document.hpp>
#include <vesk/input/mopac/editor.hpp>
#include <vesk/input/mopac/job.hpp>
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
    std::optional<std::string> comment;
    unsigned long long width = input::mopac::default_keyword_line_width;
};

/// Why `token` cannot be written as one keyword token that the library and
/// MOPAC read back alone ("holds a blank", ...); empty when it can.
std::string keyword_token_problem(std::string_view token);

/// Why `line` cannot be written as the title or comment line; empty when it can.
std::string head_line_problem(std::string_view line);

/// Applies `request` to `editor`: method, charge, multiplicity, aux or no-aux,
/// remove, set, add, title, comment, keyword lines laid out at `request.width`.
void apply_edits(input::mopac::InputEditor& editor, const EditRequest& request);

/// The text of an edited document, or why it is not to be written.
struct EditedText {
    std::string text;
    std::string refusal;  // empty, or what would read back otherwise: "keywords", "title", ...
};

/// Edits `document` and renders it. The text is parsed again and must give
/// the keyword lines, the keyword tokens the edits made, the title, the
/// comment and the coordinate records of the edited document.
EditedText edit_document(input::mopac::MopacInput document, const EditRequest& request);

/// Edits `document` and writes the result to `output` (standard output when
/// empty); `source` names the input in messages. Answers the exit status.
int edit_and_write(const std::string& source, input::mopac::MopacInput document, const EditRequest& request,
                   const std::string& output);

/// Applies `request` to `editor` in the same order; the comment is the
/// description line. The width has no use here: every line keeps its layout.
void apply_edits(input::mopac::JobEditor& editor, const EditRequest& request);

/// What of the edit of `before` into `after` is not as asked: atoms placed
/// elsewhere, a title or description changed that was not edited, keywords
/// other than asked for; empty when everything is.
std::string job_edit_difference(const input::mopac::MopacJob& before, const input::mopac::MopacJob& after,
                                const EditRequest& request);

/// Edits `job` where MOPAC reads it and writes the result to `output`
/// (standard output when empty). Nothing is written when the result is not
/// as asked, or, unless `force`, when it has an error that `job` had not.
int edit_job_and_write(const std::string& source, const input::mopac::MopacJob& job, const EditRequest& request,
                       const std::string& output, bool force);

}  // namespace vesk::tools
