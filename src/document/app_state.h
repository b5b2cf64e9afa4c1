// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "document/setlist.h"
#include "foundation/life_token.h"
#include "foundation/observable.h"
#include "foundation/uuid.h"
#include "platform/audio_component.h"

namespace vrel {

class ConsoleOutput;
class DispatchQueue;
class DispatchQueueFactory;
class FileManager;
class MainQueue;
class NSUserDefaults;

/// The languages of the interface.
enum class Language { english, spanish, french, italian, german };

/// How the projection blends its clips; stored as text.
enum class VisualBlendMode { multiply, screen, plusLighter, normal };

/// The text of the defaults for a blend mode, and back; none for any other text.
[[nodiscard]] std::string storedText(VisualBlendMode mode);
[[nodiscard]] std::optional<VisualBlendMode> visualBlendModeFromStoredText(const std::string& text);

/// Red, green and blue of sRGB, 0 to 1.
using Color = std::array<double, 3>;

/// The session: the open setlist and the selection, the dirty mark, what the performer is pressing
/// now, the plug-ins found, the loading modal, the progress of a song switch, and the user's
/// settings. One for the life of the program. Main thread.
///
/// What is played lives elsewhere, in the engine's channels; `songs` is out of date while a song is
/// on stage until it is captured. `selectedSongIndex` may be stale; readers compare it with the size.
class AppState {
 public:
  struct Collaborators {
    NSUserDefaults& defaults;
    AVAudioUnitComponentManager& components;
    MainQueue& mainQueue;
    ConsoleOutput& console;
    FileManager& files;
    DispatchQueueFactory* queues = nullptr;  // null: the recent list is written on the main thread
  };

  static constexpr std::size_t mostRecentFiles = 5;
  /// The sizes of the I/O buffer that can be chosen, frames, in the order of the menu.
  static constexpr std::array<std::uint32_t, 6> allowedFrameSizes{32, 64, 128, 256, 512, 1024};
  static constexpr std::uint32_t defaultFrameSize = 128;

  /// Reads the user's settings and the recent list, then scans the plug-ins: at once where they are known, and else
  /// when they are. All collaborators are borrowed.
  AppState(const Collaborators& collaborators, std::filesystem::path recentPath);
  /// Waits until the recent list is written.
  ~AppState();
  AppState(const AppState&) = delete;
  AppState& operator=(const AppState&) = delete;

  Observable<Language> language{Language::english};
  Observable<std::vector<SongConfig>> songs;
  Observable<std::optional<std::size_t>> selectedSongIndex;
  Observable<std::string> newSongName;
  Observable<std::optional<std::filesystem::path>> currentFilePath;  // last loaded from or saved to
  Observable<std::vector<std::filesystem::path>> recentFiles;        // most recent first, each path once
  Observable<bool> isDirty{false};                                   // unsaved edits; set by markEdited, never derived
  Observable<bool> showCloseDialog{false};
  Observable<bool> allowedToClose{false};

  // Display of the performance. Nothing of it returns to the routing.
  Observable<std::set<std::uint8_t>> pressedNotes;  // as played; two sources of a note share one entry
  Observable<std::optional<std::uint8_t>> lastMouseNote;
  Observable<float> sustainPedalValue{0};  // 0 to 1
  Observable<float> expressionValue{0};    // 0 to 1
  Observable<float> modulationValue{0};    // 0 to 1
  Observable<float> pitchBendValue{0};     // -1 to 1

  Observable<std::string> songNotes;
  Observable<std::uint32_t> tempoBpm{120};

  Observable<bool> isLookingForPlugins{false};  // what is not in the lists yet may be installed
  Observable<std::vector<AVAudioUnitComponent>> scannedPlugins;
  Observable<std::vector<AVAudioUnitComponent>> scannedAudioEffectPlugins;
  Observable<std::optional<Uuid>> pluginSelectorChannelId;
  Observable<std::string> pluginSelectorFilter;
  Observable<std::string> audioEffectSelectorFilter;
  Observable<std::optional<Uuid>> pluginMenuChannelId;

  Observable<bool> showLoadingModal{false};
  Observable<std::string> loadingMessage;
  Observable<int> remainingLoadsCount{0};
  Observable<int> totalLoadsCount{0};
  Observable<Uuid> loadingSessionToken{Uuid::fresh()};

  Observable<std::string> activeMidiPortName{"Disconnected"};
  Observable<bool> isLiveModeEnabled{false};
  Observable<bool> isMidiLearnMode{false};
  Observable<std::vector<MidiControlAssignment>> globalMidiControlAssignments;
  Observable<SongControl> songControl;

  // The user's settings: written through to the defaults on every assignment.
  Observable<VisualBlendMode> visualBlendMode{VisualBlendMode::plusLighter};
  Observable<std::optional<std::string>> visualBackgroundVideoPath;
  Observable<std::uint32_t> audioIOBufferFrameSize{defaultFrameSize};  // frames
  Observable<std::optional<std::string>> audioOutputDeviceUID;

  Observable<std::vector<std::string>> favouritePlugins;  // keys
  Observable<std::vector<std::string>> recentPlugins;     // keys, the last used one first

  Observable<bool> songSwitchInProgress{false};
  Observable<std::optional<int>> songSwitchElapsedMs;           // of the last finished switch
  Observable<std::optional<double>> songSwitchStartedAtUptime;  // seconds
  Observable<int> songSwitchPendingLoads{0};
  Observable<Uuid> songSwitchLoadToken{Uuid::fresh()};

  static constexpr Color accentColor{1.0, 1.0 / 3.0, 0.0};
  static constexpr Color secondaryColor{0.0, 194.0 / 255.0, 194.0 / 255.0};

  Observable<std::uint8_t> keyboardStartNote{21};
  Observable<std::uint8_t> keyboardKeyCount{88};

  const std::filesystem::path recentFilesPath;  // where the recent list is kept, outside any setlist

  /// What each operation that edits the setlist ends with, and nothing else.
  void markEdited() {
    isDirty.set(true);
    edited.emit();
  }

  /// After each edit, when all of it is in place; also where an edit leaves no mark, such as a fader.
  Signal<> edited;

  // What the Edit menu offers to take back and to do again; empty for nothing.
  Observable<std::string> undoTitle;
  Observable<std::string> redoTitle;

  /// Fills both lists of plug-ins. Opens none of them.
  void scanPlugins();
  [[nodiscard]] std::vector<AVAudioUnitComponent> scanAudioEffectPlugins();

  /// Shows the loading modal for `count` loads, in place of any session before; 0 or less does
  /// nothing. After 30 seconds the session ends by itself, with a log line.
  void beginLoadingSession(int count, const std::string& message);
  void completeOneLoad();
  void finishLoadingSession();

  /// A note was pressed or released.
  void noteActivity(std::uint8_t note, bool isOn);

  /// A controller or bend moved; only the four that are shown count.
  void performanceControl(std::uint8_t status, std::uint8_t data1, std::uint8_t data2);

  void resetPerformanceValues();

  /// Takes the list from its file, without the entries whose file is gone. The file is not written. A missing file is
  /// not logged; one that cannot be read is logged, and the list is then empty.
  void loadRecentFiles();
  /// Writes the list to its file, beside the main thread; a failure is logged, and the list stays. Makes no directory.
  void saveRecentFiles();
  /// Puts a file at the head of the list, and writes it.
  void addRecentFile(const std::filesystem::path& path);
  /// Empties the list, and writes it.
  void clearRecentFiles();

 private:
  void findPlugins();
  void readDefaults();
  void writeDefaultsThrough();
  void loadingSessionTimedOut(const Uuid& token);

  NSUserDefaults& defaults_;
  AVAudioUnitComponentManager& components_;
  MainQueue& mainQueue_;
  ConsoleOutput& console_;
  FileManager& files_;
  LifeToken life_;
  const std::unique_ptr<DispatchQueue> recentListQueue_;  // null: see Collaborators
};

}  // namespace vrel
