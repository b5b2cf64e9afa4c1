// SPDX-License-Identifier: GPL-3.0-or-later
// Sandboxed instruments in the running graph: what one does is not heard in the others.

#include <algorithm>
#include <csignal>
#include <functional>
#include <ostream>
#include <thread>

#include "sandbox/processes.h"
#include "sandbox/sandbox_stage.h"
#include "system/audio/offline_device.h"
#include "system/audio/paced_null_device.h"
#include "system/audio/render_engine.h"

namespace vrel::sandbox {
namespace {

class InTheGraph : public SandboxStage {
 protected:
  // Large blocks leave a busy machine time enough to play them.
  static constexpr std::uint32_t frames = 512;

  InTheGraph() : SandboxStage(100ms) {}

  /// What leaves a unit, from its first loud sample on.
  class Recorder {
   public:
    explicit Recorder(AVAudioNode& node) : node_(node) {
      node_.installTap(0, frames, std::nullopt, [this](const AVAudioPCMBuffer& buffer) {
        const float* const samples = buffer.floatChannelData()[0];
        const std::lock_guard lock(mutex_);
        for (std::uint32_t frame = 0; frame < buffer.frameLength; ++frame) {
          if (!samples_.empty() || samples[frame] != 0.0F) {
            samples_.push_back(samples[frame]);
          }
        }
      });
    }
    ~Recorder() { node_.removeTap(0); }

    [[nodiscard]] std::vector<float> samples() const {
      const std::lock_guard lock(mutex_);
      return samples_;
    }

   private:
    AVAudioNode& node_;
    mutable std::mutex mutex_;
    std::vector<float> samples_;
  };

  /// The sine as it is without anybody beside it.
  std::vector<float> undisturbed(std::size_t count) {
    lv2::Player player(inProcess_.make("urn:vrel:zoo:sine").unit);
    player.send(0x90, 69, 100);
    auto samples = player.play(count + frames).left;
    const auto loud = std::find_if(samples.begin(), samples.end(), [](float sample) { return sample != 0.0F; });
    return {loud, loud + static_cast<std::ptrdiff_t>(count)};
  }

  static void expectBegin(const std::vector<float>& samples, const std::vector<float>& expected) {
    ASSERT_GE(samples.size(), expected.size());
    const auto differs = std::mismatch(expected.begin(), expected.end(), samples.begin());
    EXPECT_EQ(differs.first - expected.begin(), static_cast<std::ptrdiff_t>(expected.size()))
        << "the first sample that differs";
  }

  struct Graph {
    std::shared_ptr<audio::RenderCounters> counters = std::make_shared<audio::RenderCounters>();
    std::shared_ptr<audio::RenderEngine> engine;
    std::shared_ptr<AVAudioUnitMIDIInstrument> sine;
    std::shared_ptr<AVAudioUnitMIDIInstrument> rebel;
  };

  Graph graphOn(const std::shared_ptr<audio::OutputDevice>& device, const std::string& name = "kind") {
    Graph graph;
    graph.engine = std::make_shared<audio::RenderEngine>(device, graph.counters);
    graph.rebel = std::dynamic_pointer_cast<AVAudioUnitMIDIInstrument>(rebel(name));
    graph.sine = std::dynamic_pointer_cast<AVAudioUnitMIDIInstrument>(make("urn:vrel:zoo:sine").unit);
    for (const auto& unit : {graph.rebel, graph.sine}) {
      graph.engine->attach(unit);
      graph.engine->connect(unit, graph.engine->mainMixerNode(), std::nullopt);
    }
    graph.engine->connect(graph.engine->mainMixerNode(), graph.engine->outputNode(), std::nullopt);
    return graph;
  }
};

/// What happens to a rebel while the sine beside it plays.
struct Fault {
  const char* name;
  const char* rebel;
  std::function<void(AVAudioUnitMIDIInstrument& rebel)> happen;
};

// NOLINTNEXTLINE(readability-identifier-naming): the test library looks for this name
void PrintTo(const Fault& fault, std::ostream* stream) {
  *stream << fault.name;
}

Fault signalled(const char* name, int signal) {
  return {name, "kind", [signal](AVAudioUnitMIDIInstrument& rebel) {
            kill(dynamic_cast<SandboxedNode&>(rebel).processId(), signal);
          }};
}

Fault keyed(const char* name, std::uint8_t key) {
  return {name, "kind", [key](AVAudioUnitMIDIInstrument& rebel) { rebel.sendMIDIEvent(0x90, key, 64); }};
}

void takeForeignState(AVAudioUnitMIDIInstrument& rebel) {
  PropertyListDictionary state;
  state["format"] = {std::int64_t{1}};
  state["uri"] = {std::string("urn:vrel:zoo:rebel-hang-restore")};
  state["ports"] = {PropertyListDictionary{}};
  state["properties"] = {PropertyListArray{}};
  state["files"] = {PropertyListDictionary{}};
  rebel.auAudioUnit().setFullStateForDocument(state);
}

void sendTooMuch(AVAudioUnitMIDIInstrument& rebel) {
  for (int count = 0; count < 5000; ++count) {
    rebel.sendMIDIEvent(0x90, 60, 64);
  }
}

const std::vector<Fault>& faults() {
  static const std::vector<Fault> all = {
      signalled("Killed", SIGKILL),
      signalled("Stopped", SIGSTOP),
      keyed("EndlessLoop", misdeed::hangForever),
      keyed("WriteToNothing", misdeed::writeToNothing),
      keyed("WriteBehindTheBuffer", misdeed::writeBehindTheBuffer),
      keyed("WriteBeforeTheBuffer", misdeed::writeBeforeTheBuffer),
      keyed("NotANumber", misdeed::notANumber),
      keyed("Infinite", misdeed::infinite),
      keyed("Denormal", misdeed::denormal),
      keyed("TenBlocksLate", misdeed::sleepTenBlocks),
      keyed("TooMuchWork", misdeed::askForTooMuchWork),
      {"TooManyEvents", "kind", sendTooMuch},
      {"EndlessLoopInRestoring", "hang-restore", takeForeignState},
      {"EndlessLoopInSaving", "hang-save",
       [](AVAudioUnitMIDIInstrument& rebel) { (void)rebel.auAudioUnit().fullStateForDocument(); }},
      {"StoppedAndAskedForItsState", "kind",
       [](AVAudioUnitMIDIInstrument& rebel) {
         stop(dynamic_cast<SandboxedNode&>(rebel).processId());
         (void)rebel.auAudioUnit().fullStateForDocument();
       }},
  };
  return all;
}

/// A run of the sine beside a rebel that comes to grief in the midst of it. Empty when the machine, busy with
/// something else, let a block of the sine, or of the recording, go by.
class PacedRun : public InTheGraph, public testing::WithParamInterface<Fault> {
 protected:
  static constexpr std::size_t before = 20 * frames;
  static constexpr std::size_t whole = 100 * frames;

  std::vector<float> sineBeside(const Fault& fault) {
    const auto device = std::make_shared<audio::PacedNullDevice>(48000, frames);
    const Graph graph = graphOn(device, fault.rebel);
    Recorder recorder(*graph.sine);
    EXPECT_EQ(graph.engine->start(), std::nullopt);
    graph.rebel->sendMIDIEvent(0x90, 60, 64);
    graph.sine->sendMIDIEvent(0x90, 69, 100);
    EXPECT_TRUE(happensWithin(10s, [&] { return recorder.samples().size() > before; }));
    const auto expected = undisturbed(before);
    if (const auto begin = recorder.samples(); !std::equal(expected.begin(), expected.end(), begin.begin())) {
      return {};  // before anything was done to it
    }
    fault.happen(*graph.rebel);
    EXPECT_TRUE(happensWithin(10s, [&] { return recorder.samples().size() > whole; }));
    graph.engine->stop();
    const auto samples = recorder.samples();
    const bool hasGaps = std::search_n(samples.begin(), samples.end(), 8, 0.0F) != samples.end();
    return hasGaps || graph.counters->droppedTapBuffers > 0 ? std::vector<float>() : samples;
  }
};

TEST_P(PacedRun, TheOtherStripSoundsSampleForSampleAsWithoutTheFault) {
  std::vector<float> samples;
  for (int attempt = 0; attempt < 8 && samples.empty(); ++attempt) {
    samples = sineBeside(GetParam());
  }
  expectBegin(samples, undisturbed(whole));
}

INSTANTIATE_TEST_SUITE_P(Faults, PacedRun, testing::ValuesIn(faults()),
                         [](const auto& parameter) { return std::string(parameter.param.name); });

using InTheOfflineGraph = InTheGraph;

TEST_F(InTheOfflineGraph, ADeathInTheMidstOfARenderChangesNothingForTheOther) {
  const auto device = std::make_shared<audio::OfflineDevice>(48000, frames);
  const Graph graph = graphOn(device);
  Recorder recorder(*graph.sine);
  ASSERT_EQ(graph.engine->start(), std::nullopt);
  graph.rebel->sendMIDIEvent(0x90, 60, 64);
  graph.sine->sendMIDIEvent(0x90, 69, 100);
  for (int block = 0; block < 150; ++block) {
    if (block == 50) {
      kill(processOf(graph.rebel), SIGKILL);
    }
    (void)device->renderBlock();
  }
  expectBegin(recorder.samples(), undisturbed(149 * frames));
  EXPECT_TRUE(happensWithin(5s, [this] { return deaths().size() == 1; }));
}

TEST_F(InTheOfflineGraph, AllSourcesWorkAtTheSameTime) {
  const auto device = std::make_shared<audio::OfflineDevice>(48000, frames);
  const Graph graph = graphOn(device);
  const auto second = std::dynamic_pointer_cast<AVAudioUnitMIDIInstrument>(rebel());
  graph.engine->attach(second);
  graph.engine->connect(second, graph.engine->mainMixerNode(), std::nullopt);
  ASSERT_EQ(graph.engine->start(), std::nullopt);
  graph.rebel->sendMIDIEvent(0x90, misdeed::sleepLong, 64);
  second->sendMIDIEvent(0x90, misdeed::sleepLong, 64);
  const auto start = std::chrono::steady_clock::now();
  (void)device->renderBlock();
  const auto taken = std::chrono::steady_clock::now() - start;
  EXPECT_GE(taken, 500ms);
  EXPECT_LT(taken, 900ms) << "one behind the other takes a second";
}

}  // namespace
}  // namespace vrel::sandbox
