// Detects in a process of its own, so that a driver that crashes or hangs takes nothing else with it.

#include <cstdlib>
#include <iostream>
#include <vexil.hpp>

// isolated_detection [SECONDS]
int main(int count, char** arguments) try {
  vexil::Options options;
  options.isolated = true;
  options.time_limit = std::chrono::seconds(count > 1 ? std::strtol(arguments[1], nullptr, 10) : 30);
  const auto gpus = vexil::Detect(options).GPUs();
  for (const vexil::GPU& gpu : gpus) std::cout << gpu.name << '\n';
  return gpus.empty() ? 1 : 0;
} catch (const vexil::Error& error) {
  std::cerr << error.what() << '\n';
  return 2;
}
