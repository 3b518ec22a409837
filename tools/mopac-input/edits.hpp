// The edits of `edit` and `new`: what was asked, the one order in which it is
// applied, and the one way an edited file is written.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include <vesk/input/mopac/document.hpp>
#include <vesk/input/mopac/editor.hpp>

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

/// Applies `request` to `editor`: method, charge, multiplicity, aux or no-aux,
/// remove, set, add, title, comment, keyword lines laid out at `request.width`.
void apply_edits(input::mopac::InputEditor& editor, const EditRequest& request);

/// Edits `document` and writes the result to `output` (standard output when
/// empty); `source` names the input in messages. Answers the exit status.
int edit_and_write(const std::string& source, input::mopac::MopacInput document, const EditRequest& request,
                   const std::string& output);

}  // namespace vesk::tools
