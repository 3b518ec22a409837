// The preflight check: the findings of the reading, and those that need a
// job's keywords as a whole: MOPAC's keyword check, values, spin and
// electrons, methods and their elements.
#include "vesk/input/mopac/check.hpp"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "mopac/tables.hpp"
#include "text/bytes.hpp"
#include "text/keyword_scan.hpp"
#include "job/elements.hpp"
#include "text/numbers.hpp"
#include "vesk/input/mopac/catalogue.hpp"
#include "vesk/input/mopac/document.hpp"

namespace vesk::input::mopac {
namespace {

// Findings of one job, at the place of the keyword they concern.
class Findings {
public:
    Findings(const MopacJob& job, std::vector<Diagnostic>& out) : job_(job), out_(out) {}

    void add(Severity severity, const char* code, std::size_t line, std::size_t column, std::string message,
             std::string suggestion = {}) {
        out_.push_back({severity, code, line, column, std::move(message), std::move(suggestion)});
    }
    void at(const JobKeyword& keyword, Severity severity, const char* code, std::string message,
            std::string suggestion = {}) {
        add(severity, code, keyword.line, keyword.column, std::move(message), std::move(suggestion));
    }
    const MopacJob& job() const noexcept { return job_; }

private:
    const MopacJob& job_;
    std::vector<Diagnostic>& out_;
};

// What the keywords of a job say about its run.
struct Settings {
    std::vector<const JobKeyword*> methods;
    std::vector<const JobKeyword*> spin_names;  // SINGLET ... NONET
    const JobKeyword* ms = nullptr;
    const JobKeyword* charge = nullptr;
    const JobKeyword* rhf = nullptr;
    const JobKeyword* uhf = nullptr;
    bool active_space = false;  // is_active_space_keyword
    bool configuration_interaction = false;  // C.I. alone
    bool debug = false;
    bool external_parameters = false;
    bool indo = false;
};

Settings settings_of(const Job& job);
void check_keywords(Findings& findings, const Job& job, const Settings& settings);
void check_spin(Findings& findings, const Settings& settings, const GeometryCounts* atoms);
void check_method(Findings& findings, const Job& job, const Settings& settings, const GeometryCounts* atoms);
void check_lines(Findings& findings);
bool whole_number(std::string_view text, double& value) noexcept;
std::string suggestion_for(std::string_view name);

}  // namespace

std::vector<Diagnostic> check_job(const MopacJob& job) {
    std::vector<Diagnostic> found = job.diagnostics();
    Findings findings(job, found);
    const GeometryCounts* atoms = nullptr;  // of the job whose geometry an OLDGEO job takes
    for (const Job& current : job.jobs()) {
        const bool own = current.source == GeometrySource::inline_text || current.source == GeometrySource::gaussian ||
                         current.source == GeometrySource::pdb;
        if (own) atoms = &current.counts;
        if (current.source != GeometrySource::previous_job && !own) atoms = nullptr;
        const Settings settings = settings_of(current);
        check_keywords(findings, current, settings);
        check_spin(findings, settings, atoms);
        check_method(findings, current, settings, atoms);
    }
    check_lines(findings);
    std::stable_sort(found.begin(), found.end(), [](const Diagnostic& a, const Diagnostic& b) {
        return a.line != b.line ? a.line < b.line : a.column < b.column;
    });
    return found;
}

namespace {

std::string name_of(const JobKeyword& keyword) { return normalize_keyword_name(keyword.text); }

Settings settings_of(const Job& job) {
    Settings settings;
    for (const JobKeyword& keyword : job.keywords) {
        const std::string name = name_of(keyword);
        if (is_mopac_method(name)) settings.methods.push_back(&keyword);
        if (spin_state_multiplicity(name) != 0) settings.spin_names.push_back(&keyword);
        if (name == "MS" && settings.ms == nullptr) settings.ms = &keyword;
        if (name == "CHARGE" && settings.charge == nullptr) settings.charge = &keyword;
        if (name == "RHF" && settings.rhf == nullptr) settings.rhf = &keyword;
        if (name == "UHF" && settings.uhf == nullptr) settings.uhf = &keyword;
        settings.active_space = settings.active_space || is_active_space_keyword(name);
        settings.configuration_interaction = settings.configuration_interaction || name == "C.I." || name == "OPEN";
        settings.indo = settings.indo || name == "INDO";
        settings.debug = settings.debug || name == "DEBUG";
        settings.external_parameters = settings.external_parameters || name == "EXTERNAL";
    }
    return settings;
}

// MOPAC's keyword check: every word must start with a prefix MOPAC knows.
// Quoted text and the file names of GEO_DAT= and GEO_REF= are not looked at.
void check_keywords(Findings& findings, const Job& job, const Settings& settings) {
    // A PDB file read as a data set starts with its HEADER record, which MOPAC
    // takes whole: the rest of that line is no keywords.
    const bool pdb_header = !job.keywords.empty() && job.keywords[0].text == "HEADER";
    std::vector<std::string> seen;
    for (const JobKeyword& keyword : job.keywords) {
        const std::string name = name_of(keyword);
        if (pdb_header && keyword.line == job.keywords[0].line) continue;
        if (keyword.text[0] == '"' || keyword.text[0] == '\'' || name == "GEO_DAT" || name == "GEO_REF") continue;
        // INDO reads a few keywords of its own that MOPAC's check does not
        // know (MRCI, TDIP, WRTCI, ...); with another method MRCI has its own message.
        const KeywordInfo* info = find_keyword(name);
        const bool indo_word = info != nullptr && info->prefixes.empty() && !info->forms.empty();
        if (indo_word && (settings.indo || name == "MRCI")) continue;
        if (!mopac_accepts_keyword(keyword.text)) {
            findings.at(keyword, settings.debug ? Severity::warning : Severity::error, "unknown-keyword",
                        "UNRECOGNIZED KEY-WORDS: (" + keyword.text + ")", suggestion_for(name));
            continue;
        }
        const std::string_view value = detail::keyword_value_part(keyword.text);
        const bool has_value = keyword.text.find_first_of("=(") != std::string::npos;
        if (info != nullptr && !info->forms.empty()) {
            const bool takes_value = info->forms.find('=') != std::string_view::npos ||
                                     info->forms.find('(') != std::string_view::npos;
            const bool needs_value = info->forms.find("NAME,") == std::string_view::npos && info->forms != "NAME";
            if (has_value && !takes_value) {
                findings.at(keyword, Severity::warning, "unexpected-value",
                            name + " takes no value: MOPAC reads " + keyword.text + " as " + name);
            } else if (!has_value && needs_value) {
                findings.at(keyword, Severity::warning, "missing-value",
                            name + " needs a value (" + std::string(info->forms) + "): MOPAC reads it from what follows",
                            name + "=");
            }
        }
        double number = 0.0;
        if (name == "CHARGE" && has_value && !(whole_number(value, number) && number == std::floor(number))) {
            findings.at(keyword, Severity::error, "bad-charge", "CHARGE must be a whole number: " + keyword.text);
        }
        if (name == "MS" && has_value && !(whole_number(value, number) && 2 * number == std::floor(2 * number))) {
            findings.at(keyword, Severity::error, "bad-ms", "MS must be a whole or half number: " + keyword.text);
        }
        if ((name == "CHARGE" || name == "MS") && std::find(seen.begin(), seen.end(), name) != seen.end()) {
            findings.at(keyword, Severity::warning, "repeated-keyword",
                        name + " is given twice: MOPAC takes one of the values");
        }
        seen.push_back(name);
    }
    for (std::size_t i = 1; i < settings.spin_names.size(); ++i) {
        if (name_of(*settings.spin_names[i]) != name_of(*settings.spin_names[0])) {
            findings.at(*settings.spin_names[i], Severity::warning, "several-spin-states",
                        "two spin states (" + settings.spin_names[0]->text + ", " + settings.spin_names[i]->text +
                            "): MOPAC takes one of them");
        }
    }
}

// The electrons MOPAC counts for an element: its atomic number, but 3 for
// the lanthanides Ce to Yb, whose 4f shell MOPAC keeps in the core. False
// when the count is unknown: sparkles, and elements MOPAC has no table for.
bool electrons_of(const GeometryCounts& atoms, long long& electrons) {
    electrons = 0;
    for (std::size_t number = 1; number < atoms.by_atomic_number.size(); ++number) {
        const std::size_t count = atoms.by_atomic_number[number];
        if (count == 0 || number == static_cast<std::size_t>(detail::dummy_atom) ||
            number == static_cast<std::size_t>(detail::translation_vector)) {
            continue;
        }
        if (detail::is_sparkle(static_cast<int>(number))) return false;
        const long long each = number == static_cast<std::size_t>(detail::capped_bond) ? 1
                               : (number >= 58 && number <= 70)                      ? 3
                                                                                     : static_cast<long long>(number);
        electrons += each * static_cast<long long>(count);
    }
    return true;
}

// MOPAC stops at the first fault of the spin state it finds, in this order:
// RHF with UHF, MS with a spin state, the parity of the electrons, a spin
// component that the active space does not span.
void check_spin(Findings& findings, const Settings& settings, const GeometryCounts* atoms) {
    if (settings.rhf != nullptr && settings.uhf != nullptr) {
        findings.at(*settings.uhf, Severity::error, "rhf-and-uhf", "UHF and RHF cannot both be used");
        return;
    }
    if (settings.ms != nullptr && !settings.spin_names.empty()) {
        findings.at(*settings.ms, Severity::error, "ms-with-spin-state",
                    "MS cannot be used with other keywords that define spin");
        return;
    }
    // The multiplicity asked for: by name, or 2 MS + 1.
    double ms = 0.0;
    const bool has_ms = settings.ms != nullptr && whole_number(detail::keyword_value_part(settings.ms->text), ms) &&
                        2 * ms == std::floor(2 * ms);
    const JobKeyword* spin = settings.spin_names.empty() ? (has_ms ? settings.ms : nullptr) : settings.spin_names[0];
    const unsigned int multiplicity = settings.spin_names.empty()
                                          ? static_cast<unsigned int>(std::fabs(2 * ms)) + 1
                                          : spin_state_multiplicity(name_of(*spin));
    long long electrons = 0;
    double charge = 0.0;
    if (atoms != nullptr && electrons_of(*atoms, electrons) &&
        (settings.charge == nullptr || whole_number(detail::keyword_value_part(settings.charge->text), charge))) {
        electrons -= static_cast<long long>(std::llround(charge));
        const bool even = electrons % 2 == 0;
        if (!settings.spin_names.empty() && (multiplicity % 2 == 1) != even) {
            findings.at(*spin, Severity::error, "spin-parity",
                        name_of(*spin) + " SPECIFIED WITH " + (even ? "EVEN" : "ODD") +
                            " NUMBER OF ELECTRONS, CORRECT FAULT");
            return;
        }
        if (settings.spin_names.empty() && settings.ms != nullptr && (!has_ms || (multiplicity % 2 == 1) != even)) {
            findings.at(*settings.ms, Severity::error, "ms-parity", "Value of MS not consistent with number of electrons");
            return;
        }
    }
    if (spin != nullptr && multiplicity >= 3 && settings.uhf == nullptr && !settings.active_space) {
        findings.at(*spin, Severity::error, "spin-not-spanned", "SPECIFIED SPIN COMPONENT NOT SPANNED BY ACTIVE SPACE",
                    "UHF");
    }
}

// Several methods, keywords that hold only with INDO, and elements the
// method has no parameters for. Without a method keyword MOPAC runs PM7.
void check_method(Findings& findings, const Job& job, const Settings& settings, const GeometryCounts* atoms) {
    for (std::size_t i = 1; i < settings.methods.size(); ++i) {
        if (name_of(*settings.methods[i]) != name_of(*settings.methods[0])) {
            findings.at(*settings.methods[i], Severity::error, "several-methods", "IMPOSSIBLE OPTION REQUESTED: " +
                                                                                       settings.methods[0]->text + " and " +
                                                                                       settings.methods[i]->text);
        }
    }
    const std::string method = settings.methods.empty() ? "PM7" : name_of(*settings.methods[0]);
    if (method != "INDO") {
        for (const JobKeyword& keyword : job.keywords) {
            const std::string name = name_of(keyword);
            if (name == "C.A.S." || name == "C.I.D." || name == "MRCI") {
                findings.at(keyword, Severity::error, "indo-only", name + " is only compatible with INDO", "INDO");
            } else if ((name == "CIS" || name == "CISD" || name == "CISDT") && !settings.configuration_interaction) {
                findings.at(keyword, Severity::error, "no-ci", "Keyword \"" + name + "\" used, but no C.I. defined", "C.I.=");
            }
        }
    }
    if (atoms == nullptr || settings.external_parameters) return;
    const detail::MethodElements* table = detail::elements_of_method(mopac_method_runs(method));
    if (table == nullptr) return;
    const std::size_t line = settings.methods.empty() ? job.first_keyword_line : settings.methods[0]->line;
    const std::size_t column = settings.methods.empty() ? 0 : settings.methods[0]->column;
    for (std::size_t number = 1; number <= 97; ++number) {
        if (atoms->by_atomic_number[number] == 0) continue;
        const char verdict = table->elements[number - 1];
        const std::string element(detail::element_symbol(static_cast<int>(number)));
        if (verdict == 'n') {
            findings.add(Severity::error, "missing-parameters", line, column,
                         "Parameters for some elements are missing: " + method + " has none for " + element);
        } else if (verdict == 'j') {
            findings.add(Severity::error, "missing-parameters", line, column,
                         "JOB STOPPED. TO CONTINUE, SPECIFY: " + method + " does not run " + element);
        } else if (verdict == 'v') {
            findings.add(Severity::error, "missing-parameters", line, column,
                         "MISSING VAN DER WAALS RADIUS FOR " + element + " with " + method);
        }
    }
}

// Text that MOPAC reads otherwise than it looks: NUL bytes, a '*' line
// inside a head (dropped, so the next line moves up), a decimal comma in a
// geometry line (a comma separates numbers), a " +" inside a word that
// continues the keywords all the same.
void check_lines(Findings& findings) {
    const MopacJob& job = findings.job();
    if (job.text().find('\0') != std::string::npos) {
        findings.add(Severity::error, "not-text", 0, 0, "the file holds NUL bytes: MOPAC input is text");
    }
    const std::vector<JobLine>& lines = job.lines();
    for (std::size_t i = 0; i < lines.size(); ++i) {
        const std::string_view text = job.line_text(i + 1);
        const JobLine& line = lines[i];
        if (line.role == LineRole::comment && i > 0 && i + 1 < lines.size()) {
            const LineRole before = lines[i - 1].role;
            if ((before == LineRole::keywords || before == LineRole::title) && lines[i - 1].job == lines[i + 1].job &&
                (lines[i + 1].role == LineRole::title || lines[i + 1].role == LineRole::description)) {
                findings.add(Severity::warning, "comment-in-head", i + 1, 1,
                             "MOPAC drops this '*' line, so the next line is read as the " +
                                 std::string(lines[i + 1].role == LineRole::title ? "title" : "description"));
            }
        }
        if (line.role == LineRole::geometry && text.find(' ') != std::string_view::npos) {
            for (std::size_t at = text.find(','); at != std::string_view::npos; at = text.find(',', at + 1)) {
                const std::size_t begin = text.find_last_of(" \t", at) == std::string_view::npos ? 0 : text.find_last_of(" \t", at) + 1;
                const std::size_t end = std::min(text.find_first_of(" \t", at), text.size());
                const std::string_view field = text.substr(begin, end - begin);
                if (at > 0 && at + 1 < text.size() && detail::is_digit(text[at - 1]) && detail::is_digit(text[at + 1]) &&
                    field.find('.') == std::string_view::npos && std::count(field.begin(), field.end(), ',') == 1) {
                    findings.add(Severity::warning, "decimal-comma", i + 1, at + 1,
                                 "a decimal comma: MOPAC reads " + std::string(field) + " as two numbers");
                    break;
                }
            }
        }
        if (line.role == LineRole::keywords && i + 1 < lines.size() && lines[i + 1].role == LineRole::keywords &&
            lines[i + 1].job == line.job) {
            // MOPAC continues at any " +"; a lone "+" is the mark authors write.
            bool mark = false;
            detail::for_each_keyword_token(text, [&mark](std::string_view token) { mark = mark || token == "+"; });
            const std::size_t plus = (" " + std::string(text) + " ").find(" +");
            if (!mark && plus != std::string::npos && text.find('&') == std::string_view::npos &&
                text.find("++") == std::string_view::npos) {
                findings.add(Severity::warning, "plus-in-word", i + 1, plus + 1,
                             "\" +\" inside a word or quotes: MOPAC reads the next line as more keywords");
            }
        }
    }
}

// The whole text is one number: "1", "-2", "0.5", "1.5D0".
bool whole_number(std::string_view text, double& value) noexcept {
    text = detail::trim_space(text);
    std::size_t end = 0;
    return !text.empty() && (detail::is_digit(text[0]) || text[0] == '+' || text[0] == '-' || text[0] == '.') &&
           detail::read_number_in_line(text, 0, value, end) && end == text.size();
}

// The name of MOPAC's list nearest to `name` (at most two edits, a swap of
// neighbours counting one), with "=" where it takes a value: CHRAGE -> CHARGE=.
std::string suggestion_for(std::string_view name) {
    const auto distance = [](std::string_view a, std::string_view b) {
        std::vector<std::vector<std::size_t>> d(a.size() + 1, std::vector<std::size_t>(b.size() + 1));
        for (std::size_t i = 0; i <= a.size(); ++i) d[i][0] = i;
        for (std::size_t j = 0; j <= b.size(); ++j) d[0][j] = j;
        for (std::size_t i = 1; i <= a.size(); ++i) {
            for (std::size_t j = 1; j <= b.size(); ++j) {
                d[i][j] = std::min({d[i - 1][j] + 1, d[i][j - 1] + 1, d[i - 1][j - 1] + (a[i - 1] != b[j - 1])});
                if (i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1]) d[i][j] = std::min(d[i][j], d[i - 2][j - 2] + 1);
            }
        }
        return d[a.size()][b.size()];
    };
    if (name.empty() || name.size() > 40) return {};
    const KeywordInfo* best = nullptr;
    std::size_t best_distance = name.size() <= 3 ? 1 : 2;
    for (const KeywordInfo& info : keyword_catalogue()) {
        if (info.name.empty() || info.name.size() < 2) continue;
        const std::size_t found = distance(name, info.name);
        if (found < best_distance || (found == best_distance && best == nullptr)) {
            best = &info;
            best_distance = found;
        }
    }
    if (best == nullptr) return {};
    std::string suggestion(best->name);
    if (best->forms.rfind("NAME=", 0) == 0) suggestion += "=";
    return suggestion;
}

}  // namespace
}  // namespace vesk::input::mopac
