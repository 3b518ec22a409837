"""Builds the native module of vesk_mopac with the project's CMake build.

The module (target vesk_mopac_python) and the two shared libraries it loads
are built by CMake and copied beside the Python files of the package; the
module and the libraries find each other through the run path $ORIGIN. The
package's metadata is in pyproject.toml.
"""

import os
import shutil
import subprocess
import sys
from pathlib import Path

from setuptools import Extension, setup
from setuptools.command.build_ext import build_ext

SOURCE_DIR = Path(__file__).resolve().parent


class CMakeBuild(build_ext):
    def build_extension(self, ext):
        build_dir = Path(self.build_temp).resolve() / "cmake"
        configure = [
            "cmake", "-S", str(SOURCE_DIR), "-B", str(build_dir),
            "-DCMAKE_BUILD_TYPE=Release",
            "-DVESK_MOPAC_BUILD_PYTHON=ON",
            "-DVESK_MOPAC_BUILD_TOOLS=OFF",
            "-DVESK_MOPAC_BUILD_TESTS=OFF",
            "-DVESK_MOPAC_BUILD_BENCHMARKS=OFF",
            f"-DPython3_EXECUTABLE={sys.executable}",
            # The files are used where they are built, so they carry the
            # run paths of an installation: $ORIGIN for all of them.
            "-DCMAKE_BUILD_WITH_INSTALL_RPATH=ON",
            "-DVESK_MOPAC_PYTHON_RPATH=$ORIGIN",
        ]
        if shutil.which("ninja") and not (build_dir / "CMakeCache.txt").exists():
            configure += ["-G", "Ninja"]
        try:  # pybind11 from PyPI (an isolated build) says where its CMake files are
            import pybind11

            configure.append(f"-Dpybind11_DIR={pybind11.get_cmake_dir()}")
        except (ImportError, AttributeError):
            pass
        subprocess.run(configure, check=True)
        build = ["cmake", "--build", str(build_dir), "--target", "vesk_mopac_python"]
        if self.parallel:
            build += ["--parallel", str(self.parallel)]
        subprocess.run(build, check=True)

        # The module, then the libraries under the names the module loads them by.
        files = (build_dir / "python" / "native-files.txt").read_text(encoding="utf-8").split()
        module = Path(self.get_ext_fullpath(ext.name))
        module.parent.mkdir(parents=True, exist_ok=True)
        shutil.copyfile(files[0], module)
        for library in files[1:]:
            shutil.copyfile(library, module.parent / os.path.basename(library))


setup(
    ext_modules=[Extension("vesk_mopac._native", sources=[])],
    cmdclass={"build_ext": CMakeBuild},
)
