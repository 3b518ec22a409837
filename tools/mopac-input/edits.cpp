// One order of edits and one way to check and write an edited file, for
// `edit` and `new`.
#include "edits.hpp"

#include <charconv>
#include <cstdint>
#include <exception>
#include <map>
#include <utility>

#include <vesk/input/mopac/catalogue.hpp>
#include <vesk/input/mopac/check.hpp>
#include <vesk/input/mopac/parser.hpp>

#include "files.hpp"

namespace vesk::tools {

using input::mopac::CoordinateRecord;
using input::mopac::InputEditor;
using input::mopac::MopacInput;

namespace {

std::vector<std::string> tokens_of(std::string line);
std::string keywords_not_as_asked(const input::mopac::Job& job, const EditRequest& request);
std::string first_new_error(const input::mopac::MopacJob& before, const input::mopac::MopacJob& after);
std::pair<std::size_t, std::uint64_t> atoms_digest(const input::mopac::MopacJob& job, std::size_t k);
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
}

std::string job_edit_difference(const input::mopac::MopacJob& before, const input::mopac::MopacJob& after,
                                const EditRequest& request) {
    if (before.jobs().size() != after.jobs().size()) return "jobs";
    for (std::size_t k = 0; k < before.jobs().size(); ++k) {
        // One geometry at a time: a large job's atoms are not held twice.
        if (atoms_digest(before, k) != atoms_digest(after, k)) return "atoms";
        const input::mopac::Job& old_job = before.jobs()[k];
        const input::mopac::Job& new_job = after.jobs()[k];
        const bool first = k == 0;
        const auto text_of = [](const input::mopac::MopacJob& job, std::size_t line) {
            return std::string(job.line_text(line));
        };
        if (!(first && request.title) && text_of(before, old_job.title.line) != text_of(after, new_job.title.line)) {
            return "title";
        }
        if (first && request.title && text_of(after, new_job.title.line) != *request.title) return "title";
        if (!(first && request.comment) &&
            text_of(before, old_job.description.line) != text_of(after, new_job.description.line)) {
            return "description";
        }
        if (first && request.comment && text_of(after, new_job.description.line) != *request.comment) return "description";
        const std::string keywords = keywords_not_as_asked(new_job, request);
        if (!keywords.empty()) return keywords;
    }
    return {};
}

int edit_job_and_write(const std::string& source, const input::mopac::MopacJob& job, const EditRequest& request,
                       const std::string& output, bool force) {
    input::mopac::JobEditor editor(job);
    try {
        apply_edits(editor, request);
    } catch (const std::exception& error) {  // an edit MOPAC would read otherwise, memory
        report(source, error.what());
        return 1;
    }
    const std::string difference = job_edit_difference(job, editor.job(), request);
    if (!difference.empty()) {
        report(source, "not written: the edited file would read back differently (" + difference + ")");
        return 1;
    }
    if (!force) {
        const std::string error = first_new_error(job, editor.job());
        if (!error.empty()) {
            report(source, "not written: the edit gives an error the file did not have: " + error +
                               " (use --force to write it anyway)");
            return 1;
        }
    }
    return write_result(output, editor.text()) ? 0 : 1;
}

namespace {

// Whether the keywords of an edited job say what the request asked.
std::string keywords_not_as_asked(const input::mopac::Job& job, const EditRequest& request) {
    using input::mopac::normalize_keyword_name;
    if (request.method) {
        std::vector<std::string> methods;
        for (const auto& keyword : job.keywords) {
            if (input::mopac::is_mopac_method(normalize_keyword_name(keyword.text))) methods.push_back(keyword.text);
        }
        if (methods != std::vector<std::string>{normalize_keyword_name(*request.method)}) return "method";
    }
    if (request.charge && job.keyword_value("CHARGE") != std::to_string(*request.charge)) return "charge";
    if (request.multiplicity) {
        // MS=(m-1)/2 as the editor writes it ("0.5", "1"), or the name of the state.
        char ms[32];
        const double half = (static_cast<double>(*request.multiplicity) - 1.0) * 0.5;
        const std::string expected(ms, std::to_chars(ms, ms + sizeof ms, half).ptr);
        bool named = false;
        for (const auto& keyword : job.keywords) {
            named = named || input::mopac::spin_state_multiplicity(normalize_keyword_name(keyword.text)) ==
                                 *request.multiplicity;
        }
        if (!named && job.keyword_value("MS") != expected) return "multiplicity";
    }
    if (request.aux_precision) {
        const std::string precision = "PRECISION=" + std::to_string(*request.aux_precision);
        bool found = false;
        for (const auto& keyword : job.keywords) {
            found = found || (normalize_keyword_name(keyword.text) == "AUX" && keyword.text.find(precision) != std::string::npos);
        }
        if (!found) return "AUX";
    }
    if (request.no_aux && job.has_keyword("AUX")) return "AUX";
    for (const auto& name : request.remove) {
        if (job.has_keyword(name)) return name;
    }
    const auto upper = [](std::string text) {
        for (char& c : text) c = (c >= 'a' && c <= 'z') ? static_cast<char>(c - 'a' + 'A') : c;
        return text;
    };
    for (const auto& assignment : request.set) {
        const std::size_t equals = assignment.find('=');
        const auto value = job.keyword_value(assignment.substr(0, equals));
        if (!value || (equals != std::string::npos && *value != upper(assignment.substr(equals + 1)))) return assignment;
    }
    for (const auto& token : request.add) {
        if (!job.has_keyword(token)) return token;
    }
    return {};
}

// The first error of `after` whose kind `before` has fewer of.
// The atoms of a job as their count and a 64-bit FNV-1a hash of each
// element and the bits of its position.
std::pair<std::size_t, std::uint64_t> atoms_digest(const input::mopac::MopacJob& job, std::size_t k) {
    const vesk::core::Geometry geometry = job.geometry(k);
    std::uint64_t hash = 14695981039346656037ull;
    const auto mix = [&hash](const void* data, std::size_t size) {
        const auto* bytes = static_cast<const unsigned char*>(data);
        for (std::size_t i = 0; i < size; ++i) hash = (hash ^ bytes[i]) * 1099511628211ull;
    };
    for (const vesk::core::Atom& atom : geometry.atoms) {
        mix(atom.element.data(), atom.element.size() + 1);  // with the terminator: "C" "l" is not "Cl"
        for (const double value : {atom.x, atom.y, atom.z}) mix(&value, sizeof value);
    }
    return {geometry.atoms.size(), hash};
}

std::string first_new_error(const input::mopac::MopacJob& before, const input::mopac::MopacJob& after) {
    std::map<std::string, std::size_t> known;
    for (const auto& d : input::mopac::check_job(before)) {
        if (d.severity == input::mopac::Severity::error) ++known[d.code];
    }
    for (const auto& d : input::mopac::check_job(after)) {
        if (d.severity != input::mopac::Severity::error) continue;
        if (known[d.code] > 0) {
            --known[d.code];
            continue;
        }
        return "line " + std::to_string(d.line) + ": " + d.message;
    }
    return {};
}

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
