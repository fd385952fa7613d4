/// <reference types="node" />

// Vexil: which GPUs this machine has, and how to reach each of them. What is not known is null, or an empty text.

export type Vendor = 'unknown' | 'NVIDIA' | 'AMD' | 'Intel';
export type GPUType = 'unknown' | 'integrated' | 'discrete' | 'external';
export type LogLevel = 'debug' | 'info' | 'warning' | 'error';
export type ErrorCode =
  | 'INVALID_ARGUMENT'
  | 'INVALID_SIZE'
  | 'NO_SNAPSHOT'
  | 'OUT_OF_MEMORY'
  | 'BUSY'
  | 'UNREADABLE'
  | 'DAMAGED'
  | 'UNKNOWN'
  | 'FAILED'
  | 'HELPER_MISSING'
  | 'HELPER_TIMED_OUT'
  | 'HELPER_CRASHED'
  | 'HELPER_NO_ANSWER';

export class VexilError extends Error {
  readonly code: ErrorCode;
  /** What is known all the same, where a helper program failed. */
  readonly known?: Snapshot;
}

/** Bytes at one moment. */
export interface Memory {
  readonly freeBytes: number;
  readonly totalBytes: number;
}

export class GPU {
  private constructor();
  /** "gpu:61279526.5150080d", the same from run to run. */
  readonly id: string;
  readonly name: string;
  readonly vendor: Vendor;
  readonly type: GPUType;
  readonly isMainDisplay: boolean;
  readonly hardwareId: string;
  /** "PCI:1:0.0": bus, device and, where known, function, decimal. */
  readonly pciLocation: string;
  readonly pciDomain: number | null;
  readonly pciBus: number | null;
  readonly pciDevice: number | null;
  readonly pciFunction: number | null;
  readonly vramMiB: number | null;
  readonly hasCUDA: boolean;
  readonly hasOpenCL: boolean;
  /** CUDA's ordinal in this process, as its environment has it. */
  readonly cudaIndex: number | null;
  readonly cudaCompute: [major: number, minor: number] | null;
  // By which number each interface knows it; with the option `numbers` only.
  readonly dxgiNumber: number | null;
  readonly cudaNumber: number | null;
  readonly nvmlNumber: number | null;
  readonly nvapiNumber: number | null;
  readonly vulkanNumber: number | null;
  readonly hipNumber: number | null;
  readonly openclNumber: [platform: number, device: number] | null;
  readonly levelZeroNumber: [driver: number, device: number] | null;
  readonly luid: bigint | null;
  readonly uuid: string;

  /** Video memory at this moment; null where the driver does not tell. Asks the driver, in this thread. */
  memory(): Memory | null;
}

export interface Monitor {
  readonly name: string;
  readonly deviceName: string;
  readonly gpuId: string;
  readonly gpuIndex: number | null;
  readonly isMain: boolean;
  readonly width: number | null;
  readonly height: number | null;
  readonly refreshRate: number | null;
}

export interface System {
  readonly osVersion: string;
  readonly model: string;
  readonly cpuName: string;
  readonly cpuThreads: number | null;
  readonly ramMiB: number | null;
  readonly systemId: string;
  readonly nvidiaDriver: [major: number, minor: number] | null;
  readonly cudaDriver: [major: number, minor: number] | null;
  readonly amdDriverVersion: string;
  readonly intelDriverVersion: string;
}

/** One detection's results, which never change. */
export class Snapshot {
  private constructor();
  readonly gpus: GPU[];
  readonly monitors: Monitor[];
  readonly system: System;
  /** Everything, as "vexil --json" prints it. */
  readonly json: any;
  /** All numbers, as "vexil ids --json" prints them. Throws without the option `numbers`. */
  readonly ids: any;
  /** Everything as a FlatBuffers buffer, which loadBuffer takes. */
  readonly buffer: Buffer;
}

export interface DetectOptions {
  /** In a process of its own, so that a driver that crashes or hangs takes nothing else with it. */
  isolated?: boolean;
  /** Ask also by which numbers interfaces know the GPUs. */
  numbers?: boolean;
  /** Milliseconds for such processes. */
  timeLimit?: number;
  /** The program for such processes instead of the one beside the DLL. */
  helper?: string;
  /** Is told the lines of the log. What it throws, the promise is rejected with. */
  log?: (level: LogLevel, text: string) => void;
}

/** Detects the GPUs of this machine, in a thread of its own. Also succeeds where there is none. */
export function detect(options?: DetectOptions): Promise<Snapshot>;

/** A result that "vexil save FILE" saved. */
export function load(file: string): Snapshot;

/** A result that Snapshot.buffer gave. */
export function loadBuffer(data: Uint8Array): Snapshot;

/** The machine's physical memory at this moment; null where Windows does not tell. */
export function systemMemory(): Memory | null;

/** The version of the library. */
export function version(): string;
