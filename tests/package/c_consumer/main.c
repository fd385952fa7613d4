#include <stdio.h>
#include <vexil_c.h>

#ifdef _MSC_VER
#define ABI "Microsoft's"
#include <stdlib.h>

/* What Microsoft's own libraries would have. */
int _fltused = 0;
int main(void);
void mainCRTStartup(void) { exit(main()); }
#else
#define ABI "GNU's"
#endif

int main(void) {
  vexil_options options = {0};
  vexil_snapshot* snapshot = NULL;
  vexil_status status;
  vexil_gpu gpu;
  options.size = sizeof(options);
  options.flags = VEXIL_ISOLATED | VEXIL_NUMBERS;
  status = vexil_detect(&options, &snapshot);
  printf("%s ABI, Vexil %s, status %d, %u GPUs", ABI, vexil_version(), (int)status,
         (unsigned)vexil_gpu_count(snapshot));
  gpu.size = sizeof(gpu);
  if (vexil_get_gpu(snapshot, 0, &gpu) == VEXIL_OK) printf(": %s, DXGI %d", gpu.name, (int)gpu.dxgi_number);
  printf("\n");
  return vexil_release(snapshot);
}
