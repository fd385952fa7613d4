/* The GPUs of this machine, from C. */
#include <stdio.h>
#include <vexil_c.h>

int main(void) {
  vexil_snapshot* snapshot = NULL;
  vexil_gpu gpu;
  uint32_t i;
  if (vexil_detect(NULL, &snapshot) != VEXIL_OK) return fprintf(stderr, "%s\n", vexil_last_error()), 2;
  for (i = 0; i < vexil_gpu_count(snapshot); ++i) {
    gpu.size = sizeof(gpu);
    if (vexil_get_gpu(snapshot, i, &gpu) == VEXIL_OK) printf("%s, %lld MiB\n", gpu.name, (long long)gpu.vram_mib);
  }
  return vexil_release(snapshot);
}
