"""The native code of the package is built by CMake, with the rest of the library, in the folder that KIVSR_BUILD names.

    KIVSR_BUILD=build/x86_64 python3 setup.py bdist_wheel     # what `make python` does
"""

import os
import shutil
import subprocess
import sys
from pathlib import Path

from setuptools import Extension, setup
from setuptools.command.build_ext import build_ext

ROOT = Path(__file__).resolve().parent.parent


class CMakeBuild(build_ext):
    """The whole package folder that CMake makes, in the place of extensions."""

    def run(self):
        build = Path(os.environ.get("KIVSR_BUILD", ROOT / "build" / "wheel")).resolve()
        options = ["-DKIVSR_TOOLS=ON", "-DKIVSR_V3=ON", "-DKIVSR_PYTHON=ON", f"-DKIVSR_PYTHON_PROGRAM={sys.executable}"]
        jobs = os.environ.get("JOBS", str(os.cpu_count()))
        subprocess.run(["cmake", "-S", ROOT, "-B", build, *options], check=True, stdout=subprocess.DEVNULL)
        subprocess.run(["cmake", "--build", build, "-j", jobs, "--target", "kivsr_python"], check=True)
        source = build / "python" / "kivsr"
        target = ROOT / "python" / "src" / "kivsr" if self.inplace else Path(self.build_lib) / "kivsr"
        for pattern in ("*.so", "*/*.so", "*/__init__.py", "*.py", "*.pyi", "py.typed"):
            for file in source.glob(pattern):
                copy = target / file.relative_to(source)
                copy.parent.mkdir(parents=True, exist_ok=True)
                shutil.copy(file, copy)

    def get_source_files(self):
        return []

    def get_outputs(self):
        return []


# packages: the folders of extensions come from the build.
setup(
    packages=["kivsr"],
    package_dir={"": "src"},
    package_data={"kivsr": ["py.typed", "*.pyi"]},
    ext_modules=[Extension("kivsr._native", sources=[])],
    cmdclass={"build_ext": CMakeBuild},
)
