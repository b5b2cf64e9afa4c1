// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// The LV2 plug-ins of the machine.
//
// Threads: the library behind it is not thread-safe, so one thread, the world thread, owns it; the
// scan, every instantiation and every release run there, in order. `componentsMatchingDescription`
// reads a finished list; while the scan, begun on opening, still runs, it waits or has none, as the settings say.
// The scan reads the bundles that have changed since the last one, see ScanCache; what the library itself knows of a
// plug-in is read when the plug-in is first used.
// Ownership: held by the application and by every unit made from it; closes with the last of them, and ends the scan,
// which keeps what it has read by then.
// Failure: a bundle that cannot be read, or whose plug-in has no audio output, is left out of the
// list; the others are not touched by it. The scan reads data only: no code of a plug-in runs before it is
// instantiated. Behind the scan the scratch folders of programs that were killed are removed.

#include <cstddef>
#include <filesystem>
#include <functional>
#include <future>
#include <memory>
#include <optional>
#include <set>
#include <stop_token>
#include <string>
#include <vector>

#include "foundation/serial_thread.h"
#include "platform/audio_component.h"
#include "platform/audio_parameters.h"
#include "system/plugins/editor_place.h"
#include "system/plugins/lv2/bundle_record.h"
#include "system/plugins/lv2/plugin_description.h"

struct LilvWorldImpl;   // the library's names for its world
struct LilvPluginImpl;  // and for a plug-in in it

namespace vrel {
class FileManager;
}  // namespace vrel

namespace vrel::lv2 {

class UridMap;

/// How a scan goes, and where it keeps what it has found for the next one: nowhere without a file or a manager of
/// files.
struct ScanSettings {
  bool isAwaited = true;                 // by whoever asks for components
  std::shared_ptr<FileManager> files{};  // called on the world thread
  std::filesystem::path cacheFile{};
  std::string helperProgram{};                    // reads many bundles on all cores; empty: one after the other, here
  std::function<void(const std::string&)> log{};  // on the world thread
};

/// One plug-in that is known from elsewhere, so that nothing need be scanned for it.
struct PluginAddress {
  std::string bundlePath;  // with a separator at its end
  std::string uri;
  AudioComponentDescription codes;
};

class Lv2World final : public AVAudioUnitComponentManager, public std::enable_shared_from_this<Lv2World> {
 public:
  /// Begins the scan of the bundles on LV2_PATH, or in the usual places, and returns at once.
  [[nodiscard]] static std::shared_ptr<Lv2World> open(const ScanSettings& settings = {});

  /// A world of one plug-in: reads its bundle and no other. It has no components when it is not there.
  [[nodiscard]] static std::shared_ptr<Lv2World> openOne(const PluginAddress& address);

  ~Lv2World() override;
  Lv2World(const Lv2World&) = delete;
  Lv2World& operator=(const Lv2World&) = delete;

  [[nodiscard]] bool isComplete() const override;
  void whenComplete(std::function<void()> handler) override;
  [[nodiscard]] std::vector<AVAudioUnitComponent> componentsMatchingDescription(
      const AudioComponentDescription& description) override;

  /// Reads what the plug-in's controls are, with their bounds at this sample rate, and returns at once. The handler
  /// gets null for a plug-in that is not installed; it is called on the world thread, or not at all when the world
  /// ends.
  void requestParameters(const AudioComponentDescription& codes, double sampleRate,
                         std::function<void(std::shared_ptr<const AUParameterTree>)> handler);

  /// Looks for the plug-in's own editor, in the same way; the handler gets none where there is none that can be opened.
  void requestEditor(const AudioComponentDescription& codes, std::function<void(std::optional<EditorPlace>)> handler);

  /// The plug-in with exactly these codes, null when it is not installed. Any thread.
  [[nodiscard]] std::shared_ptr<const PluginDescription> find(const AudioComponentDescription& codes) const;

  /// How many bundles the scan has read, because they were new or had changed.
  [[nodiscard]] std::size_t bundlesRead() const;

  /// Where everything that touches the library must run.
  [[nodiscard]] SerialThread& thread() { return thread_; }

  /// One map for all plug-ins of this world. Any thread.
  [[nodiscard]] UridMap& urids() { return *urids_; }

  /// The library's own objects. World thread. The plug-in is null when it is not there any more; before it was asked
  /// for, the library knows neither it nor its presets.
  [[nodiscard]] LilvWorldImpl* library() { return library_; }
  [[nodiscard]] const LilvPluginImpl* libraryPlugin(const std::string& uri);

 private:
  explicit Lv2World(bool isAwaited);
  void begin(std::function<void()> find);
  void scan(const ScanSettings& settings);
  void readOne(const PluginAddress& address);
  void take(std::vector<BundleRecord> records);
  [[nodiscard]] const LilvPluginImpl* readAllAbout(const std::string& uri);

  /// A bundle of which the library may not know yet.
  struct Bundle {
    BundleRecord record;            // without the plug-ins
    std::set<std::string> plugins;  // URIs of those that it defines or has presets for
    bool isRead = false;
  };

  const bool isAwaited_;
  LilvWorldImpl* library_;
  std::unique_ptr<UridMap> urids_;
  std::vector<Bundle> bundles_;                                    // world thread
  std::set<std::string> askedFor_;                                 // URIs that the library knows; world thread
  std::vector<std::shared_ptr<const PluginDescription>> plugins_;  // written by the scan only
  std::size_t bundlesRead_ = 0;                                    // written by the scan only
  std::stop_source stopScan_;
  std::shared_future<void> scanned_;
  SerialThread thread_{SerialThread::AtEnd::runWork};  // ends first, and runs what is still posted
};

}  // namespace vrel::lv2
