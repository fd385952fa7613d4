'use strict';
// The C interface (vexil_c.h) as koffi has it.

const path = require('node:path');
const koffi = require('koffi');

const ABI = 1;

const OK = 0;
const UNKNOWN = 8;

const ISOLATED = 1;
const NUMBERS = 2;

// Koffi has types of the same name once only in a process, so these have none.
const LogFunction = koffi.proto('void VexilLogFunction(void *context, int32_t level, const char *text)');

const Options = koffi.struct({
  size: 'uint32_t',
  flags: 'uint32_t',
  time_limit_ms: 'uint32_t',
  reserved: 'uint32_t',
  helper: 'str',
  log: koffi.pointer(LogFunction),
  log_context: 'void *',
});

const numbers = (...names) => Object.fromEntries(names.map((name) => [name, 'int32_t']));
const texts = (...names) => Object.fromEntries(names.map((name) => [name, 'str']));

const GPU = koffi.struct({
  size: 'uint32_t',
  ...numbers('vendor', 'type', 'is_main_display'),
  ...texts('id', 'name', 'hardware_id', 'pci_location'),
  ...numbers('pci_domain', 'pci_bus', 'pci_device', 'pci_function'),
  vram_mib: 'int64_t',
  ...numbers('compute_apis', 'cuda_index', 'cuda_compute_major', 'cuda_compute_minor'),
  ...numbers('dxgi_number', 'cuda_number', 'nvml_number', 'nvapi_number', 'vulkan_number', 'hip_number'),
  ...numbers('opencl_platform_number', 'opencl_device_number'),
  ...numbers('level_zero_driver_number', 'level_zero_device_number'),
  luid: 'uint64_t',
  uuid: 'str',
});

const Monitor = koffi.struct({
  size: 'uint32_t',
  ...numbers('is_main', 'gpu_index', 'width', 'height', 'refresh_rate'),
  ...texts('gpu_id', 'name', 'device_name'),
});

const System = koffi.struct({
  size: 'uint32_t',
  cpu_threads: 'int32_t',
  ram_mib: 'int64_t',
  ...texts('os_version', 'model', 'cpu_name', 'system_id'),
  ...numbers('nvidia_driver_major', 'nvidia_driver_minor', 'cuda_driver_major', 'cuda_driver_minor'),
  ...texts('amd_driver_version', 'intel_driver_version'),
});

const Memory = koffi.struct({ size: 'uint32_t', reserved: 'uint32_t', free_bytes: 'uint64_t', total_bytes: 'uint64_t' });

const Snapshot = 'void *';
const out = (type) => koffi.out(koffi.pointer(type));
const filled = (type) => koffi.inout(koffi.pointer(type));

// Name, result, arguments.
const FUNCTIONS = [
  ['vexil_abi', 'uint32_t', []],
  ['vexil_version', 'str', []],
  ['vexil_status_text', 'str', ['int32_t']],
  ['vexil_last_error', 'str', []],
  ['vexil_detect', 'int32_t', [koffi.pointer(Options), out(Snapshot)]],
  ['vexil_load', 'int32_t', ['str', out(Snapshot)]],
  ['vexil_load_buffer', 'int32_t', ['void *', 'size_t', out(Snapshot)]],
  ['vexil_release', 'int32_t', [Snapshot]],
  ['vexil_gpu_count', 'uint32_t', [Snapshot]],
  ['vexil_monitor_count', 'uint32_t', [Snapshot]],
  ['vexil_get_gpu', 'int32_t', [Snapshot, 'uint32_t', filled(GPU)]],
  ['vexil_get_monitor', 'int32_t', [Snapshot, 'uint32_t', filled(Monitor)]],
  ['vexil_get_system', 'int32_t', [Snapshot, filled(System)]],
  ['vexil_get_json', 'int32_t', [Snapshot, out('str')]],
  ['vexil_get_ids_json', 'int32_t', [Snapshot, out('str')]],
  ['vexil_get_buffer', 'int32_t', [Snapshot, out('void *'), out('size_t')]],
  ['vexil_get_system_memory', 'int32_t', [filled(Memory)]],
  ['vexil_get_gpu_memory', 'int32_t', [Snapshot, 'uint32_t', filled(Memory)]],
];

// The package's own DLL, unless somebody knows of another.
const file = process.env.VEXIL_C_LIBRARY || path.join(__dirname, 'vexil_c.dll');
const opened = koffi.load(file);
const library = Object.fromEntries(FUNCTIONS.map((declaration) => [declaration[0], opened.func(...declaration)]));
if (library.vexil_abi() < ABI) throw new Error(`${file} is older than this package`);

/** What a function fills, as a struct that begins with its size. */
const sized = (type) => ({ size: koffi.sizeof(type) });

module.exports = { OK, UNKNOWN, ISOLATED, NUMBERS, FUNCTIONS, Options, GPU, Monitor, System, Memory, library, sized, koffi };
