#include "Vexil/Common/Naming.h"

#include <algorithm>
#include <initializer_list>

#include "Vexil/Common/Patterns.h"
#include "Vexil/Common/Text.h"

namespace Vexil {

using FlatBuffers::Architecture;
using FlatBuffers::Vendor;

namespace {

bool ContainsAny(std::string_view text, std::initializer_list<std::string_view> patterns) {
  return std::any_of(patterns.begin(), patterns.end(),
                     [text](std::string_view pattern) { return ContainsNoCase(text, pattern); });
}

std::string RemoveAll(std::string text, std::initializer_list<std::string_view> patterns) {
  for (const std::string_view pattern : patterns) text = ReplaceAllNoCase(text, pattern, "");
  return text;
}

}  // namespace

Vendor VendorFromText(std::string_view text) {
  if (ContainsAny(text, {"NVIDIA", "Quadro", "GeForce", "0x10de"})) return Vendor::NVIDIA;
  // Intel goes before AMD: "ATI" is also a part of words such as "Corporation" and "Integrated".
  if (ContainsAny(text, {"Intel", "0x8086"})) return Vendor::Intel;
  if (ContainsAny(text, {"ATI", "Advanced Micro Devices", "AMD", "FirePro", "Radeon", "0x1002", "0x1022"})) {
    return Vendor::AMD;
  }
  return Vendor::Unknown;
}

std::string PCIVendorIDText(Vendor vendor) {
  switch (vendor) {
    case Vendor::NVIDIA: return "10DE";
    case Vendor::AMD: return "1002";
    case Vendor::Intel: return "8086";
    default: return "FFFF";
  }
}

std::string CleanCPUName(std::string_view name) {
  const auto pieces = Split(name, '@', EmptyPieces::Drop);
  std::string result = RemoveAll(pieces.empty() ? std::string() : pieces.front(), {"(TM)", "(R)", "(C)"});
  result = RemoveAll(CollapseBlanks(result), {" Processor", " CPU"});
  return Trim(RemoveCoreCount(result));
}

std::string CleanGPUName(std::string_view name, Vendor vendor) {
  std::string result(name);
  if (vendor != Vendor::Unknown) result = RemoveAll(result, {FlatBuffers::EnumNameVendor(vendor)});
  return Trim(CollapseBlanks(RemoveAll(result, {"(TM)", "(R)", "(C)"})));
}

std::string ArchitectureName(Architecture architecture) {
  switch (architecture) {
    case Architecture::X86_64: return "x86-64";
    case Architecture::ARM64: return "arm64";
    default: return "UnknownArch";
  }
}

}  // namespace Vexil
