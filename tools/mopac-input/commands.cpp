// show, edit, new, xyz and check: each reads whole files, reports problems as
// "mopac-input: PATH: message" and answers an exit status.
#include "commands.hpp"

#include <unistd.h>

#include <algorithm>
#include <iostream>
#include <iterator>
#include <map>
#include <stdexcept>
#include <string>

#include <nlohmann/json.hpp>
#include <vesk/core/fs.hpp>
#include <vesk/input/mopac/mopac_input.hpp>

#include "check.hpp"
#include "xyz.hpp"

namespace vesk::tools {
namespace {

using input::mopac::CoordinateKind;
using input::mopac::InputBuilder;
using input::mopac::InputEditor;
using input::mopac::MopacInput;
using input::mopac::ParseResult;
using Json = nlohmann::json;

bool read_source(const std::string& path, std::string& text);
void report(const std::string& path, const std::string& message);
bool write_output(const std::string& path, const std::string& text);
void apply_edits(InputEditor& editor, const EditOptions& edits);
Json describe(const std::string& path, const ParseResult& result);
void print_description(const Json& file);
void print_json(const Json& value);

// "[12/300] path" on standard error for long batches, only on a terminal.
class Progress {
public:
    explicit Progress(std::size_t total) : total_(total), shown_(total >= 10 && ::isatty(STDERR_FILENO)) {}
    void step(const std::string& path) {
        if (shown_) std::cerr << "\r\033[K[" << ++done_ << '/' << total_ << "] " << path << std::flush;
    }
    ~Progress() {
        if (shown_) std::cerr << "\r\033[K" << std::flush;
    }

private:
    std::size_t total_;
    std::size_t done_ = 0;
    bool shown_;
};

// Reads and parses each file in turn with a progress line, reporting files
// that cannot be read or parsed; `use(path, text, result)` sees every file
// that was read and answers its own status. Answers 1 when anything failed.
template <typename Use>
int for_each_file(const std::vector<std::string>& files, Use&& use) {
    int status = 0;
    Progress progress(files.size());
    for (const auto& path : files) {
        progress.step(path);
        std::string text;
        if (!read_source(path, text)) {
            status = 1;
            continue;
        }
        ParseResult result = input::mopac::parse_string(text);
        if (!result.ok) {
            report(path, result.error);
            status = 1;
        }
        status |= use(path, text, result);
    }
    return status;
}

}  // namespace

int run_show(const std::vector<std::string>& files, bool json) {
    return for_each_file(files, [json](const std::string& path, const std::string&, const ParseResult& result) {
        Json file = describe(path, result);
        if (json) {
            print_json(file);
        } else {
            print_description(file);
        }
        return 0;
    });
}

int run_edit(const std::vector<std::string>& files, const EditOptions& edits, const OutputOptions& output) {
    if (files.size() > 1 && !output.in_place) {
        std::cerr << "mopac-input: edit: several files need --in-place\n";
        return 2;
    }
    if (output.in_place && std::find(files.begin(), files.end(), "-") != files.end()) {
        std::cerr << "mopac-input: edit: --in-place cannot write to standard input\n";
        return 2;
    }
    return for_each_file(files, [&](const std::string& path, const std::string& text, ParseResult& result) {
        if (!result.ok) return 1;  // reported already; the file stays as it is
        for (const Finding& finding : check_input(text, result)) {
            if (finding.blocks_edit && !output.force) {
                report(path, "not edited: " + finding.message + " (use --force to edit anyway)");
                return 1;
            }
        }
        try {
            InputEditor editor(std::move(result.input));
            apply_edits(editor, edits);
            if (output.in_place) {
                editor.write_file(path);
            } else if (!output.output.empty()) {
                editor.write_file(output.output);
            } else {
                std::cout << editor.to_string() << std::flush;
            }
        } catch (const std::exception& error) {  // a refused argument or a failed write
            report(path, error.what());
            return 1;
        }
        return 0;
    });
}

int run_new(const std::string& xyz_file, const EditOptions& edits, bool fixed, const std::string& output) {
    std::string text;
    if (!read_source(xyz_file, text)) return 1;
    try {
        XyzFile xyz = parse_xyz(text);
        InputBuilder builder;
        if (edits.method) builder.set_method(*edits.method);
        if (edits.charge) builder.set_charge(*edits.charge);
        if (edits.multiplicity) builder.set_multiplicity(*edits.multiplicity);
        if (edits.aux_precision) builder.set_auxiliary_output(*edits.aux_precision, edits.aux_xp);
        for (const auto& token : edits.add) builder.add_keyword(token);
        builder.set_title(edits.title ? *edits.title : xyz.comment);
        if (edits.comment) builder.set_comment(*edits.comment);
        builder.set_geometry(xyz.geometry, !fixed);
        if (output.empty()) {
            std::cout << builder.to_string() << std::flush;
        } else {
            builder.write_file(output);
        }
    } catch (const std::exception& error) {  // a malformed XYZ file, a refused argument, a failed write
        report(xyz_file, error.what());
        return 1;
    }
    return 0;
}

int run_xyz(const std::string& file, const std::string& output) {
    std::string text;
    if (!read_source(file, text)) return 1;
    ParseResult result = input::mopac::parse_string(text);
    if (!result.ok) {
        report(file, result.error);
        return 1;
    }
    return write_output(output, format_xyz(result.input.cartesian_geometry(), result.input.title)) ? 0 : 1;
}

int run_check(const std::vector<std::string>& files, bool json) {
    return for_each_file(files, [json](const std::string& path, const std::string& text, const ParseResult& result) {
        const std::vector<Finding> findings = check_input(text, result);
        if (json) {
            Json list = Json::array();
            for (const auto& f : findings) {
                list.push_back({{"line", f.line}, {"code", f.code}, {"message", f.message},
                                {"blocks_edit", f.blocks_edit}});
            }
            print_json({{"file", path},
                        {"ok", result.ok},
                        {"error", result.ok ? Json() : Json(result.error)},
                        {"findings", list}});
        } else {
            if (findings.empty() && result.ok) std::cout << path << ": no findings\n";
            for (const auto& f : findings) {
                std::cout << path << ':' << f.line << ": " << f.code << ": " << f.message << '\n';
            }
        }
        return findings.empty() ? 0 : 1;
    });
}

namespace {

bool read_source(const std::string& path, std::string& text) {
    try {
        if (path == "-") {
            text.assign(std::istreambuf_iterator<char>(std::cin), std::istreambuf_iterator<char>());
        } else {
            text = core::fs::read_text_file(path);
        }
        return true;
    } catch (const std::exception& error) {
        report(path, error.what());
        return false;
    }
}

void report(const std::string& path, const std::string& message) {
    std::cerr << "mopac-input: " << path << ": " << message << '\n';
}

bool write_output(const std::string& path, const std::string& text) {
    if (path.empty()) {
        std::cout << text << std::flush;
        return true;
    }
    if (core::fs::write_text_file_atomic(path, text)) return true;
    report(path, "cannot write the file");
    return false;
}

void apply_edits(InputEditor& editor, const EditOptions& edits) {
    const auto width = edits.width;
    if (edits.method) editor.set_method(*edits.method, width);
    if (edits.charge) editor.set_charge(*edits.charge, width);
    if (edits.multiplicity) editor.set_multiplicity(*edits.multiplicity, width);
    if (edits.aux_precision) editor.set_auxiliary_output(*edits.aux_precision, edits.aux_xp, width);
    if (edits.no_aux) editor.clear_auxiliary_output(width);
    for (const auto& name : edits.remove) editor.remove_keyword(name, width);
    for (const auto& assignment : edits.set) {
        const std::size_t equals = assignment.find('=');
        if (equals == std::string::npos) {
            editor.set_keyword(assignment, std::nullopt, width);
        } else {
            editor.set_keyword(std::string_view(assignment).substr(0, equals),
                               std::string_view(assignment).substr(equals + 1), width);
        }
    }
    for (const auto& token : edits.add) editor.add_keyword(token, width);
    if (edits.title) editor.set_title(*edits.title);
    if (edits.comment) editor.set_comment(*edits.comment);
}

Json optional_value(const MopacInput& input, std::string_view name) {
    auto value = input.keyword_value(name);
    return value ? Json(*value) : Json();
}

Json describe(const std::string& path, const ParseResult& result) {
    const MopacInput& input = result.input;
    std::map<std::string, std::size_t> by_element;
    Json vectors = Json::array();
    Json raw = Json::array();
    std::size_t atoms = 0;
    for (const auto& record : input.coordinates) {
        if (record.kind == CoordinateKind::Atom) {
            ++by_element[record.element];
            ++atoms;
        } else if (record.kind == CoordinateKind::TranslationVector) {
            vectors.push_back({record.x, record.y, record.z});
        } else {
            raw.push_back(record.raw_line);
        }
    }
    return {{"file", path},
            {"ok", result.ok},
            {"error", result.ok ? Json() : Json(result.error)},
            {"warnings", result.warnings},
            {"keywords", input.keyword_tokens()},
            {"charge", optional_value(input, "CHARGE")},
            {"ms", optional_value(input, "MS")},
            {"aux", optional_value(input, "AUX")},
            {"title", input.title},
            {"comment", input.comment},
            {"atoms", atoms},
            {"atoms_by_element", by_element},
            {"translation_vectors", vectors},
            {"raw_records", raw},
            {"trailing_lines", input.trailing_lines}};
}

// The JSON description as lines for people; long lists are cut short.
void print_description(const Json& file) {
    auto text = [](const Json& value) { return value.is_string() ? value.get<std::string>() : value.dump(); };
    auto list = [&](const char* label, const Json& items) {
        std::cout << "  " << label << ": " << items.size() << '\n';
        std::size_t shown = 0;
        for (const auto& item : items) {
            if (++shown > 10) {
                std::cout << "    ... " << items.size() - 10 << " more\n";
                break;
            }
            std::cout << "    " << text(item) << '\n';
        }
    };
    std::cout << file["file"].get<std::string>() << ": " << (file["ok"].get<bool>() ? "ok" : text(file["error"]))
              << '\n';
    for (const auto& warning : file["warnings"]) std::cout << "  warning: " << text(warning) << '\n';
    std::string keywords;
    for (const auto& token : file["keywords"]) keywords += (keywords.empty() ? "" : " ") + text(token);
    std::cout << "  keywords: " << keywords << '\n';
    for (const char* name : {"charge", "ms", "aux"}) {
        if (!file[name].is_null()) std::cout << "  " << name << ": " << text(file[name]) << '\n';
    }
    std::cout << "  title: " << text(file["title"]) << '\n' << "  comment: " << text(file["comment"]) << '\n';
    std::string elements;
    for (const auto& [element, count] : file["atoms_by_element"].items()) {
        elements += (elements.empty() ? "" : ", ") + element + " " + count.dump();
    }
    std::cout << "  atoms: " << file["atoms"].dump() << (elements.empty() ? "" : " (" + elements + ")") << '\n';
    list("translation vectors", file["translation_vectors"]);
    list("raw records", file["raw_records"]);
    list("trailing lines", file["trailing_lines"]);
}

// One object a line; bytes that are not UTF-8 are replaced, not refused.
void print_json(const Json& value) {
    std::cout << value.dump(-1, ' ', false, Json::error_handler_t::replace) << '\n';
}

}  // namespace
}  // namespace vesk::tools
