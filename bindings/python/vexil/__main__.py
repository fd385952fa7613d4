"""Prints the GPUs of this machine: python -m vexil [--json] [--numbers] [--isolated] [FILE]"""

from __future__ import annotations

import argparse
import dataclasses
import json
import sys

import vexil


def _plain(gpu: vexil.GPU) -> dict[str, object]:
    members = {f.name: getattr(gpu, f.name) for f in dataclasses.fields(gpu) if not f.name.startswith("_")}
    return {**members, "vendor": gpu.vendor.name, "type": gpu.type.name}


def _line(gpu: vexil.GPU) -> str:
    size = "unknown" if gpu.vram_mib is None else f"{gpu.vram_mib} MiB"
    main = ", main display" if gpu.is_main_display else ""
    text = f"{gpu.id}  {gpu.name}, {gpu.type.name.lower()}, {size} VRAM, {gpu.pci_location}{main}"
    # Drivers' texts could steer the terminal.
    return "".join(c if c.isprintable() else "?" for c in text)


def main() -> int:
    parser = argparse.ArgumentParser(prog="python -m vexil", description="Prints the GPUs of this machine.")
    parser.add_argument("file", nargs="?", help="a saved result instead of this machine")
    parser.add_argument("--json", action="store_true", help="for programs")
    parser.add_argument("--numbers", action="store_true", help="also by which numbers interfaces know them")
    parser.add_argument("--isolated", action="store_true", help="in a process of its own")
    parser.add_argument("--version", action="version", version=f"vexil {vexil.version()}")
    arguments = parser.parse_args()
    try:
        if arguments.file is not None:
            gpus = vexil.load(arguments.file).gpus
        else:
            gpus = vexil.detect(isolated=arguments.isolated, numbers=arguments.numbers).gpus
    except vexil.Error as error:
        print(f"vexil: {error}", file=sys.stderr)
        return 2
    if arguments.json:
        print(json.dumps([_plain(gpu) for gpu in gpus], indent=2))
    else:
        for gpu in gpus:
            print(_line(gpu))
    return 0 if gpus else 1


if __name__ == "__main__":
    sys.exit(main())
