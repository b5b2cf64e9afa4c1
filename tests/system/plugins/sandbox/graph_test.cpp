// SPDX-License-Identifier: GPL-3.0-or-later
// Sandboxed instruments in the running graph: what one does is not heard in the others.

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <csignal>
#include <functional>
#include <ostream>
#include <thread>

#include "system/audio/offline_device.h"
#include "system/audio/render_engine.h"
#include "system/plugins/sandbox/processes.h"
#include "system/plugins/sandbox/sandbox_stage.h"

namespace vrel::sandbox {
namespace {

class InTheGraph : public SandboxStage {
 public:
  using SandboxStage::counters;
  using SandboxStage::deaths;
  using SandboxStage::make;
  using SandboxStage::makeLater;

 protected:
  static constexpr double usualRate = 48000;
  static constexpr std::uint32_t frames = 512;

  InTheGraph() : SandboxStage(100ms) {}

  /// What leaves a unit, from its first loud sample on.
  class Recorder {
   public:
    explicit Recorder(AVAudioNode& node) : node_(node) {
      node_.installTap(0, frames, std::nullopt, [this](const AVAudioPCMBuffer& buffer) {
        const float* const samples = buffer.floatChannelData()[0];
        for (std::uint32_t frame = 0; frame < buffer.frameLength; ++frame) {
          if (!samples_.empty() || samples[frame] != 0.0F) {
            samples_.push_back(samples[frame]);
          }
        }
      });
    }
    ~Recorder() { node_.removeTap(0); }

    [[nodiscard]] const std::vector<float>& samples() const { return samples_; }

   private:
    AVAudioNode& node_;
    std::vector<float> samples_;
  };

  /// The sine as it is without anybody beside it.
  std::vector<float> undisturbed(std::size_t count, double rate = usualRate) {
    lv2::Player player(inProcess_.make("urn:vrel:zoo:sine").unit, rate);
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

/// What happens to a rebel, or to another plug-in, while the sine plays.
struct Fault {
  std::string name;
  std::string rebel;
  std::function<void(InTheGraph& stage, AVAudioUnitMIDIInstrument& rebel)> happen;
  std::function<bool(InTheGraph& stage)> isOver = [](InTheGraph& /*stage*/) { return true; };
  std::chrono::milliseconds pause{0};  // before each block
};

// NOLINTNEXTLINE(readability-identifier-naming): the test library looks for this name
void PrintTo(const Fault& fault, std::ostream* stream) {
  *stream << fault.name;
}

pid_t processOf(AVAudioUnit& unit) {
  return dynamic_cast<SandboxedNode&>(unit).processId();
}

/// An endless loop, or what a signal does: at every stage of a plug-in's life.
struct Mishap {
  std::string name;
  int signal;  // 0 for a loop, in which it is anyway
};

/// Makes the call; its plug-in, which never returns from it, meets with the mishap in the midst of it.
void during(const Mishap& mishap, pid_t process, const std::function<void()>& call) {
  std::thread other([&] {
    std::this_thread::sleep_for(30ms);
    if (mishap.signal != 0) {
      kill(process, mishap.signal);
    }
  });
  call();
  other.join();
}

Fault whileMade(const Mishap& mishap) {
  return {mishap.name + "WhileMade", "kind", [mishap](InTheGraph& stage, AVAudioUnitMIDIInstrument& /*rebel*/) {
            const auto before = guestsOf(getpid());
            (void)stage.makeLater("urn:vrel:zoo:rebel-hang-instantiate");
            std::vector<pid_t> fresh;
            EXPECT_TRUE(happens([&] {
              fresh = guestsOf(getpid());
              std::erase_if(fresh, [&](pid_t guest) { return std::ranges::find(before, guest) != before.end(); });
              return !fresh.empty();
            }));
            for (const pid_t guest : fresh) {
              if (mishap.signal != 0) {
                kill(guest, mishap.signal);
              }
            }
          }};
}

Fault inRestoring(const Mishap& mishap) {
  return {mishap.name + "InRestoring", "hang-restore",
          [mishap](InTheGraph& /*stage*/, AVAudioUnitMIDIInstrument& rebel) {
            PropertyListDictionary state;
            state["format"] = {std::int64_t{1}};
            state["uri"] = {std::string("urn:vrel:zoo:rebel-hang-restore")};
            state["ports"] = {PropertyListDictionary{}};
            state["properties"] = {PropertyListArray{}};
            state["files"] = {PropertyListDictionary{}};
            during(mishap, processOf(rebel), [&] { rebel.auAudioUnit().setFullStateForDocument(state); });
          }};
}

Fault whilePlaying(const Mishap& mishap) {
  return {mishap.name + "WhilePlaying", "kind", [mishap](InTheGraph& /*stage*/, AVAudioUnitMIDIInstrument& rebel) {
            if (mishap.signal != 0) {
              kill(processOf(rebel), mishap.signal);
            } else {
              rebel.sendMIDIEvent(0x90, fault_key::hangForever, 64);
            }
          }};
}

Fault inSaving(const Mishap& mishap) {
  return {mishap.name + "InSaving", "hang-save", [mishap](InTheGraph& /*stage*/, AVAudioUnitMIDIInstrument& rebel) {
            during(mishap, processOf(rebel), [&] { (void)rebel.auAudioUnit().fullStateForDocument(); });
          }};
}

Fault inClosing(const Mishap& mishap) {
  return {mishap.name + "InClosing", "kind", [mishap](InTheGraph& stage, AVAudioUnitMIDIInstrument& /*rebel*/) {
            auto unit = stage.make("urn:vrel:zoo:rebel-hang-cleanup").unit;
            const pid_t process = processOf(*unit);
            during(mishap, process, [&] { unit.reset(); });
          }};
}

Fault keyed(const char* name, std::uint8_t key) {
  return {name, "kind",
          [key](InTheGraph& /*stage*/, AVAudioUnitMIDIInstrument& rebel) { rebel.sendMIDIEvent(0x90, key, 64); }};
}

void sendTooMuch(InTheGraph& /*stage*/, AVAudioUnitMIDIInstrument& rebel) {
  for (int count = 0; count < 5000; ++count) {
    rebel.sendMIDIEvent(0x90, 60, 64);
  }
}

std::vector<Fault> faults() {
  std::vector<Fault> all = {
      keyed("WriteToNothing", fault_key::writeToNothing),
      keyed("WriteBehindTheBuffer", fault_key::writeBehindTheBuffer),
      keyed("WriteBeforeTheBuffer", fault_key::writeBeforeTheBuffer),
      keyed("NotANumber", fault_key::notANumber),
      keyed("Infinite", fault_key::infinite),
      keyed("Denormal", fault_key::denormal),
      keyed("TooMuchWork", fault_key::askForTooMuchWork),
      {"TooManyEvents", "kind", sendTooMuch},
  };
  Fault& late = all.emplace_back(keyed("TwoBlocksLate", fault_key::sleepTwoBlocks));
  late.isOver = [](InTheGraph& stage) { return stage.counters().lateAnswersDropped > 0 || !stage.deaths().empty(); };
  late.pause = 256ms;  // one block: a guest is ended that answers no block of the device for two seconds
  for (const Mishap& mishap : {Mishap{"Killed", SIGKILL}, {"Stopped", SIGSTOP}, {"EndlessLoop", 0}}) {
    for (const auto at : {whileMade, inRestoring, whilePlaying, inSaving, inClosing}) {
      all.push_back(at(mishap));
    }
  }
  return all;
}

/// A device whose blocks are due in time, and whose caller takes them.
class TimedDevice final : public audio::OfflineDevice {
 public:
  using OfflineDevice::OfflineDevice;
  [[nodiscard]] bool isRealTime() const override { return true; }
};

/// A sine beside a rebel that comes to grief in the midst of it.
class SineBesideARebel : public InTheGraph, public testing::WithParamInterface<Fault> {
 protected:
  // A block may take 192 ms. They are so few that a guest that hangs is not ended.
  static constexpr double rate = 4000;
  static constexpr std::uint32_t blockFrames = 1024;
  static constexpr std::size_t before = 5 * blockFrames;
  static constexpr std::size_t whole = 11 * blockFrames;

  /// Empty when a block of the sine came too late all the same.
  std::vector<float> sineBeside(const Fault& fault) {
    const auto device = std::make_shared<TimedDevice>(rate, blockFrames);
    const Graph graph = graphOn(device, fault.rebel);
    Recorder recorder(*graph.sine);
    EXPECT_EQ(graph.engine->start(), std::nullopt);
    graph.rebel->sendMIDIEvent(0x90, 60, 64);
    graph.sine->sendMIDIEvent(0x90, 69, 100);
    const auto play = [&](std::size_t count) {
      std::this_thread::sleep_for(fault.pause);
      (void)device->renderBlock();
      return recorder.samples().size() > count;
    };
    EXPECT_TRUE(happens([&] { return play(before); }));
    fault.happen(*this, *graph.rebel);
    EXPECT_TRUE(happens([&] { return play(whole) && fault.isOver(*this); }));
    graph.engine->stop();
    for (const pid_t child : childrenOf(getpid())) {
      kill(child, SIGKILL);  // what loops would take the processor from the next attempt
    }
    const auto& samples = recorder.samples();
    const bool hasGaps = std::search_n(samples.begin(), samples.end(), 8, 0.0F) != samples.end();
    return hasGaps ? std::vector<float>() : samples;
  }
};

TEST_P(SineBesideARebel, TheOtherStripSoundsSampleForSampleAsWithoutTheFault) {
  std::vector<float> samples;
  ASSERT_TRUE(happens([&] { return !(samples = sineBeside(GetParam())).empty(); }))
      << "a block of it is always missing";
  expectBegin(samples, undisturbed(whole, rate));
}

INSTANTIATE_TEST_SUITE_P(Faults, SineBesideARebel, testing::ValuesIn(faults()),
                         [](const auto& parameter) { return parameter.param.name; });

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
  EXPECT_TRUE(happens([this] { return deaths().size() == 1; }));
}

TEST_F(InTheOfflineGraph, HugeSamplesSilenceTheirOwnStripsAndNotTheMix) {
  const auto device = std::make_shared<audio::OfflineDevice>(48000, frames);
  const Graph graph = graphOn(device);
  for (const std::uint8_t key : {std::uint8_t{3}, std::uint8_t{4}}) {  // 3e38 and -3e38
    for (int copy = 0; copy < 2; ++copy) {
      const auto huge = std::dynamic_pointer_cast<AVAudioUnitMIDIInstrument>(make("urn:vrel:zoo:notanumber").unit);
      graph.engine->attach(huge);
      graph.engine->connect(huge, graph.engine->mainMixerNode(), std::nullopt);
      huge->setVolume(1.5F);
      huge->sendMIDIEvent(0x90, key, 100);
    }
  }
  ASSERT_EQ(graph.engine->start(), std::nullopt);
  graph.sine->sendMIDIEvent(0x90, 69, 100);
  std::vector<float> mix;
  for (int block = 0; block < 20; ++block) {
    const auto& left = device->renderBlock().left;
    mix.insert(mix.end(), left.begin(), left.end());
  }
  mix.erase(mix.begin(), std::find_if(mix.begin(), mix.end(), [](float sample) { return sample != 0.0F; }));
  expectBegin(mix, undisturbed(19 * frames));
  EXPECT_GE(counters().silencedBlocks, 4U * 20U);
  EXPECT_EQ(graph.counters->nonFiniteBlocks, 0U);
}

TEST_F(InTheOfflineGraph, AGuestThatDiesFadesOutInsteadOfBeingCut) {
  const auto device = std::make_shared<audio::OfflineDevice>(48000, frames);
  const Graph graph = graphOn(device);
  ASSERT_EQ(graph.engine->start(), std::nullopt);
  graph.sine->sendMIDIEvent(0x90, 69, 100);
  std::vector<float> heard;
  for (int block = 0; block < 20; ++block) {
    if (block == 16) {
      kill(processOf(graph.sine), SIGKILL);
      EXPECT_TRUE(happens([this] { return deaths().size() == 1; }));
    }
    const auto samples = device->renderBlock().left;
    heard.insert(heard.end(), samples.begin(), samples.end());
  }
  const auto end = heard.begin() + 16 * frames;
  const float level = *std::max_element(end - frames, end);
  float steepest = 0;
  for (auto sample = end - 8 * frames; sample != heard.end(); ++sample) {
    steepest = std::max(steepest, std::abs(*sample - *(sample - 1)));
  }
  EXPECT_LT(steepest, level * 0.06F) << "of a tone of 440 Hz: 0.0576 of its level";
  EXPECT_GT(*std::max_element(end, end + 128), level * 0.5F);
  EXPECT_EQ(std::count(end + 256, heard.end(), 0.0F), heard.end() - end - 256);
}

TEST_F(InTheOfflineGraph, AllSourcesWorkAtTheSameTime) {
  const auto device = std::make_shared<audio::OfflineDevice>(48000, frames);
  const Graph graph = graphOn(device);
  const auto other = std::dynamic_pointer_cast<AVAudioUnitMIDIInstrument>(rebel());
  graph.engine->attach(other);
  graph.engine->connect(other, graph.engine->mainMixerNode(), std::nullopt);
  ASSERT_EQ(graph.engine->start(), std::nullopt);
  const std::array processes{processOf(graph.rebel), processOf(other)};
  const std::array before{ticksOf(processes[0]), ticksOf(processes[1])};
  graph.rebel->sendMIDIEvent(0x90, fault_key::hangForever, 64);
  other->sendMIDIEvent(0x90, fault_key::hangForever, 64);
  std::thread block([&] { (void)device->renderBlock(); });
  EXPECT_TRUE(happens([&] { return ticksOf(processes[0]) > before[0] + 2 && ticksOf(processes[1]) > before[1] + 2; }))
      << "behind the first, which never answers, the other would not begin";
  for (const pid_t process : processes) {
    kill(process, SIGKILL);
  }
  block.join();
}

}  // namespace
}  // namespace vrel::sandbox
