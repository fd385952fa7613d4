"""Builds the wheel and looks into it.

check_wheel.py PACKAGE BINARIES VERSION FOLDER
"""

import email
import os
import pathlib
import shutil
import subprocess
import sys
import zipfile

package, binaries, version, folder = sys.argv[1:]
folder = pathlib.Path(folder)
shutil.rmtree(folder, ignore_errors=True)
# Building leaves files beside the sources.
shutil.copytree(package, folder / "package", ignore=shutil.ignore_patterns("__pycache__"))
environment = {**os.environ, "VEXIL_BINARIES": binaries, "VEXIL_VERSION": version}
command = [sys.executable, "-m", "build", "--wheel", "--no-isolation", "--outdir", folder, folder / "package"]
subprocess.run(command, check=True, env=environment, stdout=subprocess.DEVNULL)

(wheel,) = folder.glob("*.whl")
assert wheel.name.endswith("-py3-none-win_amd64.whl"), wheel
with zipfile.ZipFile(wheel) as archive:
    content = {name: archive.read(name) for name in archive.namelist()}
inside = {name.split("/")[1] for name in content if name.startswith("vexil/")}
assert inside == {"__init__.py", "__main__.py", "_c.py", "py.typed", "vexil.exe", "vexil_c.dll"}, inside
for name in ["vexil_c.dll", "vexil.exe"]:
    assert content["vexil/" + name] == pathlib.Path(binaries, name).read_bytes(), name
(tags,) = [email.message_from_bytes(text) for name, text in content.items() if name.endswith("/WHEEL")]
assert (tags["Root-Is-Purelib"], tags["Tag"]) == ("false", "py3-none-win_amd64"), tags
assert all("tests" not in name for name in content), content.keys()
print(wheel.name, wheel.stat().st_size, "bytes")
