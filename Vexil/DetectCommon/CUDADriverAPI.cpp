#include "DetectCommon/CUDADriverAPI.h"

#include "Common/Log.h"

namespace Vexil {

bool CUDADriverAPI::Initialize() {
  if (IsOpen()) return true;
  if (!Open(kFileName)) return false;
  if (const char* missing = Resolve()) {
    LOG_ERROR("CUDA: Failed to load {}", missing);
    Close();
    return false;
  }
  if (cuInit(0) == CUDA_SUCCESS) return true;
  Close();
  return false;
}

}  // namespace Vexil
