// The GPUs of this machine, from C++17 and any compiler.
#include <iostream>
#include <vexil.hpp>

int main() try {
  for (const vexil::GPU& gpu : vexil::Detect().GPUs()) {
    std::cout << gpu.name << ", " << gpu.vram_mib.value_or(-1) << " MiB\n";
  }
} catch (const vexil::Error& error) {
  std::cerr << error.what() << '\n';
  return 2;
}
