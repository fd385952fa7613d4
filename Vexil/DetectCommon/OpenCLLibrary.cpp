#include "Vexil/DetectCommon/OpenCLLibrary.h"

#include <algorithm>
#include <array>

#include "Vexil/Common/Limits.h"
#include "Vexil/Common/Naming.h"
#include "Vexil/Common/Text.h"

namespace Vexil {
namespace {

/// Extension lists are the longest texts, at a few KiB.
constexpr std::size_t kLongestText = std::size_t{1} << 20;

/// What a loader without drivers answers. From cl_ext.h, which nothing else here needs.
constexpr cl_int kPlatformNotFoundKHR = -1001;

constexpr std::array kStatusNames = {
    StatusName{CL_DEVICE_NOT_FOUND, "CL_DEVICE_NOT_FOUND"},
    StatusName{CL_DEVICE_NOT_AVAILABLE, "CL_DEVICE_NOT_AVAILABLE"},
    StatusName{CL_OUT_OF_RESOURCES, "CL_OUT_OF_RESOURCES"},
    StatusName{CL_OUT_OF_HOST_MEMORY, "CL_OUT_OF_HOST_MEMORY"},
    StatusName{CL_INVALID_VALUE, "CL_INVALID_VALUE"},
    StatusName{CL_INVALID_DEVICE_TYPE, "CL_INVALID_DEVICE_TYPE"},
    StatusName{CL_INVALID_PLATFORM, "CL_INVALID_PLATFORM"},
    StatusName{CL_INVALID_DEVICE, "CL_INVALID_DEVICE"},
    StatusName{CL_INVALID_OPERATION, "CL_INVALID_OPERATION"},
    StatusName{kPlatformNotFoundKHR, "CL_PLATFORM_NOT_FOUND_KHR"},
    StatusName{-1002, "CL_INVALID_D3D10_DEVICE_KHR"},
};

/// The handles that `query(count, handles, count_out)` lists.
template <typename Handle, typename Query>
std::vector<Handle> QueryHandles(const Query& query, cl_int& status) {
  cl_uint count = 0;
  status = query(0, nullptr, &count);
  if (status != CL_SUCCESS || count == 0) return {};
  std::vector<Handle> handles(std::min(count, kMaxItems), nullptr);
  status = query(static_cast<cl_uint>(handles.size()), handles.data(), nullptr);
  if (status != CL_SUCCESS) return {};
  std::erase(handles, nullptr);
  return handles;
}

}  // namespace

std::span<const StatusName> OpenCLStatusNames() { return kStatusNames; }

OpenCLLibrary::OpenCLLibrary() : VendorLibrary(kFileName, kStatusNames) {}

bool OpenCLLibrary::Initialize() {
  if (IsOpen()) return true;
  if (!Open()) return false;
  if (Resolve() != nullptr) {
    Close();
    return false;
  }
  PinLibrary(kFileName);
  return true;
}

std::vector<cl_platform_id> OpenCLLibrary::GetPlatforms() {
  cl_int status = CL_SUCCESS;
  m_all_platforms = QueryHandles<cl_platform_id>(clGetPlatformIDs, status);
  if (status != CL_SUCCESS && status != kPlatformNotFoundKHR) {
    TheAccount().End(SourceState::CallFailed, clGetPlatformIDs.Name(), status, kStatusNames);
  }
  auto platforms = m_all_platforms;
  std::erase_if(platforms, [this](cl_platform_id platform) { return !HasGPU(platform); });
  std::erase_if(platforms, [this](cl_platform_id platform) { return IsTranslationLayer(platform); });
  TheAccount().About("");
  return platforms;
}

void OpenCLLibrary::About(cl_platform_id platform, std::optional<std::size_t> device) {
  const auto place = std::find(m_all_platforms.begin(), m_all_platforms.end(), platform) - m_all_platforms.begin();
  std::string subject = "platform " + std::to_string(place);
  if (device) subject += ", device " + std::to_string(*device);
  TheAccount().About(std::move(subject));
}

bool OpenCLLibrary::HasGPU(cl_platform_id platform) {
  cl_uint gpus = 0;
  const cl_int status = clGetDeviceIDs(platform, CL_DEVICE_TYPE_GPU, 0, nullptr, &gpus);
  NoteDeviceList(platform, status);
  return status == CL_SUCCESS && gpus > 0;
}

void OpenCLLibrary::NoteDeviceList(cl_platform_id platform, cl_int status) {
  // "Not found" is the answer of a platform that has other kinds of devices only.
  if (status == CL_SUCCESS || status == CL_DEVICE_NOT_FOUND) return;
  About(platform);
  TheAccount().Miss("", clGetDeviceIDs.Name(), status, kStatusNames);
}

bool OpenCLLibrary::IsTranslationLayer(cl_platform_id platform) {
  // Without its name a layer counts as a platform.
  About(platform);
  // Asking the platform for a device's parameter is no slip: Microsoft's layer answers it.
  return ContainsNoCase(GetPlatformInfoString(platform, CL_PLATFORM_NAME, "platform_name"), "OpenCLOn12") ||
         GetPlatformInfoString(platform, CL_DEVICE_VENDOR) == "Microsoft";
}

std::vector<cl_device_id> OpenCLLibrary::GetDevices(cl_platform_id platform) {
  cl_int status = CL_SUCCESS;
  auto devices = QueryHandles<cl_device_id>(
      [&](cl_uint size, cl_device_id* list, cl_uint* count) {
        return clGetDeviceIDs(platform, CL_DEVICE_TYPE_GPU, size, list, count);
      },
      status);
  NoteDeviceList(platform, status);
  return devices;
}

template <typename Query, typename Object>
std::string OpenCLLibrary::QueryText(const Query& query, Object object, cl_uint parameter, const char* fields) {
  const auto ask = [&](std::size_t size, void* buffer, std::size_t* size_out) {
    if (fields != nullptr) return Tells(fields, query, object, parameter, size, buffer, size_out);
    return query(object, parameter, size, buffer, size_out) == CL_SUCCESS;
  };
  std::size_t size = 0;
  if (!ask(0, nullptr, &size)) return {};
  if (size > kLongestText) {
    if (fields != nullptr) TheAccount().Miss(fields, query.Name());
    return {};
  }
  std::string buffer(size, '\0');
  if (!ask(size, buffer.data(), nullptr)) return {};
  return Trim(TextInBuffer(buffer.data(), buffer.size()));
}

std::string OpenCLLibrary::GetPlatformInfoString(cl_platform_id platform, cl_platform_info parameter,
                                                 const char* fields) {
  return QueryText(clGetPlatformInfo, platform, parameter, fields);
}

std::string OpenCLLibrary::GetDeviceInfoString(cl_device_id device, cl_device_info parameter, const char* fields) {
  return QueryText(clGetDeviceInfo, device, parameter, fields);
}

bool OpenCLLibrary::HasExtension(cl_device_id device, const char* name, const char* fields) {
  return ContainsNoCase(GetDeviceInfoString(device, CL_DEVICE_EXTENSIONS, fields), name);
}

bool OpenCLLibrary::HasExtension(cl_platform_id platform, const char* name, const char* fields) {
  return ContainsNoCase(GetPlatformInfoString(platform, CL_PLATFORM_EXTENSIONS, fields), name);
}

FlatBuffers::Vendor OpenCLLibrary::PlatformVendor(cl_platform_id platform, const char* fields) {
  return VendorFromText(GetPlatformInfoString(platform, CL_PLATFORM_NAME, fields));
}

}  // namespace Vexil
