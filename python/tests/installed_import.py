"""Imports vesk_mopac from an install prefix: installed_import.py PREFIX PYTHON_DIR.

Run with `python3 -I` (no PYTHONPATH, no user site) so that nothing of the
build tree can be found; fails unless the package, its native module and the
shared libraries it loads all come from PREFIX.
"""

import os
import sys

prefix = os.path.realpath(sys.argv[1])
sys.path.insert(0, os.path.join(prefix, sys.argv[2]))

import vesk_mopac  # noqa: E402
from vesk_mopac import _native  # noqa: E402

for module in (vesk_mopac, _native):
    assert os.path.realpath(module.__file__).startswith(prefix + os.sep), module.__file__

with open("/proc/self/maps", encoding="utf-8") as maps:
    loaded = {line.split()[-1] for line in maps if "libvesk_" in line}
assert loaded, "no libvesk_ library loaded"
for library in loaded:
    assert os.path.realpath(library).startswith(prefix + os.sep), f"{library} is not from {prefix}"

job = vesk_mopac.read_job("PM7\nwater\n\nO 0 0 0\nH 0.96 0 0\nH -0.24 0.93 0\n")
assert job.positions().shape == (3, 3), job.positions()
assert not vesk_mopac.check(job), vesk_mopac.check(job)
for name in ("__init__.py", "ase.py", "_native.pyi", "py.typed"):
    assert os.path.isfile(os.path.join(os.path.dirname(vesk_mopac.__file__), name)), name
print(f"vesk_mopac {vesk_mopac.__version__} from {os.path.dirname(vesk_mopac.__file__)}")
print(f"libraries: {', '.join(sorted(loaded))}")
