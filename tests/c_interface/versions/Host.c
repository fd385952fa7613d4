/* A host that prints what it is told into a text, compiled with one version of the interface. */

#include <stdio.h>
#include <string.h>
#include <vexil_c.h>

int HOST(char* out, size_t room) {
  vexil_options options;
  vexil_snapshot* snapshot = NULL;
  vexil_gpu gpu;
  vexil_monitor monitor;
  vexil_system system;
  vexil_memory memory;
  size_t used = 0;
  uint32_t i;

  memset(&options, 0, sizeof(options));
  options.size = sizeof(options);
#ifdef IS_newer
  /* What the DLL does not know may be asked for only by who can do without. */
  options.new_number = 1;
  if (vexil_detect(&options, &snapshot) != VEXIL_INVALID_ARGUMENT) return 1;
  options.new_number = 0;
#endif
  if (vexil_detect(&options, &snapshot) != VEXIL_OK) return 2;
  for (i = 0; i < vexil_gpu_count(snapshot); ++i) {
    memset(&gpu, 0x55, sizeof(gpu));
    gpu.size = sizeof(gpu);
    if (vexil_get_gpu(snapshot, i, &gpu) != VEXIL_OK) return 3;
    used += (size_t)snprintf(out + used, room - used, "%s %s %d\n", gpu.id, gpu.name, (int)gpu.pci_bus);
#ifdef IS_newer
    if (VEXIL_HAS(vexil_gpu, gpu, new_text) || !VEXIL_HAS(vexil_gpu, gpu, uuid)) return 4;
    if (gpu.new_text != NULL || gpu.new_number != 0) return 5;
#else
    if (gpu.size != sizeof(gpu)) return 6;
#endif
  }
  for (i = 0; i < vexil_monitor_count(snapshot); ++i) {
    monitor.size = sizeof(monitor);
    if (vexil_get_monitor(snapshot, i, &monitor) != VEXIL_OK) return 7;
    used += (size_t)snprintf(out + used, room - used, "%dx%d\n", (int)monitor.width, (int)monitor.height);
  }
  system.size = sizeof(system);
  memory.size = sizeof(memory);
  if (vexil_get_system(snapshot, &system) != VEXIL_OK || vexil_get_system_memory(&memory) != VEXIL_OK) return 8;
  snprintf(out + used, room - used, "%s, %lld\n", system.os_version, (long long)memory.total_bytes);
  return vexil_release(snapshot) == VEXIL_OK ? 0 : 9;
}
