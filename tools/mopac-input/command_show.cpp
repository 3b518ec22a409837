// mopac-input show: what the library reads from each file, for people or as
// one JSON object a line.
#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "commands.hpp"
#include "files.hpp"
#include "text.hpp"

namespace vesk::tools {
namespace {

using input::mopac::CoordinateKind;
using input::mopac::MopacInput;
using Json = nlohmann::json;

struct ShowOptions {
    std::vector<std::string> files;
    bool json = false;
};

int run_show(const ShowOptions& options);
Json describe(const SourceFile& file);
std::string format_description(const Json& file);

}  // namespace

void add_show_command(CLI::App& app, int& status) {
    auto options = std::make_shared<ShowOptions>();
    CLI::App* show = app.add_subcommand("show", "Show what the library reads from each file");
    show->add_option("FILE", options->files, "Input files ('-' for standard input)")->required();
    show->add_flag("--json", options->json, "One JSON object per file, one per line");
    show->callback([options, &status] { status = run_show(*options); });
}

namespace {

int run_show(const ShowOptions& options) {
    return for_each_file(options.files, [&options](SourceFile& file) {
        const Json description = describe(file);
        return write_result("", options.json ? json_line(description) : format_description(description)) ? 0 : 1;
    });
}

Json optional_value(const MopacInput& input, std::string_view name) {
    auto value = input.keyword_value(name);
    return value ? Json(*value) : Json();
}

// The options of the first AUX token, null without one. Its keyword_value
// would be "9,XP)" for AUX(PRECISION=9,XP): the '=' comes before the '('.
Json aux_description(const MopacInput& input) {
    for (const std::string& token : input.keyword_tokens()) {
        if (input::mopac::normalize_keyword_name(token) == "AUX") return aux_options(token);
    }
    return Json();
}

Json describe(const SourceFile& file) {
    const MopacInput& input = file.parsed.input;
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
    return {{"file", file.path},
            {"ok", file.parsed.ok},
            {"error", file.parsed.ok ? Json() : Json(file.parsed.error)},
            {"warnings", file.parsed.warnings},
            {"keywords", input.keyword_tokens()},
            {"charge", optional_value(input, "CHARGE")},
            {"ms", optional_value(input, "MS")},
            {"aux", aux_description(input)},
            {"title", input.title},
            {"comment", input.comment},
            {"atoms", atoms},
            {"atoms_by_element", by_element},
            {"translation_vectors", vectors},
            {"raw_records", raw},
            {"trailing_lines", input.trailing_lines}};
}

// The description as lines for people, every text escaped for a terminal;
// long lists are cut short.
std::string format_description(const Json& file) {
    auto text = [](const Json& value) {
        return escape_for_terminal(value.is_string() ? value.get<std::string>() : value.dump());
    };
    auto joined = [&text](const Json& items, const char* separator) {
        std::string out;
        for (const auto& item : items) out += (out.empty() ? "" : separator) + text(item);
        return out;
    };
    std::string out = text(file["file"]) + ": " + (file["ok"].get<bool>() ? "ok" : text(file["error"])) + '\n';
    auto line = [&out](const std::string& label, const std::string& value) {
        out += "  " + label + ": " + value + '\n';
    };
    auto list = [&](const char* label, const Json& items) {
        line(label, std::to_string(items.size()));
        std::size_t shown = 0;
        for (const auto& item : items) {
            if (++shown > 10) {
                out += "    ... " + std::to_string(items.size() - 10) + " more\n";
                break;
            }
            out += "    " + text(item) + '\n';
        }
    };
    for (const auto& warning : file["warnings"]) line("warning", text(warning));
    line("keywords", joined(file["keywords"], " "));
    for (const char* name : {"charge", "ms"}) {
        if (!file[name].is_null()) line(name, text(file[name]));
    }
    if (!file["aux"].is_null()) line("aux", file["aux"].empty() ? "(no options)" : joined(file["aux"], ", "));
    line("title", text(file["title"]));
    line("comment", text(file["comment"]));
    std::string elements;
    for (const auto& [element, count] : file["atoms_by_element"].items()) {
        elements += (elements.empty() ? "" : ", ") + escape_for_terminal(element) + " " + count.dump();
    }
    line("atoms", file["atoms"].dump() + (elements.empty() ? "" : " (" + elements + ")"));
    list("translation vectors", file["translation_vectors"]);
    list("raw records", file["raw_records"]);
    list("trailing lines", file["trailing_lines"]);
    return out;
}

}  // namespace
}  // namespace vesk::tools
