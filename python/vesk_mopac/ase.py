"""The bridge to ASE: ``ase.Atoms`` from a MOPAC job, and a MOPAC input from ``ase.Atoms``.

ASE is imported when a function here is called, so that ``vesk_mopac`` works
without it::

    from vesk_mopac import read_job_file
    from vesk_mopac.ase import from_ase_atoms, to_ase_atoms

    atoms = to_ase_atoms(read_job_file("in.mop"))
    text = from_ase_atoms(atoms, method="PM6-D3H4", charge=0, multiplicity=1)

A round trip ``ase.Atoms`` -> input -> ``read_job`` -> ``ase.Atoms`` keeps the
symbols and the positions bit for bit: coordinates are written as the
shortest decimal text that reads back as the same float.
"""

from __future__ import annotations

import math
from typing import TYPE_CHECKING, Iterable, Optional

import numpy as np

from ._native import JobEditor, MopacJob, Severity, spin_state_multiplicity

if TYPE_CHECKING:  # pragma: no cover
    import ase

__all__ = ["to_ase_atoms", "from_ase_atoms"]


def to_ase_atoms(job: MopacJob, index: int = 0) -> "ase.Atoms":
    """The atoms of job ``index`` of a MOPAC reading as ``ase.Atoms``.

    Symbols and positions (Å) are those of ``job.geometry(index)``: internal
    coordinates converted and symmetry applied as MOPAC does, dummy atoms left
    out. Translation vectors become the cell, periodic along as many axes as
    there are vectors (1 polymer, 2 layer, 3 solid). ``atoms.info["charge"]``
    holds CHARGE (0 when absent); ``atoms.info["multiplicity"]`` is set when
    the keywords state one (MS=, SINGLET ... NONET).

    Raises IndexError for a job the file does not have, and ValueError when
    the job has no atoms that can be placed (its geometry comes from
    elsewhere, or the reading found errors) or holds an atom ASE does not
    know (a sparkle, a capped bond).
    """
    from ase import Atoms
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
    keywords = job.jobs[index]
    atoms.info["charge"] = _charge(keywords.keyword_value("CHARGE"))
    multiplicity = _multiplicity(keywords)
    if multiplicity is not None:
        atoms.info["multiplicity"] = multiplicity
    return atoms


def from_ase_atoms(
    atoms: "ase.Atoms",
    method: str = "PM7",
    charge: Optional[int] = None,
    multiplicity: Optional[int] = None,
    keywords: Iterable[str] = (),
    title: str = "",
    description: str = "",
) -> str:
    """A MOPAC input text for ``atoms``, in Cartesian coordinates.

    The keyword line holds ``method``, CHARGE=``charge``, the spin keywords of
    ``multiplicity`` (MS=, and UHF above 1) and then ``keywords``. ``charge``
    None takes ``atoms.info["charge"]`` or 0; ``multiplicity`` None takes
    ``atoms.info["multiplicity"]`` or writes no spin keyword, so that MOPAC
    takes the lowest spin state. Atoms fixed by an ASE ``FixAtoms`` constraint
    get the optimisation flags 0, the others 1. The cell vectors of the
    periodic axes become translation vectors (Tv).

    Raises ValueError for a non-finite position or cell, and for a method,
    keyword or title that MOPAC would read otherwise than given.
    """
    symbols = atoms.get_chemical_symbols()
    positions = np.asarray(atoms.get_positions(), dtype=np.float64)
    if not np.all(np.isfinite(positions)):
        raise ValueError("atom positions must be finite")
    fixed = _fixed_atoms(atoms)
    lines = []
    for i, (symbol, (x, y, z)) in enumerate(zip(symbols, positions)):
        flag = 0 if i in fixed else 1
        lines.append(f"{symbol} {_number(x)} {flag} {_number(y)} {flag} {_number(z)} {flag}")
    cell = np.asarray(atoms.get_cell(), dtype=np.float64)
    for axis, periodic in enumerate(atoms.get_pbc()):
        if periodic:
            if not np.all(np.isfinite(cell[axis])):
                raise ValueError("cell vectors must be finite")
            x, y, z = cell[axis]
            lines.append(f"Tv {_number(x)} 1 {_number(y)} 1 {_number(z)} 1")

    # The head is written by the editor, which lays keywords out as MOPAC
    # reads them and refuses what MOPAC would misread.
    editor = JobEditor("\n\n\n" + "\n".join(lines) + "\n")
    editor.set_method(method)
    editor.set_charge(int(atoms.info.get("charge", 0) if charge is None else charge))
    if multiplicity is None:
        multiplicity = atoms.info.get("multiplicity")
    if multiplicity is not None:
        editor.set_multiplicity(int(multiplicity))
    for keyword in keywords:
        editor.add_keyword(keyword)
    if title:
        editor.set_title(title)
    if description:
        editor.set_description(description)
    return editor.text


def _number(value: float) -> str:
    # repr() is the shortest text that reads back as the same double.
    return repr(float(value))


def _fixed_atoms(atoms: "ase.Atoms") -> set:
    from ase.constraints import FixAtoms

    fixed: set = set()
    for constraint in atoms.constraints:
        if isinstance(constraint, FixAtoms):
            fixed.update(int(i) for i in constraint.get_indices())
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


def _multiplicity(job) -> Optional[int]:
    ms = job.keyword_value("MS")
    if ms:
        try:
            spin = float(ms)
        except ValueError:
            return None
        if math.isfinite(spin) and spin >= 0 and (2 * spin).is_integer():
            return int(2 * spin) + 1
        return None
    for keyword in job.keywords:
        stated = spin_state_multiplicity(keyword.text)
        if stated:
            return stated
    return None
