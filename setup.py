"""The wheel of the Python package: CMake builds what is compiled.

ZEL_BUILD_DIR names a build folder that is there already; CMAKE_ARGS is passed to CMake for a new one.
"""

import os
import pathlib
import re
import shlex
import subprocess

from setuptools import Extension, setup
from setuptools.command.build_ext import build_ext

SOURCE = pathlib.Path(__file__).resolve().parent
OPTIONS = ["TESTS=OFF", "BENCH=OFF", "EXAMPLES=OFF", "TOOLS=OFF", "PYTHON=ON"]


def version():
    return re.search(r"VERSION (\d+\.\d+\.\d+)", (SOURCE / "CMakeLists.txt").read_text())[1]


class Build(build_ext):
    def run(self):
        folder = os.environ.get("ZEL_BUILD_DIR") or self.configured()
        prefix = pathlib.Path(self.build_lib).resolve()
        subprocess.run(
            ["cmake", "--install", folder, "--component", "wheel", "--prefix", prefix], check=True
        )

    def configured(self):
        folder = str(pathlib.Path(self.build_temp).resolve())
        options = [f"-DZEL_BUILD_{option}" for option in OPTIONS]
        more = shlex.split(os.environ.get("CMAKE_ARGS", ""))
        subprocess.run(
            ["cmake", "-S", SOURCE, "-B", folder, "-DCMAKE_BUILD_TYPE=Release", *options, *more], check=True
        )
        subprocess.run(["cmake", "--build", folder, "--parallel"], check=True)
        return folder

    def get_source_files(self):
        return []


setup(version=version(), packages=[], ext_modules=[Extension("zel._zel", [])], cmdclass={"build_ext": Build})
