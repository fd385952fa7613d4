'use strict';

const path = require('node:path');
const { Worker } = require('node:worker_threads');
const c = require('./c.js');

const { library } = c;

const VENDORS = ['unknown', 'NVIDIA', 'AMD', 'Intel'];
const TYPES = ['unknown', 'integrated', 'discrete', 'external'];
const LEVELS = ['debug', 'info', 'warning', 'error'];
const CODES = [
  '',
  'INVALID_ARGUMENT',
  'INVALID_SIZE',
  'NO_SNAPSHOT',
  'OUT_OF_MEMORY',
  'BUSY',
  'UNREADABLE',
  'DAMAGED',
  'UNKNOWN',
  'FAILED',
  'HELPER_MISSING',
  'HELPER_TIMED_OUT',
  'HELPER_CRASHED',
  'HELPER_NO_ANSWER',
];

class VexilError extends Error {
  constructor(status, reason) {
    super(reason);
    this.name = 'VexilError';
    this.code = CODES[status] ?? 'FAILED';
    this.known = undefined;
  }
}

const check = (status) => {
  if (status !== c.OK) throw new VexilError(status, library.vexil_last_error());
};

const fill = (type, call) => {
  const filled = c.sized(type);
  check(call(filled));
  return filled;
};

const known = (number) => (number === -1 || number === -1n ? null : Number(number));
const pair = (first, second) => (first === -1 || second === -1 ? null : [first, second]);

const memory = (call) => {
  const filled = c.sized(c.Memory);
  const status = call(filled);
  if (status === c.UNKNOWN) return null;
  check(status);
  return { freeBytes: Number(filled.free_bytes), totalBytes: Number(filled.total_bytes) };
};

const releasing = new FinalizationRegistry((handle) => library.vexil_release(handle));

class GPU {
  #memory;

  constructor(snapshot, handle, index) {
    const gpu = fill(c.GPU, (filled) => library.vexil_get_gpu(handle, index, filled));
    // The snapshot lives as long as its GPUs.
    this.#memory = () => snapshot && memory((filled) => library.vexil_get_gpu_memory(handle, index, filled));
    this.id = gpu.id;
    this.name = gpu.name;
    this.vendor = VENDORS[gpu.vendor] ?? VENDORS[0];
    this.type = TYPES[gpu.type] ?? TYPES[0];
    this.isMainDisplay = gpu.is_main_display !== 0;
    this.hardwareId = gpu.hardware_id;
    this.pciLocation = gpu.pci_location;
    this.pciDomain = known(gpu.pci_domain);
    this.pciBus = known(gpu.pci_bus);
    this.pciDevice = known(gpu.pci_device);
    this.pciFunction = known(gpu.pci_function);
    this.vramMiB = known(gpu.vram_mib);
    this.hasCUDA = (gpu.compute_apis & 1) !== 0;
    this.hasOpenCL = (gpu.compute_apis & 2) !== 0;
    this.cudaIndex = known(gpu.cuda_index);
    this.cudaCompute = pair(gpu.cuda_compute_major, gpu.cuda_compute_minor);
    this.dxgiNumber = known(gpu.dxgi_number);
    this.cudaNumber = known(gpu.cuda_number);
    this.nvmlNumber = known(gpu.nvml_number);
    this.nvapiNumber = known(gpu.nvapi_number);
    this.vulkanNumber = known(gpu.vulkan_number);
    this.hipNumber = known(gpu.hip_number);
    this.openclNumber = pair(gpu.opencl_platform_number, gpu.opencl_device_number);
    this.levelZeroNumber = pair(gpu.level_zero_driver_number, gpu.level_zero_device_number);
    this.luid = BigInt(gpu.luid) || null;
    this.uuid = gpu.uuid;
  }

  memory() {
    return this.#memory();
  }
}

class Snapshot {
  #handle;

  constructor(handle) {
    this.#handle = handle;
    releasing.register(this, handle);
  }

  get gpus() {
    const count = library.vexil_gpu_count(this.#handle);
    return Array.from({ length: count }, (_, index) => new GPU(this, this.#handle, index));
  }

  get monitors() {
    const count = library.vexil_monitor_count(this.#handle);
    return Array.from({ length: count }, (_, index) => {
      const monitor = fill(c.Monitor, (filled) => library.vexil_get_monitor(this.#handle, index, filled));
      return {
        name: monitor.name,
        deviceName: monitor.device_name,
        gpuId: monitor.gpu_id,
        gpuIndex: known(monitor.gpu_index),
        isMain: monitor.is_main !== 0,
        width: known(monitor.width),
        height: known(monitor.height),
        refreshRate: known(monitor.refresh_rate),
      };
    });
  }

  get system() {
    const system = fill(c.System, (filled) => library.vexil_get_system(this.#handle, filled));
    return {
      osVersion: system.os_version,
      model: system.model,
      cpuName: system.cpu_name,
      cpuThreads: known(system.cpu_threads),
      ramMiB: known(system.ram_mib),
      systemId: system.system_id,
      nvidiaDriver: pair(system.nvidia_driver_major, system.nvidia_driver_minor),
      cudaDriver: pair(system.cuda_driver_major, system.cuda_driver_minor),
      amdDriverVersion: system.amd_driver_version,
      intelDriverVersion: system.intel_driver_version,
    };
  }

  get json() {
    return this.#json(library.vexil_get_json);
  }

  get ids() {
    return this.#json(library.vexil_get_ids_json);
  }

  get buffer() {
    const data = [null];
    const size = [0];
    check(library.vexil_get_buffer(this.#handle, data, size));
    // A copy: the snapshot's own bytes go with it.
    return Buffer.from(Buffer.from(c.koffi.view(data[0], Number(size[0]))));
  }

  #json(call) {
    const text = [null];
    check(call(this.#handle, text));
    return JSON.parse(text[0]);
  }
}

const made = (call) => {
  const handle = [null];
  check(call(handle));
  return new Snapshot(handle[0]);
};

/** What the thread that detected tells. */
const finish = ({ status, handle, reason }) => {
  const snapshot = handle ? new Snapshot(handle) : undefined;
  if (status === c.OK) return snapshot;
  const error = new VexilError(status, reason);
  error.known = snapshot;
  throw error;
};

const detect = ({ log, ...options } = {}) =>
  new Promise((resolve, reject) => {
    const worker = new Worker(path.join(__dirname, 'detect.js'), { workerData: { ...options, hasLog: Boolean(log) } });
    let snapshot;
    let first;
    const attempt = (action) => {
      try {
        action();
      } catch (error) {
        first ??= { error };
      }
    };
    worker.on('message', (message) => {
      if (message.status !== undefined) {
        attempt(() => (snapshot = finish(message)));
      } else if (first === undefined) {
        attempt(() => log(LEVELS[message.level], message.text));
      }
    });
    worker.on('error', (error) => attempt(() => { throw error; }));
    worker.on('exit', () => {
      if (first === undefined && snapshot === undefined) first = { error: new Error('the detection has no result') };
      if (first === undefined) resolve(snapshot);
      else reject(first.error);
    });
  });

const load = (file) => made((handle) => library.vexil_load(file, handle));
const loadBuffer = (data) => made((handle) => library.vexil_load_buffer(data, data.length, handle));
const systemMemory = () => memory(library.vexil_get_system_memory);
const version = () => library.vexil_version();

module.exports = { detect, load, loadBuffer, systemMemory, version, GPU, Snapshot, VexilError };
