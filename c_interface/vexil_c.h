/*
 * Vexil's C interface: which GPUs this machine has, and how to reach each of them, for every compiler and language.
 * vexil_c.dll stands alone; for 64-bit Windows.
 *
 *   Results    A detection makes a snapshot, which never changes and lives until vexil_release. Texts and buffers that
 *              are asked of a snapshot are the snapshot's, and live as long.
 *   Texts      UTF-8, ending with a NUL, never null. A text that is not known is empty.
 *   Numbers    -1 where not known, unless the member says otherwise. Flags are 0 or 1.
 *   Structs    The caller sets `size` to sizeof the struct before it is filled. Members are only ever added, at the
 *              end. Afterwards `size` tells how much of it this DLL knows, see VEXIL_HAS; what is behind that is zero.
 *   Threads    Any thread may call anything at any time. What asks drivers in this process waits for each other:
 *              vexil_detect without VEXIL_ISOLATED, and vexil_get_gpu_memory.
 *   Failure    Functions return a status, VEXIL_OK or another; vexil_last_error has the reason in words. A null
 *              pointer, a wrong size, a snapshot that is released or never was: each has its status. What a failed
 *              function was to fill is left as it was, unless its comment says otherwise. No exception leaves one.
 *   Loading    Drivers are loaded from Windows' own folder only. Nothing is logged unless a log function is given.
 */
#ifndef VEXIL_C_H
#define VEXIL_C_H

#include <stddef.h>
#include <stdint.h>

#if defined(_WIN32) && !defined(VEXIL_C_BUILD)
#define VEXIL_C_API __declspec(dllimport)
#elif !defined(_WIN32)
#define VEXIL_C_API __attribute__((visibility("default")))
#else
#define VEXIL_C_API
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* What this header declares. A DLL whose vexil_abi() is this or higher has all of it. */
#define VEXIL_ABI 1

/* How a function ended. Numbers are never given another meaning; a newer DLL may have more. */
typedef int32_t vexil_status;
enum {
  VEXIL_OK = 0,
  VEXIL_INVALID_ARGUMENT = 1, /* A null pointer, an index out of range, an option that does not exist. */
  VEXIL_INVALID_SIZE = 2,     /* `size` is not that of the struct. */
  VEXIL_NO_SNAPSHOT = 3,      /* Released, or never made. */
  VEXIL_OUT_OF_MEMORY = 4,
  VEXIL_BUSY = 5,       /* Asked by a log function, during the detection that called it. */
  VEXIL_UNREADABLE = 6, /* The file cannot be read. */
  VEXIL_DAMAGED = 7,    /* What was read is not a whole result. */
  VEXIL_UNKNOWN = 8,    /* Neither the snapshot nor the driver can tell. */
  VEXIL_FAILED = 9,     /* Anything else, such as a driver's answer that makes no sense. */
  VEXIL_HELPER_MISSING = 10,
  VEXIL_HELPER_TIMED_OUT = 11, /* It took longer than the time limit and was ended. */
  VEXIL_HELPER_CRASHED = 12,
  VEXIL_HELPER_NO_ANSWER = 13 /* It ended without an answer, or with one that makes no sense. */
};

enum { VEXIL_VENDOR_UNKNOWN = 0, VEXIL_VENDOR_NVIDIA = 1, VEXIL_VENDOR_AMD = 2, VEXIL_VENDOR_INTEL = 3 };
enum { VEXIL_TYPE_UNKNOWN = 0, VEXIL_TYPE_INTEGRATED = 1, VEXIL_TYPE_DISCRETE = 2, VEXIL_TYPE_EXTERNAL = 3 };
enum { VEXIL_API_CUDA = 1, VEXIL_API_OPENCL = 2 };
enum { VEXIL_LOG_DEBUG = 0, VEXIL_LOG_INFO = 1, VEXIL_LOG_WARNING = 2, VEXIL_LOG_ERROR = 3 };

/* Whether the DLL knew this member when it filled the struct: VEXIL_HAS(vexil_gpu, gpu, uuid). */
#define VEXIL_HAS(type, filled, member) (offsetof(type, member) + sizeof((filled).member) <= (filled).size)

/* One detection's results. It is no address, so one that was released is always recognised. */
typedef struct vexil_snapshot vexil_snapshot;

/* Is told a line of the log, in the thread that detects, during vexil_detect. It must not throw, and may call anything
 * but what asks drivers in this process, which answers VEXIL_BUSY. The text is gone when it returns. */
typedef void (*vexil_log_function)(void* context, int32_t level, const char* text);

enum {
  /* Detect in a process of its own, so that a driver that crashes or hangs takes nothing else with it. Log lines stay
   * there, and vexil_get_gpu_memory does not know the drivers of such a snapshot. */
  VEXIL_ISOLATED = 1,
  /* Ask also by which numbers interfaces know the GPUs, each interface in a process of its own. */
  VEXIL_NUMBERS = 2
};

/* How to detect. All zero but `size`: in this process, without numbers, silently. */
typedef struct vexil_options {
  uint32_t size;
  uint32_t flags;         /* VEXIL_ISOLATED, VEXIL_NUMBERS, both or none. */
  uint32_t time_limit_ms; /* For a process, where one is needed. The two flags together may need it twice. 0: 30,000. */
  uint32_t reserved;      /* 0 */
  const char* helper;     /* The program for such processes, vexil.exe. Null: the one beside the DLL. */
  vexil_log_function log; /* Null: nothing is logged. */
  void* log_context;      /* Handed to it. */
} vexil_options;

/* A GPU. */
typedef struct vexil_gpu {
  uint32_t size;
  int32_t vendor; /* VEXIL_VENDOR_... */
  int32_t type;   /* VEXIL_TYPE_... */
  int32_t is_main_display;
  const char* id; /* "gpu:61279526.5150080d", the same from run to run. */
  const char* name;
  const char* hardware_id;  /* "PCI\VEN_10DE&DEV_2204&SUBSYS_403B1458&REV_A1" */
  const char* pci_location; /* "PCI:1:0.0": bus, device and, where known, function, decimal. */
  int32_t pci_domain;       /* Known through VEXIL_NUMBERS only. */
  int32_t pci_bus;
  int32_t pci_device;
  int32_t pci_function;
  int64_t vram_mib;
  int32_t compute_apis; /* VEXIL_API_..., added up. */
  int32_t cuda_index;   /* CUDA's ordinal in this process, as its environment has it; in an isolated one in that. */
  int32_t cuda_compute_major;
  int32_t cuda_compute_minor;

  /* By which number each interface knows it, where no variable hides or reorders devices. -1 also where the interface
   * does not know it, where what identifies it contradicts itself, and without VEXIL_NUMBERS. Of several numbers it is
   * the first; vexil_get_ids_json has all. */
  int32_t dxgi_number; /* IDXGIFactory1::EnumAdapters1, so also Direct3D 12's and DirectML's. */
  int32_t cuda_number;
  int32_t nvml_number; /* nvidia-smi -i */
  int32_t nvapi_number;
  int32_t vulkan_number;
  int32_t hip_number;
  int32_t opencl_platform_number;
  int32_t opencl_device_number; /* Among all devices of its platform. */
  int32_t level_zero_driver_number;
  int32_t level_zero_device_number;
  uint64_t luid;    /* Windows' name of the adapter until it restarts. 0: not known. */
  const char* uuid; /* "GPU-69401105-2337-a290-183c-aa7710154270", as CUDA and NVML take it. NVIDIA's only. */
} vexil_gpu;

/* A monitor that hangs off one of the GPUs. */
typedef struct vexil_monitor {
  uint32_t size;
  int32_t is_main;
  int32_t gpu_index; /* Of its GPU in the snapshot. */
  int32_t width;     /* Pixels. */
  int32_t height;
  int32_t refresh_rate; /* Hz. */
  const char* gpu_id;
  const char* name;
  const char* device_name; /* "\\.\DISPLAY1\Monitor0" */
} vexil_monitor;

/* The machine. */
typedef struct vexil_system {
  uint32_t size;
  int32_t cpu_threads;
  int64_t ram_mib;
  const char* os_version; /* "11 Home (Build 22621)" */
  const char* model;
  const char* cpu_name;
  const char* system_id; /* The GUID that Windows gave to this installation. */
  int32_t nvidia_driver_major;
  int32_t nvidia_driver_minor; /* Written with two digits: 537 and 9 are 537.09. */
  int32_t cuda_driver_major;   /* The newest CUDA that the driver supports. */
  int32_t cuda_driver_minor;
  const char* amd_driver_version;
  const char* intel_driver_version;
} vexil_system;

/* Memory at this moment, in bytes. */
typedef struct vexil_memory {
  uint32_t size;
  uint32_t reserved;
  uint64_t free_bytes;
  uint64_t total_bytes;
} vexil_memory;

/* The newest VEXIL_ABI whose functions this DLL has. */
VEXIL_C_API uint32_t vexil_abi(void);
/* The version of the library, such as "1.2_1-a10". Lives as long as the DLL. */
VEXIL_C_API const char* vexil_version(void);

/* What a status means, in words; for one that this DLL does not know, "unknown status". Lives as long as the DLL. */
VEXIL_C_API const char* vexil_status_text(vexil_status status);
/* Why this thread's last call of any function but these four failed; empty where it did not. Lives until the thread's
 * next call, and is cut where it is longer than a kilobyte. */
VEXIL_C_API const char* vexil_last_error(void);

/* Detects the GPUs of this machine; takes as long as the drivers take, from milliseconds to seconds. `options` may be
 * null. Also VEXIL_OK where there is no GPU. `*snapshot` is null where the function fails, with one exception: with
 * VEXIL_HELPER_... there is a snapshot of what is known all the same. That has no GPU where the detection was in the
 * helper, and no numbers where those could not be asked; a driver that takes only its own interface's process with it
 * is no failure, vexil_get_ids_json tells of it. */
VEXIL_C_API vexil_status vexil_detect(const vexil_options* options, vexil_snapshot** snapshot);
/* A result that was saved to a file, by "vexil save FILE" for instance, or that vexil_get_buffer gave. Files may be
 * hostile: a damaged, too large or too deep one is VEXIL_DAMAGED or VEXIL_UNREADABLE. `*snapshot` is null on failure.
 */
VEXIL_C_API vexil_status vexil_load(const char* path, vexil_snapshot** snapshot);
VEXIL_C_API vexil_status vexil_load_buffer(const void* data, size_t size, vexil_snapshot** snapshot);
/* Ends a snapshot, and with it all that was asked of it. Null is fine. A call that is running in another thread keeps
 * it until it returns. */
VEXIL_C_API vexil_status vexil_release(vexil_snapshot* snapshot);

/* How many there are: 0 where the snapshot is none, too. */
VEXIL_C_API uint32_t vexil_gpu_count(vexil_snapshot* snapshot);
VEXIL_C_API uint32_t vexil_monitor_count(vexil_snapshot* snapshot);

/* The GPUs: NVIDIA's, AMD's, then Intel's, each in its driver's order. */
VEXIL_C_API vexil_status vexil_get_gpu(vexil_snapshot* snapshot, uint32_t index, vexil_gpu* gpu);
/* The monitors, in the order of the GPUs. */
VEXIL_C_API vexil_status vexil_get_monitor(vexil_snapshot* snapshot, uint32_t index, vexil_monitor* monitor);
VEXIL_C_API vexil_status vexil_get_system(vexil_snapshot* snapshot, vexil_system* system);

/* Everything, as "vexil --json" prints it. */
VEXIL_C_API vexil_status vexil_get_json(vexil_snapshot* snapshot, const char** json);
/* All numbers, as "vexil ids --json" prints them. VEXIL_UNKNOWN where VEXIL_NUMBERS was not asked for. */
VEXIL_C_API vexil_status vexil_get_ids_json(vexil_snapshot* snapshot, const char** json);
/* Everything as a FlatBuffers buffer with the root table DetectionResult of DetectionResult.fbs. Texts in it are in the
 * machine's code page. */
VEXIL_C_API vexil_status vexil_get_buffer(vexil_snapshot* snapshot, const void** data, size_t* size);

/* The machine's physical memory. Takes no lock. VEXIL_UNKNOWN where Windows does not tell. */
VEXIL_C_API vexil_status vexil_get_system_memory(vexil_memory* memory);
/* A GPU's video memory, asked of the driver at every call. VEXIL_UNKNOWN where the driver does not tell: Intel's never
 * do; and for snapshots that were not detected in this process. */
VEXIL_C_API vexil_status vexil_get_gpu_memory(vexil_snapshot* snapshot, uint32_t index, vexil_memory* memory);

#ifdef __cplusplus
}
#endif

#endif
