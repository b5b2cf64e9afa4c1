// SPDX-License-Identifier: GPL-3.0-or-later
// Cost and gain of instruments in processes of their own. Each benchmark alternates with its reference and reports
// the ratio.

#include <benchmark/benchmark.h>
#include <linux/futex.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdlib>
#include <functional>
#include <future>
#include <memory>
#include <string>
#include <vector>

#include "foundation/thread_roles.h"
#include "system/audio/denormal_guard.h"
#include "system/plugins/lv2/component_codes.h"
#include "system/plugins/lv2/hosted_plugin.h"
#include "system/plugins/lv2/lv2_processor.h"
#include "system/plugins/sandbox/sandbox_processor.h"

namespace vrel::sandbox {
namespace {

constexpr std::uint32_t frames = 128;
constexpr const char* rebelUri = "urn:vrel:zoo:rebel-kind";
constexpr std::uint8_t workHard = 12;

/// Processes that only answer a word with a word.
class PingPong {
 public:
  explicit PingPong(std::size_t count) : words_(count) {
    for (Words*& words : words_) {
      words = static_cast<Words*>(
          mmap(nullptr, sizeof(Words), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS | MAP_POPULATE, -1, 0));
      const pid_t process = fork();
      if (process == 0) {
        answerForever(*words);
      }
      processes_.push_back(process);
    }
  }
  ~PingPong() {
    for (std::size_t index = 0; index < words_.size(); ++index) {
      kill(processes_[index], SIGKILL);
      waitpid(processes_[index], nullptr, 0);
      munmap(words_[index], sizeof(Words));
    }
  }
  PingPong(const PingPong&) = delete;
  PingPong& operator=(const PingPong&) = delete;

  void round() {
    ++round_;
    for (Words* const words : words_) {
      set(words->ping, round_);
    }
    for (Words* const words : words_) {
      awaitChange(words->pong, round_ - 1);
    }
  }

 private:
  struct Words {
    alignas(64) std::uint32_t ping;
    alignas(64) std::uint32_t pong;
  };

  static void set(std::uint32_t& word, std::uint32_t value) {
    std::atomic_ref(word).store(value);
    syscall(SYS_futex, &word, FUTEX_WAKE, 1, nullptr, nullptr, 0);
  }
  static void awaitChange(std::uint32_t& word, std::uint32_t old) {
    while (std::atomic_ref(word).load() == old) {
      syscall(SYS_futex, &word, FUTEX_WAIT, old, nullptr, nullptr, 0);
    }
  }
  [[noreturn]] static void answerForever(Words& words) {
    for (std::uint32_t round = 0;; ++round) {
      awaitChange(words.ping, round);
      set(words.pong, round + 1);
    }
  }

  std::vector<Words*> words_;
  std::vector<pid_t> processes_;
  std::uint32_t round_ = 0;
};

struct Samples {
  std::vector<float> left = std::vector<float>(frames);
  std::vector<float> right = std::vector<float>(frames);
};

/// Runs processors as a plan does: all begin, then all are collected.
void playBlock(const std::vector<std::shared_ptr<audio::NodeProcessor>>& processors, Samples& samples) {
  const AudioThreadScope block;
  const audio::DenormalGuard denormals;
  for (const auto& processor : processors) {
    processor->begin(frames);
  }
  for (const auto& processor : processors) {
    processor->process(
        {.frameCount = frames, .inputs = {}, .output = {{samples.left.data(), samples.right.data()}, 2}});
  }
}

std::shared_ptr<Supervisor> startSupervisor() {
  return Supervisor::start({.helperPath = VREL_PLUGIN_HOST_PROGRAM, .log = {}}).value();
}

Supervisor::Ready launchInstrument(Supervisor& supervisor, std::function<void(const std::string& how)> died) {
  const AudioComponentDescription codes = lv2::componentCodes(componentTypeMusicDevice, rebelUri);
  std::promise<Result<Supervisor::Ready>> made;
  supervisor.launch({.request = {.bundlePath = VREL_ZOO_PATH "/rebel.lv2/",
                                 .pluginUri = rebelUri,
                                 .componentType = codes.componentType,
                                 .componentSubType = codes.componentSubType,
                                 .componentManufacturer = codes.componentManufacturer,
                                 .sampleRate = 48000,
                                 .nominalBlockFrames = frames,
                                 .worksWithinBlock = true},
                     .done = [&made](Result<Supervisor::Ready> ready) { made.set_value(std::move(ready)); },
                     .died = std::move(died)});
  return made.get_future().get().value();
}

class Sandboxed {
 public:
  explicit Sandboxed(std::size_t count) : supervisor_(startSupervisor()) {
    for (std::size_t index = 0; index < count; ++index) {
      instruments_.push_back(std::make_shared<SandboxProcessor>(
          launchInstrument(*supervisor_, {}),
          SandboxProcessor::Settings{48000, std::nullopt, std::nullopt, std::make_shared<PluginCounters>()}));
      processors_.push_back(instruments_.back());
    }
  }

  void key(std::uint8_t note) {
    for (const auto& instrument : instruments_) {
      instrument->sendEvent(0x90, note, 64);
    }
  }
  void round() { playBlock(processors_, samples_); }

 private:
  std::shared_ptr<Supervisor> supervisor_;
  std::vector<std::shared_ptr<SandboxProcessor>> instruments_;
  std::vector<std::shared_ptr<audio::NodeProcessor>> processors_;
  Samples samples_;
};

class InProcess {
 public:
  explicit InProcess(std::size_t count) {
    setenv("LV2_PATH", VREL_ZOO_PATH, 1);
    const auto world = lv2::Lv2World::open();
    const auto description = world->find(lv2::componentCodes(componentTypeMusicDevice, rebelUri));
    for (std::size_t index = 0; index < count; ++index) {
      world->thread().runAndWait([&] {
        auto plugin = lv2::HostedPlugin::make(world, description, {}, 48000);
        instruments_.push_back(
            std::make_shared<lv2::Lv2Processor>(world, lv2::HostSettings{}, std::move(plugin).value()));
      });
      processors_.push_back(instruments_.back());
    }
  }

  void key(std::uint8_t note) {
    for (const auto& instrument : instruments_) {
      instrument->sendEvent(0x90, note, 64);
    }
  }
  void round() { playBlock(processors_, samples_); }

 private:
  std::vector<std::shared_ptr<lv2::Lv2Processor>> instruments_;
  std::vector<std::shared_ptr<audio::NodeProcessor>> processors_;
  Samples samples_;
};

double secondsOf(const std::function<void()>& rounds) {
  const auto start = std::chrono::steady_clock::now();
  rounds();
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

double median(std::vector<double>& values) {
  const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
  std::nth_element(values.begin(), middle, values.end());
  return *middle;
}

/// Alternates both, in runs of `rounds`, and returns the ratio of the medians of their times per block.
template <typename Subject, typename Reference>
void compare(benchmark::State& state, Subject& subject, Reference& reference, int rounds) {
  std::vector<double> subjectSeconds;
  std::vector<double> referenceSeconds;
  const auto run = [rounds](auto& who) {
    for (int round = 0; round < rounds; ++round) {
      who.round();
    }
  };
  for ([[maybe_unused]] const auto each : state) {
    referenceSeconds.push_back(secondsOf([&] { run(reference); }));
    const double taken = secondsOf([&] { run(subject); });
    subjectSeconds.push_back(taken);
    state.SetIterationTime(taken);
  }
  const double subjectMedian = median(subjectSeconds);
  const double referenceMedian = median(referenceSeconds);
  state.counters["us/block"] = 1e6 * subjectMedian / rounds;
  state.counters["reference"] = 1e6 * referenceMedian / rounds;
  state.counters["ratio"] = subjectMedian / referenceMedian;
}

/// The hand-over to a number of instruments of negligible DSP, relative to a ping-pong of as many processes.
void handOver(benchmark::State& state) {
  const auto count = static_cast<std::size_t>(state.range(0));
  PingPong reference(count);
  Sandboxed subject(count);
  compare(state, subject, reference, 200);
}
BENCHMARK(handOver)->Arg(1)->Arg(8)->Arg(16)->UseManualTime()->Unit(benchmark::kMicrosecond);

/// Instruments with heavy DSP, each in its process, relative to the same in this one.
void hardWork(benchmark::State& state) {
  const auto count = static_cast<std::size_t>(state.range(0));
  InProcess reference(count);
  Sandboxed subject(count);
  reference.key(workHard);
  subject.key(workHard);
  compare(state, subject, reference, 10);
}
BENCHMARK(hardWork)->Arg(16)->UseManualTime()->Unit(benchmark::kMicrosecond);

/// From the kill of a process until `waitpid` returns it.
double secondsUntilWaitedFor() {
  const pid_t process = fork();
  if (process == 0) {
    for (;;) {
      pause();
    }
  }
  return secondsOf([process] {
    kill(process, SIGKILL);
    waitpid(process, nullptr, 0);
  });
}

/// From the kill of an instrument's process until its death is reported.
double secondsUntilReported(Supervisor& supervisor) {
  std::promise<void> died;
  const auto ready = launchInstrument(supervisor, [&died](const std::string& /*how*/) { died.set_value(); });
  return secondsOf([&] {
    kill(ready.guest->processId(), SIGKILL);
    died.get_future().wait();
  });
}

/// How soon the death of an instrument's process is noticed, relative to that of a process that a thread waits for.
void deathNoticed(benchmark::State& state) {
  const auto supervisor = startSupervisor();
  std::vector<double> reported;
  std::vector<double> waitedFor;
  for ([[maybe_unused]] const auto each : state) {
    waitedFor.push_back(secondsUntilWaitedFor());
    reported.push_back(secondsUntilReported(*supervisor));
    state.SetIterationTime(reported.back());
  }
  state.counters["us, median"] = 1e6 * median(reported);
  state.counters["us, most"] = 1e6 * *std::max_element(reported.begin(), reported.end());
  state.counters["reference, median"] = 1e6 * median(waitedFor);
  state.counters["ratio"] = median(reported) / median(waitedFor);
}
BENCHMARK(deathNoticed)->UseManualTime()->Unit(benchmark::kMicrosecond);

}  // namespace
}  // namespace vrel::sandbox
