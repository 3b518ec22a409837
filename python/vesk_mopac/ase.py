"""The bridge to ASE: ``ase.Atoms`` from a MOPAC job, and a MOPAC input from ``ase.Atoms``.

ASE is imported when a function here is called, so that ``vesk_mopac`` works
without it::

    from vesk_mopac import read_job_file
    from vesk_mopac.ase import from_ase_atoms, to_ase_atoms

    atoms = to_ase_atoms(read_job_file("in.mop"))
    text = from_ase_atoms(atoms, method="PM6-D3H4", charge=0, multiplicity=1)

A round trip input -> ``ase.Atoms`` -> input keeps what MOPAC reads: the
keywords, title, description, charge and spin go through ``atoms.info``, the
optimisation flags through ASE constraints, the translation vectors through
the cell. Coordinates are written with 12 significant digits.
"""

from __future__ import annotations

import math
from typing import TYPE_CHECKING, Iterable, Optional

import numpy as np

from ._native import CoordinateForm, JobEditor, MopacJob, Severity, is_mopac_method, spin_state_multiplicity

if TYPE_CHECKING:  # pragma: no cover
    import ase

__all__ = ["to_ase_atoms", "from_ase_atoms"]


def to_ase_atoms(job: MopacJob, index: int = 0) -> "ase.Atoms":
    """The atoms of job ``index`` of a MOPAC reading as ``ase.Atoms``.

    Symbols and positions (Å) are those of ``job.placement(index)``: internal
    coordinates converted and symmetry applied as MOPAC does, dummy atoms left
    out. Translation vectors become the cell, periodic along as many axes as
    there are vectors (1 polymer, 2 layer, 3 solid).

    ``atoms.info`` keeps the rest of the job, so that ``from_ase_atoms``
    writes it back:

    - ``"title"``, ``"description"``: the two text lines after the keywords;
    - ``"charge"``: CHARGE (0 when absent); ``"multiplicity"``: set when the
      keywords state one (MS=, SINGLET ... NONET);
    - ``"mopac_spin_keywords"``: the keywords that state that multiplicity,
      spelt as in the file, written back while the multiplicity is unchanged;
    - ``"mopac_keywords"``: every other keyword, in order, spelt as in the file,
      but for A0, AIGIN and MOPAC: they tell how the file lays its geometry
      out (Bohr, Gaussian Z-matrix, default connectivity), and the atoms
      leave it as Cartesian coordinates in Å;
    - ``"mopac_cell_flags"``: the optimisation flags of the translation
      vectors, one triple per vector, when there are vectors.

    Optimisation flags: in a job whose atoms are all given in Cartesian
    coordinates, every atom with a flag 0 gets a ``FixCartesian`` constraint
    whose mask fixes those coordinates. Flags other than 0 and 1 (a reaction
    coordinate, -1) cannot be told by a constraint: the whole table of flags
    is then also kept in ``atoms.info["mopac_flags"]``. In a job with atoms
    in internal coordinates the flags are about bond lengths, angles and
    dihedrals, not about x, y and z: they are kept, one triple per atom of
    the returned atoms, in ``atoms.info["mopac_internal_flags"]``, no
    constraint is set, and ``from_ase_atoms`` does not write them back (its
    input is Cartesian).

    Raises IndexError for a job the file does not have, and ValueError when
    the job has no atoms that can be placed (its geometry comes from
    elsewhere, or the reading found errors) or holds an atom ASE does not
    know (a sparkle, a capped bond).
    """
    from ase import Atoms
    from ase.constraints import FixCartesian
    from ase.data import atomic_numbers

    if not 0 <= index < len(job.jobs):
        raise IndexError(f"MOPAC input has no job {index + 1}")
    symbols, positions, vectors = job.placement(index)
    if not symbols:
        reasons = [str(d) for d in job.diagnostics if d.severity == Severity.ERROR]
        raise ValueError(
            f"job {index + 1} has no atoms that can be placed"
            + (": " + "; ".join(reasons[:3]) if reasons else "")
        )
    unknown = sorted({s for s in symbols if s not in atomic_numbers})
    if unknown:
        raise ValueError(f"ASE has no element for the MOPAC symbols {', '.join(unknown)}")

    cell = np.zeros((3, 3))
    cell[: len(vectors)] = vectors
    atoms = Atoms(
        symbols=symbols,
        positions=positions,
        cell=cell,
        pbc=[axis < len(vectors) for axis in range(3)],
    )
    head = job.jobs[index]
    atoms.info["title"] = head.title.text
    atoms.info["description"] = head.description.text
    charge = _charge(head.keyword_value("CHARGE"))
    atoms.info["charge"] = charge
    multiplicity = _multiplicity(head)
    if multiplicity is not None:
        atoms.info["multiplicity"] = multiplicity
    atoms.info["mopac_keywords"] = [
        _spelling(job, keyword)
        for keyword in head.keywords
        if not _states_charge_or_spin(keyword.text, multiplicity is not None)
        and _keyword_name(keyword.text) not in _LAYOUT_KEYWORDS
    ]
    if multiplicity is not None:
        atoms.info["mopac_spin_keywords"] = [
            _spelling(job, keyword)
            for keyword in head.keywords
            if _states_charge_or_spin(keyword.text, True) and _keyword_name(keyword.text) != "CHARGE"
        ]

    # The records hold dummy atoms and translation vectors too; placement
    # leaves the dummies out and returns the vectors apart.
    records = job.atoms(index)
    placed = [r for r in records if r.atomic_number not in (_DUMMY, _TRANSLATION)]
    cell_flags = [tuple(r.flags) for r in records if r.atomic_number == _TRANSLATION]
    if cell_flags:
        atoms.info["mopac_cell_flags"] = cell_flags
    if len(placed) != len(atoms):  # no flags rather than flags on the wrong atoms
        return atoms
    flags = [tuple(r.flags) for r in placed]
    cartesian = all(r.form == CoordinateForm.CARTESIAN for r in records if r.atomic_number != _TRANSLATION)
    if not cartesian:
        atoms.info["mopac_internal_flags"] = flags
        return atoms
    if any(f not in (0, 1) for triple in flags for f in triple):
        atoms.info["mopac_flags"] = flags
    atoms.set_constraint(
        [FixCartesian(i, mask=[f == 0 for f in triple]) for i, triple in enumerate(flags) if 0 in triple]
    )
    return atoms


def from_ase_atoms(
    atoms: "ase.Atoms",
    method: Optional[str] = None,
    charge: Optional[int] = None,
    multiplicity: Optional[int] = None,
    keywords: Iterable[str] = (),
    title: Optional[str] = None,
    description: Optional[str] = None,
) -> str:
    """A MOPAC input text for ``atoms``, in Cartesian coordinates.

    The keyword line holds ``atoms.info["mopac_keywords"]`` (the keywords
    ``to_ase_atoms`` kept, written as they were even where MOPAC finds fault
    with them), then ``keywords``, CHARGE and the spin keywords.
    ``method`` replaces the method keyword among them; without one, PM7 is
    written when they name no method. ``charge`` None takes
    ``atoms.info["charge"]`` or 0; ``multiplicity`` None takes
    ``atoms.info["multiplicity"]`` or writes no spin keyword, so that MOPAC
    takes the lowest spin state. ``title`` and ``description`` None take
    ``atoms.info["title"]`` and ``atoms.info["description"]``.

    Coordinates are written with 12 significant digits, as the rest of the
    library writes them. Optimisation flags: a coordinate fixed by a
    ``FixAtoms`` or ``FixCartesian`` constraint gets 0, the others 1, or the
    flag ``atoms.info["mopac_flags"]`` keeps for it when that is neither 0
    nor 1. The cell vectors of the periodic axes become translation vectors
    (Tv) with the flags of ``atoms.info["mopac_cell_flags"]``; without them
    the cell is fixed when every atom is, and optimised otherwise.

    Raises ValueError for a non-finite position or cell, and for a method,
    keyword or title that MOPAC would read otherwise than given.
    """
    symbols = atoms.get_chemical_symbols()
    positions = np.asarray(atoms.get_positions(), dtype=np.float64)
    if not np.all(np.isfinite(positions)):
        raise ValueError("atom positions must be finite")
    fixed = _fixed_coordinates(atoms)
    table = _flag_table(atoms.info.get("mopac_flags"), len(atoms))
    flags = np.where(fixed, 0, np.where(np.isin(table, (0, 1)), 1, table))
    lines = [
        f"{symbol} {_number(x)} {fx} {_number(y)} {fy} {_number(z)} {fz}"
        for symbol, (x, y, z), (fx, fy, fz) in zip(symbols, positions, flags)
    ]
    cell = np.asarray(atoms.get_cell(), dtype=np.float64)
    periodic = [axis for axis, on in enumerate(atoms.get_pbc()) if on]
    cell_flags = atoms.info.get("mopac_cell_flags")
    if cell_flags is None or len(cell_flags) != len(periodic):
        cell_flags = [(0, 0, 0) if fixed.all() else (1, 1, 1)] * len(periodic)
    for axis, (fx, fy, fz) in zip(periodic, cell_flags):
        if not np.all(np.isfinite(cell[axis])):
            raise ValueError("cell vectors must be finite")
        x, y, z = cell[axis]
        lines.append(f"Tv {_number(x)} {int(fx)} {_number(y)} {int(fy)} {_number(z)} {int(fz)}")

    # The head is written by the editor, which lays keywords out as MOPAC
    # reads them and refuses what MOPAC would misread. The keywords kept from
    # a MOPAC input go in first, findings and all, as that input had them;
    # what the caller adds is then proven against that text.
    kept = list(atoms.info.get("mopac_keywords", ()))
    editor = JobEditor("\n\n\n" + "\n".join(lines) + "\n")
    stated_charge = int(atoms.info.get("charge", 0))
    spin = []
    if multiplicity is None:
        multiplicity = atoms.info.get("multiplicity")
        stated = list(atoms.info.get("mopac_spin_keywords", ()))
        if multiplicity is not None and stated and _stated_multiplicity(stated) == multiplicity:
            # As the input stated it: MS= and a spin state are not the same
            # to MOPAC once C.I. is asked for, and UHF is as the keywords say.
            spin, multiplicity = stated, None
    keywords = list(keywords)
    default_method = method is None and not any(is_mopac_method(_keyword_name(k)) for k in kept + keywords)
    if kept or spin:
        editor.allow_new_errors(True)
        for keyword in kept:
            editor.add_keyword(keyword)
        if default_method:
            editor.set_method("PM7")
        editor.set_charge(stated_charge)
        for keyword in spin:
            editor.add_keyword(keyword)
        editor = JobEditor(editor.text)
    for keyword in keywords:
        editor.add_keyword(keyword)
    if method is not None:
        editor.set_method(method)
    elif default_method and not (kept or spin):
        editor.set_method("PM7")
    editor.set_charge(stated_charge if charge is None else int(charge))
    if multiplicity is not None:
        editor.set_multiplicity(int(multiplicity))
    title = atoms.info.get("title", "") if title is None else title
    description = atoms.info.get("description", "") if description is None else description
    if title:
        editor.set_title(title)
    if description:
        editor.set_description(description)
    return editor.text


_DUMMY = 99  # XX
_TRANSLATION = 107  # Tv
_LAYOUT_KEYWORDS = {"A0", "AIGIN", "MOPAC"}


def _number(value: float) -> str:
    # A whole number keeps a decimal point: the third atom's "z 1" read as
    # "2 1" or "1 2" would be connectivity to MOPAC, not a coordinate.
    text = "%.12g" % float(value)
    return text + ".0" if text.lstrip("-").isdigit() else text


def _keyword_name(keyword: str) -> str:
    return keyword.split("=", 1)[0].split("(", 1)[0].strip().upper()


def _spelling(job: MopacJob, keyword) -> str:
    """The keyword as the file spells it (paths keep their case), else as MOPAC keeps it."""
    start = keyword.column - 1
    written = job.line_text(keyword.line)[start : start + keyword.length] if start >= 0 else ""
    return written if written.upper() == keyword.text.upper() else keyword.text


def _states_charge_or_spin(keyword: str, spin_known: bool) -> bool:
    # A spin keyword stays with the others when it could not be read as a
    # multiplicity, so that it is not lost.
    name = _keyword_name(keyword)
    if name == "CHARGE":
        return True
    return spin_known and (name == "MS" or spin_state_multiplicity(name) > 0)


def _stated_multiplicity(keywords) -> Optional[int]:
    """The multiplicity spin keywords state: MS= first, as MOPAC takes it."""
    for keyword in keywords:
        if _keyword_name(keyword) == "MS":
            return _multiplicity_of_ms(keyword.split("=", 1)[1] if "=" in keyword else "")
    for keyword in keywords:
        stated = spin_state_multiplicity(_keyword_name(keyword))
        if stated:
            return stated
    return None


def _flag_table(table, count: int) -> np.ndarray:
    flags = np.ones((count, 3), dtype=int)
    if table is not None and len(table) == count:
        flags[:] = np.asarray(table, dtype=int).reshape(count, 3)
    return flags


def _fixed_coordinates(atoms: "ase.Atoms") -> np.ndarray:
    """An (n, 3) mask of the coordinates FixAtoms and FixCartesian hold."""
    from ase.constraints import FixAtoms, FixCartesian

    # A fixed coordinate is one whose force the constraint zeroes; asking the
    # constraint works for every release of ASE, whatever it stores.
    fixed = np.zeros((len(atoms), 3), dtype=bool)
    for constraint in atoms.constraints:
        if isinstance(constraint, (FixAtoms, FixCartesian)):
            forces = np.ones((len(atoms), 3))
            constraint.adjust_forces(atoms, forces)
            fixed |= forces == 0
    return fixed


def _charge(value: Optional[str]) -> int:
    if value is None:
        return 0
    try:
        number = float(value)
    except ValueError:
        raise ValueError(f"CHARGE={value} is not a number") from None
    if not number.is_integer():
        raise ValueError(f"CHARGE={value} is not a whole number")
    return int(number)


def _multiplicity_of_ms(value: str) -> Optional[int]:
    try:
        spin = float(value)
    except ValueError:
        return None
    if math.isfinite(spin) and spin >= 0 and (2 * spin).is_integer():
        return int(2 * spin) + 1
    return None


def _multiplicity(job) -> Optional[int]:
    ms = job.keyword_value("MS")
    if ms:
        return _multiplicity_of_ms(ms)
    for keyword in job.keywords:
        stated = spin_state_multiplicity(keyword.text)
        if stated:
            return stated
    return None
