// SPDX-License-Identifier: GPL-3.0-or-later
// What a guest may have and leave: processes, memory, log, display.

#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>
#include <vector>

#include "system/plugins/sandbox/guest_process.h"
#include "system/plugins/sandbox/processes.h"
#include "system/plugins/sandbox/sandbox_stage.h"

namespace vrel::sandbox {
namespace {

class GuestBounds : public SandboxStage {
 protected:
  static void press(const std::shared_ptr<AVAudioUnit>& unit, std::uint8_t key) {
    lv2::Player player(unit);
    player.send(0x90, key, 64);
    (void)player.block(128);
  }

  [[nodiscard]] static std::string fileOf(pid_t process, const std::string& name) {
    std::ifstream file("/proc/" + std::to_string(process) + "/" + name);
    return {std::istreambuf_iterator<char>(file), {}};
  }
};

/// How a guest ends.
struct GuestEnd {
  std::string name;
  std::function<void(std::shared_ptr<AVAudioUnit>& unit, pid_t process)> end;
};

class GuestsWithDaemons : public GuestBounds, public testing::WithParamInterface<GuestEnd> {};

TEST_P(GuestsWithDaemons, ProcessesThatLeftItsSessionEndWithTheGuest) {
  auto unit = rebel();
  press(unit, fault_key::startDaemon);
  const pid_t keeper = childrenOf(getpid()).at(0);
  std::vector<pid_t> kept;
  ASSERT_TRUE(happens([&] { return (kept = childrenOf(keeper)).size() == 2; })) << "the keeper adopts the daemon";
  GetParam().end(unit, processOf(unit));
  EXPECT_TRUE(happens([&] { return std::none_of(kept.begin(), kept.end(), isThere) && guestCount() == 0; }));
}

INSTANTIATE_TEST_SUITE_P(Ends, GuestsWithDaemons,
                         testing::Values(GuestEnd{"Released", [](auto& unit, pid_t) { unit.reset(); }},
                                         GuestEnd{"Killed", [](auto&, pid_t process) { kill(process, SIGKILL); }},
                                         GuestEnd{"StoppedAndReleased",
                                                  [](auto& unit, pid_t process) {
                                                    stop(process);
                                                    unit.reset();
                                                  }}),
                         [](const auto& parameter) { return parameter.param.name; });

TEST_F(GuestBounds, AnEndThatIsAskedForWhenTheGuestHasEndedAlreadyIsForNobodyElse) {
  const pid_t bystander = fork();
  if (bystander == 0) {
    pause();
    _exit(0);
  }
  {
    const auto unit = rebel();
    press(unit, fault_key::startDaemon);
    const pid_t guest = processOf(unit);
    pid_t keeper = 0;
    for (const pid_t child : childrenOf(getpid())) {
      keeper = child != bystander ? child : keeper;
    }
    ASSERT_GT(keeper, 1);
    ASSERT_TRUE(happens([&] { return childrenOf(keeper).size() == 2; }));
    kill(guest, SIGKILL);
    for (int time = 0; time < 100; ++time) {
      kill(keeper, keeperEndSignal);
    }
    EXPECT_TRUE(happens([this] { return guestCount() == 0; }));
  }
  EXPECT_EQ(waitpid(bystander, nullptr, WNOHANG), 0) << "it lives";
  kill(bystander, SIGKILL);
  waitpid(bystander, nullptr, 0);
}

TEST_F(GuestBounds, AKilledKeeperTakesItsGuestAlongAndThatIsReported) {
  const auto unit = rebel();
  const pid_t process = processOf(unit);
  kill(childrenOf(getpid()).at(0), SIGKILL);
  EXPECT_TRUE(happens([&] { return deaths() == std::vector<int>{process} && !isThere(process); }));
}

TEST_F(GuestBounds, AStoppedKeeperHoldsNothingUp) {
  auto unit = rebel();
  const pid_t process = processOf(unit);
  stop(childrenOf(getpid()).at(0));
  EXPECT_TRUE(unit->auAudioUnit().fullStateForDocument());
  unit.reset();
  EXPECT_TRUE(happens([&] { return !isThere(process) && guestCount() == 0; }));
}

TEST_F(GuestBounds, MemoryBeyondTheStatedBoundIsRefused) {
  if constexpr (!isGuestMemoryBounded) {
    GTEST_SKIP() << "a guest has no bound under a sanitizer, which takes all addresses";
  }
  const auto unit = rebel();
  std::istringstream limits(fileOf(processOf(unit), "limits"));
  std::string line;
  while (std::getline(limits, line) && line.rfind("Max data size", 0) != 0) {
  }
  EXPECT_NE(line.find(" " + std::to_string(guestMemoryBytes()) + " "), std::string::npos) << line;
  const std::uint64_t gibibytes = guestMemoryBytes() >> 30U;
  press(unit, fault_key::allocateWithoutEnd);
  const float level = lv2::peak(lv2::Player(unit).block(128).left) * 128;
  EXPECT_LE(level, static_cast<float>(gibibytes));
  EXPECT_GE(level, static_cast<float>(gibibytes) - 1);
  EXPECT_TRUE(deaths().empty()) << "and it lives";
}

TEST_F(GuestBounds, LinesWithoutEndAreDroppedAndThatIsLogged) {
  const auto unit = make("urn:vrel:zoo:state").unit;
  const PropertyListDictionary nonsense{{"nonsense", {true}}};
  while (!hasLogged("logs more than 64 KiB; the rest is dropped")) {
    unit->auAudioUnit().setFullStateForDocument(nonsense);
  }
  const std::size_t count = lines().size();
  for (int time = 0; time < 100; ++time) {
    unit->auAudioUnit().setFullStateForDocument(nonsense);
  }
  EXPECT_EQ(lines().size(), count);
  std::size_t bytes = 0;
  for (const auto& line : lines()) {
    bytes += line.size();
  }
  EXPECT_LT(bytes, guestLogBytes + 1024);
}

TEST_F(GuestBounds, PrintsWithoutEndAreDroppedAndThatIsPrinted) {
  testing::internal::CaptureStderr();
  auto unit = rebel();
  press(unit, fault_key::printMuch);
  EXPECT_TRUE(unit->auAudioUnit().fullStateForDocument());
  unit.reset();
  EXPECT_TRUE(happens([this] { return guestCount() == 0; }));
  const std::string printed = testing::internal::GetCapturedStderr();
  EXPECT_NE(printed.find("the rebel prints"), std::string::npos);
  EXPECT_LT(printed.size(), guestLogBytes + 8192);
}

/// The display of this process, for the time of its life.
class DisplayVariables {
 public:
  explicit DisplayVariables(const char* display) {
    for (const char* const name : {"DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM"}) {
      if (const char* const value = std::getenv(name)) {
        usual_.emplace_back(name, value);
      }
      unsetenv(name);
    }
    if (display != nullptr) {
      setenv("DISPLAY", display, 1);
    }
  }
  ~DisplayVariables() {
    unsetenv("DISPLAY");
    for (const auto& [name, value] : usual_) {
      setenv(name.c_str(), value.c_str(), 1);
    }
  }
  DisplayVariables(const DisplayVariables&) = delete;
  DisplayVariables& operator=(const DisplayVariables&) = delete;

 private:
  std::vector<std::pair<std::string, std::string>> usual_;
};

TEST_F(GuestBounds, ADisplayThatDoesNotAnswerCountsAsNone) {
  for (const char* const display : {static_cast<const char*>(nullptr), "", ":99"}) {
    const DisplayVariables variables(display);
    setenv("QT_QPA_PLATFORM", "xcb", 1);
    const std::string environment = fileOf(processOf(rebel()), "environ");
    unsetenv("QT_QPA_PLATFORM");
    EXPECT_NE(environment.find("QT_QPA_PLATFORM=offscreen"), std::string::npos);
    EXPECT_EQ(environment.find("QT_QPA_PLATFORM=xcb"), std::string::npos);
  }
}

TEST_F(GuestBounds, WhatAnEditorSaysToAGuestThatDoesNotReadIsDropped) {
  constexpr std::size_t messageBytes = std::size_t{1} << 18U;
  constexpr std::size_t messages = 512;
  const auto unit = make("urn:vrel:zoo:window").unit;
  ASSERT_NE(unit, nullptr);
  const pid_t process = processOf(unit);
  stop(process);
  const std::size_t before = residentBytes();
  auto& guest = dynamic_cast<SandboxedInstance&>(unit->auAudioUnit()).processor()->guest();
  for (std::size_t count = 0; count < messages; ++count) {
    guest.send(MessageKind::editorAtom, Bytes(messageBytes, 0xFF));
  }
  if constexpr (isGuestMemoryBounded) {  // a sanitizer keeps memory that is free
    EXPECT_TRUE(happens([&] { return residentBytes() < before + messages * messageBytes / 4; }));
  }
  unit->auAudioUnit().setParameterValue(2, 0.5F);
  kill(process, SIGCONT);
  EXPECT_TRUE(stateOf(unit)) << "what is asked is answered all the same";
}

}  // namespace
}  // namespace vrel::sandbox
