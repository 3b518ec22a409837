"""The job as MOPAC reads it from Python: reading, records, positions, JobEditor, check."""

import errno
import pickle
import shutil
import subprocess
import sys
import threading
import time

import numpy as np
import pytest

import vesk_mopac as vm
from conftest import ETHANOL, corpus, corpus_file

ETHANOL_POSITIONS = [
    [-0.046, -0.031, 0.0],
    [1.469, -0.036, 0.0],
    [1.948, 1.295, 0.0],
    [-0.432, 1.002, 0.0],
    [-0.413, -0.546, 0.889],
    [-0.413, -0.546, -0.889],
    [1.846, -0.549, 0.889],
    [1.846, -0.549, -0.889],
    [2.91, 1.263, 0.0],
]


def generated_input(atoms):
    """A Cartesian input of `atoms` atom lines of 7 tokens with 8 to 12 significant digits."""
    rng = np.random.default_rng(atoms)
    elements = np.array(["C", "H", "O", "N", "S", "Cl"])[rng.integers(0, 6, atoms)]
    xyz = rng.uniform(-60.0, 60.0, (atoms, 3))
    digits = rng.integers(8, 13, atoms)
    lines = [
        f"{e} {x:.{d}g} 1 {y:.{d}g} 0 {z:.{d}g} 1" for e, (x, y, z), d in zip(elements, xyz, digits)
    ]
    head = "PM7 CHARGE=0 PRECISE GNORM=0.01 +\nAUX(PRECISION=9,XP,XS,XW) LET DUMP=3600 +\nSINGLET THREADS=2\n"
    return head + "generated system\nflags and 8-12 significant digits\n" + "\n".join(lines) + "\n"


def test_a_job_holds_lines_jobs_atoms_and_positions():
    job = vm.read_job_file(ETHANOL)
    assert repr(job) == "<MopacJob lines=13 jobs=1 atoms=9 errors=0 warnings=0>"
    assert not job.has_errors and job.diagnostics == [] and not job.arc
    assert [line.role for line in job.lines[:4]] == [
        vm.LineRole.KEYWORDS, vm.LineRole.KEYWORDS, vm.LineRole.TITLE, vm.LineRole.DESCRIPTION
    ]
    assert job.lines[0] == job.lines[0] and job.lines[0].end == vm.LineEnd.LF
    assert job.line_text(3) == "Ethanol" and job.line_text(99) == ""
    (first,) = job.jobs
    assert [k.text for k in first.keywords] == ["PM7", "CHARGE=0", "AUX(PRECISION=9)", "SINGLET"]
    assert first.keywords[2] == first.keywords[2] and first.keywords[2].line == 2
    assert first.head == vm.HeadForm.PLUS and first.source == vm.GeometrySource.INLINE_TEXT
    assert (first.title.text, first.title.line) == ("Ethanol", 3)
    assert first.has_keyword("aux") and first.keyword_value("CHARGE") == "0" and first.keyword_value("MS") is None
    assert (first.counts.atoms, first.counts.cartesian, first.counts.by_atomic_number[8]) == (9, 9, 1)
    atom = job.atoms()[3]
    assert (atom.line, atom.symbol, atom.atomic_number, atom.form) == (8, "H", 1, vm.CoordinateForm.CARTESIAN)
    assert (atom.values, atom.flags) == ((-0.432, 1.002, 0.0), (1, 1, 0))
    assert pickle.loads(pickle.dumps(atom)) == atom
    assert job.symbols() == ["C", "C", "O"] + ["H"] * 6
    assert job.geometry()[2] == vm.Atom("O", 1.948, 1.295, 0.0)
    np.testing.assert_array_equal(job.positions(), ETHANOL_POSITIONS)
    assert job.translation_vectors().shape == (0, 3)
    assert job.atoms(5) == [] and job.positions(5).shape == (0, 3)  # no such job: nothing, as in C++
    assert job.positions(np.int64(0)).shape == (9, 3)  # NumPy integers are indices too
    with pytest.raises(TypeError):
        job.positions(0.0)


def test_positions_of_100000_atoms_arrive_as_one_float64_array():
    text = generated_input(100_000)
    job = vm.read_job(text)
    positions = job.positions()
    assert isinstance(positions, np.ndarray)
    assert positions.shape == (100_000, 3) and positions.dtype == np.float64
    assert positions.flags.c_contiguous and positions.flags.owndata
    expected = np.array([[float(line.split()[i]) for i in (1, 3, 5)] for line in text.splitlines()[5:]])
    assert np.array_equal(positions, expected)  # from_chars and float() agree to the bit


@pytest.mark.parametrize("path", corpus())
def test_corpus_reads_alike_from_path_bytes_and_str_and_keeps_every_byte(path):
    raw = path.read_bytes()
    job = vm.read_job_file(path)
    assert job.text_bytes == raw
    assert job.text.encode("utf-8", "surrogateescape") == raw
    assert job.arc == (".ARC" in str(path).upper())
    for same in (vm.read_job(raw, arc=job.arc), vm.read_job(job.text, arc=job.arc), pickle.loads(pickle.dumps(job))):
        assert same == job
        assert same.diagnostics == job.diagnostics
    assert sum(line.length for line in job.lines) <= len(raw)
    for index in range(len(job.jobs)):
        positions = job.positions(index)
        assert positions.shape == (len(job.symbols(index)), 3)
        symbols, placed, vectors = job.placement(index)
        assert symbols == job.symbols(index) and placed.tobytes() == positions.tobytes()
        assert vectors.tobytes() == job.translation_vectors(index).tobytes()
        assert [(a.element, a.x, a.y, a.z) for a in job.geometry(index)] == [
            (s, *p) for s, p in zip(job.symbols(index), positions.tolist())
        ]


@pytest.mark.parametrize(
    "name, check",
    [
        # Not UTF-8: the bytes come back as lone surrogates, never an exception.
        (
            "openmopac-mopac-archive/manuals/MOPAC2016_manual/mopac_examples/Lanthanides/57_La-EGOBAD_PM6.mop",
            lambda job: any("\udc80" <= c <= "\udcff" for c in job.text),
        ),
        # A solid: three translation vectors.
        (
            "openmopac-mopac-archive/data/PM6/Data_erratic/Anglesite_PbSO4.mop",
            lambda job: job.translation_vectors().shape == (3, 3) and job.jobs[0].counts.translation_vectors == 3,
        ),
        # An archive, read from behind its marker.
        ("openmopac-mopac-archive/2015_MOPAC5.022mn/test/test06.arc", lambda job: job.arc and job.positions().size),
        # Several jobs in one file.
        ("openmopac-mopac-archive/1983_MOPAC/testdata.dat", lambda job: len(job.jobs) > 1),
    ],
    ids=["not-utf8", "solid", "arc", "several-jobs"],
)
def test_corpus_files_of_each_kind(name, check):
    assert check(vm.read_job_file(corpus_file(name)))


def test_arc_follows_the_name_unless_given(tmp_path):
    archive = tmp_path / "RUN.ARC"
    shutil.copy(ETHANOL, archive)
    assert vm.read_job_file(archive).arc
    assert not vm.read_job_file(archive, arc=False).arc
    assert vm.read_job(ETHANOL.read_text(), arc=True).arc


def test_failed_read_is_an_os_error_with_the_path(tmp_path):
    with pytest.raises(FileNotFoundError) as failure:
        vm.read_job_file(tmp_path / "missing.mop")
    assert failure.value.errno == errno.ENOENT and failure.value.filename == str(tmp_path / "missing.mop")
    with pytest.raises(IsADirectoryError):
        vm.read_job_file(tmp_path)


def test_diagnostics_are_values_with_a_line_and_a_reason():
    job = vm.read_job("PM7\ntitle\n\nC 0 0 0\nQq 1 0 0\n")
    assert job.has_errors
    (finding,) = [d for d in job.diagnostics if d.severity == vm.Severity.ERROR]
    assert finding.line == 5 and finding.code
    assert str(finding).startswith("5:") and ": error: " in str(finding)
    assert pickle.loads(pickle.dumps(finding)) == finding
    assert eval(repr(finding), vars(vm)) == finding  # the repr reads back
    assert finding in vm.check(job)


def test_check_adds_the_keyword_checks():
    findings = vm.check(vm.read_job("PM7 CHRAGE=1\ntitle\n\nO 0 0 0\nH 0.96 0 0\nH -0.24 0.93 0\n"))
    assert [d.line for d in findings] == [1]
    assert "CHARGE" in findings[0].suggestion
    assert vm.check(vm.read_job_file(ETHANOL)) == []
    assert not vm.mopac_accepts_keyword("CHRAGE=1") and vm.mopac_accepts_keyword("charge=1")
    assert vm.is_mopac_method("PM6-D3H4") and not vm.is_mopac_method("CHARGE")
    catalogue = vm.keyword_catalogue()
    assert len(catalogue) > 250 and vm.find_keyword("CHARGE").forms == "NAME=value"
    assert vm.find_keyword("NO SUCH") is None
    assert {k.name for k in catalogue if k.method} >= {"PM7", "PM6", "AM1"}


@pytest.mark.parametrize("path", corpus("mopac data/normal")[:40])
def test_job_editor_on_corpus_files_edits_only_the_keyword_lines(path):
    raw = path.read_bytes()
    editor = vm.JobEditor(raw)
    before = editor.job
    if before.has_errors or not before.jobs:
        pytest.skip("MOPAC would not read this file")
    editor.allow_new_errors()  # a charge of -1 may not suit the atoms' electrons
    editor.set_method("PM6-D3H4")
    editor.set_charge(-1)
    editor.set_multiplicity(2)
    after = editor.job
    for job in after.jobs:
        assert job.has_keyword("PM6-D3H4") and job.keyword_value("CHARGE") == "-1"
        assert job.keyword_value("MS") == "0.5" or job.has_keyword("DOUBLET")  # a spin name keeps its place
    assert len(after.lines) == len(before.lines)
    keyword_lines = {i for i, line in enumerate(before.lines) if line.role == vm.LineRole.KEYWORDS}
    for i, (old, new) in enumerate(zip(before.lines, after.lines)):
        if i not in keyword_lines:
            assert after.line_text(i + 1) == before.line_text(i + 1)
            assert new.end == old.end
    np.testing.assert_array_equal(after.positions(), before.positions())


OPEN_AUX = b"PM7 AUX(PRECISION=9\nwater\n\nO 0 0 0\nH 0.96 0 0\nH -0.24 0.93 0\n"


@pytest.mark.parametrize(
    "text, edit, message",
    [
        (None, lambda e: e.set_title("t" * 300), "job 1: MOPAC would read the title as"),
        (None, lambda e: e.add_keyword("CHARGE=2"), "job 1: CHARGE would be given 2 times, not once"),
        (OPEN_AUX, lambda e: e.add_keyword("PRECISE"), "job 1: MOPAC would read the keywords as"),
        (None, lambda e: e.set_charge(1), "the edit gives an error the file did not have"),
    ],
)
def test_job_editor_proves_its_result_before_writing(tmp_path, text, edit, message):
    text = text or ETHANOL.read_bytes()
    path = tmp_path / "in.mop"
    path.write_bytes(text)
    editor = vm.JobEditor(vm.read_job_file(path))
    edit(editor)
    with pytest.raises(vm.EditRefused, match=message):
        editor.write_file(path)
    assert path.read_bytes() == text and editor.text_bytes == text
    assert not editor.changed


def test_job_editor_refuses_before_changing_anything(tmp_path):
    editor = vm.JobEditor(vm.read_job_file(ETHANOL))
    before = editor.text_bytes
    with pytest.raises(ValueError):
        editor.set_method("PM7 +")  # a word that would swallow the continuation
    with pytest.raises(ValueError):
        editor.set_title("two\nlines")
    with pytest.raises(ValueError, match="multiplicity"):
        editor.set_multiplicity(0)
    with pytest.raises(IndexError):
        editor.set_charge(1, job=3)
    with pytest.raises(ValueError, match="job"):
        editor.set_charge(1, job=-1)
    assert editor.text_bytes == before
    editor.set_title("Ethanol, cation")
    editor.set_description("edited from Python")
    assert editor.remove_keyword("SINGLET") and not editor.remove_keyword("SINGLET")
    assert editor.clear_auxiliary_output(job=0) and not editor.clear_auxiliary_output()
    editor.write_file(tmp_path / "out.mop")
    assert (tmp_path / "out.mop").read_bytes() == editor.text_bytes
    assert vm.read_job_file(tmp_path / "out.mop").jobs[0].title.text == "Ethanol, cation"
    with pytest.raises(FileNotFoundError) as failure:
        editor.write_file(tmp_path / "missing" / "out.mop")
    assert failure.value.filename == str(tmp_path / "missing" / "out.mop")


def test_threads_editing_one_editor_take_turns():
    editor = vm.JobEditor(ETHANOL.read_text())
    editor.allow_new_errors()  # T0 ... T3 are no keywords MOPAC knows
    errors = []

    def work(k):
        try:
            for i in range(50):
                editor.set_keyword(f"T{k}", str(i))
                assert editor.job.jobs[0].has_keyword(f"T{k}")
        except Exception as error:  # pragma: no cover - reported below
            errors.append(error)

    threads = [threading.Thread(target=work, args=(k,)) for k in range(4)]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    assert errors == []
    assert [editor.job.jobs[0].keyword_value(f"T{k}") for k in range(4)] == ["49"] * 4


# check() runs without the GIL too, but takes a millisecond here: too short to time.
@pytest.mark.parametrize("name", ["read_job", "read_job_file", "parse"])
def test_long_calls_let_other_threads_run(name, tmp_path):
    # With the GIL held for a whole call, this thread would stall for as long
    # as one call lasts; released, it goes on in steps of the switch interval.
    text = generated_input(100_000).encode()
    (tmp_path / "big.mop").write_bytes(text)
    call = {
        "read_job": lambda: vm.read_job(text),
        "read_job_file": lambda: vm.read_job_file(tmp_path / "big.mop"),
        "parse": lambda: vm.parse(text),
    }[name]
    start = time.perf_counter()
    call()
    duration = time.perf_counter() - start
    done = threading.Event()

    def read():
        for _ in range(3):
            call()
        done.set()

    reader = threading.Thread(target=read)
    longest = 0.0
    interval = sys.getswitchinterval()
    sys.setswitchinterval(0.001)
    try:
        last = time.perf_counter()
        reader.start()
        while not done.is_set():
            now = time.perf_counter()
            longest = max(longest, now - last)
            last = now
        reader.join()
    finally:
        sys.setswitchinterval(interval)
    # Held, the stall would be a whole call; the margin leaves room for a busy machine.
    assert longest < duration * 0.8, f"the main thread stalled {longest:.3f} s, one {name} takes {duration:.3f} s"


# Every reading of one MopacJob from many threads at once, in a fresh
# interpreter: the first positions() may be the first array the module makes.
THREADED_READS = """
import pickle, sys, threading
import vesk_mopac as vm

job = vm.read_job_file(sys.argv[1])
reads = {
    "text": lambda: (job.text, job.text_bytes, job.arc, job.has_errors, repr(job)),
    "lines": lambda: (job.lines, job.line_text(3), [repr(j) for j in job.jobs], job.diagnostics),
    "atoms": lambda: job.atoms(),
    "geometry": lambda: job.geometry(),
    "positions": lambda: job.positions().tolist(),
    "symbols": lambda: job.symbols(),
    "translation_vectors": lambda: job.translation_vectors().tolist(),
    "placement": lambda: [part if isinstance(part, list) else part.tolist() for part in job.placement()],
    "check": lambda: vm.check(job),
    "pickle": lambda: pickle.loads(pickle.dumps(job)) == job,
    "editor": lambda: vm.JobEditor(job).text,
}
start = threading.Barrier(2 * len(reads))
results = {name: [] for name in reads}

def run(name):
    start.wait()
    results[name] += [reads[name]() for _ in range(20)]

threads = [threading.Thread(target=run, args=(name,)) for name in reads for _ in range(2)]
for thread in threads:
    thread.start()
for thread in threads:
    thread.join()
for name, read in reads.items():
    assert results[name] == [read()] * 40, name
print("all reads agree")
"""


@pytest.mark.parametrize("name", ["methanol-zmatrix.mop", "ethanol.mop"])
def test_threads_read_one_job_at_once(name):
    done = subprocess.run(
        [sys.executable, "-c", THREADED_READS, str(ETHANOL.with_name(name))],
        capture_output=True, text=True, timeout=120,
    )
    assert done.returncode == 0 and "all reads agree" in done.stdout, done.stderr
