#include "DetectCommon/CUDADriverAPI.h"

#include "Common/Log.h"

namespace Vexil {

bool CUDADriverAPI::Initialize() {
  if (IsOpen()) return true;
  if (!Open(kFileName)) return false;
  if (const char* missing = ResolveUntilMissing()) {
    LOG_ERROR("CUDA: Failed to load {}", missing);
    Close();
    return false;
  }
  m_start_status = cuInit(0);
  if (m_start_status == CUDA_SUCCESS) return true;
  Close();
  return false;
}

}  // namespace Vexil
