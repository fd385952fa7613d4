"""Vexil: which GPUs this machine has, and how to reach each of them.

    import vexil

    for gpu in vexil.detect().gpus:
        print(gpu.name, gpu.vram_mib, "MiB")

What is not known is None, or an empty text. Any thread may call anything; a detection lets other threads run meanwhile.
"""

from __future__ import annotations

import ctypes
import enum
import json as _json
import os
import weakref
from dataclasses import dataclass, field
from typing import Any, Callable

from . import _c

__all__ = [
    "Error",
    "GPU",
    "GPUType",
    "LogLevel",
    "Memory",
    "Monitor",
    "Snapshot",
    "Status",
    "System",
    "Vendor",
    "detect",
    "load",
    "load_buffer",
    "system_memory",
    "version",
]


class Vendor(enum.IntEnum):
    UNKNOWN = 0
    NVIDIA = 1
    AMD = 2
    INTEL = 3

    @classmethod
    def _missing_(cls, value: object) -> Vendor:
        return cls.UNKNOWN


class GPUType(enum.IntEnum):
    UNKNOWN = 0
    INTEGRATED = 1
    DISCRETE = 2
    EXTERNAL = 3

    @classmethod
    def _missing_(cls, value: object) -> GPUType:
        return cls.UNKNOWN


class LogLevel(enum.IntEnum):
    DEBUG = 0
    INFO = 1
    WARNING = 2
    ERROR = 3


class Status(enum.IntEnum):
    """What a call failed with."""

    INVALID_ARGUMENT = 1
    INVALID_SIZE = 2
    NO_SNAPSHOT = 3
    OUT_OF_MEMORY = 4
    BUSY = 5
    UNREADABLE = 6
    DAMAGED = 7
    UNKNOWN = 8
    FAILED = 9
    HELPER_MISSING = 10
    HELPER_TIMED_OUT = 11
    HELPER_CRASHED = 12
    HELPER_NO_ANSWER = 13

    @classmethod
    def _missing_(cls, value: object) -> Status:
        return cls.FAILED


class Error(Exception):
    """A call that failed. `known` is what is known all the same, where a helper program failed."""

    def __init__(self, status: int, text: str) -> None:
        super().__init__(text)
        self.status = Status(status)
        self.known: Snapshot | None = None


@dataclass(frozen=True)
class Memory:
    """Bytes at one moment."""

    free_bytes: int
    total_bytes: int


@dataclass(frozen=True)
class GPU:
    id: str
    name: str
    vendor: Vendor
    type: GPUType
    is_main_display: bool
    hardware_id: str
    pci_location: str
    pci_domain: int | None
    pci_bus: int | None
    pci_device: int | None
    pci_function: int | None
    vram_mib: int | None
    has_cuda: bool
    has_opencl: bool
    cuda_index: int | None
    cuda_compute: tuple[int, int] | None
    # By which number each interface knows it; with detect(numbers=True) only.
    dxgi_number: int | None
    cuda_number: int | None
    nvml_number: int | None
    nvapi_number: int | None
    vulkan_number: int | None
    hip_number: int | None
    opencl_number: tuple[int, int] | None
    level_zero_number: tuple[int, int] | None
    luid: int | None
    uuid: str
    _snapshot: Snapshot = field(repr=False, compare=False)
    _index: int = field(repr=False, compare=False)

    def memory(self) -> Memory | None:
        """Video memory at this moment; None where the driver does not tell."""
        return _memory(_c.library.vexil_get_gpu_memory, self._snapshot._handle, self._index)


@dataclass(frozen=True)
class Monitor:
    name: str
    device_name: str
    gpu_id: str
    gpu_index: int | None
    is_main: bool
    width: int | None
    height: int | None
    refresh_rate: int | None


@dataclass(frozen=True)
class System:
    os_version: str
    model: str
    cpu_name: str
    cpu_threads: int | None
    ram_mib: int | None
    system_id: str
    nvidia_driver: tuple[int, int] | None
    cuda_driver: tuple[int, int] | None
    amd_driver_version: str
    intel_driver_version: str


class Snapshot:
    """One detection's results, which never change."""

    def __init__(self, handle: ctypes.c_void_p) -> None:
        self._handle = handle
        weakref.finalize(self, _c.library.vexil_release, handle)

    @property
    def gpus(self) -> list[GPU]:
        count: int = _c.library.vexil_gpu_count(self._handle)
        return [self._gpu(index) for index in range(count)]

    @property
    def monitors(self) -> list[Monitor]:
        count: int = _c.library.vexil_monitor_count(self._handle)
        return [self._monitor(index) for index in range(count)]

    @property
    def system(self) -> System:
        from_c = _c.System()
        _check(_c.library.vexil_get_system(self._handle, from_c))
        return System(
            os_version=_text(from_c.os_version),
            model=_text(from_c.model),
            cpu_name=_text(from_c.cpu_name),
            cpu_threads=_known(from_c.cpu_threads),
            ram_mib=_known(from_c.ram_mib),
            system_id=_text(from_c.system_id),
            nvidia_driver=_pair(from_c.nvidia_driver_major, from_c.nvidia_driver_minor),
            cuda_driver=_pair(from_c.cuda_driver_major, from_c.cuda_driver_minor),
            amd_driver_version=_text(from_c.amd_driver_version),
            intel_driver_version=_text(from_c.intel_driver_version),
        )

    @property
    def json(self) -> Any:
        """Everything, as "vexil --json" prints it, in Python's types."""
        return self._json(_c.library.vexil_get_json)

    @property
    def ids(self) -> Any:
        """All numbers, as "vexil ids --json" prints them, in Python's types."""
        return self._json(_c.library.vexil_get_ids_json)

    @property
    def buffer(self) -> bytes:
        """Everything as a FlatBuffers buffer, which load_buffer takes."""
        data = ctypes.c_void_p()
        size = ctypes.c_size_t()
        _check(_c.library.vexil_get_buffer(self._handle, data, size))
        return ctypes.string_at(data, size.value)

    def _json(self, function: Any) -> Any:
        text = ctypes.c_char_p()
        _check(function(self._handle, text))
        return _json.loads(text.value or b"")

    def _gpu(self, index: int) -> GPU:
        from_c = _c.GPU()
        _check(_c.library.vexil_get_gpu(self._handle, index, from_c))
        return GPU(
            id=_text(from_c.id),
            name=_text(from_c.name),
            vendor=Vendor(from_c.vendor),
            type=GPUType(from_c.type),
            is_main_display=bool(from_c.is_main_display),
            hardware_id=_text(from_c.hardware_id),
            pci_location=_text(from_c.pci_location),
            pci_domain=_known(from_c.pci_domain),
            pci_bus=_known(from_c.pci_bus),
            pci_device=_known(from_c.pci_device),
            pci_function=_known(from_c.pci_function),
            vram_mib=_known(from_c.vram_mib),
            has_cuda=bool(from_c.compute_apis & _c.API_CUDA),
            has_opencl=bool(from_c.compute_apis & _c.API_OPENCL),
            cuda_index=_known(from_c.cuda_index),
            cuda_compute=_pair(from_c.cuda_compute_major, from_c.cuda_compute_minor),
            dxgi_number=_known(from_c.dxgi_number),
            cuda_number=_known(from_c.cuda_number),
            nvml_number=_known(from_c.nvml_number),
            nvapi_number=_known(from_c.nvapi_number),
            vulkan_number=_known(from_c.vulkan_number),
            hip_number=_known(from_c.hip_number),
            opencl_number=_pair(from_c.opencl_platform_number, from_c.opencl_device_number),
            level_zero_number=_pair(from_c.level_zero_driver_number, from_c.level_zero_device_number),
            luid=from_c.luid or None,
            uuid=_text(from_c.uuid),
            _snapshot=self,
            _index=index,
        )

    def _monitor(self, index: int) -> Monitor:
        from_c = _c.Monitor()
        _check(_c.library.vexil_get_monitor(self._handle, index, from_c))
        return Monitor(
            name=_text(from_c.name),
            device_name=_text(from_c.device_name),
            gpu_id=_text(from_c.gpu_id),
            gpu_index=_known(from_c.gpu_index),
            is_main=bool(from_c.is_main),
            width=_known(from_c.width),
            height=_known(from_c.height),
            refresh_rate=_known(from_c.refresh_rate),
        )


def detect(
    *,
    isolated: bool = False,
    numbers: bool = False,
    time_limit: float | None = None,
    helper: str | os.PathLike[str] | None = None,
    log: Callable[[LogLevel, str], None] | None = None,
) -> Snapshot:
    """Detects the GPUs of this machine. Also succeeds where there is none.

    isolated: in a process of its own, so that a driver that crashes or hangs takes nothing else with it.
    numbers: ask also by which numbers interfaces know the GPUs.
    time_limit: seconds for such processes; None is the usual one.
    helper: the program for them; None is the one beside the DLL.
    log: is told the lines of the log. What it raises is raised when the detection is over.
    """
    raised: list[BaseException] = []

    def write(context: Any, level: int, text: bytes) -> None:
        try:
            if log is not None and not raised:
                log(LogLevel(level), _text(text))
        except BaseException as error:
            raised.append(error)

    options = _c.Options(
        flags=(_c.ISOLATED if isolated else 0) | (_c.NUMBERS if numbers else 0),
        time_limit_ms=0 if time_limit is None else max(1, round(time_limit * 1000)),
        helper=None if helper is None else os.fspath(helper).encode(),
    )
    if log is not None:
        options.log = _c.LogFunction(write)
    made = _made(_c.library.vexil_detect, options)
    if raised:
        raise raised[0]
    return _unless_failed(made)


def load(path: str | os.PathLike[str]) -> Snapshot:
    """A result that "vexil save FILE" saved."""
    return _unless_failed(_made(_c.library.vexil_load, os.fspath(path).encode()))


def load_buffer(data: bytes) -> Snapshot:
    """A result that Snapshot.buffer gave."""
    return _unless_failed(_made(_c.library.vexil_load_buffer, data, len(data)))


def system_memory() -> Memory | None:
    """The machine's physical memory at this moment; None where Windows does not tell."""
    return _memory(_c.library.vexil_get_system_memory)


def version() -> str:
    """The version of the library."""
    return _text(_c.library.vexil_version())


def _text(text: bytes | None) -> str:
    return (text or b"").decode()


def _known(number: int) -> int | None:
    return None if number == -1 else number


def _pair(first: int, second: int) -> tuple[int, int] | None:
    return None if first == -1 or second == -1 else (first, second)


def _error(status: int) -> Exception:
    return MemoryError() if status == _c.OUT_OF_MEMORY else Error(status, _text(_c.library.vexil_last_error()))


def _check(status: int) -> None:
    if status != _c.OK:
        raise _error(status)


def _made(function: Any, *arguments: Any) -> Snapshot | Exception:
    handle = ctypes.c_void_p()
    status: int = function(*arguments, handle)
    if status == _c.OK:
        return Snapshot(handle)
    error = _error(status)
    if handle and isinstance(error, Error):
        error.known = Snapshot(handle)
    return error


def _unless_failed(made: Snapshot | Exception) -> Snapshot:
    if isinstance(made, Exception):
        raise made
    return made


def _memory(function: Any, *arguments: Any) -> Memory | None:
    memory = _c.Memory()
    status: int = function(*arguments, memory)
    if status == _c.UNKNOWN:
        return None
    _check(status)
    return Memory(memory.free_bytes, memory.total_bytes)
