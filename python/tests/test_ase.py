"""The ASE bridge: ase.Atoms from a job and back, keeping what MOPAC reads."""

import glob

import numpy as np
import pytest

ase = pytest.importorskip("ase")
from ase.build import bulk, molecule  # noqa: E402
from ase.constraints import FixAtoms, FixCartesian  # noqa: E402

import vesk_mopac as vm  # noqa: E402
from conftest import CORPUS_DIR, ETHANOL, corpus, corpus_file, corpus_paths  # noqa: E402
from vesk_mopac.ase import from_ase_atoms, to_ase_atoms  # noqa: E402

SOLID = "openmopac-mopac-archive/data/PM6/Data_erratic/Anglesite_PbSO4.mop"
TWELVE_DIGITS = 5e-12  # half a unit in the 12th significant digit, relative
DUMMY, TV = 99, 107
SPIN = {"MS", "SINGLET", "DOUBLET", "TRIPLET", "QUARTET", "QUINTET", "SEXTET", "SEPTET", "OCTET", "NONET"}
LAYOUT = {"A0", "AIGIN", "MOPAC"}  # how a file lays its geometry out; the written file is Cartesian Å


def close(a, b):
    """Equal to 12 significant digits, coordinate by coordinate."""
    a, b = np.asarray(a, dtype=np.float64), np.asarray(b, dtype=np.float64)
    return a.shape == b.shape and np.allclose(a, b, rtol=TWELVE_DIGITS, atol=0)


def round_trip(atoms, **options):
    return to_ase_atoms(vm.read_job(from_ase_atoms(atoms, **options)))


def name(keyword):
    return keyword.split("=", 1)[0].split("(", 1)[0].upper()


def keywords(job, kinds):
    """The keyword texts MOPAC reads, those of charge and spin apart."""
    texts = [k.text for k in job.jobs[0].keywords if name(k.text) not in LAYOUT]
    return [t for t in texts if (name(t) in SPIN | {"CHARGE"}) == (kinds == "charge/spin")]


def flags(job):
    return [a.flags for a in job.atoms(0) if a.atomic_number != DUMMY]


def cartesian(job):
    return all(a.form == vm.CoordinateForm.CARTESIAN for a in job.atoms(0) if a.atomic_number != TV)


def placeable(path):
    """The first job of a corpus file as ASE atoms, or None with the reason."""
    job = vm.read_job_file(path)
    if job.has_errors:
        return job, None, "MOPAC finds errors"
    try:
        return job, to_ase_atoms(job), ""
    except (ValueError, IndexError) as refusal:
        return job, None, str(refusal)


@pytest.mark.parametrize("path", corpus_paths() or corpus())
def test_corpus_inputs_round_trip_through_ase(path):
    job, atoms, why = placeable(path)
    if atoms is None:
        pytest.skip(why)
    again_job = vm.read_job(from_ase_atoms(atoms))
    assert not again_job.has_errors
    again = to_ase_atoms(again_job)
    assert again.get_chemical_symbols() == atoms.get_chemical_symbols()
    assert close(again.get_positions(), atoms.get_positions())
    assert close(again.get_cell()[:], atoms.get_cell()[:]) and again.pbc.tolist() == atoms.pbc.tolist()
    head, again_head = job.jobs[0], again_job.jobs[0]
    assert (again_head.title.text, again_head.description.text) == (head.title.text, head.description.text)
    named = any(vm.is_mopac_method(name(t)) for t in keywords(job, "other"))
    assert keywords(again_job, "other") == ([] if named else ["PM7"]) + keywords(job, "other")
    spin = [t for t in keywords(job, "charge/spin") if name(t) != "CHARGE"]
    assert [t for t in keywords(again_job, "charge/spin") if name(t) != "CHARGE"] == spin
    for key in ("charge", "multiplicity", "mopac_cell_flags"):
        assert again.info.get(key) == atoms.info.get(key), key
    if cartesian(job):
        assert flags(again_job) == flags(job)


def test_the_corpus_round_trip_covers_most_files():
    reasons = [placeable(path)[2] for path in corpus_paths()]
    if not reasons:
        pytest.skip(f"no corpus files under {CORPUS_DIR}")
    assert sum(not why for why in reasons) >= 0.9 * len(reasons)


def test_a_fixed_crystal_comes_back_fixed_with_its_cell():
    (path,) = glob.glob(str(CORPUS_DIR / "**" / "Barium_oxide_BaO.mop"), recursive=True) or [None]
    if path is None:
        pytest.skip("Barium_oxide_BaO.mop not in the corpus")
    atoms = to_ase_atoms(vm.read_job_file(path))
    assert len(atoms.constraints) == len(atoms)
    assert atoms.info["mopac_cell_flags"] == [(0, 0, 0)] * 3
    for info in (atoms.info, {}):  # the cell stays fixed even without the kept flags
        bare = atoms.copy()
        bare.info = dict(info)
        text = from_ase_atoms(bare)
        assert {f for triple in flags(vm.read_job(text)) for f in triple} == {0}, text[:200]


def test_a_job_becomes_atoms_with_its_head_flags_and_charge():
    job = vm.read_job_file(ETHANOL)
    atoms = to_ase_atoms(job)
    assert atoms.get_chemical_symbols() == ["C", "C", "O"] + ["H"] * 6
    assert np.array_equal(atoms.get_positions(), job.positions())
    assert not atoms.pbc.any()
    assert atoms.info == {
        "title": "Ethanol",
        "description": "optimised with flags, Cartesian",
        "charge": 0,  # CHARGE=0
        "multiplicity": 1,
        "mopac_spin_keywords": ["SINGLET"],
        "mopac_keywords": ["PM7", "AUX(PRECISION=9)"],
    }
    ((constraint,),) = [atoms.constraints]  # the fourth atom's z has flag 0
    forces = np.ones((len(atoms), 3))
    constraint.adjust_forces(atoms, forces)
    assert np.argwhere(forces == 0).tolist() == [[3, 2]]


def test_a_solid_of_the_corpus_becomes_a_periodic_cell():
    job = vm.read_job_file(corpus_file(SOLID))
    atoms = to_ase_atoms(job)
    assert atoms.pbc.all()
    assert np.array_equal(atoms.get_cell()[:], job.translation_vectors())
    assert len(atoms) == len(job.symbols())


@pytest.mark.parametrize(
    "text, pbc",
    [
        ("C 0 0 0\nTv 2.5 0 0\n", [True, False, False]),
        ("C 0 0 0\nTv 2.5 0 0\nTv 0 3 0\n", [True, True, False]),
    ],
    ids=["polymer", "layer"],
)
def test_fewer_translation_vectors_are_periodic_on_as_many_axes(text, pbc):
    atoms = to_ase_atoms(vm.read_job("PM7\nchain\n\n" + text))
    assert atoms.pbc.tolist() == pbc
    assert round_trip(atoms).pbc.tolist() == pbc


def test_internal_coordinates_keep_their_flags_in_info_not_as_constraints():
    text = "PM7\nwater\n\nO\nH 0.96 1 0 0 0 0 1\nH 0.96 0 104.5 1 0 0 1 2\n"
    atoms = to_ase_atoms(vm.read_job(text))
    assert atoms.info["mopac_internal_flags"] == [(0, 0, 0), (1, 0, 0), (0, 1, 0)]
    assert atoms.constraints == []
    assert flags(vm.read_job(from_ase_atoms(atoms))) == [(1, 1, 1)] * 3


@pytest.mark.parametrize(
    "constraint, expected",
    [
        (FixAtoms(indices=[0]), [(0, 0, 0), (1, 1, 1), (1, 1, 1)]),
        (FixCartesian(1, mask=[True, False, True]), [(1, 1, 1), (0, 1, 0), (1, 1, 1)]),
        ([FixAtoms(indices=[2]), FixCartesian(0, mask=[False, True, False])], [(1, 0, 1), (1, 1, 1), (0, 0, 0)]),
    ],
    ids=["FixAtoms", "FixCartesian", "both"],
)
def test_constraints_become_flags_and_come_back(constraint, expected):
    water = molecule("H2O")
    water.set_constraint(constraint)
    job = vm.read_job(from_ase_atoms(water))
    assert flags(job) == expected
    assert flags(vm.read_job(from_ase_atoms(to_ase_atoms(job)))) == expected


def test_a_reaction_coordinate_flag_is_kept_beside_the_constraints():
    text = "PM7\npath\n\nC 0 0 0 0 0 0\nO 1.2 -1 0 0 0 0\nH 2 1 1 1 0 1\n"
    atoms = to_ase_atoms(vm.read_job(text))
    assert atoms.info["mopac_flags"] == [(0, 0, 0), (-1, 0, 0), (1, 1, 1)]
    assert flags(vm.read_job(from_ase_atoms(atoms))) == [(0, 0, 0), (-1, 0, 0), (1, 1, 1)]
    atoms.set_constraint()  # freed by the caller: the path flag stays, the others optimise
    assert flags(vm.read_job(from_ase_atoms(atoms))) == [(1, 1, 1), (-1, 1, 1), (1, 1, 1)]


@pytest.mark.parametrize(
    "positions",
    [
        [[0.1 + 0.2, -0.0, 1e-300], [1.2345678901234567e-17, 123456789.12345679, -5e-324], [np.pi, -np.e, 1.0]],
        [[0, 0, 0], [1, 0, 0], [1.1, 3.5, 2]],  # the third atom's "2 1" is not connectivity
        [[0, 0, 0], [1, 0, 0], [1.1, 3.5, 1]],
    ],
    ids=["awkward", "third-z-2", "third-z-1"],
)
def test_positions_round_trip_to_twelve_digits(positions):
    atoms = ase.Atoms("CHO", positions=positions)
    again = round_trip(atoms)
    assert close(again.get_positions(), positions)


def test_method_charge_multiplicity_and_keywords_are_written():
    water = molecule("H2O")
    text = from_ase_atoms(water, method="PM6-D3H4", charge=1, multiplicity=2, keywords=["PRECISE", "GNORM=0.1"],
                          title="water cation", description="from ASE")
    job = vm.read_job(text)
    (head,) = job.jobs
    assert [k.text for k in head.keywords] == ["PM6-D3H4", "PRECISE", "GNORM=0.1", "CHARGE=1", "DOUBLET"]
    assert (head.title.text, head.description.text) == ("water cation", "from ASE")
    assert vm.check(job) == []
    info = to_ase_atoms(job).info
    assert (info["charge"], info["multiplicity"]) == (1, 2)
    assert info["mopac_keywords"] == ["PM6-D3H4", "PRECISE", "GNORM=0.1"]


def test_arguments_replace_what_info_keeps():
    atoms = to_ase_atoms(vm.read_job_file(ETHANOL))
    job = vm.read_job(from_ase_atoms(atoms, method="AM1", charge=1, multiplicity=2, keywords=["1SCF"], title="cation"))
    assert [k.text for k in job.jobs[0].keywords] == ["AM1", "AUX(PRECISION=9)", "CHARGE=1", "1SCF", "DOUBLET"]
    assert (job.jobs[0].title.text, job.jobs[0].description.text) == ("cation", "optimised with flags, Cartesian")
    atoms.info["multiplicity"] = 3  # no longer what the kept SINGLET states
    assert "TRIPLET" in [k.text for k in vm.read_job(from_ase_atoms(atoms)).jobs[0].keywords]


def test_charge_and_multiplicity_default_to_atoms_info():
    water = molecule("H2O")
    water.info.update(charge=-1, multiplicity=2)
    info = round_trip(water).info
    assert (info["charge"], info["multiplicity"]) == (-1, 2)
    plain = vm.read_job(from_ase_atoms(molecule("H2O")))
    assert [k.text for k in plain.jobs[0].keywords] == ["PM7", "CHARGE=0"]  # MOPAC picks the spin
    assert "multiplicity" not in to_ase_atoms(plain).info


def test_layout_keywords_are_left_out_as_the_file_is_written_in_angstrom():
    text = "PM7 A0\nbohr\n\nH 0 0 0\nH 1.4 0 0\n"
    atoms = to_ase_atoms(vm.read_job(text))
    assert atoms.info["mopac_keywords"] == ["PM7"]
    assert close(round_trip(atoms).get_positions(), atoms.get_positions())


@pytest.mark.parametrize(
    "make, error, message",
    [
        (lambda: from_ase_atoms(ase.Atoms("H", positions=[[np.nan, 0, 0]])), ValueError, "finite"),
        (lambda: from_ase_atoms(molecule("H2O"), method="PM7 +"), ValueError, ""),
        (lambda: from_ase_atoms(molecule("H2O"), title="two\nlines"), ValueError, ""),
        (lambda: from_ase_atoms(molecule("H2O"), multiplicity=0), ValueError, "multiplicity"),
        (lambda: to_ase_atoms(vm.read_job("PM7 OLDGEO\nrestart\n\n")), ValueError, "no previous geometry"),
        (lambda: to_ase_atoms(vm.read_job("PM7\nsparkle\n\nCs 0 0 0\n+ 1 0 0\n")), ValueError, "symbols \\+"),
        (lambda: to_ase_atoms(vm.read_job_file(ETHANOL), index=1), IndexError, "no job 2"),
    ],
    ids=["nan", "method", "title", "multiplicity", "no-atoms", "sparkle", "index"],
)
def test_refusals(make, error, message):
    with pytest.raises(error, match=message):
        make()


def test_bulk_crystal_round_trips_with_its_cell():
    crystal = bulk("NaCl", "rocksalt", a=5.64, cubic=True)
    again = round_trip(crystal)
    assert again.get_chemical_symbols() == crystal.get_chemical_symbols()
    assert close(again.get_positions(), crystal.get_positions())
    assert close(again.get_cell()[:], crystal.get_cell()[:])
    assert again.pbc.all()
    assert {f for triple in flags(vm.read_job(from_ase_atoms(crystal))) for f in triple} == {1}
