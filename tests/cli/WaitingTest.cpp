#include "cli/Waiting.h"

#include <gtest/gtest.h>

#include <future>
#include <ostream>
#include <sstream>
#include <string_view>

#include "Vexil/Common/Progress.h"

namespace Vexil::Tests {
namespace {

/// Tells when something was written.
class Terminal : public std::stringbuf {
 public:
  void WaitForLine() { m_line.get_future().wait(); }

 protected:
  int sync() override {
    if (!m_is_written) m_line.set_value();
    m_is_written = true;
    return 0;
  }

 private:
  std::promise<void> m_line;
  bool m_is_written = false;
};

TEST(WaitingTest, SaysWhatIsAskedAndWipesIt) {
  Cli::FollowProgress();
  NoteSource("NVML");
  Terminal terminal;
  std::ostream out(&terminal);
  {
    const Cli::WaitingLine line(out, std::chrono::milliseconds(0));
    terminal.WaitForLine();
  }
  EXPECT_EQ(terminal.str(), "asking NVML ...\r               \r");
}

TEST(WaitingTest, SaysNothingToWhoeverWaitsForLess) {
  Cli::FollowProgress();
  NoteSource("NVML");
  std::ostringstream out;
  { const Cli::WaitingLine line(out, std::chrono::hours(1)); }
  EXPECT_EQ(out.str(), "");
}

TEST(WaitingTest, ACrashIsBlamedOnWhatIsAsked) {
  const auto message = [](std::size_t size) {
    char buffer[256];
    return std::string(buffer, Cli::WriteCrashMessage(0xC0000005, buffer, size));
  };
  Cli::FollowProgress();
  NoteSource("NVML");
  EXPECT_EQ(message(256), "\rvexil: crashed while NVML was asked (0xC0000005); \"vexil doctor\" tells more\n");
  NoteCall("nvmlInit_v2");
  EXPECT_EQ(message(256),
            "\rvexil: crashed in nvmlInit_v2 while NVML was asked (0xC0000005); \"vexil doctor\" tells more\n");
  EXPECT_EQ(message(8), "\rvexil: ");
  NoteSource(nullptr);
  EXPECT_EQ(message(256), "\rvexil: crashed (0xC0000005); \"vexil doctor\" tells more\n");
}

}  // namespace
}  // namespace Vexil::Tests
