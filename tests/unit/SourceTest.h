#pragma once

#include <algorithm>
#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "Vexil/Common/Text.h"
#include "tests/support/MachineTest.h"

namespace Vexil::Tests {

using Change = std::function<void(Simulation::Machine&)>;

inline Change Nothing() {
  return [](Simulation::Machine&) {};
}

/// A call that fails, but has answered all the same.
inline Change Failing(const std::string& call, std::optional<std::int64_t> device = {}, std::int32_t status = 999,
                      bool writes = true) {
  return [=](Simulation::Machine& machine) { machine.failures.push_back({call, device, status, writes}); };
}

/// A call that does not answer, whatever it returns.
inline Change FailingAtOnce(const std::string& call, std::optional<std::int64_t> device = {},
                            std::int32_t status = 999) {
  return Failing(call, device, status, false);
}

template <typename Section>
Change NotInstalled(std::optional<Section> Simulation::Machine::*section) {
  return [=](Simulation::Machine& machine) { (machine.*section).reset(); };
}

template <typename Section>
Change Missing(std::optional<Section> Simulation::Machine::*section, const std::string& entry_point) {
  return [=](Simulation::Machine& machine) { (machine.*section)->missing.insert(entry_point); };
}

using Texts = std::vector<std::string>;

/// The texts with every pair's first replaced by its second, in each of them.
inline Texts With(Texts texts, const std::vector<std::pair<std::string, std::string>>& replacements) {
  for (std::string& text : texts) {
    for (const auto& [part, replacement] : replacements) text = ReplaceAllNoCase(text, part, replacement);
  }
  return texts;
}

/// A sound machine with one thing changed, and what one source then lists and logs.
struct SourceCase {
  const char* name;
  Change change;
  Texts records;
  Texts log = {};
};

class SourceTest : public MachineTest {
 protected:
  /// Asks the source on the five-GPU machine, with each change in turn. What it opens and starts it must close
  /// and shut down.
  template <typename Record>
  void Check(const std::vector<SourceCase>& cases, Answer<Record> (*source)(), std::string (*describe)(const Record&)) {
    for (const SourceCase& test_case : cases) {
      SCOPED_TRACE(test_case.name);
      Simulation::Machine machine = LoadTestMachine("five-gpus");
      test_case.change(machine);
      Simulation::SetMachine(machine);
      Texts records;
      for (const Record& record : source().records) records.push_back(describe(record));
      EXPECT_EQ(records, test_case.records);
      EXPECT_EQ(TakeLog(), test_case.log);
      for (const auto& [library, count] : Simulation::Observed().open) EXPECT_EQ(count, 0) << library;
      for (const auto& [library, count] : Simulation::Observed().up) EXPECT_EQ(count, 0) << library;
    }
  }
};

}  // namespace Vexil::Tests
