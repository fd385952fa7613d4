"""Packs vexil. VEXIL_BINARIES names the folder with vexil_c.dll and vexil.exe, which go inside; without it the package
takes the library that VEXIL_C_LIBRARY names when it is used."""

import os
import pathlib
import re
import shutil

from setuptools import Distribution, setup
from setuptools.command.build_py import build_py
from wheel.bdist_wheel import bdist_wheel

here = pathlib.Path(__file__).resolve().parent
folder = os.environ.get("VEXIL_BINARIES")
version_text = os.environ.get("VEXIL_VERSION") or re.search(
    r'VEXIL_VERSION_TEXT "(.*?)"', (here / "../../CMakeLists.txt").read_text()
).group(1)


class BuildWithBinaries(build_py):
    def run(self):
        super().run()
        for name in ["vexil_c.dll", "vexil.exe"] if folder else []:
            shutil.copyfile(pathlib.Path(folder, name), pathlib.Path(self.build_lib, "vexil", name))


class WindowsWheel(bdist_wheel):
    """For every Python 3 of the DLL's platform."""

    def get_tag(self):
        return ("py3", "none", "win_amd64") if folder else super().get_tag()


class WithBinaries(Distribution):
    """Of one platform, where the DLL is inside."""

    def has_ext_modules(self):
        return bool(folder)


setup(
    name="vexil",
    # "1.2_1-a10" as Python numbers versions: 1.2.1a10.
    version=re.sub(r"[_-](?=\d)", ".", version_text).replace("-", ""),
    description="Which GPUs a Windows machine has, and how to reach each of them",
    packages=["vexil"],
    package_data={"vexil": ["py.typed"]},
    python_requires=">=3.8",
    distclass=WithBinaries,
    cmdclass={"build_py": BuildWithBinaries, "bdist_wheel": WindowsWheel},
)
