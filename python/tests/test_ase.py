"""The ASE bridge: ase.Atoms from a job, an input from ase.Atoms, bitwise round trips."""

import numpy as np
import pytest

ase = pytest.importorskip("ase")
from ase.build import bulk, molecule  # noqa: E402
from ase.constraints import FixAtoms  # noqa: E402

import vesk_mopac as vm  # noqa: E402
from conftest import ETHANOL, corpus, corpus_file  # noqa: E402
from vesk_mopac.ase import from_ase_atoms, to_ase_atoms  # noqa: E402

SOLID = "openmopac-mopac-archive/data/PM6/Data_erratic/Anglesite_PbSO4.mop"


def same_bits(a, b):
    a, b = np.asarray(a, dtype=np.float64), np.asarray(b, dtype=np.float64)
    return a.shape == b.shape and np.array_equal(a.view(np.uint64), b.view(np.uint64))


def round_trip(atoms, **options):
    return to_ase_atoms(vm.read_job(from_ase_atoms(atoms, **options)))


def test_a_job_becomes_atoms_with_symbols_positions_and_charge():
    atoms = to_ase_atoms(vm.read_job_file(ETHANOL))
    assert atoms.get_chemical_symbols() == ["C", "C", "O"] + ["H"] * 6
    assert same_bits(atoms.get_positions(), vm.read_job_file(ETHANOL).positions())
    assert not atoms.pbc.any()
    assert atoms.info == {"charge": 0, "multiplicity": 1}  # CHARGE=0 SINGLET


def test_a_solid_of_the_corpus_becomes_a_periodic_cell():
    job = vm.read_job_file(corpus_file(SOLID))
    atoms = to_ase_atoms(job)
    assert atoms.pbc.all()
    assert same_bits(atoms.get_cell()[:], job.translation_vectors())
    assert len(atoms) == len(job.symbols())
    again = round_trip(atoms)
    assert again.get_chemical_symbols() == atoms.get_chemical_symbols()
    assert same_bits(again.get_positions(), atoms.get_positions())
    assert same_bits(again.get_cell()[:], atoms.get_cell()[:])


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


@pytest.mark.parametrize("path", corpus("mopac tests+examples"))
def test_corpus_molecules_round_trip_bit_for_bit(path):
    job = vm.read_job_file(path)
    try:
        atoms = to_ase_atoms(job)
    except ValueError:
        pytest.skip("no atoms ASE can take")
    again = round_trip(atoms, method="PM6", keywords=["PRECISE"])
    assert again.get_chemical_symbols() == atoms.get_chemical_symbols()
    assert same_bits(again.get_positions(), atoms.get_positions())
    assert same_bits(again.get_cell()[:], atoms.get_cell()[:])
    assert again.info["charge"] == atoms.info["charge"]


def test_awkward_numbers_round_trip_bit_for_bit():
    positions = [
        [0.1 + 0.2, -0.0, 1e-300],
        [1.2345678901234567e-17, 123456789.12345679, -5e-324],
        [np.nextafter(1.0, 2.0), np.pi, -np.e],
    ]
    atoms = ase.Atoms("CHO", positions=positions)
    assert same_bits(round_trip(atoms).get_positions(), positions)


def test_method_charge_multiplicity_and_keywords_are_written():
    water = molecule("H2O")
    text = from_ase_atoms(water, method="PM6-D3H4", charge=1, multiplicity=2, keywords=["PRECISE", "GNORM=0.1"],
                          title="water cation", description="from ASE")
    job = vm.read_job(text)
    (head,) = job.jobs
    assert [k.text for k in head.keywords] == ["PM6-D3H4", "CHARGE=1", "DOUBLET", "PRECISE", "GNORM=0.1"]
    assert (head.title.text, head.description.text) == ("water cation", "from ASE")
    assert vm.check(job) == []
    assert to_ase_atoms(job).info == {"charge": 1, "multiplicity": 2}


def test_charge_and_multiplicity_default_to_atoms_info():
    water = molecule("H2O")
    water.info.update(charge=-1, multiplicity=2)
    assert to_ase_atoms(vm.read_job(from_ase_atoms(water))).info == {"charge": -1, "multiplicity": 2}
    plain = vm.read_job(from_ase_atoms(molecule("H2O")))
    assert [k.text for k in plain.jobs[0].keywords] == ["PM7", "CHARGE=0"]  # MOPAC picks the spin
    assert "multiplicity" not in to_ase_atoms(plain).info


def test_fixed_atoms_get_flags_zero():
    water = molecule("H2O")
    water.set_constraint(FixAtoms(indices=[0]))
    flags = [atom.flags for atom in vm.read_job(from_ase_atoms(water)).atoms()]
    assert flags == [(0, 0, 0), (1, 1, 1), (1, 1, 1)]


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
    assert same_bits(again.get_positions(), crystal.get_positions())
    assert same_bits(again.get_cell()[:], crystal.get_cell()[:])
    assert again.pbc.all()
