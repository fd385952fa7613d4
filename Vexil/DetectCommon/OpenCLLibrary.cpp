#include "DetectCommon/OpenCLLibrary.h"

#include <algorithm>

#include "Common/LibraryKeeper.h"
#include "Common/Limits.h"
#include "Common/Naming.h"
#include "Common/Text.h"

namespace Vexil {
namespace {

/// Extension lists are the longest texts, at a few KiB.
constexpr std::size_t kLongestText = std::size_t{1} << 20;

/// A text that `query(size, buffer, size_out)` tells.
template <typename Query>
std::string QueryText(const Query& query) {
  std::size_t size = 0;
  if (query(0, nullptr, &size) != CL_SUCCESS || size > kLongestText) return {};
  std::string buffer(size, '\0');
  if (query(size, buffer.data(), nullptr) != CL_SUCCESS) return {};
  return Trim(TextInBuffer(buffer.data(), buffer.size()));
}

/// The handles that `query(count, handles, count_out)` lists.
template <typename Handle, typename Query>
std::vector<Handle> QueryHandles(const Query& query) {
  cl_uint count = 0;
  if (query(0, nullptr, &count) != CL_SUCCESS || count == 0) return {};
  std::vector<Handle> handles(std::min(count, kMaxItems), nullptr);
  if (query(static_cast<cl_uint>(handles.size()), handles.data(), nullptr) != CL_SUCCESS) return {};
  std::erase(handles, nullptr);
  return handles;
}

}  // namespace

bool OpenCLLibrary::Initialize() {
  if (!Open(kFileName) || ResolveUntilMissing() != nullptr) return false;
  static LibraryKeeper keeper;
  keeper.Keep(kFileName);
  return true;
}

std::vector<cl_platform_id> OpenCLLibrary::GetPlatforms() const {
  auto platforms = QueryHandles<cl_platform_id>(clGetPlatformIDs);
  const auto has_no_gpu = [this](cl_platform_id platform) {
    cl_uint gpus = 0;
    return clGetDeviceIDs(platform, CL_DEVICE_TYPE_GPU, 0, nullptr, &gpus) != CL_SUCCESS || gpus == 0;
  };
  std::erase_if(platforms, has_no_gpu);
  std::erase_if(platforms, [this](cl_platform_id platform) { return IsTranslationLayer(platform); });
  return platforms;
}

bool OpenCLLibrary::IsTranslationLayer(cl_platform_id platform) const {
  // Asking the platform for a device's parameter is no slip: Microsoft's layer answers it.
  return ContainsNoCase(GetPlatformInfoString(platform, CL_PLATFORM_NAME), "OpenCLOn12") ||
         GetPlatformInfoString(platform, CL_DEVICE_VENDOR) == "Microsoft";
}

std::vector<cl_device_id> OpenCLLibrary::GetDevices(cl_platform_id platform) const {
  return QueryHandles<cl_device_id>([&](cl_uint size, cl_device_id* devices, cl_uint* count) {
    return clGetDeviceIDs(platform, CL_DEVICE_TYPE_GPU, size, devices, count);
  });
}

std::string OpenCLLibrary::GetPlatformInfoString(cl_platform_id platform, cl_platform_info parameter) const {
  return QueryText([&](std::size_t size, void* buffer, std::size_t* size_out) {
    return clGetPlatformInfo(platform, parameter, size, buffer, size_out);
  });
}

std::string OpenCLLibrary::GetDeviceInfoString(cl_device_id device, cl_device_info parameter) const {
  return QueryText([&](std::size_t size, void* buffer, std::size_t* size_out) {
    return clGetDeviceInfo(device, parameter, size, buffer, size_out);
  });
}

bool OpenCLLibrary::HasExtension(cl_device_id device, const char* name) const {
  return ContainsNoCase(GetDeviceInfoString(device, CL_DEVICE_EXTENSIONS), name);
}

bool OpenCLLibrary::HasExtension(cl_platform_id platform, const char* name) const {
  return ContainsNoCase(GetPlatformInfoString(platform, CL_PLATFORM_EXTENSIONS), name);
}

FlatBuffers::Vendor OpenCLLibrary::PlatformVendor(cl_platform_id platform) const {
  return VendorFromText(GetPlatformInfoString(platform, CL_PLATFORM_NAME));
}

}  // namespace Vexil
