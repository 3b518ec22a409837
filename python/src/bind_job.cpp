// The job side: an input as MOPAC reads it (MopacJob and its records),
// positions as NumPy arrays, JobEditor, check and MOPAC's keyword list.
//
// A MopacJob cannot be changed from Python, so its long calls run without
// the GIL. A JobEditor can; each one has a lock of its own, taken without
// the GIL held, so that two threads editing one editor take turns.
#include <pybind11/numpy.h>
#include <pybind11/operators.h>
#include <pybind11/stl.h>

#include <array>
#include <climits>
#include <cstddef>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "bindings.hpp"
#include "vesk/input/mopac/catalogue.hpp"
#include "vesk/input/mopac/check.hpp"
#include "vesk/input/mopac/job.hpp"
#include "vesk/input/mopac/job_editor.hpp"

namespace vesk::python {
namespace {

namespace mopac = vesk::input::mopac;
using mopac::CoordinateForm;
using mopac::Diagnostic;
using mopac::GeometryCounts;
using mopac::GeometrySource;
using mopac::HeadForm;
using mopac::Job;
using mopac::JobAtom;
using mopac::JobKeyword;
using mopac::JobLine;
using mopac::JobText;
using mopac::KeywordInfo;
using mopac::LineEnd;
using mopac::LineRole;
using mopac::MopacJob;
using mopac::ReadOptions;
using mopac::Severity;

// A JobEditor and the lock that its Python callers take turns by.
struct LockedEditor {
    mopac::JobEditor editor;
    std::mutex mutex;
    explicit LockedEditor(mopac::JobEditor e) : editor(std::move(e)) {}
};

// Runs `edit` on the editor with its lock held and the GIL released; the
// result is a C++ value, turned into Python once the GIL is back.
template <class Edit>
auto locked(LockedEditor& e, Edit&& edit) {
    py::gil_scoped_release released;
    std::lock_guard<std::mutex> guard(e.mutex);
    return edit(e.editor);
}

void bind_enums(py::module_& m);
void bind_job_records(py::module_& m);
void bind_mopac_job(py::module_& m);
void bind_job_editor(py::module_& m);
void bind_check(py::module_& m);

MopacJob read_text(std::string&& text, bool arc);
std::size_t job_arg(const Int& job);
std::size_t job_arg(const std::optional<Int>& job, std::size_t when_none);
py::array_t<double> rows_of_three(const std::vector<std::array<double, 3>>& rows);
py::object optional_str(const std::optional<std::string>& value);
std::string number_repr(double value);
py::tuple diagnostic_state(const Diagnostic& d);
Diagnostic diagnostic_from_state(const py::tuple& state);
py::tuple atom_state(const JobAtom& a);
JobAtom atom_from_state(const py::tuple& state);

}  // namespace

void bind_job(py::module_& m) {
    bind_enums(m);
    bind_job_records(m);
    bind_mopac_job(m);
    bind_job_editor(m);
    bind_check(m);
}

namespace {

void bind_enums(py::module_& m) {
    py::enum_<LineEnd>(m, "LineEnd", "How a line of the file ended.")
        .value("NONE", LineEnd::none, "the last line of a text that ends without a line end")
        .value("LF", LineEnd::lf)
        .value("CRLF", LineEnd::crlf)
        .value("CR", LineEnd::cr, "a lone carriage return, as in classic-Mac files");
    py::enum_<LineRole>(m, "LineRole", "What MOPAC makes of a line.")
        .value("COMMENT", LineRole::comment, "starts with '*': MOPAC drops it wherever it stands")
        .value("SKIPPED", LineRole::skipped, "before the geometry marker of an .arc file, or a pointer file's body")
        .value("KEYWORDS", LineRole::keywords)
        .value("TITLE", LineRole::title, "the first description line")
        .value("DESCRIPTION", LineRole::description, "the second description line")
        .value("GEOMETRY", LineRole::geometry, "an atom, dummy atom or translation vector (or a PDB record)")
        .value("GEOMETRY_END", LineRole::geometry_end, "blank, atomic number 0 or \" NEXT\"")
        .value("SYMMETRY", LineRole::symmetry)
        .value("VARIABLES", LineRole::variables, "values of the symbols of a Gaussian Z-matrix")
        .value("DATA", LineRole::data, "data a keyword asks for: reaction path points, SETPI pairs, microstates")
        .value("UNREAD", LineRole::unread, "inline geometry that MOPAC does not read (GEO_DAT=, ...)")
        .value("LOST", LineRole::lost, "behind an over-long line up to the next line feed: MOPAC never sees it")
        .value("TRAILING", LineRole::trailing, "blank lines between and behind the jobs");
    py::enum_<Severity>(m, "Severity", "How sure a diagnostic is that the run goes wrong.")
        .value("WARNING", Severity::warning, "MOPAC reads the text, but probably not as its author meant")
        .value("ERROR", Severity::error, "MOPAC stops on it");
    py::enum_<HeadForm>(m, "HeadForm", "The form of the keyword head.")
        .value("PLAIN", HeadForm::plain, "one keyword line, two description lines")
        .value("PLUS", HeadForm::plus, "\" +\" continues the keywords")
        .value("AMPERSAND", HeadForm::ampersand, "'&' continues the keywords")
        .value("DOUBLE_PLUS", HeadForm::double_plus, "\"++\" glues the next line to the keyword line")
        .value("SETUP", HeadForm::setup, "SETUP: more keywords come from a file, which is not read");
    py::enum_<GeometrySource>(m, "GeometrySource", "Where the atoms of a job come from.")
        .value("INLINE_TEXT", GeometrySource::inline_text, "the lines behind the head, MOPAC's own format")
        .value("GAUSSIAN", GeometrySource::gaussian, "the lines behind the head, a Gaussian Z-matrix")
        .value("PDB", GeometrySource::pdb, "the lines behind the head, PDB records")
        .value("GEO_DAT", GeometrySource::geo_dat, "the file named by GEO_DAT=, not read")
        .value("PREVIOUS_JOB", GeometrySource::previous_job, "OLDGEO: the geometry of the job before")
        .value("DATA_POINTER", GeometrySource::data_pointer, "DATA= on the first line: the data set is elsewhere")
        .value("NONE", GeometrySource::none, "the text ends inside the head");
    py::enum_<CoordinateForm>(m, "CoordinateForm", "How the coordinates of an atom line are given.")
        .value("CARTESIAN", CoordinateForm::cartesian, "x, y, z")
        .value("INTERNAL", CoordinateForm::internal, "bond length, angle, dihedral against connectivity atoms");
}

void bind_job_records(py::module_& m) {
    py::class_<JobLine>(m, "JobLine", "One line of the file; its number is its index in MopacJob.lines + 1.")
        .def_readonly("offset", &JobLine::offset, "of its first byte in the text, as bytes")
        .def_readonly("length", &JobLine::length, "in bytes, without the line end")
        .def_property_readonly(
            "end", [](const JobLine& l) { return l.end; }, "how it ended: LineEnd.LF, CRLF, CR or NONE")
        .def_property_readonly(
            "role", [](const JobLine& l) { return l.role; }, "what MOPAC makes of it, a LineRole")
        .def_readonly("job", &JobLine::job, "index into MopacJob.jobs of the job the line belongs to")
        .def(py::self == py::self)  // NOLINT(misc-redundant-expression)
        .def("__repr__", [](const JobLine& l) {
            return "JobLine(offset=" + std::to_string(l.offset) + ", length=" + std::to_string(l.length) +
                   ", end=" + std::string(py::str(py::cast(l.end))) + ", role=" + std::string(py::str(py::cast(l.role))) +
                   ", job=" + std::to_string(l.job) + ")";
        });

    py::class_<Diagnostic>(m, "Diagnostic",
                           "One finding, tied to a place in the file: str() gives \"line:column: severity:\n"
                           "message\", and code is short and stable for scripts (\"unknown-element\").")
        .def(py::init([](Severity severity, const Text& code, std::size_t line, std::size_t column,
                         const Text& message, const Text& suggestion) {
                 return Diagnostic{severity, code.bytes, line, column, message.bytes, suggestion.bytes};
             }),
             py::arg("severity"), py::arg("code"), py::arg("line") = 0, py::arg("column") = 0,
             py::arg("message") = Text{}, py::arg("suggestion") = Text{})
        .def_property_readonly(
            "severity", [](const Diagnostic& d) { return d.severity; }, "ERROR where MOPAC stops, else WARNING")
        .def_property_readonly(
            "code", [](const Diagnostic& d) { return to_str(d.code); }, "stable and short, for scripts")
        .def_readonly("line", &Diagnostic::line, "1-based line number; 0 for the whole file")
        .def_readonly("column", &Diagnostic::column, "1-based byte column in that line; 0 for the whole line")
        .def_property_readonly(
            "message", [](const Diagnostic& d) { return to_str(d.message); },
            "a fixed English sentence, MOPAC's own words where MOPAC stops")
        .def_property_readonly(
            "suggestion", [](const Diagnostic& d) { return to_str(d.suggestion); },
            "what to write instead, or \"\"")
        .def(py::self == py::self)  // NOLINT(misc-redundant-expression)
        .def("__str__",
             [](const Diagnostic& d) {
                 py::str text = to_str(std::to_string(d.line) + ":" + std::to_string(d.column) + ": " +
                                       (d.severity == Severity::error ? "error: " : "warning: ") + d.message);
                 return text;
             })
        .def("__repr__",
             [](const Diagnostic& d) {
                 return "Diagnostic(severity=" + std::string(py::str(py::cast(d.severity))) +
                        ", code=" + repr_text(d.code) + ", line=" + std::to_string(d.line) +
                        ", column=" + std::to_string(d.column) + ", message=" + repr_text(d.message) +
                        (d.suggestion.empty() ? "" : ", suggestion=" + repr_text(d.suggestion)) + ")";
             })
        .def(py::pickle(&diagnostic_state, &diagnostic_from_state));

    py::class_<JobKeyword>(m, "JobKeyword",
                           "One keyword as MOPAC sees it: upper-cased, \"NAME = value\" closed up to\n"
                           "\"NAME=value\", GEO-DAT spelt GEO_DAT; and where it stands in the file.")
        .def_property_readonly(
            "text", [](const JobKeyword& k) { return to_str(k.text); }, "the keyword as MOPAC sees it")
        .def_readonly("line", &JobKeyword::line, "line number of its first byte")
        .def_readonly("column", &JobKeyword::column, "1-based byte column of its first byte")
        .def_readonly("length", &JobKeyword::length, "bytes it covers in that line")
        .def(py::self == py::self)  // NOLINT(misc-redundant-expression)
        .def("__repr__", [](const JobKeyword& k) {
            return "JobKeyword(" + repr_text(k.text) + ", line=" + std::to_string(k.line) +
                   ", column=" + std::to_string(k.column) + ", length=" + std::to_string(k.length) + ")";
        });

    py::class_<JobText>(m, "JobText", "The title or description of a job, as MOPAC keeps it (tabs expanded).")
        .def_property_readonly(
            "text", [](const JobText& t) { return to_str(t.text); }, "as MOPAC keeps it: at most 200 bytes")
        .def_readonly("line", &JobText::line, "its line number; 0 when the head has no such line")
        .def(py::self == py::self)  // NOLINT(misc-redundant-expression)
        .def("__repr__", [](const JobText& t) {
            return "JobText(" + repr_text(t.text) + ", line=" + std::to_string(t.line) + ")";
        });

    py::class_<GeometryCounts>(m, "GeometryCounts", "Counts of what a geometry holds, by line.")
        .def_readonly("atoms", &GeometryCounts::atoms, "real atoms, sparkles and capped bonds")
        .def_readonly("dummies", &GeometryCounts::dummies, "XX and X... atoms, removed before the run")
        .def_readonly("translation_vectors", &GeometryCounts::translation_vectors, "Tv: 1 polymer, 2 layer, 3 solid")
        .def_readonly("internal", &GeometryCounts::internal, "lines in internal coordinates")
        .def_readonly("cartesian", &GeometryCounts::cartesian, "lines in Cartesian coordinates")
        .def_property_readonly(
            "by_atomic_number",
            [](const GeometryCounts& c) {
                return std::vector<std::size_t>(c.by_atomic_number.begin(), c.by_atomic_number.end());
            },
            "108 counts: index = atomic number, 99 dummies, 107 Tv")
        .def(py::self == py::self)  // NOLINT(misc-redundant-expression)
        .def("__repr__", [](const GeometryCounts& c) {
            return "GeometryCounts(atoms=" + std::to_string(c.atoms) + ", dummies=" + std::to_string(c.dummies) +
                   ", translation_vectors=" + std::to_string(c.translation_vectors) +
                   ", internal=" + std::to_string(c.internal) + ", cartesian=" + std::to_string(c.cartesian) + ")";
        });

    py::class_<Job>(m, "Job", "One job of the file, as MOPAC runs it. Most files hold one.")
        .def(py::self == py::self)  // NOLINT(misc-redundant-expression)
        .def_readonly("keywords", &Job::keywords, "list of JobKeyword")
        .def_property_readonly(
            "head", [](const Job& j) { return j.head; }, "the form of the keyword head, a HeadForm")
        .def_readonly("first_keyword_line", &Job::first_keyword_line, "1-based")
        .def_readonly("keyword_line_count", &Job::keyword_line_count, "lines MOPAC reads as keywords")
        .def_readonly("title", &Job::title, "the first description line, a JobText")
        .def_readonly("description", &Job::description, "the second description line, a JobText")
        .def_property_readonly(
            "source", [](const Job& j) { return j.source; }, "where the atoms come from, a GeometrySource")
        .def_property_readonly(
            "source_name", [](const Job& j) { return to_str(j.source_name); },
            "GEO_DAT, SETUP or DATA file name, as written")
        .def_readonly("geometry_begin", &Job::geometry_begin, "index into MopacJob.lines of the first geometry line")
        .def_readonly("geometry_end", &Job::geometry_end, "one past the last geometry line")
        .def_readonly("bohr", &Job::bohr, "lengths in Bohr")
        .def_readonly("counts", &Job::counts, "what the geometry holds, a GeometryCounts")
        .def(
            "has_keyword", [](const Job& j, const Text& name) { return j.has_keyword(name.bytes); }, py::arg("name"),
            "Whether a keyword has the name of `name` (case and value ignored).")
        .def(
            "keyword_value", [](const Job& j, const Text& name) { return optional_str(j.keyword_value(name.bytes)); },
            py::arg("name"), "The value of the first keyword of that name; None when absent, \"\" when bare.")
        .def("__repr__", [](const Job& j) {
            std::string words;
            for (const JobKeyword& k : j.keywords) words += (words.empty() ? "" : " ") + k.text;
            return "<Job keywords=" + repr_text(words) + " title=" + repr_text(j.title.text) +
                   " source=" + std::string(py::str(py::cast(j.source))) +
                   " atoms=" + std::to_string(j.counts.atoms) + ">";
        });

    py::class_<JobAtom>(m, "JobAtom", "One geometry line as MOPAC reads it.")
        .def_readonly("line", &JobAtom::line, "1-based line number")
        .def_readonly("atomic_number", &JobAtom::atomic_number,
                      "1-98 elements, 99 dummy, 100-106 sparkles, 102 Cb, 107 Tv")
        .def_property_readonly(
            "symbol", [](const JobAtom& a) { return to_str(a.symbol); }, "as MOPAC spells it: \"C\", \"Cl\", \"XX\", \"Tv\"")
        .def_property_readonly(
            "label", [](const JobAtom& a) { return to_str(a.label); }, "the text between '(' and ')', or \"\"")
        .def_readonly("isotope_mass", &JobAtom::isotope_mass, "0 unless the line gives one")
        .def_property_readonly(
            "form", [](const JobAtom& a) { return a.form; }, "CoordinateForm.CARTESIAN or INTERNAL")
        .def_property_readonly(
            "values", [](const JobAtom& a) { return py::make_tuple(a.values[0], a.values[1], a.values[2]); },
            "x, y, z, or r, angle, dihedral (degrees), as written")
        .def_property_readonly(
            "flags", [](const JobAtom& a) { return py::make_tuple(a.flags[0], a.flags[1], a.flags[2]); },
            "optimisation flags as MOPAC keeps them")
        .def_property_readonly(
            "connectivity",
            [](const JobAtom& a) {
                return py::make_tuple(a.connectivity[0], a.connectivity[1], a.connectivity[2]);
            },
            "na, nb, nc: 1-based atom numbers, 0 for none")
        .def_property_readonly(
            "extra", [](const JobAtom& a) { return to_str(a.extra); },
            "columns behind those MOPAC reads (charges), as written")
        .def("__eq__",
             [](const JobAtom& a, const JobAtom& b) {
                 return a.line == b.line && a.atomic_number == b.atomic_number && a.symbol == b.symbol &&
                        a.label == b.label && same_number(a.isotope_mass, b.isotope_mass) && a.form == b.form &&
                        same_number(a.values[0], b.values[0]) && same_number(a.values[1], b.values[1]) &&
                        same_number(a.values[2], b.values[2]) && a.flags == b.flags &&
                        a.connectivity == b.connectivity && a.extra == b.extra;
             })
        .def("__repr__",
             [](const JobAtom& a) {
                 std::string text = "JobAtom(line=" + std::to_string(a.line) + ", symbol=" + repr_text(a.symbol);
                 if (!a.label.empty()) text += ", label=" + repr_text(a.label);
                 if (a.isotope_mass != 0.0) text += ", isotope_mass=" + number_repr(a.isotope_mass);
                 text += ", form=" + std::string(py::str(py::cast(a.form))) + ", values=(" + number_repr(a.values[0]) +
                         ", " + number_repr(a.values[1]) + ", " + number_repr(a.values[2]) + "), flags=(" +
                         std::to_string(a.flags[0]) + ", " + std::to_string(a.flags[1]) + ", " +
                         std::to_string(a.flags[2]) + ")";
                 if (a.form == CoordinateForm::internal) {
                     text += ", connectivity=(" + std::to_string(a.connectivity[0]) + ", " +
                             std::to_string(a.connectivity[1]) + ", " + std::to_string(a.connectivity[2]) + ")";
                 }
                 return text + ")";
             })
        .def(py::pickle(&atom_state, &atom_from_state));
}

void bind_mopac_job(py::module_& m) {
    py::class_<MopacJob>(m, "MopacJob",
                         "An input file read as MOPAC reads it: every line with its role, the jobs\n"
                         "with their keywords, the atoms and their Cartesian positions, and the\n"
                         "defects of the text as line-numbered diagnostics. Reading never raises on\n"
                         "any bytes. Made by read_job() or read_job_file(); it cannot be changed.\n\n"
                         "    job = vesk_mopac.read_job_file(\"in.mop\")\n"
                         "    for d in job.diagnostics:\n"
                         "        print(d)\n"
                         "    xyz = job.positions()   # numpy array (n, 3), Å")
        .def(py::init<>(), "The reading of an empty text.")
        .def_property_readonly(
            "text", [](const MopacJob& j) { return to_str(j.text()); }, "the whole text as read")
        .def_property_readonly(
            "text_bytes", [](const MopacJob& j) { return py::bytes(j.text()); }, "the whole text as bytes")
        .def_property_readonly(
            "arc", [](const MopacJob& j) { return j.options().arc; }, "whether it was read as an .arc file")
        .def_property_readonly(
            "lines", [](const MopacJob& j) { return std::vector<JobLine>(j.lines().begin(), j.lines().end()); },
            "every line with what MOPAC makes of it, a list of JobLine")
        .def(
            "line_text", [](const MopacJob& j, std::size_t number) { return to_str(j.line_text(number)); },
            py::arg("number"), "The text of a line (1-based number) without its line end; \"\" outside the file.")
        .def_property_readonly(
            "jobs", [](const MopacJob& j) { return j.jobs(); },
            "the jobs in the order MOPAC runs them, a list of Job; empty for an empty text")
        .def_property_readonly(
            "diagnostics", [](const MopacJob& j) { return j.diagnostics(); },
            "everything found in reading, in line order (check() adds the keyword checks)")
        .def_property_readonly("has_errors", &MopacJob::has_errors, "whether a diagnostic is an error: MOPAC would stop")
        .def(
            "atoms",
            [](const MopacJob& j, const Int& job) {
                const std::size_t index = job_arg(job);
                py::gil_scoped_release released;
                return j.atoms(index);
            },
            py::arg("job") = 0, "The geometry lines of a job as a list of JobAtom.")
        .def(
            "geometry",
            [](const MopacJob& j, const Int& job) {
                const std::size_t index = job_arg(job);
                py::gil_scoped_release released;
                return j.geometry(index).atoms;
            },
            py::arg("job") = 0,
            "The atoms of a job as MOPAC places them, a list of Atom (Å): internal\n"
            "coordinates converted, symmetry applied, dummies and Tv left out. Empty\n"
            "when the atoms come from elsewhere or cannot be placed (see diagnostics).")
        .def(
            "positions",
            [](const MopacJob& j, const Int& job) {
                const std::size_t index = job_arg(job);
                vesk::core::Geometry geometry;
                {
                    py::gil_scoped_release released;
                    geometry = j.geometry(index);
                }
                const auto count = static_cast<py::ssize_t>(geometry.atoms.size());
                py::array_t<double> positions({count, py::ssize_t{3}});
                double* out = positions.mutable_data();
                py::gil_scoped_release released;
                for (const vesk::core::Atom& atom : geometry.atoms) {
                    *out++ = atom.x;
                    *out++ = atom.y;
                    *out++ = atom.z;
                }
                return positions;
            },
            py::arg("job") = 0,
            "The positions of geometry(job) as one NumPy array of shape (n, 3), float64, Å.")
        .def(
            "symbols",
            [](const MopacJob& j, const Int& job) {
                const std::size_t index = job_arg(job);
                vesk::core::Geometry geometry;
                {
                    py::gil_scoped_release released;
                    geometry = j.geometry(index);
                }
                py::list symbols(geometry.atoms.size());
                for (std::size_t i = 0; i < geometry.atoms.size(); ++i) symbols[i] = to_str(geometry.atoms[i].element);
                return symbols;
            },
            py::arg("job") = 0, "The element symbols of geometry(job), a list of str.")
        .def(
            "placement",
            [](const MopacJob& j, const Int& job) {
                const std::size_t index = job_arg(job);
                vesk::core::Geometry geometry;
                std::vector<std::array<double, 3>> vectors;
                {
                    py::gil_scoped_release released;
                    geometry = j.geometry(index);
                    // Only a periodic job has vectors to place; the others are placed once.
                    if (index < j.jobs().size() && j.jobs()[index].counts.translation_vectors > 0) {
                        vectors = j.translation_vectors(index);
                    }
                }
                py::list symbols(geometry.atoms.size());
                py::array_t<double> positions({static_cast<py::ssize_t>(geometry.atoms.size()), py::ssize_t{3}});
                double* out = positions.mutable_data();
                for (std::size_t i = 0; i < geometry.atoms.size(); ++i) {
                    const vesk::core::Atom& atom = geometry.atoms[i];
                    symbols[i] = to_str(atom.element);
                    *out++ = atom.x;
                    *out++ = atom.y;
                    *out++ = atom.z;
                }
                return py::make_tuple(symbols, positions, rows_of_three(vectors));
            },
            py::arg("job") = 0,
            "symbols(job), positions(job) and translation_vectors(job) from one placement\n"
            "of the atoms, as a tuple (list of str, array (n, 3), array (k, 3)).")
        .def(
            "translation_vectors",
            [](const MopacJob& j, const Int& job) {
                const std::size_t index = job_arg(job);
                std::vector<std::array<double, 3>> vectors;
                {
                    py::gil_scoped_release released;
                    vectors = j.translation_vectors(index);
                }
                return rows_of_three(vectors);
            },
            py::arg("job") = 0,
            "The translation vectors of a job as a NumPy array of shape (k, 3), k 0 to 3, Å.")
        .def("__eq__",
             [](const MopacJob& a, const MopacJob& b) {
                 return a.text() == b.text() && a.options().arc == b.options().arc;
             })
        .def("__repr__",
             [](const MopacJob& j) {
                 std::size_t errors = 0;
                 for (const Diagnostic& d : j.diagnostics()) errors += d.severity == Severity::error;
                 return "<MopacJob lines=" + std::to_string(j.lines().size()) + " jobs=" +
                        std::to_string(j.jobs().size()) + " atoms=" +
                        std::to_string(j.jobs().empty() ? 0 : j.jobs().front().counts.atoms) + " errors=" +
                        std::to_string(errors) + " warnings=" + std::to_string(j.diagnostics().size() - errors) + ">";
             })
        .def(py::pickle([](const MopacJob& j) { return py::make_tuple(py::bytes(j.text()), j.options().arc); },
                        [](const py::tuple& state) {
                            checked_state(state, 2, "MopacJob");
                            std::string text = state_bytes(state[0]);
                            const bool arc = state[1].cast<bool>();
                            py::gil_scoped_release released;
                            return read_text(std::move(text), arc);
                        }));

    m.def(
        "read_job",
        [](Text& text, bool arc) {
            py::gil_scoped_release released;
            return read_text(std::move(text.bytes), arc);
        },
        py::arg("text"), py::arg("arc") = false,
        "Reads a MOPAC input (str or bytes) as MOPAC reads it and returns a MopacJob.\n\n"
        "Any bytes are accepted: defects of the text are diagnostics of the job,\n"
        "never exceptions. arc=True reads the text as an .arc file, from the line\n"
        "behind its \"FINAL GEOMETRY OBTAINED\" marker. The GIL is released while\n"
        "the text is read::\n\n"
        "    job = vesk_mopac.read_job(text)\n"
        "    if job.has_errors:\n"
        "        print(*job.diagnostics, sep=\"\\n\")\n"
        "    positions = job.positions()   # (n, 3) float64");
    m.def(
        "read_job_file",
        [](const Path& path, std::optional<bool> arc) {
            std::string text = read_file(path);
            // As MOPAC does: a file whose name holds ".arc" is an archive.
            std::string upper = path.bytes;
            for (char& c : upper) c = (c >= 'a' && c <= 'z') ? static_cast<char>(c - 'a' + 'A') : c;
            const bool as_arc = arc.value_or(upper.find(".ARC") != std::string::npos);
            py::gil_scoped_release released;
            return read_text(std::move(text), as_arc);
        },
        py::arg("path"), py::arg("arc") = py::none(),
        "Reads the file at `path` (str, bytes or os.PathLike) as read_job does.\n\n"
        "arc=None reads it as an .arc file when its path holds \".arc\" in any case,\n"
        "as MOPAC does. OSError (FileNotFoundError, ...) with the path when the\n"
        "file cannot be read.");
}

void bind_job_editor(py::module_& m) {
    const char* job_doc = "job: the index of the job to edit; None edits every job";
    auto doc = [job_doc](const char* what) { return std::string(what) + "\n" + job_doc; };
    py::register_exception<mopac::EditRefused>(m, "EditRefused", PyExc_ValueError);
    py::class_<LockedEditor>(m, "JobEditor",
                             "Edits the text of an input where MOPAC reads it, and nowhere else: keyword\n"
                             "edits rewrite only the keyword lines MOPAC reads, title and description\n"
                             "edits only those lines; every other byte stays, line ends included.\n"
                             "Edits are recorded and applied together when the text is asked for\n"
                             "(text, job, apply(), write_file()); the result is read again as MOPAC\n"
                             "reads it and proven: the same atoms, the keywords, title and description\n"
                             "as asked, no new error unless allow_new_errors(). A result that fails\n"
                             "raises EditRefused (a ValueError) naming what differs, and nothing of\n"
                             "those edits is kept or written. An argument no file could take raises\n"
                             "ValueError at once; a job index the file does not have IndexError.\n\n"
                             "    editor = vesk_mopac.JobEditor(pathlib.Path(\"in.mop\").read_bytes())\n"
                             "    editor.set_method(\"PM7\")\n"
                             "    editor.set_charge(1)\n"
                             "    editor.write_file(\"in.mop\")")
        .def(py::init([](const MopacJob& job) {
                 MopacJob copy = job;
                 py::gil_scoped_release released;
                 return std::make_unique<LockedEditor>(mopac::JobEditor(std::move(copy)));
             }),
             py::arg("job"), "Edits the text of a reading.")
        .def(py::init([](Text& text, bool arc) {
                 ReadOptions options;
                 options.arc = arc;
                 py::gil_scoped_release released;
                 return std::make_unique<LockedEditor>(mopac::JobEditor(std::move(text.bytes), options));
             }),
             py::arg("text"), py::arg("arc") = false, "Reads `text` (str or bytes) as read_job does, then edits it.")
        .def_property_readonly(
            "text", [](LockedEditor& e) { return to_str(locked(e, [](mopac::JobEditor& x) { return x.text(); })); },
            "the text as edited so far")
        .def_property_readonly(
            "text_bytes",
            [](LockedEditor& e) { return py::bytes(locked(e, [](mopac::JobEditor& x) { return x.text(); })); },
            "the text as edited so far, as bytes")
        .def_property_readonly(
            "job", [](LockedEditor& e) { return locked(e, [](mopac::JobEditor& x) { return x.job(); }); },
            "the text as edited so far read as MOPAC reads it (a MopacJob)")
        .def(
            "set_method",
            [](LockedEditor& e, Text& method, const std::optional<Int>& job) {
                const std::size_t index = job_arg(job, mopac::JobEditor::every_job);
                locked(e, [&](mopac::JobEditor& x) { x.set_method(method.bytes, index); });
            },
            py::arg("method"), py::arg("job") = py::none(),
            doc("Removes every method keyword MOPAC runs and writes `method` in the place\n"
                "of the first, or in front.")
                .c_str())
        .def(
            "set_charge",
            [](LockedEditor& e, const Int& charge, const std::optional<Int>& job) {
                const int value = static_cast<int>(checked_int(charge, INT_MIN, INT_MAX, "charge"));
                const std::size_t index = job_arg(job, mopac::JobEditor::every_job);
                locked(e, [&](mopac::JobEditor& x) { x.set_charge(value, index); });
            },
            py::arg("charge"), py::arg("job") = py::none(),
            doc("Writes CHARGE=<charge> in the place of the first CHARGE keyword.").c_str())
        .def(
            "set_multiplicity",
            [](LockedEditor& e, const Int& multiplicity, const std::optional<Int>& job) {
                const auto value = static_cast<unsigned>(checked_int(multiplicity, 1, UINT_MAX, "multiplicity"));
                const std::size_t index = job_arg(job, mopac::JobEditor::every_job);
                locked(e, [&](mopac::JobEditor& x) { x.set_multiplicity(value, index); });
            },
            py::arg("multiplicity"), py::arg("job") = py::none(),
            doc("Replaces the spin keywords (SINGLET to NONET, MS, BIRADICAL) by\n"
                "MS=<(m-1)/2>; above 1 also UHF in place of RHF, unless an active space\n"
                "lets RHF describe the open shells. ValueError below 1.")
                .c_str())
        .def(
            "set_auxiliary_output",
            [](LockedEditor& e, const Int& precision, bool xp, const std::optional<Int>& job) {
                const int value = static_cast<int>(checked_int(precision, INT_MIN, INT_MAX, "precision"));
                const std::size_t index = job_arg(job, mopac::JobEditor::every_job);
                locked(e, [&](mopac::JobEditor& x) { x.set_auxiliary_output(value, xp, index); });
            },
            py::arg("precision"), py::arg("include_xp_xs_xw") = false, py::arg("job") = py::none(),
            doc("Sets PRECISION=<precision> in the AUX keyword, keeping its other options,\n"
                "or writes AUX(PRECISION=<p>[,XP,XS,XW]). ValueError outside 0 to 18.")
                .c_str())
        .def(
            "clear_auxiliary_output",
            [](LockedEditor& e, const std::optional<Int>& job) {
                const std::size_t index = job_arg(job, mopac::JobEditor::every_job);
                return locked(e, [&](mopac::JobEditor& x) { return x.clear_auxiliary_output(index); });
            },
            py::arg("job") = py::none(), doc("Removes every AUX keyword; True when one was removed.").c_str())
        .def(
            "set_keyword",
            [](LockedEditor& e, Text& name, const std::optional<Text>& value, const std::optional<Int>& job) {
                const std::size_t index = job_arg(job, mopac::JobEditor::every_job);
                std::optional<std::string_view> text;
                if (value) text = value->bytes;
                locked(e, [&](mopac::JobEditor& x) { x.set_keyword(name.bytes, text, index); });
            },
            py::arg("name"), py::arg("value") = py::none(), py::arg("job") = py::none(),
            doc("Writes NAME (value None) or NAME=value in the place of the first keyword\n"
                "of that name, keeping how the name is spelt, and removes the others.")
                .c_str())
        .def(
            "add_keyword",
            [](LockedEditor& e, Text& keyword, const std::optional<Int>& job) {
                const std::size_t index = job_arg(job, mopac::JobEditor::every_job);
                locked(e, [&](mopac::JobEditor& x) { x.add_keyword(keyword.bytes, index); });
            },
            py::arg("keyword"), py::arg("job") = py::none(),
            doc("Appends one keyword to the job's last keyword line.").c_str())
        .def(
            "remove_keyword",
            [](LockedEditor& e, Text& name, const std::optional<Int>& job) {
                const std::size_t index = job_arg(job, mopac::JobEditor::every_job);
                return locked(e, [&](mopac::JobEditor& x) { return x.remove_keyword(name.bytes, index); });
            },
            py::arg("name"), py::arg("job") = py::none(),
            doc("Removes every keyword of that name; True when one was removed.").c_str())
        .def(
            "set_title",
            [](LockedEditor& e, Text& title, const Int& job) {
                const std::size_t index = job_arg(job);
                locked(e, [&](mopac::JobEditor& x) { x.set_title(title.bytes, index); });
            },
            py::arg("title"), py::arg("job") = 0,
            "Replaces the title line of a job (the first by default). ValueError for a\n"
            "title with a line break, or one MOPAC would drop (a first '*').")
        .def(
            "set_description",
            [](LockedEditor& e, Text& description, const Int& job) {
                const std::size_t index = job_arg(job);
                locked(e, [&](mopac::JobEditor& x) { x.set_description(description.bytes, index); });
            },
            py::arg("description"), py::arg("job") = 0, "Replaces the description line, as set_title does.")
        .def(
            "apply", [](LockedEditor& e) { locked(e, [](mopac::JobEditor& x) { x.apply(); }); },
            "Applies the recorded edits and proves the result; EditRefused when it fails.")
        .def_property_readonly(
            "changed", [](LockedEditor& e) { return locked(e, [](mopac::JobEditor& x) { return x.changed(); }); },
            "whether the proven text differs from the text the editor was given")
        .def(
            "lay_out_keywords",
            [](LockedEditor& e, const Int& width) {
                const auto value = static_cast<unsigned long long>(checked_int(width, 0, LLONG_MAX, "width"));
                locked(e, [&](mopac::JobEditor& x) { x.lay_out_keywords(value); });
            },
            py::arg("width") = 78,
            "Lays the keyword lines of every job out anew, at most `width` bytes where a\n"
            "line holds more than one keyword, in the head's own continuation style and\n"
            "never in more lines than MOPAC reads.")
        .def(
            "allow_new_errors",
            [](LockedEditor& e, bool allow) { locked(e, [&](mopac::JobEditor& x) { x.allow_new_errors(allow); }); },
            py::arg("allow") = true, "Lets the proof accept a result with errors the input did not have.")
        .def(
            "write_file",
            [](LockedEditor& e, const Path& path) {
                write_file(path, locked(e, [](mopac::JobEditor& x) { return x.text(); }));
            },
            py::arg("path"),
            "Proves the edits, then writes the text atomically; EditRefused when the proof\n"
            "fails (nothing is written), OSError with the path when the write fails.")
        .def("__repr__", [](LockedEditor& e) {
            MopacJob job = locked(e, [](mopac::JobEditor& x) { return x.job(); });
            return "<JobEditor lines=" + std::to_string(job.lines().size()) +
                   " jobs=" + std::to_string(job.jobs().size()) + ">";
        });
}

void bind_check(py::module_& m) {
    m.def(
        "check",
        [](const MopacJob& job, const std::string& input_path) {
            py::gil_scoped_release released;
            return mopac::check_job(job, mopac::CheckOptions{input_path});
        },
        py::arg("job"), py::arg("input_path") = std::string(),
        "Everything MOPAC would stop on or misread in an input, a list of Diagnostic\n"
        "in line order: the findings of the reading and those that need the keywords\n"
        "as a whole (unknown words with a suggestion, CHARGE and MS values, spin\n"
        "against the electron count, several methods, elements a method has no\n"
        "parameters for, ...). Errors are where MOPAC stops. With the input's path,\n"
        "the files it names (EXTERNAL=, GEO_DAT=, SETUP, RESTART, ...) are looked for\n"
        "beside it as MOPAC looks for them::\n\n"
        "    for d in vesk_mopac.check(vesk_mopac.read_job_file(\"in.mop\"), \"in.mop\"):\n"
        "        print(d)");

    py::class_<KeywordInfo>(m, "KeywordInfo", "One keyword of MOPAC's keyword list.")
        .def_property_readonly(
            "name", [](const KeywordInfo& k) { return to_str(k.name); },
            "\"CHARGE\"; \"\" for a prefix MOPAC accepts but does not document")
        .def_property_readonly(
            "forms", [](const KeywordInfo& k) { return to_str(k.forms); },
            "how it is written: \"NAME\", \"NAME=value\", \"NAME(args)\", several with ','")
        .def_property_readonly(
            "prefixes", [](const KeywordInfo& k) { return to_str(k.prefixes); },
            "what MOPAC's keyword check recognises, '|' between")
        .def_readonly("method", &KeywordInfo::method, "whether the name alone selects the Hamiltonian")
        .def("__repr__", [](const KeywordInfo& k) {
            return "KeywordInfo(name=" + repr_text(std::string(k.name)) + ", forms=" +
                   repr_text(std::string(k.forms)) + ", method=" + (k.method ? "True" : "False") + ")";
        });

    m.def(
        "keyword_catalogue",
        []() {
            py::list list;
            for (const KeywordInfo& info : mopac::keyword_catalogue()) {
                list.append(py::cast(&info, py::return_value_policy::reference));
            }
            return list;
        },
        "MOPAC's keywords in MOPAC's order, a list of KeywordInfo.");
    m.def(
        "find_keyword",
        [](const Text& name) -> py::object {
            const KeywordInfo* info = mopac::find_keyword(name.bytes);
            if (info == nullptr) return py::none();
            return py::cast(info, py::return_value_policy::reference);
        },
        py::arg("name"), "The KeywordInfo of an upper-case keyword name; None when MOPAC has no such keyword.");
    m.def(
        "is_mopac_method", [](const Text& name) { return mopac::is_mopac_method(name.bytes); }, py::arg("name"),
        "Whether MOPAC runs a method of that (upper-case) name: \"PM7\", \"PM6-D3H4\", ...");
    m.def(
        "mopac_accepts_keyword", [](const Text& keyword) { return mopac::mopac_accepts_keyword(keyword.bytes); },
        py::arg("keyword"),
        "Whether MOPAC's own keyword check accepts a keyword as written (any case):\n"
        "\"CHARGE=1\" yes, \"CHRAGE=1\" no.");
}

MopacJob read_text(std::string&& text, bool arc) {
    ReadOptions options;
    options.arc = arc;
    return mopac::read_job(std::move(text), options);
}

std::size_t job_arg(const Int& job) {
    return static_cast<std::size_t>(checked_int(job, 0, LLONG_MAX, "job"));
}

std::size_t job_arg(const std::optional<Int>& job, std::size_t when_none) {
    return job ? job_arg(*job) : when_none;
}

py::array_t<double> rows_of_three(const std::vector<std::array<double, 3>>& rows) {
    py::array_t<double> array({static_cast<py::ssize_t>(rows.size()), py::ssize_t{3}});
    double* out = array.mutable_data();
    for (const std::array<double, 3>& row : rows) {
        for (double value : row) *out++ = value;
    }
    return array;
}

py::object optional_str(const std::optional<std::string>& value) {
    if (!value) return py::none();
    return to_str(*value);
}

std::string number_repr(double value) { return py::repr(py::float_(value)); }

py::tuple diagnostic_state(const Diagnostic& d) {
    return py::make_tuple(static_cast<int>(d.severity), py::bytes(d.code), d.line, d.column, py::bytes(d.message),
                          py::bytes(d.suggestion));
}

Diagnostic diagnostic_from_state(const py::tuple& state) {
    checked_state(state, 6, "Diagnostic");
    return Diagnostic{static_cast<Severity>(state[0].cast<int>()), state_bytes(state[1]), state[2].cast<std::size_t>(),
                      state[3].cast<std::size_t>(), state_bytes(state[4]), state_bytes(state[5])};
}

py::tuple atom_state(const JobAtom& a) {
    return py::make_tuple(a.line, a.atomic_number, py::bytes(a.symbol), py::bytes(a.label), a.isotope_mass,
                          static_cast<int>(a.form), a.values, a.flags, a.connectivity, py::bytes(a.extra));
}

JobAtom atom_from_state(const py::tuple& state) {
    checked_state(state, 10, "JobAtom");
    JobAtom a;
    a.line = state[0].cast<std::size_t>();
    a.atomic_number = state[1].cast<int>();
    a.symbol = state_bytes(state[2]);
    a.label = state_bytes(state[3]);
    a.isotope_mass = state[4].cast<double>();
    a.form = static_cast<CoordinateForm>(state[5].cast<int>());
    a.values = state[6].cast<std::array<double, 3>>();
    a.flags = state[7].cast<std::array<int, 3>>();
    a.connectivity = state[8].cast<std::array<std::size_t, 3>>();
    a.extra = state_bytes(state[9]);
    return a;
}

}  // namespace
}  // namespace vesk::python
