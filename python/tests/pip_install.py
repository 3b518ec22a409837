"""Installs vesk_mopac with pip and runs the suite on it: pip_install.py SOURCE_DIR SCRATCH_DIR.

What a user does on a fresh machine, offline: a virtual environment that sees
the system's packages (setuptools, wheel, pybind11, NumPy, pytest, ASE),
`pip install --no-build-isolation --no-index` of the tree, and the pytest
suite run from a folder outside the tree, so that only the installed package
can be imported.
"""

import os
import shutil
import subprocess
import sys
from pathlib import Path

source, scratch = Path(sys.argv[1]).resolve(), Path(sys.argv[2]).resolve()
shutil.rmtree(scratch, ignore_errors=True)


def run(*command, cwd=scratch):
    print("+", " ".join(map(str, command)), flush=True)
    subprocess.run([str(part) for part in command], cwd=cwd, check=True)


# pip builds in the folder it is given: a copy of the tree, so that the
# checkout gets no build files and no build folder of the checkout is reused.
def outside_the_package(folder, names):
    if Path(folder) == source:
        return [n for n in names if n.startswith(("build", ".git")) or n.endswith(".egg-info")]
    return [n for n in names if n == "__pycache__"]


tree = scratch / "source"
shutil.copytree(source, tree, ignore=outside_the_package, symlinks=True)
environment = scratch / "venv"
run(sys.executable, "-m", "venv", "--system-site-packages", environment)
python = environment / "bin" / "python"
run(python, "-m", "pip", "install", "--no-build-isolation", "--no-index", "--no-cache-dir", tree)

# The package, its module and the libraries it loads all come from the
# environment (installed_import.py checks each), and then the whole suite.
elsewhere = scratch / "elsewhere"
elsewhere.mkdir()
site = subprocess.check_output([str(python), "-c", "import sysconfig; print(sysconfig.get_path('platlib'))"], text=True)
site = os.path.relpath(site.strip(), environment)
os.environ.pop("PYTHONPATH", None)
run(python, "-I", source / "python" / "tests" / "installed_import.py", environment, site, cwd=elsewhere)
run(python, "-m", "pytest", "-q", "-p", "no:cacheprovider", source / "python" / "tests", cwd=elsewhere)
