// The document side: MopacInput and its records, parse, InputEditor and
// InputBuilder.
//
// Documents are values: a field read gives a copy (a list of new records),
// and a change is made by assigning the field. Rendering works on a copy
// taken while the GIL is held, so that another thread may change the
// document meanwhile without harm.
#include <pybind11/stl.h>

#include <climits>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "bindings.hpp"
#include "vesk/core/geometry.hpp"
#include "vesk/input/mopac/catalogue.hpp"
#include "vesk/input/mopac/builder.hpp"
#include "vesk/input/mopac/document.hpp"
#include "vesk/input/mopac/editor.hpp"
#include "vesk/input/mopac/parser.hpp"

namespace vesk::python {
namespace {

using vesk::core::Atom;
using vesk::input::mopac::CoordinateKind;
using vesk::input::mopac::CoordinateRecord;
using vesk::input::mopac::InputBuilder;
using vesk::input::mopac::InputEditor;
using vesk::input::mopac::MopacInput;
using vesk::input::mopac::ParseResult;

constexpr unsigned long long default_width = vesk::input::mopac::default_keyword_line_width;

bool same_record(const CoordinateRecord& a, const CoordinateRecord& b);
bool same_input(const MopacInput& a, const MopacInput& b);
py::tuple record_state(const CoordinateRecord& record);
CoordinateRecord record_from_state(const py::tuple& state);
py::tuple input_state(const MopacInput& input);
MopacInput input_from_state(const py::tuple& state);
std::string record_repr(const CoordinateRecord& record);
std::vector<Atom> atoms_from(const py::iterable& atoms);
std::string render(const MopacInput& input);
unsigned long long width_arg(const Int& width);

void bind_records(py::module_& m);
void bind_input(py::module_& m);
void bind_parse(py::module_& m);
void bind_editor(py::module_& m);
void bind_builder(py::module_& m);

}  // namespace

void bind_document(py::module_& m) {
    bind_records(m);
    bind_input(m);
    bind_parse(m);
    bind_editor(m);
    bind_builder(m);
}

namespace {

void bind_records(py::module_& m) {
    py::enum_<CoordinateKind>(m, "CoordinateKind", "What one line of the coordinate block holds.")
        .value("ATOM", CoordinateKind::Atom, "an element, three coordinates, optional flags")
        .value("TRANSLATION_VECTOR", CoordinateKind::TranslationVector, "\"Tv\" and three coordinates, optional flags")
        .value("RAW", CoordinateKind::Raw, "any other line, kept as text in raw_line");

    py::class_<CoordinateRecord>(m, "CoordinateRecord",
                                 "One line of the coordinate block of a MopacInput.\n\n"
                                 "An ATOM has element, x, y, z and, when has_optimization_flags is true, the\n"
                                 "flags optimize_x/y/z; a TRANSLATION_VECTOR the same without element; a RAW\n"
                                 "record only raw_line, the whole line as read, written back unchanged.")
        .def(py::init([](CoordinateKind kind, const Text& element, double x, double y, double z,
                         bool has_optimization_flags, int optimize_x, int optimize_y, int optimize_z,
                         const Text& raw_line) {
                 CoordinateRecord record;
                 record.kind = kind;
                 record.element = element.bytes;
                 record.x = x;
                 record.y = y;
                 record.z = z;
                 record.has_optimization_flags = has_optimization_flags;
                 record.optimize_x = optimize_x;
                 record.optimize_y = optimize_y;
                 record.optimize_z = optimize_z;
                 record.raw_line = raw_line.bytes;
                 return record;
             }),
             py::arg("kind") = CoordinateKind::Atom, py::arg("element") = Text{}, py::arg("x") = 0.0,
             py::arg("y") = 0.0, py::arg("z") = 0.0, py::arg("has_optimization_flags") = false,
             py::arg("optimize_x") = 1, py::arg("optimize_y") = 1, py::arg("optimize_z") = 1,
             py::arg("raw_line") = Text{})
        .def_property(
            "kind", [](const CoordinateRecord& r) { return r.kind; },
            [](CoordinateRecord& r, CoordinateKind kind) { r.kind = kind; }, "ATOM, TRANSLATION_VECTOR or RAW")
        .def_property(
            "element", [](const CoordinateRecord& r) { return to_str(r.element); },
            [](CoordinateRecord& r, const Text& element) { r.element = element.bytes; },
            "the element symbol as written (a parsed Tv keeps its label here)")
        .def_readwrite("x", &CoordinateRecord::x, "as read, or as to be written (\"%.12g\")")
        .def_readwrite("y", &CoordinateRecord::y, "as read, or as to be written")
        .def_readwrite("z", &CoordinateRecord::z, "as read, or as to be written")
        .def_readwrite("has_optimization_flags", &CoordinateRecord::has_optimization_flags,
                       "whether the three flags are written")
        .def_readwrite("optimize_x", &CoordinateRecord::optimize_x, "the flag behind x: 1 optimise, 0 keep, any int")
        .def_readwrite("optimize_y", &CoordinateRecord::optimize_y, "the flag behind y")
        .def_readwrite("optimize_z", &CoordinateRecord::optimize_z, "the flag behind z")
        .def_property(
            "raw_line", [](const CoordinateRecord& r) { return to_str(r.raw_line); },
            [](CoordinateRecord& r, const Text& line) { r.raw_line = line.bytes; },
            "the whole line of a RAW record, blanks included")
        .def("to_string", &vesk::input::mopac::format_coordinate,
             "The line as the document writes it, numbers as \"%.12g\", without line feed.")
        .def("__eq__", [](const CoordinateRecord& a, const CoordinateRecord& b) { return same_record(a, b); })
        .def("__repr__", &record_repr)
        .def("__copy__", [](const CoordinateRecord& r) { return r; })
        .def("__deepcopy__", [](const CoordinateRecord& r, const py::dict&) { return r; }, py::arg("memo"))
        .def(py::pickle(&record_state, &record_from_state));

    py::class_<Atom>(m, "Atom", "An element symbol as written and a Cartesian position in Å.")
        .def(py::init([](const Text& element, double x, double y, double z) { return Atom(element.bytes, x, y, z); }),
             py::arg("element"), py::arg("x") = 0.0, py::arg("y") = 0.0, py::arg("z") = 0.0)
        .def_property(
            "element", [](const Atom& a) { return to_str(a.element); },
            [](Atom& a, const Text& element) { a.element = element.bytes; }, "the element symbol as written")
        .def_readwrite("x", &Atom::x, "Å")
        .def_readwrite("y", &Atom::y, "Å")
        .def_readwrite("z", &Atom::z, "Å")
        .def("__eq__",
             [](const Atom& a, const Atom& b) {
                 return a.element == b.element && same_number(a.x, b.x) && same_number(a.y, b.y) &&
                        same_number(a.z, b.z);
             })
        .def("__iter__",
             [](const Atom& a) { return py::iter(py::make_tuple(to_str(a.element), a.x, a.y, a.z)); })
        .def("__repr__",
             [](const Atom& a) {
                 return "Atom(" + repr_text(a.element) + ", " + std::string(py::repr(py::float_(a.x))) + ", " +
                        std::string(py::repr(py::float_(a.y))) + ", " + std::string(py::repr(py::float_(a.z))) +
                        ")";
             })
        .def(py::pickle([](const Atom& a) { return py::make_tuple(py::bytes(a.element), a.x, a.y, a.z); },
                        [](const py::tuple& state) {
                            checked_state(state, 4, "Atom");
                            return Atom(state_bytes(state[0]), state[1].cast<double>(), state[2].cast<double>(),
                                        state[3].cast<double>());
                        }));
}

void bind_input(py::module_& m) {
    py::class_<MopacInput>(m, "MopacInput",
                           "One MOPAC input file: keyword lines, title, comment, coordinates and the\n"
                           "lines behind the coordinate block, each line without its line end.\n\n"
                           "A value: fields give copies, and are changed by assignment::\n\n"
                           "    doc = vesk_mopac.parse(text).input\n"
                           "    records = doc.coordinates\n"
                           "    records[0].x += 0.1\n"
                           "    doc.coordinates = records")
        .def(py::init([](const py::iterable& keyword_lines, const Text& title, const Text& comment,
                         std::vector<CoordinateRecord> coordinates, const py::iterable& trailing_lines) {
                 MopacInput input;
                 input.keyword_lines = from_text_list(keyword_lines, "keyword_lines");
                 input.title = title.bytes;
                 input.comment = comment.bytes;
                 input.coordinates = std::move(coordinates);
                 input.trailing_lines = from_text_list(trailing_lines, "trailing_lines");
                 return input;
             }),
             py::arg("keyword_lines") = py::tuple(), py::arg("title") = Text{}, py::arg("comment") = Text{},
             py::arg("coordinates") = std::vector<CoordinateRecord>{}, py::arg("trailing_lines") = py::tuple())
        .def_property(
            "keyword_lines", [](const MopacInput& d) { return to_str_list(d.keyword_lines); },
            [](MopacInput& d, const py::iterable& lines) { d.keyword_lines = from_text_list(lines, "keyword_lines"); },
            "the keyword lines, continuation marks \" +\" included")
        .def_property(
            "title", [](const MopacInput& d) { return to_str(d.title); },
            [](MopacInput& d, const Text& title) { d.title = title.bytes; }, "the title line")
        .def_property(
            "comment", [](const MopacInput& d) { return to_str(d.comment); },
            [](MopacInput& d, const Text& comment) { d.comment = comment.bytes; }, "the comment line below the title")
        .def_property(
            "coordinates", [](const MopacInput& d) { return d.coordinates; },
            [](MopacInput& d, std::vector<CoordinateRecord> records) { d.coordinates = std::move(records); },
            "the coordinate block as a new list of CoordinateRecord; assign to change it")
        .def_property(
            "trailing_lines", [](const MopacInput& d) { return to_str_list(d.trailing_lines); },
            [](MopacInput& d, const py::iterable& lines) { d.trailing_lines = from_text_list(lines, "trailing_lines"); },
            "the lines from the first blank line behind the coordinates on, verbatim")
        .def("to_string", [](const MopacInput& d) { return to_str(render(d)); },
             "The whole file text; every line ends in one line feed.")
        .def("to_bytes", [](const MopacInput& d) { return py::bytes(render(d)); },
             "The whole file text as bytes.")
        .def(
            "write_file", [](const MopacInput& d, const Path& path) { write_file(path, render(d)); }, py::arg("path"),
            "Writes the file atomically (all or nothing); OSError with the path on failure.")
        .def(
            "cartesian_geometry", [](const MopacInput& d) { return d.cartesian_geometry().atoms; },
            "The ATOM records as a list of Atom; translation vectors and raw lines are left out.")
        .def(
            "keyword_tokens", [](const MopacInput& d) { return to_str_list(d.keyword_tokens()); },
            "The tokens of all keyword lines in order, without the \"+\" continuation marks.")
        .def(
            "has_keyword", [](const MopacInput& d, const Text& name) { return d.has_keyword(name.bytes); },
            py::arg("name"), "Whether a token has the name of `name`, case and any value ignored: \"pm7\", \"CHARGE\".")
        .def(
            "keyword_value",
            [](const MopacInput& d, const Text& name) -> py::object {
                std::optional<std::string> value = d.keyword_value(name.bytes);
                if (!value) return py::none();
                return to_str(*value);
            },
            py::arg("name"),
            "The value of the first token named `name`: None when absent, \"\" for a bare\n"
            "keyword, else the text after '=' or inside (...): CHARGE=1 gives \"1\".")
        .def("__eq__", [](const MopacInput& a, const MopacInput& b) { return same_input(a, b); })
        .def("__repr__",
             [](const MopacInput& d) {
                 return "<MopacInput title=" + repr_text(d.title) + " keyword_lines=" +
                        std::to_string(d.keyword_lines.size()) + " coordinates=" +
                        std::to_string(d.coordinates.size()) + " trailing_lines=" +
                        std::to_string(d.trailing_lines.size()) + ">";
             })
        .def("__copy__", [](const MopacInput& d) { return d; })
        .def("__deepcopy__", [](const MopacInput& d, const py::dict&) { return d; }, py::arg("memo"))
        .def(py::pickle(&input_state, &input_from_state));
}

void bind_parse(py::module_& m) {
    py::class_<ParseResult>(m, "ParseResult",
                            "What parse() read: the document, and the defects of the text as fields\n"
                            "(never as exceptions): ok is false with one error when the head is\n"
                            "incomplete; warnings remark on a document that was read.")
        .def_property(
            "input", [](const ParseResult& r) { return r.input; },
            [](ParseResult& r, MopacInput input) { r.input = std::move(input); },
            "the document, as far as the text was read (a copy)")
        .def_readwrite("ok", &ParseResult::ok, "true when the whole head was read")
        .def_property(
            "error", [](const ParseResult& r) { return to_str(r.error); },
            [](ParseResult& r, const Text& error) { r.error = error.bytes; }, "the one error when ok is false, else \"\"")
        .def_property(
            "warnings", [](const ParseResult& r) { return to_str_list(r.warnings); },
            [](ParseResult& r, const py::iterable& warnings) { r.warnings = from_text_list(warnings, "warnings"); },
            "remarks on a document that was read")
        .def("__eq__",
             [](const ParseResult& a, const ParseResult& b) {
                 return a.ok == b.ok && a.error == b.error && a.warnings == b.warnings && same_input(a.input, b.input);
             })
        .def("__repr__",
             [](const ParseResult& r) {
                 return "<ParseResult ok=" + std::string(r.ok ? "True" : "False") +
                        (r.ok ? "" : " error=" + repr_text(r.error)) + " warnings=" +
                        std::to_string(r.warnings.size()) + " coordinates=" +
                        std::to_string(r.input.coordinates.size()) + ">";
             })
        .def(py::pickle(
            [](const ParseResult& r) {
                py::list warnings;
                for (const std::string& warning : r.warnings) warnings.append(py::bytes(warning));
                return py::make_tuple(input_state(r.input), r.ok, py::bytes(r.error), warnings);
            },
            [](const py::tuple& state) {
                checked_state(state, 4, "ParseResult");
                ParseResult r;
                r.input = input_from_state(state[0].cast<py::tuple>());
                r.ok = state[1].cast<bool>();
                r.error = state_bytes(state[2]);
                for (py::handle warning : state[3]) r.warnings.push_back(state_bytes(warning));
                return r;
            }));

    m.def(
        "parse",
        [](Text& text) {
            py::gil_scoped_release released;
            return vesk::input::mopac::parse_string(text.bytes);
        },
        py::arg("text"),
        "Parses the text of a MOPAC input file (str or bytes) into a ParseResult.\n\n"
        "Any bytes are accepted; defects of the text come back in the result::\n\n"
        "    result = vesk_mopac.parse(text)\n"
        "    if not result.ok:\n"
        "        print(result.error)");
    m.def(
        "parse_file",
        [](const Path& path) {
            std::string text = read_file(path);
            py::gil_scoped_release released;
            return vesk::input::mopac::parse_string(text);
        },
        py::arg("path"),
        "Reads the file at `path` (str, bytes or os.PathLike) and parses it.\n\n"
        "OSError (FileNotFoundError, ...) with the path when the file cannot be read.");
    m.def(
        "keyword_line_continues", [](const Text& line) { return vesk::input::mopac::keyword_line_continues(line.bytes); },
        py::arg("line"), "Whether a keyword line holds the lone \"+\" token that continues the block.");
    m.def(
        "format_coordinate",
        [](const CoordinateRecord& record) { return to_str(vesk::input::mopac::format_coordinate(record)); },
        py::arg("record"), "One coordinate line without line feed, numbers as \"%.12g\".");
    m.def(
        "normalize_keyword_name",
        [](const Text& text) { return to_str(vesk::input::mopac::normalize_keyword_name(text.bytes)); },
        py::arg("text"),
        "The comparable name of a keyword token: cut at the first '=' or '(', trimmed\n"
        "and upper-cased: \"aux(precision=9)\" gives \"AUX\".");
    m.def(
        "is_method_keyword", [](const Text& name) { return vesk::input::mopac::is_method_keyword(name.bytes); },
        py::arg("name"), "Whether an upper-case name is one of the methods InputEditor.set_method replaces.");
    m.def(
        "spin_state_multiplicity",
        [](const Text& name) { return vesk::input::mopac::spin_state_multiplicity(name.bytes); }, py::arg("name"),
        "The multiplicity a spin-state name states: \"SINGLET\" 1 ... \"NONET\" 9; 0 for any other name.");
}

void bind_editor(py::module_& m) {
    const char* width_doc = "max_line_width: keyword lines are laid out anew at this width in bytes";
    py::class_<InputEditor>(m, "InputEditor",
                            "Edits a copy of a MopacInput. Every keyword edit lays out the whole\n"
                            "keyword block anew at max_line_width bytes, with \" +\" continuation marks::\n\n"
                            "    editor = vesk_mopac.InputEditor(vesk_mopac.parse_file(\"in.mop\").input)\n"
                            "    editor.set_method(\"PM7\")\n"
                            "    editor.set_multiplicity(3)\n"
                            "    editor.write_file(\"out.mop\")")
        .def(py::init<MopacInput>(), py::arg("input") = MopacInput{}, "Takes a copy of the document as it is.")
        .def_property_readonly(
            "input", [](const InputEditor& e) { return e.input(); }, "a copy of the document as edited so far")
        .def(
            "keywords", [](const InputEditor& e) { return to_str_list(e.keywords()); },
            "The keyword tokens, as MopacInput.keyword_tokens.")
        .def(
            "has_keyword", [](const InputEditor& e, const Text& name) { return e.has_keyword(name.bytes); },
            py::arg("name"), "As MopacInput.has_keyword.")
        .def(
            "keyword_value",
            [](const InputEditor& e, const Text& name) -> py::object {
                std::optional<std::string> value = e.keyword_value(name.bytes);
                if (!value) return py::none();
                return to_str(*value);
            },
            py::arg("name"), "As MopacInput.keyword_value.")
        .def(
            "to_string", [](const InputEditor& e) { return to_str(render(e.input())); }, "The whole file text.")
        .def(
            "to_bytes", [](const InputEditor& e) { return py::bytes(render(e.input())); },
            "The whole file text as bytes.")
        .def(
            "write_file", [](const InputEditor& e, const Path& path) { write_file(path, render(e.input())); },
            py::arg("path"), "Writes the file atomically; OSError with the path on failure.")
        .def(
            "set_title", [](InputEditor& e, const Text& title) { e.set_title(title.bytes); }, py::arg("title"),
            "Replaces the title line, byte for byte.")
        .def(
            "set_comment", [](InputEditor& e, const Text& comment) { e.set_comment(comment.bytes); },
            py::arg("comment"), "Replaces the comment line, byte for byte.")
        .def(
            "set_keywords",
            [](InputEditor& e, const py::iterable& keywords, const Int& width) {
                e.set_keywords(from_text_list(keywords, "keywords"), width_arg(width));
            },
            py::arg("keywords"), py::arg("max_line_width") = default_width,
            (std::string("Replaces the keyword block by these tokens.\n") + width_doc).c_str())
        .def(
            "add_keyword",
            [](InputEditor& e, const Text& keyword, const Int& width) {
                e.add_keyword(keyword.bytes, width_arg(width));
            },
            py::arg("keyword"), py::arg("max_line_width") = default_width,
            "Appends one token, trimmed; an empty or \"+\" token adds nothing.")
        .def(
            "set_keyword",
            [](InputEditor& e, const Text& name, const std::optional<Text>& value, const Int& width) {
                e.set_keyword(name.bytes, value ? std::optional<std::string_view>(value->bytes) : std::nullopt,
                              width_arg(width));
            },
            py::arg("name"), py::arg("value") = py::none(), py::arg("max_line_width") = default_width,
            "Removes every token named `name` and appends NAME (value None) or NAME=value last.")
        .def(
            "remove_keyword",
            [](InputEditor& e, const Text& name, const Int& width) {
                return e.remove_keyword(name.bytes, width_arg(width));
            },
            py::arg("name"), py::arg("max_line_width") = default_width,
            "Removes every token named `name`; True when one was removed.")
        .def(
            "set_charge",
            [](InputEditor& e, const Int& charge, const Int& width) {
                e.set_charge(static_cast<int>(checked_int(charge, INT_MIN, INT_MAX, "charge")), width_arg(width));
            },
            py::arg("charge"), py::arg("max_line_width") = default_width,
            "Writes CHARGE=<charge> last, replacing every CHARGE token.")
        .def(
            "set_auxiliary_output",
            [](InputEditor& e, const Int& precision, bool xp, const Int& width) {
                e.set_auxiliary_output(static_cast<int>(checked_int(precision, INT_MIN, INT_MAX, "precision")), xp,
                                       width_arg(width));
            },
            py::arg("precision"), py::arg("include_xp_xs_xw") = false, py::arg("max_line_width") = default_width,
            "Writes AUX(PRECISION=<p>[,XP,XS,XW]) last, replacing every AUX token.\n"
            "ValueError when precision is outside 0 to 18.")
        .def(
            "clear_auxiliary_output",
            [](InputEditor& e, const Int& width) { return e.clear_auxiliary_output(width_arg(width)); },
            py::arg("max_line_width") = default_width, "Removes every AUX token; True when one was removed.")
        .def(
            "set_method",
            [](InputEditor& e, const Text& method, const Int& width) {
                e.set_method(method.bytes, width_arg(width));
            },
            py::arg("method"), py::arg("max_line_width") = default_width,
            "Removes every known method keyword and puts `method` first.")
        .def(
            "set_multiplicity",
            [](InputEditor& e, const Int& multiplicity, const Int& width) {
                e.set_multiplicity(static_cast<unsigned>(checked_int(multiplicity, 1, UINT_MAX, "multiplicity")),
                                   width_arg(width));
            },
            py::arg("multiplicity"), py::arg("max_line_width") = default_width,
            "Replaces every spin keyword by UHF (unless 1) and MS=<(m-1)/2>.\n"
            "ValueError for a multiplicity below 1.")
        .def(
            "set_geometry",
            [](InputEditor& e, const std::vector<CoordinateRecord>& records) { e.set_geometry(records); },
            py::arg("records"), "Replaces the coordinate block by copies of these records.")
        .def(
            "set_geometry",
            [](InputEditor& e, const py::iterable& atoms, bool optimize) {
                vesk::core::Geometry geometry;
                geometry.atoms = atoms_from(atoms);
                e.set_geometry(geometry, optimize);
            },
            py::arg("atoms"), py::arg("optimize"),
            "Replaces the coordinate block by one flagged ATOM record per atom (Atom or\n"
            "(element, x, y, z)); the flags are 1 when optimize, else 0.")
        .def("add_coordinate", &InputEditor::add_coordinate, py::arg("record"), "Appends a copy of `record`.")
        .def(
            "add_atom",
            [](InputEditor& e, const py::object& atom, bool optimize) {
                e.add_atom(atoms_from(py::make_tuple(atom)).front(), optimize);
            },
            py::arg("atom"), py::arg("optimize"),
            "Appends an ATOM record, Atom or (element, x, y, z), all three flags 1 or 0.")
        .def("add_translation_vector", &InputEditor::add_translation_vector, py::arg("x"), py::arg("y"), py::arg("z"),
             "Appends a \"Tv\" record without flags.")
        .def("__repr__", [](const InputEditor& e) {
            return "<InputEditor title=" + repr_text(e.input().title) + " keywords=" +
                   std::to_string(e.keywords().size()) + " coordinates=" +
                   std::to_string(e.input().coordinates.size()) + ">";
        });
}

void bind_builder(py::module_& m) {
    // Each chainable call returns the builder itself, the same Python object.
    using Self = InputBuilder&;
    const auto chain = py::return_value_policy::reference_internal;
    py::class_<InputBuilder>(m, "InputBuilder",
                             "Composes a new input in one chain; every set_/add_ call returns the\n"
                             "builder. Keyword lines are laid out at 78 bytes::\n\n"
                             "    text = (vesk_mopac.InputBuilder()\n"
                             "            .set_method(\"PM7\")\n"
                             "            .set_charge(-1)\n"
                             "            .set_title(\"acetate\")\n"
                             "            .set_geometry(atoms, True)\n"
                             "            .to_string())")
        .def(py::init<>())
        .def(py::init<MopacInput>(), py::arg("input"), "Starts from a copy of `input`.")
        .def_property_readonly(
            "input", [](const InputBuilder& b) { return b.input(); }, "a copy of the document built so far")
        .def(
            "set_keywords",
            [](Self b, const py::iterable& keywords) -> Self {
                return b.set_keywords(from_text_list(keywords, "keywords"));
            },
            py::arg("keywords"), chain, "Replaces the keyword block by these tokens.")
        .def(
            "add_keyword", [](Self b, const Text& keyword) -> Self { return b.add_keyword(keyword.bytes); },
            py::arg("keyword"), chain, "Appends one token, trimmed.")
        .def(
            "set_keyword",
            [](Self b, const Text& name, const std::optional<Text>& value) -> Self {
                return b.set_keyword(name.bytes, value ? std::optional<std::string>(value->bytes) : std::nullopt);
            },
            py::arg("name"), py::arg("value") = py::none(), chain,
            "NAME alone when value is None; NAME= for an empty value.")
        .def(
            "set_method", [](Self b, const Text& method) -> Self { return b.set_method(method.bytes); },
            py::arg("method"), chain, "Removes every known method keyword and puts `method` first.")
        .def(
            "set_charge",
            [](Self b, const Int& charge) -> Self {
                return b.set_charge(static_cast<int>(checked_int(charge, INT_MIN, INT_MAX, "charge")));
            },
            py::arg("charge"), chain, "Writes CHARGE=<charge> last, replacing every CHARGE token.")
        .def(
            "set_multiplicity",
            [](Self b, const Int& multiplicity) -> Self {
                return b.set_multiplicity(
                    static_cast<unsigned>(checked_int(multiplicity, 1, UINT_MAX, "multiplicity")));
            },
            py::arg("multiplicity"), chain, "ValueError for a multiplicity below 1.")
        .def(
            "set_auxiliary_output",
            [](Self b, const Int& precision, bool xp) -> Self {
                return b.set_auxiliary_output(static_cast<int>(checked_int(precision, INT_MIN, INT_MAX, "precision")),
                                              xp);
            },
            py::arg("precision"), py::arg("include_xp_xs_xw") = false, chain,
            "ValueError when precision is outside 0 to 18.")
        .def(
            "clear_auxiliary_output", [](Self b) -> Self { return b.clear_auxiliary_output(); }, chain,
            "Removes every AUX token.")
        .def(
            "set_title", [](Self b, const Text& title) -> Self { return b.set_title(title.bytes); }, py::arg("title"),
            chain, "Replaces the title line, byte for byte.")
        .def(
            "set_comment", [](Self b, const Text& comment) -> Self { return b.set_comment(comment.bytes); },
            py::arg("comment"), chain, "Replaces the comment line, byte for byte.")
        .def(
            "set_geometry",
            [](Self b, const std::vector<CoordinateRecord>& records) -> Self { return b.set_geometry(records); },
            py::arg("records"), chain, "Replaces the coordinate block by copies of these records.")
        .def(
            "set_geometry",
            [](Self b, const py::iterable& atoms, bool optimize) -> Self {
                vesk::core::Geometry geometry;
                geometry.atoms = atoms_from(atoms);
                return b.set_geometry(geometry, optimize);
            },
            py::arg("atoms"), py::arg("optimize"), chain, "Atoms as Atom or (element, x, y, z).")
        .def(
            "add_atom",
            [](Self b, const py::object& atom, bool optimize) -> Self {
                return b.add_atom(atoms_from(py::make_tuple(atom)).front(), optimize);
            },
            py::arg("atom"), py::arg("optimize"), chain,
            "Appends an ATOM record, Atom or (element, x, y, z), all three flags 1 or 0.")
        .def(
            "add_translation_vector", [](Self b, double x, double y, double z) -> Self {
                return b.add_translation_vector(x, y, z);
            },
            py::arg("x"), py::arg("y"), py::arg("z"), chain, "Appends a \"Tv\" record without flags.")
        .def(
            "to_string", [](const InputBuilder& b) { return to_str(render(b.input())); }, "The whole file text.")
        .def(
            "to_bytes", [](const InputBuilder& b) { return py::bytes(render(b.input())); },
            "The whole file text as bytes.")
        .def(
            "write_file", [](const InputBuilder& b, const Path& path) { write_file(path, render(b.input())); },
            py::arg("path"), "Writes the file atomically; OSError with the path on failure.")
        .def("__repr__", [](const InputBuilder& b) {
            return "<InputBuilder title=" + repr_text(b.input().title) + " coordinates=" +
                   std::to_string(b.input().coordinates.size()) + ">";
        });
}

bool same_record(const CoordinateRecord& a, const CoordinateRecord& b) {
    return a.kind == b.kind && a.element == b.element && same_number(a.x, b.x) && same_number(a.y, b.y) &&
           same_number(a.z, b.z) && a.has_optimization_flags == b.has_optimization_flags &&
           a.optimize_x == b.optimize_x && a.optimize_y == b.optimize_y && a.optimize_z == b.optimize_z &&
           a.raw_line == b.raw_line;
}

bool same_input(const MopacInput& a, const MopacInput& b) {
    if (a.keyword_lines != b.keyword_lines || a.title != b.title || a.comment != b.comment ||
        a.trailing_lines != b.trailing_lines || a.coordinates.size() != b.coordinates.size()) {
        return false;
    }
    for (std::size_t i = 0; i < a.coordinates.size(); ++i) {
        if (!same_record(a.coordinates[i], b.coordinates[i])) return false;
    }
    return true;
}

py::tuple record_state(const CoordinateRecord& r) {
    return py::make_tuple(static_cast<int>(r.kind), py::bytes(r.element), r.x, r.y, r.z, r.has_optimization_flags,
                          r.optimize_x, r.optimize_y, r.optimize_z, py::bytes(r.raw_line));
}

CoordinateRecord record_from_state(const py::tuple& state) {
    checked_state(state, 10, "CoordinateRecord");
    CoordinateRecord r;
    r.kind = static_cast<CoordinateKind>(state[0].cast<int>());
    r.element = state_bytes(state[1]);
    r.x = state[2].cast<double>();
    r.y = state[3].cast<double>();
    r.z = state[4].cast<double>();
    r.has_optimization_flags = state[5].cast<bool>();
    r.optimize_x = state[6].cast<int>();
    r.optimize_y = state[7].cast<int>();
    r.optimize_z = state[8].cast<int>();
    r.raw_line = state_bytes(state[9]);
    return r;
}

py::tuple input_state(const MopacInput& d) {
    py::list keyword_lines;
    for (const std::string& line : d.keyword_lines) keyword_lines.append(py::bytes(line));
    py::list coordinates;
    for (const CoordinateRecord& record : d.coordinates) coordinates.append(record_state(record));
    py::list trailing_lines;
    for (const std::string& line : d.trailing_lines) trailing_lines.append(py::bytes(line));
    return py::make_tuple(keyword_lines, py::bytes(d.title), py::bytes(d.comment), coordinates, trailing_lines);
}

MopacInput input_from_state(const py::tuple& state) {
    checked_state(state, 5, "MopacInput");
    MopacInput d;
    for (py::handle line : state[0]) d.keyword_lines.push_back(state_bytes(line));
    d.title = state_bytes(state[1]);
    d.comment = state_bytes(state[2]);
    for (py::handle record : state[3]) d.coordinates.push_back(record_from_state(record.cast<py::tuple>()));
    for (py::handle line : state[4]) d.trailing_lines.push_back(state_bytes(line));
    return d;
}

std::string record_repr(const CoordinateRecord& r) {
    auto number = [](double value) { return std::string(py::repr(py::float_(value))); };
    std::string text = "CoordinateRecord(kind=" + std::string(py::str(py::cast(r.kind)));
    if (r.kind == CoordinateKind::Raw) return text + ", raw_line=" + repr_text(r.raw_line) + ")";
    if (!r.element.empty()) text += ", element=" + repr_text(r.element);
    text += ", x=" + number(r.x) + ", y=" + number(r.y) + ", z=" + number(r.z);
    if (r.has_optimization_flags) {
        text += ", has_optimization_flags=True, optimize_x=" + std::to_string(r.optimize_x) +
                ", optimize_y=" + std::to_string(r.optimize_y) + ", optimize_z=" + std::to_string(r.optimize_z);
    }
    return text + ")";
}

// Atom objects, or (element, x, y, z) sequences such as the tuples of
// zip(symbols, *positions.T).
std::vector<Atom> atoms_from(const py::iterable& atoms) {
    std::vector<Atom> list;
    for (py::handle item : atoms) {
        if (py::isinstance<Atom>(item)) {
            list.push_back(item.cast<Atom>());
            continue;
        }
        if (!py::isinstance<py::sequence>(item) || py::isinstance<py::str>(item) || py::len(item) != 4) {
            throw py::type_error("an atom is an Atom or a sequence (element, x, y, z), not " +
                                 std::string(py::repr(item)));
        }
        py::sequence fields = py::reinterpret_borrow<py::sequence>(item);
        Text element;
        if (!load_text(fields[0], element.bytes)) {
            throw py::type_error("the element of an atom must be str or bytes, not " +
                                 std::string(py::repr(py::object(fields[0]))));
        }
        list.emplace_back(std::move(element.bytes), py::float_(fields[1]).cast<double>(),
                          py::float_(fields[2]).cast<double>(), py::float_(fields[3]).cast<double>());
    }
    return list;
}

// Renders a copy: the copy is quick, and the rendering, which is not, then
// runs without the GIL and without a document another thread could change.
std::string render(const MopacInput& input) {
    MopacInput copy = input;
    py::gil_scoped_release released;
    return copy.to_string();
}

unsigned long long width_arg(const Int& width) {
    return static_cast<unsigned long long>(checked_int(width, 0, LLONG_MAX, "max_line_width"));
}

}  // namespace
}  // namespace vesk::python
