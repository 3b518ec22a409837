// The findings of the MOPAC reading. Where MOPAC stops, the message holds
// MOPAC's own words, so that a user can find them in a MOPAC output.
#include "job/issues.hpp"

#include <array>

namespace vesk::input::mopac::detail {
namespace {

constexpr Severity error = Severity::error;
constexpr Severity warning = Severity::warning;

constexpr std::array<IssueInfo, static_cast<std::size_t>(Issue::too_many_diagnostics) + 1> table = {{
    {"line-too-long", warning, "MOPAC reads only the first 2000 bytes of this line"},
    {"geometry-line-too-long", warning, "MOPAC reads only the first 241 bytes of a geometry line"},
    {"lines-lost", warning, "MOPAC never sees this line: it skips from an over-long line to the next line feed"},
    {"no-arc-marker", warning, "no FINAL GEOMETRY OBTAINED marker in this .arc file: read from its first line"},
    {"data-pointer", warning, "DATA= on the first line: MOPAC reads its data set from {}"},
    {"too-many-keyword-lines", error, "A maximum of three lines of keywords are allowed."},
    {"setup-with-plus", error, "SETUP cannot be used with a ' + ' continuation of the keywords"},
    {"setup-file", warning, "SETUP: MOPAC reads more keywords from {}, which is not checked here"},
    {"keywords-too-long", warning, "the keywords are longer than the 3000 bytes MOPAC keeps: the rest is lost"},
    {"text-too-long", warning, "MOPAC keeps only the first 200 bytes of the {}"},
    {"short-head", warning, "the text ends inside the keywords, title and description of the job"},
    {"geometry-from-file", warning, "the atoms come from {}, which is not read here"},
    {"oldgeo-first-job", error, "OLDGEO in the first job: there is no previous geometry"},
    {"no-atoms", error, "Data set does not contain any atoms"},
    {"missing-parenthesis", error, "the label opened by '(' has no ')'"},
    {"label-too-long", error, "a label longer than 38 characters: {}"},
    {"label-length-changes", error, "labels of different lengths after a 27-character label ({}); use GEO-OK"},
    {"unknown-element", error, "UNRECOGNIZED ELEMENT NAME: {}"},
    {"illegal-atomic-number", error, "ILLEGAL ATOMIC NUMBER: {}"},
    {"flag-out-of-range", error, "Unless MINI is used, optimization flags must be 1, 0, or -1"},
    {"geometry-faulty", error, "GEOMETRY IS FAULTY: a letter where an optimization flag belongs ({})"},
    {"short-line-in-zmatrix", warning,
     "a line of {} fields inside a Z-matrix: MOPAC reads it as Cartesian x, y, z, not as internal coordinates (too few fields for r, angle, dihedral and three atom numbers)"},
    {"atom-after-translation-vector", error, "TRANSLATION VECTORS MUST BE AT THE END OF THE DATA SET"},
    {"ill-defined-atom", error, "ATOM NUMBER {} IS ILL-DEFINED"},
    {"coincident-atoms", error, "TWO ATOMS ARE COINCIDENT: the reference atoms of atom {}"},
    {"dummies-with-irc-drc", error, "IRC and DRC cannot be used with dummy atoms unless 0SCF is set"},
    {"undefined-symbol", error, "the Z-matrix symbol {} has no value"},
    {"too-many-gaussian-atoms", error, "a Gaussian Z-matrix of more than 900 atoms"},
    {"bad-symmetry-line", error, "a symmetry line that MOPAC cannot use: {}"},
    {"too-many-diagnostics", warning, "{} more findings are not listed"},
}};

}  // namespace

const IssueInfo& issue_info(Issue issue) noexcept { return table[static_cast<std::size_t>(issue)]; }

std::string issue_message(Issue issue, std::string_view detail) {
    const std::string_view message = issue_info(issue).message;
    const std::size_t at = message.find("{}");
    if (at == std::string_view::npos) return std::string(message);
    std::string text;
    text.reserve(message.size() + detail.size());
    text.append(message.substr(0, at)).append(detail).append(message.substr(at + 2));
    return text;
}

}  // namespace vesk::input::mopac::detail
