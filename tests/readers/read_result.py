"""Reads a saved result as strangers to the library would: with flatc's JSON, and with Python classes made
from the installed schema. Both have to tell what the companion program tells.

read_result.py FLATC SCHEMA FOLDER PROGRAM [ARGUMENT...]
"""

import json
import pathlib
import subprocess
import sys

flatc, schema, folder, *program = sys.argv[1:]
folder = pathlib.Path(folder)
folder.mkdir(parents=True, exist_ok=True)
saved = folder / "result.bin"


def run(*command):
    return subprocess.run(command, check=True, capture_output=True).stdout


run(*program, "save", str(saved))
told = json.loads(run(*program, "--from", str(saved), "list", "--json"))["gpus"]
expected = [(gpu["id"], gpu["name"], gpu["pci_bus"]) for gpu in told]
assert expected, told

run(flatc, "--json", "--strict-json", "--raw-binary", "-o", str(folder), schema, "--", str(saved))
as_json = json.loads((folder / "result.json").read_text(encoding="utf-8"))
by_flatc = [(m["gpu"]["id"], m["gpu"]["name"], m["gpu"]["pci_bus"]) for m in as_json["gpus"]]
assert by_flatc == expected, by_flatc

run(flatc, "--python", "-o", str(folder), schema)
sys.path.insert(0, str(folder))
from Vexil.FlatBuffers.DetectionResult import DetectionResult  # noqa: E402

root = DetectionResult.GetRootAs(saved.read_bytes())
gpus = [root.Gpus(i).Gpu() for i in range(root.GpusLength())]
by_python = [(gpu.Id().decode(), gpu.Name().decode(), gpu.PciBus()) for gpu in gpus]
assert by_python == by_flatc, by_python
assert gpus[0].Ulong18() == 2**64 - 1, "an unknown number reads as its default"
