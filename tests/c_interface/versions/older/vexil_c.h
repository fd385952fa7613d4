/* The interface with less in it. It stays as it is: hosts that were built with less run with what there is now. */
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

#define VEXIL_ABI 1

typedef int32_t vexil_status;
enum {
  VEXIL_OK = 0,
  VEXIL_INVALID_ARGUMENT = 1,
  VEXIL_INVALID_SIZE = 2,
  VEXIL_NO_SNAPSHOT = 3,
  VEXIL_OUT_OF_MEMORY = 4,
  VEXIL_BUSY = 5,
  VEXIL_UNREADABLE = 6,
  VEXIL_DAMAGED = 7,
  VEXIL_UNKNOWN = 8,
  VEXIL_FAILED = 9,
  VEXIL_HELPER_MISSING = 10,
  VEXIL_HELPER_TIMED_OUT = 11,
  VEXIL_HELPER_CRASHED = 12,
  VEXIL_HELPER_NO_ANSWER = 13
};

enum { VEXIL_VENDOR_UNKNOWN = 0, VEXIL_VENDOR_NVIDIA = 1, VEXIL_VENDOR_AMD = 2, VEXIL_VENDOR_INTEL = 3 };
enum { VEXIL_TYPE_UNKNOWN = 0, VEXIL_TYPE_INTEGRATED = 1, VEXIL_TYPE_DISCRETE = 2, VEXIL_TYPE_EXTERNAL = 3 };
enum { VEXIL_API_CUDA = 1, VEXIL_API_OPENCL = 2 };
enum { VEXIL_LOG_DEBUG = 0, VEXIL_LOG_INFO = 1, VEXIL_LOG_WARNING = 2, VEXIL_LOG_ERROR = 3 };

#define VEXIL_HAS(type, filled, member) (offsetof(type, member) + sizeof((filled).member) <= (filled).size)

typedef struct vexil_snapshot vexil_snapshot;

typedef void (*vexil_log_function)(void* context, int32_t level, const char* text);

enum { VEXIL_ISOLATED = 1, VEXIL_NUMBERS = 2 };

typedef struct vexil_options {
  uint32_t size;
  uint32_t flags;
  uint32_t time_limit_ms;
  uint32_t reserved;
} vexil_options;

typedef struct vexil_gpu {
  uint32_t size;
  int32_t vendor;
  int32_t type;
  int32_t is_main_display;
  const char* id;
  const char* name;
  const char* hardware_id;
  const char* pci_location;
  int32_t pci_domain;
  int32_t pci_bus;
  int32_t pci_device;
  int32_t pci_function;
  int64_t vram_mib;
} vexil_gpu;

typedef struct vexil_monitor {
  uint32_t size;
  int32_t is_main;
  int32_t gpu_index;
  int32_t width;
  int32_t height;
  int32_t refresh_rate;
  const char* gpu_id;
} vexil_monitor;

typedef struct vexil_system {
  uint32_t size;
  int32_t cpu_threads;
  int64_t ram_mib;
  const char* os_version;
  const char* model;
  const char* cpu_name;
  const char* system_id;
} vexil_system;

typedef struct vexil_memory {
  uint32_t size;
  uint32_t reserved;
  uint64_t free_bytes;
  uint64_t total_bytes;
} vexil_memory;

VEXIL_C_API uint32_t vexil_abi(void);
VEXIL_C_API const char* vexil_version(void);

VEXIL_C_API const char* vexil_status_text(vexil_status status);
VEXIL_C_API const char* vexil_last_error(void);

VEXIL_C_API vexil_status vexil_detect(const vexil_options* options, vexil_snapshot** snapshot);
VEXIL_C_API vexil_status vexil_release(vexil_snapshot* snapshot);

VEXIL_C_API uint32_t vexil_gpu_count(vexil_snapshot* snapshot);
VEXIL_C_API uint32_t vexil_monitor_count(vexil_snapshot* snapshot);

VEXIL_C_API vexil_status vexil_get_gpu(vexil_snapshot* snapshot, uint32_t index, vexil_gpu* gpu);
VEXIL_C_API vexil_status vexil_get_monitor(vexil_snapshot* snapshot, uint32_t index, vexil_monitor* monitor);
VEXIL_C_API vexil_status vexil_get_system(vexil_snapshot* snapshot, vexil_system* system);

VEXIL_C_API vexil_status vexil_get_system_memory(vexil_memory* memory);

#ifdef __cplusplus
}
#endif

#endif
