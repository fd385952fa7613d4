#include "Vexil/DetectCommon/CUDADriverAPI.h"

#include <array>

#include "Vexil/Common/Log.h"

namespace Vexil {
namespace {

constexpr std::array kStatusNames = {
    StatusName{1, "CUDA_ERROR_INVALID_VALUE"},
    StatusName{2, "CUDA_ERROR_OUT_OF_MEMORY"},
    StatusName{3, "CUDA_ERROR_NOT_INITIALIZED"},
    StatusName{4, "CUDA_ERROR_DEINITIALIZED"},
    StatusName{34, "CUDA_ERROR_STUB_LIBRARY"},
    StatusName{46, "CUDA_ERROR_DEVICE_UNAVAILABLE"},
    StatusName{100, "CUDA_ERROR_NO_DEVICE"},
    StatusName{101, "CUDA_ERROR_INVALID_DEVICE"},
    StatusName{102, "CUDA_ERROR_DEVICE_NOT_LICENSED"},
    StatusName{304, "CUDA_ERROR_OPERATING_SYSTEM"},
    StatusName{802, "CUDA_ERROR_SYSTEM_NOT_READY"},
    StatusName{803, "CUDA_ERROR_SYSTEM_DRIVER_MISMATCH"},
    StatusName{804, "CUDA_ERROR_COMPAT_NOT_SUPPORTED_ON_DEVICE"},
    StatusName{999, "CUDA_ERROR_UNKNOWN"},
};

}  // namespace

CUDADriverAPI::CUDADriverAPI() : VendorLibrary(kFileName, kStatusNames) {}

bool CUDADriverAPI::Initialize() {
  if (IsOpen()) return true;
  if (!Open()) return false;
  if (const char* missing = Resolve()) {
    LOG_ERROR("CUDA: Failed to load {}", missing);
    Close();
    return false;
  }
  if (Starts(cuInit, 0U)) return true;
  Close();
  return false;
}

}  // namespace Vexil
