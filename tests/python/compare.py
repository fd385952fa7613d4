"""Whether the package tells the same of a simulated machine as the companion program.

compare.py PROGRAM MACHINE
"""

import json
import os
import subprocess
import sys

import vexil

program, machine = sys.argv[1:]
# Not the sanitizers that this process was started with.
environment = {name: value for name, value in os.environ.items() if name != "LD_PRELOAD"}


def told(*arguments):
    output = subprocess.run([program, machine, *arguments, "--json"], capture_output=True, env=environment).stdout
    return json.loads(output)


snapshot = vexil.detect(numbers=True)
listed = told("list")["gpus"]
assert len(snapshot.gpus) == len(listed), snapshot.gpus
for gpu, expected in zip(snapshot.gpus, listed):
    for member in ["id", "hardware_id", "pci_location"]:
        assert getattr(gpu, member) == expected.get(member, ""), (member, gpu, expected)
    for member in ["pci_bus", "pci_device", "pci_function", "cuda_index", "is_main_display"]:
        assert getattr(gpu, member) == expected.get(member), (member, gpu, expected)
    vram_mib = expected.get("vram_mib")
    assert gpu.vram_mib == (vram_mib if vram_mib is None else vram_mib % 2**32), (gpu, expected)
    assert gpu.name == expected["name"], (gpu, expected)
    assert (gpu.vendor.name, gpu.type.name) == (expected["vendor"].upper(), expected.get("type", "Unknown").upper())
    assert gpu.has_cuda == ("CUDA" in expected.get("compute_apis", [])), (gpu, expected)

ids = told("ids")
for gpu, expected in zip(snapshot.gpus, ids["gpus"]):
    for interface, number in [("DXGI", gpu.dxgi_number), ("NVML", gpu.nvml_number), ("HIP", gpu.hip_number)]:
        known = [k["number"] for k in expected["known_as"] if k["interface"] == interface and not k["disputed"]]
        assert str(number) == (known[0] if known else "None"), (interface, gpu, expected)
assert snapshot.ids == ids
result = told()
assert len(snapshot.monitors) == len(result.get("monitors", []))
assert snapshot.system.os_version == result["system"].get("os_version", "")
