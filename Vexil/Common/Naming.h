#pragma once

#include <string>
#include <string_view>

#include "Vexil/FlatBuffers/DetectionResult_generated.h"

namespace Vexil {

/// The vendor that a vendor's or device's name points to, or a PCI vendor id written as "0x10de".
/// Never `Apple`.
FlatBuffers::Vendor VendorFromText(std::string_view text);

/// The vendor's PCI id as four upper-case hexadecimal digits; "FFFF" for those without one.
std::string PCIVendorIDText(FlatBuffers::Vendor vendor);

/// Without clock speed, trademark signs, core count and "CPU": "Intel Core i7-9700K".
std::string CleanCPUName(std::string_view name);

/// Without the vendor's name and trademark signs: "GeForce RTX 3080".
std::string CleanGPUName(std::string_view name, FlatBuffers::Vendor vendor);

/// What this library is built for.
#if defined(_M_ARM64) || defined(__aarch64__)
inline constexpr auto kBuildArchitecture = FlatBuffers::Architecture::ARM64;
#else
inline constexpr auto kBuildArchitecture = FlatBuffers::Architecture::X86_64;
#endif

std::string ArchitectureName(FlatBuffers::Architecture architecture);

}  // namespace Vexil
