// One order of edits and one way to check and write an edited file, for
// `edit` and `new`.
#include "edits.hpp"

#include <exception>
#include <utility>

#include <vesk/input/mopac/parser.hpp>

#include "files.hpp"

namespace vesk::tools {

using input::mopac::CoordinateRecord;
using input::mopac::InputEditor;
using input::mopac::MopacInput;

namespace {

std::vector<std::string> tokens_of(std::string line);
std::string read_back_difference(const MopacInput& edited, const std::string& text,
                                 const std::vector<std::string>& tokens);

}  // namespace

std::string keyword_token_problem(std::string_view token) {
    if (token.empty()) return "is empty";
    if (token.find_first_of("\r\n") != std::string_view::npos) return "holds a line break";
    if (token == "+") return "is the mark that continues the keyword line";
    // Ask the library's own tokeniser: alone, and with a token behind it.
    const std::string text(token);
    if (tokens_of(text) != std::vector<std::string>{text}) return "holds a blank (give one keyword per option)";
    if (tokens_of(text + " X") != std::vector<std::string>{text, "X"}) {
        return "leaves a quote or parenthesis open, which would take in the keywords behind it";
    }
    // MOPAC reads " +" anywhere in a keyword line, "++" and '&' as marks that
    // take the next line as more keywords, and skips a line that starts with '*'.
    if (token[0] == '+') return "starts with '+', which MOPAC reads as the mark that continues the keyword line";
    if (token.find("++") != std::string_view::npos) return "holds \"++\", which MOPAC reads as joining the next line";
    if (token.find('&') != std::string_view::npos) return "holds '&', which makes MOPAC read the next line as keywords";
    if (token[0] == '*') return "starts with '*': MOPAC skips a keyword line that starts so";
    return {};
}

std::string head_line_problem(std::string_view line) {
    if (line.find_first_of("\r\n") != std::string_view::npos) return "holds a line break";
    if (!line.empty() && line[0] == '*') return "starts with '*': MOPAC skips such a line as a comment";
    return {};
}

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

EditedText edit_document(MopacInput document, const EditRequest& request) {
    // The same edits at width 0 put each token on a line of its own: their
    // lines hold the tokens the edits made, before two tokens share a line,
    // where an open quote or parenthesis of one (from the file) takes in the next.
    EditRequest one_per_line = request;
    one_per_line.width = 0;
    InputEditor separate(document);
    apply_edits(separate, one_per_line);

    InputEditor editor(std::move(document));
    apply_edits(editor, request);
    EditedText result{editor.to_string(), {}};
    result.refusal = read_back_difference(editor.input(), result.text, separate.keywords());
    return result;
}

int edit_and_write(const std::string& source, MopacInput document, const EditRequest& request,
                   const std::string& output) {
    EditedText edited;
    try {
        edited = edit_document(std::move(document), request);
    } catch (const std::exception& error) {  // an argument the library refuses, memory
        report(source, error.what());
        return 1;
    }
    if (!edited.refusal.empty()) {
        report(source, "not written: the edited file would read back differently (" + edited.refusal + ")");
        return 1;
    }
    return write_result(output, edited.text) ? 0 : 1;
}

namespace {

std::vector<std::string> tokens_of(std::string line) {
    MopacInput probe;
    probe.keyword_lines.push_back(std::move(line));
    return probe.keyword_tokens();
}

bool same_records(const std::vector<CoordinateRecord>& a, const std::vector<CoordinateRecord>& b) {
    if (a.size() != b.size()) return false;
    for (std::size_t i = 0; i < a.size(); ++i) {
        // Compared as written: numbers go out as %.12g, so more digits than
        // that were never going to come back.
        if (a[i].kind != b[i].kind ||
            input::mopac::format_coordinate(a[i]) != input::mopac::format_coordinate(b[i])) {
            return false;
        }
    }
    return true;
}

// What of `edited` reads back otherwise from `text`, its rendering; empty
// when nothing does. Trailing lines are not compared: a text that ends in a
// blank line gains one each time it is read and written (a property of the
// format as the library reads it, and harmless).
std::string read_back_difference(const MopacInput& edited, const std::string& text,
                                 const std::vector<std::string>& tokens) {
    const input::mopac::ParseResult again = input::mopac::parse_string(text);
    if (!again.ok) return again.error;
    const MopacInput& read = again.input;
    if (read.keyword_lines != edited.keyword_lines) return "keyword lines";
    if (read.keyword_tokens() != tokens) return "keywords";
    if (read.title != edited.title) return "title";
    if (read.comment != edited.comment) return "comment";
    if (!same_records(read.coordinates, edited.coordinates)) return "atoms";
    return {};
}

}  // namespace
}  // namespace vesk::tools
