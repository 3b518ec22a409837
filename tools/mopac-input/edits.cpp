// One order of edits for `edit` and `new`, and one way to write the result:
// the library's JobEditor does the edits and proves them.
#include "edits.hpp"

#include <exception>
#include <string_view>

#include "files.hpp"

namespace vesk::tools {

void apply_edits(input::mopac::JobEditor& editor, const EditRequest& request) {
    if (request.method) editor.set_method(*request.method);
    if (request.charge) editor.set_charge(*request.charge);
    if (request.multiplicity) editor.set_multiplicity(*request.multiplicity);
    if (request.aux_precision) editor.set_auxiliary_output(*request.aux_precision, request.aux_xp);
    if (request.no_aux) editor.clear_auxiliary_output();
    for (const auto& name : request.remove) editor.remove_keyword(name);
    for (const auto& assignment : request.set) {
        const std::size_t equals = assignment.find('=');
        if (equals == std::string::npos) {
            editor.set_keyword(assignment, std::nullopt);
        } else {
            editor.set_keyword(std::string_view(assignment).substr(0, equals),
                               std::string_view(assignment).substr(equals + 1));
        }
    }
    for (const auto& token : request.add) editor.add_keyword(token);
    if (request.title) editor.set_title(*request.title);
    if (request.comment) editor.set_description(*request.comment);
    if (request.layout_width) editor.lay_out_keywords(*request.layout_width);
    editor.allow_new_errors(request.allow_new_errors);
}

EditOutcome edit_and_write(const std::string& source, input::mopac::JobEditor& editor, const EditRequest& request,
                           const std::string& output) {
    EditOutcome outcome;
    try {
        apply_edits(editor, request);
        editor.apply();
    } catch (const input::mopac::EditRefused& refused) {
        const std::string_view what = refused.what();
        const bool new_error = what.rfind("the edit gives an error", 0) == 0;
        outcome = {"refused", "not written: " + std::string(what) + (new_error ? " (use --force to write it anyway)" : ""), 1};
    } catch (const std::exception& error) {  // an argument the library refuses, memory
        outcome = {"refused", error.what(), 1};
    }
    if (outcome.exit_status == 0) {
        switch (write_edited(output, editor.text())) {
            case core::fs::WriteOutcome::written: break;
            case core::fs::WriteOutcome::unchanged: outcome.status = "unchanged"; break;
            case core::fs::WriteOutcome::failed: outcome = {"failed", "the result could not be written", 1}; break;
        }
    } else {
        report(source, outcome.message);
    }
    tally(outcome.status);
    return outcome;
}

}  // namespace vesk::tools
