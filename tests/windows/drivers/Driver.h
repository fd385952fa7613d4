#pragma once

#include <cstdint>
#include <cstdio>

// Four small drivers, built as the DLLs that vendors install, for a machine with two linked NVIDIA cards
// at 65:0 and 66:0 and an integrated AMD GPU at 3:0. Their declarations are their own: a slip in those
// that the library uses shows here.

#define DRIVER_CALL extern "C" __declspec(dllexport)

constexpr std::uint32_t kBuses[] = {65, 66};

template <std::size_t Size>
void Write(char (&buffer)[Size], const char* text) {
  std::snprintf(buffer, Size, "%s", text);
}
