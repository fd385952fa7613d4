"""Reads a saved result as strangers to the library would: with flatc's JSON, and with Python classes made
from the installed schema. Both have to tell what the companion program tells.

read_result.py FLATC SCHEMA FOLDER PROGRAM [ARGUMENT...]
"""

import json
import pathlib
import re
import subprocess
import sys

flatc, schema, folder, *program = sys.argv[1:]
folder = pathlib.Path(folder)
folder.mkdir(parents=True, exist_ok=True)
saved = folder / "result.bin"


def run(*command):
    return subprocess.run(command, check=True, capture_output=True).stdout


def as_told(gpus):
    """The companion program replaces what is not UTF-8."""
    return [(id, re.sub(r"[^\x00-\x7F]", "\uFFFD", name), bus) for id, name, bus in gpus]


run(*program, "save", str(saved))
told = json.loads(run(*program, "--from", str(saved), "list", "--json"))
expected = [(gpu["id"], gpu["name"], gpu["pci_bus"]) for gpu in told]
assert expected, told

# Texts are in the code page of the drivers' machine; what is not UTF-8 flatc writes as "\\xE9".
run(flatc, "--json", "--strict-json", "--raw-binary", "--allow-non-utf8", "-o", str(folder), schema, "--", str(saved))
as_json = json.loads((folder / "result.json").read_text().replace("\\x", "\\u00"))
by_flatc = [(m["gpu"]["id"], m["gpu"]["name"], m["gpu"]["pci_bus"]) for m in as_json["gpus"]]
assert as_told(by_flatc) == expected, by_flatc

run(flatc, "--python", "-o", str(folder), schema)
sys.path.insert(0, str(folder))
from Vexil.FlatBuffers.DetectionResult import DetectionResult  # noqa: E402

root = DetectionResult.GetRootAs(saved.read_bytes())
gpus = [root.Gpus(i).Gpu() for i in range(root.GpusLength())]
by_python = [(gpu.Id().decode(), gpu.Name().decode("latin-1"), gpu.PciBus()) for gpu in gpus]
assert by_python == by_flatc, by_python
assert gpus[0].Ulong18() == 2**64 - 1, "an unknown number reads as its default"
