#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <utility>

#include "Vexil/Common/Log.h"
#include "Vexil/Common/Progress.h"
#include "Vexil/Sources/Sources.h"

namespace Vexil {

class Stopwatch {
 public:
  std::chrono::nanoseconds Elapsed() const { return Clock::now() - m_start; }
  std::int64_t Milliseconds() const { return std::chrono::duration_cast<std::chrono::milliseconds>(Elapsed()).count(); }

 private:
  using Clock = std::chrono::steady_clock;
  Clock::time_point m_start = Clock::now();
};

/// Stores a source's records, each in an object of its own that matching can share.
template <typename Record>
Account AskSource(const Source<Record>& source, FlatBuffers::DetectorsOutputT& output) {
  NoteSource(source.name);
  const Stopwatch stopwatch;
  Answer<Record> answer = source.ask();
  auto& list = output.*source.list;
  for (Record& record : answer.records) list.push_back(std::make_shared<Record>(std::move(record)));
  LOG_DEBUG("  - {}: {} detected in {} ms.", source.log_name, list.size(), stopwatch.Milliseconds());
  answer.account.duration = stopwatch.Elapsed();
  return std::move(answer.account);
}

}  // namespace Vexil
