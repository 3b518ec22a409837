// One order of edits and one way to write an edited file, for `edit` and `new`.
#include "edits.hpp"

#include <exception>
#include <string_view>
#include <utility>

#include "files.hpp"

namespace vesk::tools {

using input::mopac::InputEditor;

void apply_edits(InputEditor& editor, const EditRequest& request) {
    const auto width = request.width;
    if (request.method) editor.set_method(*request.method, width);
    if (request.charge) editor.set_charge(*request.charge, width);
    if (request.multiplicity) editor.set_multiplicity(*request.multiplicity, width);
    if (request.aux_precision) editor.set_auxiliary_output(*request.aux_precision, request.aux_xp, width);
    if (request.no_aux) editor.clear_auxiliary_output(width);
    for (const auto& name : request.remove) editor.remove_keyword(name, width);
    for (const auto& assignment : request.set) {
        const std::size_t equals = assignment.find('=');
        if (equals == std::string::npos) {
            editor.set_keyword(assignment, std::nullopt, width);
        } else {
            editor.set_keyword(std::string_view(assignment).substr(0, equals),
                               std::string_view(assignment).substr(equals + 1), width);
        }
    }
    for (const auto& token : request.add) editor.add_keyword(token, width);
    if (request.title) editor.set_title(*request.title);
    if (request.comment) editor.set_comment(*request.comment);
}

int edit_and_write(const std::string& source, input::mopac::MopacInput document, const EditRequest& request,
                   const std::string& output) {
    std::string text;
    try {
        InputEditor editor(std::move(document));
        apply_edits(editor, request);
        text = editor.to_string();
    } catch (const std::exception& error) {  // an argument the library refuses
        report(source, error.what());
        return 1;
    }
    return write_result(output, text) ? 0 : 1;
}

}  // namespace vesk::tools
