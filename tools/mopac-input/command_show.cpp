// mopac-input show: each file as MOPAC reads it, for people or as one JSON
// object a line: its jobs, keywords, title, atoms and findings.
#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include <charconv>
#include <cmath>
#include <memory>
#include <system_error>
#include <string>
#include <vector>

#include <vesk/input/mopac/catalogue.hpp>
#include <vesk/input/mopac/check.hpp>
#include <vesk/input/mopac/document.hpp>
#include <vesk/input/mopac/job.hpp>

#include "commands.hpp"
#include "files.hpp"
#include "text.hpp"

namespace vesk::tools {
namespace {

using input::mopac::Diagnostic;
using input::mopac::GeometrySource;
using input::mopac::Job;
using input::mopac::MopacJob;
using Json = nlohmann::json;

struct ShowOptions {
    std::vector<std::string> files;
    bool json = false;
};

int run_show(const ShowOptions& options);
Json describe(const std::string& path, const MopacJob& job, const std::vector<Diagnostic>& findings);
std::string format_description(const Json& file);

}  // namespace

void add_show_command(CLI::App& app, int& status) {
    auto options = std::make_shared<ShowOptions>();
    CLI::App* show = app.add_subcommand("show", "Show each file as MOPAC reads it: keywords, title, atoms, findings");
    show->add_option("FILE", options->files, "Input files ('-' for standard input)")->required();
    show->add_flag("--json", options->json, "One JSON object per file, one per line");
    show->callback([options, &status] { status = run_show(*options); });
}

// A finding as editors and CI read it: "PATH:LINE:COLUMN: severity: message [code]".
std::string finding_line(const std::string& path, const Diagnostic& d) {
    std::string line = escape_for_terminal(path) + ':' + std::to_string(d.line) + ':' + std::to_string(d.column) +
                       ": " + (d.severity == input::mopac::Severity::error ? "error" : "warning") + ": " +
                       escape_for_terminal(d.message) + " [" + d.code + "]";
    if (!d.suggestion.empty()) line += " (write " + escape_for_terminal(d.suggestion) + ")";
    return line + '\n';
}

Json finding_json(const Diagnostic& d) {
    return {{"line", d.line},
            {"column", d.column},
            {"severity", d.severity == input::mopac::Severity::error ? "error" : "warning"},
            {"code", d.code},
            {"message", d.message},
            {"suggestion", d.suggestion.empty() ? Json() : Json(d.suggestion)}};
}

namespace {

int run_show(const ShowOptions& options) {
    set_summary_outcomes({"shown", "failed"});
    return for_each_file(options.files, [&options](SourceFile& file) {
        const MopacJob job = read_as_mopac(file);
        const std::vector<Diagnostic> findings = input::mopac::check_job(job, {file.path == "-" ? std::string() : file.path});
        const Json description = describe(file.path, job, findings);
        std::string out = options.json ? json_line(description) : format_description(description);
        if (!options.json) {
            for (const Diagnostic& d : findings) out += "  " + finding_line(file.path, d);
        }
        tally("shown");
        return write_result("", out) ? 0 : 1;
    });
}

const char* source_name(GeometrySource source) {
    switch (source) {
        case GeometrySource::inline_text: return "inline";
        case GeometrySource::gaussian: return "Gaussian Z-matrix";
        case GeometrySource::pdb: return "PDB records";
        case GeometrySource::geo_dat: return "GEO_DAT file";
        case GeometrySource::previous_job: return "previous job (OLDGEO)";
        case GeometrySource::data_pointer: return "DATA= file";
        case GeometrySource::none: break;
    }
    return "none";
}

// A keyword's value as a JSON number: CHARGE=-1 -> -1, MS=0.5 -> 0.5; null
// without the keyword or where its value is no number (the check says so).
Json number_value(const Job& job, std::string_view name) {
    const auto value = job.keyword_value(name);
    if (!value || value->empty()) return Json();
    double number = 0.0;
    const char* end = value->data() + value->size();
    const auto [stop, error] = std::from_chars(value->data(), end, number);
    if (error != std::errc() || stop != end) return Json();
    if (number == static_cast<double>(static_cast<long long>(number))) return Json(static_cast<long long>(number));
    return Json(number);
}

// The multiplicity the keywords state: a spin-state name, or 2 MS + 1.
Json multiplicity_of(const Job& job) {
    for (const auto& keyword : job.keywords) {
        const unsigned int named = input::mopac::spin_state_multiplicity(input::mopac::normalize_keyword_name(keyword.text));
        if (named != 0) return named;
    }
    const Json ms = number_value(job, "MS");
    return ms.is_number() ? Json(static_cast<long long>(2 * std::fabs(ms.get<double>()) + 1.5)) : Json();
}

// The Hamiltonian MOPAC runs: the first method keyword's, PM7 without one.
std::string method_of(const Job& job) {
    for (const auto& keyword : job.keywords) {
        const std::string name = input::mopac::normalize_keyword_name(keyword.text);
        if (input::mopac::is_mopac_method(name)) return std::string(input::mopac::mopac_method_runs(name));
    }
    return "PM7";
}

Json describe_job(const MopacJob& reading, std::size_t index) {
    const Job& job = reading.jobs()[index];
    Json keywords = Json::array();
    Json aux;
    for (const auto& keyword : job.keywords) {
        keywords.push_back(keyword.text);
        if (aux.is_null() && input::mopac::normalize_keyword_name(keyword.text) == "AUX") aux = aux_options(keyword.text);
    }
    Json by_element = Json::object();
    const auto& counts = job.counts;
    for (std::size_t number = 1; number < counts.by_atomic_number.size(); ++number) {
        const std::size_t count = counts.by_atomic_number[number];
        if (count == 0 || number == 99 || number == 107) continue;  // dummies and Tv have their own counts
        by_element[std::string(input::mopac::element_symbol(static_cast<int>(number)))] = count;
    }
    Json vectors = Json::array();
    for (const auto& vector : reading.translation_vectors(index)) vectors.push_back({vector[0], vector[1], vector[2]});
    return {{"number", index + 1},
            {"keywords", keywords},
            {"method", method_of(job)},
            {"charge", job.has_keyword("CHARGE") ? number_value(job, "CHARGE") : Json(0)},
            {"ms", number_value(job, "MS")},
            {"multiplicity", multiplicity_of(job)},
            {"aux", aux},
            {"title", job.title.text},
            {"title_line", job.title.line},
            {"description", job.description.text},
            {"description_line", job.description.line},
            {"geometry", source_name(job.source)},
            {"source_file", job.source_name.empty() ? Json() : Json(job.source_name)},
            {"atoms", counts.atoms},
            {"translation_vector_count", counts.translation_vectors},
            {"atoms_by_element", by_element},
            {"internal", counts.internal},
            {"cartesian", counts.cartesian},
            {"dummies", counts.dummies},
            {"translation_vectors", vectors}};
}

Json describe(const std::string& path, const MopacJob& job, const std::vector<Diagnostic>& findings) {
    std::size_t errors = 0;
    Json listed = Json::array();
    for (const Diagnostic& d : findings) {
        errors += d.severity == input::mopac::Severity::error;
        listed.push_back(finding_json(d));
    }
    Json jobs = Json::array();
    for (std::size_t k = 0; k < job.jobs().size(); ++k) jobs.push_back(describe_job(job, k));
    return {{"schema", json_schema_version},
            {"command", "show"},
            {"file", path},
            {"ok", errors == 0},
            {"errors", errors},
            {"warnings", findings.size() - errors},
            {"counts", {{"jobs", job.jobs().size()}, {"lines", job.lines().size()}, {"errors", errors},
                        {"warnings", findings.size() - errors}}},
            {"lines", job.lines().size()},
            {"jobs", jobs},
            {"findings", listed}};
}

// The description as lines for people, every text escaped for a terminal.
std::string format_description(const Json& file) {
    auto text = [](const Json& value) {
        return escape_for_terminal(value.is_string() ? value.get<std::string>() : value.dump());
    };
    const std::size_t errors = file["errors"].get<std::size_t>();
    const std::size_t warnings = file["warnings"].get<std::size_t>();
    std::string out = text(file["file"]) + ": " +
                      (errors == 0 ? std::string("ok") : std::to_string(errors) + " error(s)") +
                      (warnings == 0 ? "" : ", " + std::to_string(warnings) + " warning(s)") + '\n';
    auto line = [&out](const std::string& label, const std::string& value) {
        out += "  " + label + ": " + value + '\n';
    };
    const Json& jobs = file["jobs"];
    if (jobs.size() != 1) line("jobs", std::to_string(jobs.size()));
    for (std::size_t k = 0; k < jobs.size(); ++k) {
        const Json& job = jobs[k];
        if (jobs.size() > 1) out += "  job " + std::to_string(k + 1) + ":\n";
        std::string keywords;
        for (const auto& word : job["keywords"]) keywords += (keywords.empty() ? "" : " ") + text(word);
        line("keywords", keywords);
        for (const char* name : {"charge", "ms"}) {
            if (!job[name].is_null()) line(name, text(job[name]));
        }
        if (!job["aux"].is_null()) {
            std::string options;
            for (const auto& option : job["aux"]) options += (options.empty() ? "" : ", ") + text(option);
            line("aux", options.empty() ? "(no options)" : options);
        }
        line("title", text(job["title"]));
        line("description", text(job["description"]));
        std::string elements;
        for (const auto& [element, count] : job["atoms_by_element"].items()) {
            elements += (elements.empty() ? "" : ", ") + escape_for_terminal(element) + " " + count.dump();
        }
        std::string atoms = job["atoms"].dump() + (elements.empty() ? "" : " (" + elements + ")");
        atoms += "; " + job["internal"].dump() + " internal, " + job["cartesian"].dump() + " Cartesian";
        if (job["dummies"].get<std::size_t>() > 0) atoms += ", " + job["dummies"].dump() + " dummy";
        line("atoms", atoms);
        if (job["geometry"] != "inline") {
            line("geometry", text(job["geometry"]) + (job["source_file"].is_null() ? "" : " " + text(job["source_file"])));
        }
        if (!job["translation_vectors"].empty()) line("translation vectors", job["translation_vectors"].dump());
    }
    return out;
}

}  // namespace
}  // namespace vesk::tools
