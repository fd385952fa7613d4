"""The C interface (vexil_c.h) as ctypes has it."""

from __future__ import annotations

import ctypes
import os
import pathlib
from typing import Any

ABI = 1

OK = 0
OUT_OF_MEMORY = 4
UNKNOWN = 8

ISOLATED = 1
NUMBERS = 2

API_CUDA = 1
API_OPENCL = 2

_int = ctypes.c_int32
_text = ctypes.c_char_p

LogFunction = ctypes.CFUNCTYPE(None, ctypes.c_void_p, ctypes.c_int32, ctypes.c_char_p)


class Sized(ctypes.Structure):
    """A struct that begins with its size."""

    def __init__(self, **members: Any) -> None:
        super().__init__(size=ctypes.sizeof(type(self)), **members)


class Options(Sized):
    _fields_ = [
        ("size", ctypes.c_uint32),
        ("flags", ctypes.c_uint32),
        ("time_limit_ms", ctypes.c_uint32),
        ("reserved", ctypes.c_uint32),
        ("helper", _text),
        ("log", LogFunction),
        ("log_context", ctypes.c_void_p),
    ]


class GPU(Sized):
    _fields_ = [
        ("size", ctypes.c_uint32),
        ("vendor", _int),
        ("type", _int),
        ("is_main_display", _int),
        ("id", _text),
        ("name", _text),
        ("hardware_id", _text),
        ("pci_location", _text),
        ("pci_domain", _int),
        ("pci_bus", _int),
        ("pci_device", _int),
        ("pci_function", _int),
        ("vram_mib", ctypes.c_int64),
        ("compute_apis", _int),
        ("cuda_index", _int),
        ("cuda_compute_major", _int),
        ("cuda_compute_minor", _int),
        ("dxgi_number", _int),
        ("cuda_number", _int),
        ("nvml_number", _int),
        ("nvapi_number", _int),
        ("vulkan_number", _int),
        ("hip_number", _int),
        ("opencl_platform_number", _int),
        ("opencl_device_number", _int),
        ("level_zero_driver_number", _int),
        ("level_zero_device_number", _int),
        ("luid", ctypes.c_uint64),
        ("uuid", _text),
    ]


class Monitor(Sized):
    _fields_ = [
        ("size", ctypes.c_uint32),
        ("is_main", _int),
        ("gpu_index", _int),
        ("width", _int),
        ("height", _int),
        ("refresh_rate", _int),
        ("gpu_id", _text),
        ("name", _text),
        ("device_name", _text),
    ]


class System(Sized):
    _fields_ = [
        ("size", ctypes.c_uint32),
        ("cpu_threads", _int),
        ("ram_mib", ctypes.c_int64),
        ("os_version", _text),
        ("model", _text),
        ("cpu_name", _text),
        ("system_id", _text),
        ("nvidia_driver_major", _int),
        ("nvidia_driver_minor", _int),
        ("cuda_driver_major", _int),
        ("cuda_driver_minor", _int),
        ("amd_driver_version", _text),
        ("intel_driver_version", _text),
    ]


class Memory(Sized):
    _fields_ = [
        ("size", ctypes.c_uint32),
        ("reserved", ctypes.c_uint32),
        ("free_bytes", ctypes.c_uint64),
        ("total_bytes", ctypes.c_uint64),
    ]


_snapshot = ctypes.c_void_p
_index = ctypes.c_uint32
_pointer = ctypes.POINTER

# Name, result, arguments.
_functions: list[tuple[str, Any, list[Any]]] = [
    ("vexil_abi", ctypes.c_uint32, []),
    ("vexil_version", _text, []),
    ("vexil_status_text", _text, [_int]),
    ("vexil_last_error", _text, []),
    ("vexil_detect", _int, [_pointer(Options), _pointer(_snapshot)]),
    ("vexil_load", _int, [_text, _pointer(_snapshot)]),
    ("vexil_load_buffer", _int, [_text, ctypes.c_size_t, _pointer(_snapshot)]),
    ("vexil_release", _int, [_snapshot]),
    ("vexil_gpu_count", ctypes.c_uint32, [_snapshot]),
    ("vexil_monitor_count", ctypes.c_uint32, [_snapshot]),
    ("vexil_get_gpu", _int, [_snapshot, _index, _pointer(GPU)]),
    ("vexil_get_monitor", _int, [_snapshot, _index, _pointer(Monitor)]),
    ("vexil_get_system", _int, [_snapshot, _pointer(System)]),
    ("vexil_get_json", _int, [_snapshot, _pointer(_text)]),
    ("vexil_get_ids_json", _int, [_snapshot, _pointer(_text)]),
    ("vexil_get_buffer", _int, [_snapshot, _pointer(ctypes.c_void_p), _pointer(ctypes.c_size_t)]),
    ("vexil_get_system_memory", _int, [_pointer(Memory)]),
    ("vexil_get_gpu_memory", _int, [_snapshot, _index, _pointer(Memory)]),
]


def _open() -> ctypes.CDLL:
    # The package's own, unless somebody knows of another.
    path = os.environ.get("VEXIL_C_LIBRARY") or pathlib.Path(__file__).resolve().parent / "vexil_c.dll"
    opened = ctypes.CDLL(str(path))
    for name, result, arguments in _functions:
        function = getattr(opened, name)
        function.restype = result
        function.argtypes = arguments
    if opened.vexil_abi() < ABI:
        raise ImportError(f"{path} is older than this package")
    return opened


library = _open()
