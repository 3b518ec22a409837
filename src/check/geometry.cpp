// The atoms against the method: elements the method has no parameters for.
// Without a method keyword MOPAC runs PM7. The hint is a method that runs
// every element of the job.
#include <cctype>
#include <string>

#include "check/findings.hpp"
#include "job/elements.hpp"
#include "mopac/tables.hpp"
#include "vesk/input/mopac/catalogue.hpp"
#include "vesk/input/mopac/document.hpp"

namespace vesk::input::mopac::check {

void check_method_elements(Findings& findings, const Keywords& keywords, const GeometryCounts* atoms) {
    if (atoms == nullptr || keywords.has("EXTERNAL")) return;
    const JobKeyword* method_keyword = keywords.method();
    const std::string method = method_keyword == nullptr ? "PM7" : normalize_keyword_name(method_keyword->text);
    const detail::MethodElements* table = detail::elements_of_method(mopac_method_runs(method));
    if (table == nullptr) return;
    // A method that runs every element of the job, the newest first.
    std::string instead;
    for (const char* other : {"PM7", "PM6-D3H4", "PM6", "RM1", "AM1", "PM3", "MNDO", "MNDOD"}) {
        const detail::MethodElements* row = detail::elements_of_method(other);
        bool all = row != nullptr;
        for (std::size_t number = 1; all && number <= 97; ++number) {
            all = atoms->by_atomic_number[number] == 0 || row->elements[number - 1] == 'y';
        }
        if (all) {
            instead = other;
            break;
        }
    }
    const std::size_t line = method_keyword == nullptr ? keywords.job().first_keyword_line : method_keyword->line;
    const std::size_t column = method_keyword == nullptr ? 0 : method_keyword->column;
    for (std::size_t number = 1; number <= 97; ++number) {
        if (atoms->by_atomic_number[number] == 0) continue;
        const char verdict = table->elements[number - 1];
        const std::string element(detail::element_symbol(static_cast<int>(number)));
        if (verdict == 'n') {
            findings.add(Severity::error, "missing-parameters", line, column,
                         "Parameters for some elements are missing: " + method + " has none for " + element, instead);
        } else if (verdict == 'j') {
            findings.add(Severity::error, "missing-parameters", line, column,
                         "JOB STOPPED. TO CONTINUE, SPECIFY \"GEO-OK\": " + method + " does not run " + element, instead);
        } else if (verdict == 'v') {
            std::string upper = element;
            for (char& c : upper) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
            findings.add(Severity::error, "missing-parameters", line, column, "MISSING VAN DER WAALS RADIUS FOR " + upper, instead);
        }
    }
}

}  // namespace vesk::input::mopac::check
