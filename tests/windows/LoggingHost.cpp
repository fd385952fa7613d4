#include <Vexil/Vexil.h>
#include <log4cxx/logmanager.h>
#include <log4cxx/patternlayout.h>
#include <windows.h>

#include <iostream>
#include <set>

#include "tests/support/LogCapture.h"

// A host that loads the library, has it detect, and unloads it again, then goes on logging. Its arguments:
// "configured", it sets up log4cxx first; "silent", it detects silently. It tells on standard output what it
// finds.
int main(int count, char** arguments) {
  const std::set<std::string> modes(arguments + 1, arguments + count);
  std::shared_ptr<Vexil::Tests::LogCapture> capture;
  if (modes.contains("configured")) {
    capture = Vexil::Tests::LogCapture::Start();
    capture->setLayout(std::make_shared<log4cxx::PatternLayout>("HOST %p %c %m"));
    log4cxx::Logger::getLogger("Vexil")->setLevel(log4cxx::Level::getInfo());
  }

  const HMODULE library = LoadLibraryA("vexil.dll");
  const auto get_instance =
      reinterpret_cast<Vexil::GetInstanceFunction>(reinterpret_cast<void*>(GetProcAddress(library, "GetInstance")));
  Vexil::DetectOptions options;
  options.Silent = modes.contains("silent");
  get_instance()->Detect(options);

  const auto logger = log4cxx::Logger::getLogger("Vexil");
  const auto level = logger->getLevel();
  std::cout << "level " << (level != nullptr ? level->toString() : "unset") << '\n';
  std::cout << "appenders " << logger->getAllAppenders().size() << '\n';

  FreeLibrary(library);
  std::cout << "unloaded " << (GetModuleHandleA("vexil.dll") == nullptr) << '\n';
  LOG4CXX_INFO(logger, "after unloading");
  log4cxx::LogManager::shutdown();
  if (capture != nullptr) {
    for (const std::string& line : capture->lines) std::cout << line << '\n';
  }
}
