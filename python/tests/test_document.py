"""The document side from Python: parse, MopacInput as a value, InputEditor, InputBuilder."""

import copy
import errno
import math
import pickle

import pytest

import vesk_mopac as vm
from conftest import ETHANOL, corpus

WATER = "PM7 CHARGE=0\nwater\nthree atoms\nO 0 1 0 1 0 1\nH 0.9572 1 0 1 0 1\nH -0.2399872 1 0.9266272 1 0 1\n"


@pytest.mark.parametrize(
    "source",
    [
        lambda p: vm.parse(p.read_text()),
        lambda p: vm.parse(p.read_bytes()),
        lambda p: vm.parse(bytearray(p.read_bytes())),
        lambda p: vm.parse(memoryview(p.read_bytes())),
        lambda p: vm.parse_file(str(p)),
        lambda p: vm.parse_file(p),
        lambda p: vm.parse_file(bytes(p)),
    ],
    ids=["str", "bytes", "bytearray", "memoryview", "path-str", "path-pathlike", "path-bytes"],
)
def test_every_kind_of_text_and_path_reads_the_same_document(source):
    result = source(ETHANOL)
    assert result.ok and result.error == "" and result.warnings == []
    doc = result.input
    assert doc.keyword_lines == ["PM7 CHARGE=0 +", "AUX(PRECISION=9) SINGLET"]
    assert (doc.title, doc.comment) == ("Ethanol", "optimised with flags, Cartesian")
    assert [r.element for r in doc.coordinates] == ["C", "C", "O"] + ["H"] * 6
    assert doc.coordinates[0] == vm.CoordinateRecord(
        element="C", x=-0.046, y=-0.031, z=0.0, has_optimization_flags=True
    )
    assert doc.coordinates[3].optimize_z == 0


def test_keyword_queries_ignore_case_and_value():
    doc = vm.parse_file(ETHANOL).input
    assert doc.keyword_tokens() == ["PM7", "CHARGE=0", "AUX(PRECISION=9)", "SINGLET"]
    assert doc.has_keyword("pm7") and doc.has_keyword("aux") and not doc.has_keyword("UHF")
    assert doc.keyword_value("CHARGE") == "0"
    assert doc.keyword_value("AUX") == "9)"  # the text after the first '=', as in C++
    assert doc.keyword_value("SINGLET") == ""
    assert doc.keyword_value("MS") is None
    assert vm.normalize_keyword_name(" aux(precision=9)") == "AUX"
    assert vm.keyword_line_continues("PM7 +") and not vm.keyword_line_continues("PM7 +1")
    assert vm.is_method_keyword("PM6-D3H4") and not vm.is_method_keyword("CHARGE")
    assert vm.spin_state_multiplicity("TRIPLET") == 3 and vm.spin_state_multiplicity("MS") == 0


@pytest.mark.parametrize(
    "argument",
    [42, 4.2, None, ["PM7"], memoryview(b"P\x00M\x007\x00").cast("H"), memoryview(b"PPMM77")[::2]],
    ids=["int", "float", "None", "list", "wide-items", "strided"],
)
def test_what_is_no_text_is_a_type_error(argument):
    with pytest.raises(TypeError):
        vm.parse(argument)


@pytest.mark.parametrize("read", [vm.parse, vm.read_job, vm.JobEditor], ids=["parse", "read_job", "JobEditor"])
def test_a_released_memoryview_is_refused_not_read(read):
    view = memoryview(bytearray(WATER.encode()))
    view.release()
    with pytest.raises(ValueError, match="released"):
        read(view)


def test_integers_are_anything_with_index_but_never_floats():
    numpy = pytest.importorskip("numpy")
    editor = vm.InputEditor(vm.parse(WATER).input)
    editor.set_charge(numpy.int64(-2), max_line_width=numpy.uint8(40))
    assert editor.keyword_value("CHARGE") == "-2"
    with pytest.raises(TypeError):
        editor.set_charge(1.0)


@pytest.mark.parametrize(
    "text, error",
    [
        ("", "MOPAC input is empty"),
        ("PM7 +\n", "MOPAC keyword continuation '+' has no following keyword line"),
        ("PM7\n", "MOPAC input is missing the title line"),
        ("PM7\ntitle\n", "MOPAC input is missing the comment line"),
    ],
)
def test_defects_of_the_text_are_fields_of_the_result_not_exceptions(text, error):
    result = vm.parse(text)
    assert not result.ok
    assert result.error == error


def test_bytes_that_are_not_utf8_survive_every_field():
    raw = b"PM7 \xff\n\xe9thanol\xfe\ncomment \x80\nC 0 0 0\n\nrest \xc3\n"
    doc = vm.parse(raw).input
    assert doc.title == "\udce9thanol\udcfe"  # surrogateescape, no exception
    assert doc.to_bytes() == raw
    assert doc.to_string().encode("utf-8", "surrogateescape") == raw
    doc.title = doc.title + "!"  # a str with surrogates goes back as its bytes
    assert doc.to_bytes().split(b"\n")[1] == b"\xe9thanol\xfe!"
    assert vm.parse(doc.to_string()).input == doc


def test_fields_are_copies_and_change_by_assignment():
    doc = vm.parse(WATER).input
    records = doc.coordinates
    records[0].x = 5.0
    assert doc.coordinates[0].x == 0.0  # the list was a copy
    doc.coordinates = records
    assert doc.coordinates[0].x == 5.0
    lines = doc.keyword_lines
    lines.append("PRECISE")
    assert doc.keyword_lines == ["PM7 CHARGE=0"]
    doc.keyword_lines = lines
    assert doc.keyword_tokens() == ["PM7", "CHARGE=0", "PRECISE"]
    record = vm.CoordinateRecord()
    kind = record.kind
    record.kind = vm.CoordinateKind.RAW
    assert kind == vm.CoordinateKind.ATOM  # an enum read is a value, not a view
    with pytest.raises(TypeError, match="single string"):
        doc.keyword_lines = "PM7"


def test_documents_are_values_equal_copied_and_pickled():
    doc = vm.parse_file(ETHANOL).input
    other = vm.parse(ETHANOL.read_bytes()).input
    assert doc == other and doc is not other
    other.comment = "changed"
    assert doc != other
    records = doc.coordinates
    records[0].x = math.nan  # two NaNs count as the same number
    doc.coordinates = records
    for clone in (copy.copy(doc), copy.deepcopy(doc), pickle.loads(pickle.dumps(doc))):
        assert clone == doc
    assert pickle.loads(pickle.dumps(doc.coordinates[1])) == doc.coordinates[1]
    result = vm.parse(WATER)
    assert pickle.loads(pickle.dumps(result)) == result
    atom = vm.Atom("O", 1.0, 2.0, 3.0)
    assert pickle.loads(pickle.dumps(atom)) == atom and tuple(atom) == ("O", 1.0, 2.0, 3.0)
    with pytest.raises(TypeError):
        hash(doc)  # mutable values are not hashable


def test_pickle_keeps_numbers_that_the_text_would_round():
    doc = vm.MopacInput(keyword_lines=["PM7"], coordinates=[vm.CoordinateRecord(element="C", x=0.1 + 0.2)])
    assert "0.3 " in doc.to_string()  # %.12g in the text
    assert pickle.loads(pickle.dumps(doc)).coordinates[0].x == 0.1 + 0.2  # exact in the pickle


def test_reprs_name_the_values():
    doc = vm.parse(WATER).input
    assert repr(doc) == "<MopacInput title='water' keyword_lines=1 coordinates=3 trailing_lines=0>"
    assert repr(doc.coordinates[1]) == (
        "CoordinateRecord(kind=CoordinateKind.ATOM, element='H', x=0.9572, y=0.0, z=0.0, "
        "has_optimization_flags=True, optimize_x=1, optimize_y=1, optimize_z=1)"
    )
    assert repr(vm.Atom("H", 1.5)) == "Atom('H', 1.5, 0.0, 0.0)"
    assert repr(vm.parse("PM7\n")) == "<ParseResult ok=False error='MOPAC input is missing the title line' warnings=0 coordinates=0>"


@pytest.mark.parametrize("path", corpus())
def test_corpus_reads_alike_from_str_bytes_and_path_and_survives_pickling(path):
    raw = path.read_bytes()
    from_path = vm.parse_file(path)
    assert vm.parse(raw) == from_path
    assert vm.parse(raw.decode("utf-8", "surrogateescape")) == from_path
    doc = from_path.input
    assert doc.to_string().encode("utf-8", "surrogateescape") == doc.to_bytes()
    assert pickle.loads(pickle.dumps(from_path)) == from_path


def test_editor_edits_a_copy_and_lays_keywords_out():
    doc = vm.parse_file(ETHANOL).input
    editor = vm.InputEditor(doc)
    editor.set_method("PM6-D3H4")
    editor.set_charge(1)
    editor.set_multiplicity(2)
    assert editor.input.keyword_lines == ["PM6-D3H4 AUX(PRECISION=9) CHARGE=1 UHF MS=0.5"]
    assert doc.keyword_lines[0] == "PM7 CHARGE=0 +"  # the caller's document is untouched
    assert editor.remove_keyword("UHF") and not editor.remove_keyword("UHF")
    editor.set_keyword("GNORM", "0.1", max_line_width=20)
    assert editor.input.keyword_lines == ["PM6-D3H4 +", "AUX(PRECISION=9) +", "CHARGE=1 MS=0.5 +", "GNORM=0.1"]
    assert editor.clear_auxiliary_output(max_line_width=20)
    editor.set_geometry([("O", 0, 0, 0), vm.Atom("H", 0.96, 0, 0)], optimize=False)
    editor.add_translation_vector(3.0, 0.0, 0.0)
    assert editor.input.cartesian_geometry() == [vm.Atom("O"), vm.Atom("H", 0.96)]
    assert editor.to_string().endswith("O 0 0 0 0 0 0\nH 0.96 0 0 0 0 0\nTv 3 0 0\n")
    with pytest.raises(TypeError, match="Atom or a sequence"):
        editor.set_geometry(["O 0 0 0"], True)


def test_builder_chains_on_the_same_object():
    builder = vm.InputBuilder()
    same = builder.set_method("PM7").set_multiplicity(1).set_auxiliary_output(9).set_title("water")
    assert same is builder
    text = (
        builder.set_comment("built from Python")
        .set_geometry([("O", 0.0, 0.0, 0.0), ("H", 0.9572, 0.0, 0.0), ("H", -0.2399872, 0.9266272, 0.0)], True)
        .to_string()
    )
    assert text == (
        "PM7 MS=0 AUX(PRECISION=9)\nwater\nbuilt from Python\n"
        "O 0 1 0 1 0 1\nH 0.9572 1 0 1 0 1\nH -0.2399872 1 0.9266272 1 0 1\n"
    )
    assert vm.InputBuilder(builder.input).to_bytes() == text.encode()


@pytest.mark.parametrize(
    "call, message",
    [
        (lambda e: e.set_multiplicity(0), "multiplicity must be from 1"),
        (lambda e: e.set_auxiliary_output(19), "precision"),
        (lambda e: e.set_charge(2**31), "charge must be from"),
        (lambda e: e.set_method("PM7", max_line_width=-1), "max_line_width"),
    ],
)
def test_refused_arguments_raise_value_error_and_change_nothing(call, message):
    editor = vm.InputEditor(vm.parse(WATER).input)
    before = editor.to_string()
    with pytest.raises(ValueError, match=message):
        call(editor)
    assert editor.to_string() == before
    with pytest.raises(ValueError):
        vm.InputBuilder().set_multiplicity(0)


@pytest.mark.parametrize(
    "writer",
    [
        lambda path: vm.parse(WATER).input.write_file(path),
        lambda path: vm.InputEditor(vm.parse(WATER).input).write_file(path),
        lambda path: vm.InputBuilder(vm.parse(WATER).input).write_file(path),
    ],
    ids=["MopacInput", "InputEditor", "InputBuilder"],
)
def test_writes_are_atomic_and_fail_as_os_error_with_the_path(tmp_path, writer):
    target = tmp_path / "out.mop"
    writer(target)
    assert target.read_text() == WATER
    missing = tmp_path / "no such folder" / "out.mop"
    with pytest.raises(FileNotFoundError) as failure:
        writer(missing)
    assert failure.value.errno == errno.ENOENT
    assert failure.value.filename == str(missing)
    with pytest.raises(IsADirectoryError):
        writer(tmp_path)


def test_failed_reads_are_os_errors_with_the_path(tmp_path):
    missing = tmp_path / "missing.mop"
    with pytest.raises(FileNotFoundError) as failure:
        vm.parse_file(missing)
    assert failure.value.filename == str(missing) and failure.value.errno == errno.ENOENT
    with pytest.raises(TypeError):
        vm.parse_file(42)
    with pytest.raises(ValueError, match="null"):
        vm.parse_file("in\0.mop")
