// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "console/editor_media.h"
#include "document/playback_stop_mode.h"
#include "foundation/observable.h"
#include "foundation/uuid.h"
#include "playback/track_range.h"
#include "playback/track_view.h"
#include "playback/waveform_peaks.h"
#include "text/text.h"

namespace vrel {

class AppState;
class AudioChannel;
class AudioEngine;
class AVAudioPlayer;
class Desktop;
class HostClock;
class InstrumentSelector;
class MainQueue;
class RepeatingTimer;
class WaveformReader;
struct ConsoleSelection;

/// How far a key moves a point: by a frame, by 10 ms or by a second; the exit by one beat, or by four.
enum class TrackNudge { fine, usual, coarse };

/// Sets up what a strip plays of a sound file: the file, its entry and exit point, loop and stop mode. Nothing of the
/// strip changes before `apply`.
///
/// It is open for one strip at a time and closes when that strip leaves the stage. In Live mode it cannot be opened,
/// and is cancelled when the mode begins. The file is read away from the main thread: until its length is known,
/// `duration` is 0. A file that is replaced while the editor is open is read again.
///
/// The preview has a player of its own beside the engine. Its place is computed from the clock, so that it keeps its
/// pace also when the player starts late. Main thread.
class TrackEditor {
 public:
  struct Collaborators {
    AppState& state;
    AudioEngine& engine;
    MainQueue& mainQueue;
    const HostClock& clock;
    Desktop& desktop;
    ConsoleSelection& selection;
    InstrumentSelector& instruments;
    EditorMedia media;
  };

  /// Columns of a waveform that is zoomed in; the whole file has bars, see WaveformPeaks.
  static constexpr std::size_t mostColumns = 720;
  /// The closest view.
  static constexpr std::int64_t fewestFrames = 180;

  /// All are borrowed.
  explicit TrackEditor(const Collaborators& collaborators);
  ~TrackEditor();
  TrackEditor(const TrackEditor&) = delete;
  TrackEditor& operator=(const TrackEditor&) = delete;

  Observable<std::optional<Uuid>> channelId;  // none while it is closed
  Observable<std::optional<std::string>> filePath;
  Observable<double> duration{0};  // seconds
  Observable<TrackRange> range;    // seconds
  Observable<bool> isLooping{false};
  Observable<PlaybackStopMode> stopMode;
  Observable<std::optional<TextKey>> error;
  Observable<bool> isReading{false};  // there are more peaks to come
  Observable<bool> isPreviewing{false};
  Observable<double> playheadTime{0};  // seconds
  Observable<TrackView> view;
  Observable<std::vector<WaveformColumn>> columns;  // of the view, evenly spaced

  /// Opens for this strip, in place of any other; the strip is selected.
  void open(const AudioChannel& channel);

  /// Closes, and leaves the strip as it is.
  void cancel();

  /// Closes, and loads the strip with what is set up. Nothing without a file.
  void apply();

  /// The strip that it is open for; null while it is closed.
  [[nodiscard]] std::shared_ptr<AudioChannel> channel() const;

  /// Asks for a file.
  void chooseFile();
  void setFile(const std::filesystem::path& file);
  void setLooping(bool loops) { isLooping.set(loops); }
  void setStopMode(PlaybackStopMode mode) { stopMode.set(std::move(mode)); }

  void togglePreview();
  void stopPreview();

  /// A drag, at a position of 0 to 1 of the width: it takes the nearer point, and moves it until it ends.
  void beginDrag(double position);
  void drag(double position);
  void endDrag() { draggedPoint_.reset(); }

  /// To a time, as by a drag: the exit snaps to the beat.
  void movePoint(TrackPoint moved, double time);
  /// By keys; `steps` below 0 are to the left.
  void nudge(TrackPoint moved, int steps, TrackNudge size);
  /// Moves the entry to where the sound passes through zero nearby, so that it begins without a click.
  void moveEntryToZeroCrossing();

  /// See track_view.h.
  void zoom(double factor, double position);
  void scroll(double widths);

  /// The lines of the grid in the song's tempo.
  [[nodiscard]] std::vector<double> beats() const;

 private:
  void close();
  void closeForStripThatIsGone();
  void loadSelectedFile();
  void fileFailed();
  void fileOpened();
  void checkForChange();
  [[nodiscard]] double timeAt(double position) const;
  void setPoint(TrackPoint moved, TrackRange wanted);
  void setView(const TrackView& wanted);
  void showColumns();
  void startPreview();
  void advancePreview();

  AppState& state_;
  AudioEngine& engine_;
  MainQueue& mainQueue_;
  const HostClock& clock_;
  Desktop& desktop_;
  ConsoleSelection& selection_;
  InstrumentSelector& instruments_;
  const EditorMedia media_;
  TrackRange initialRange_;
  WaveformPeaks peaks_;
  bool isOpened_ = false;  // the length of the file is known
  std::optional<TrackPoint> draggedPoint_;
  std::unique_ptr<AVAudioPlayer> player_;
  double previewStartedAt_ = 0;  // media time at which the pass began
  std::unique_ptr<RepeatingTimer> previewTimer_;
  std::unique_ptr<RepeatingTimer> changeTimer_;
  std::vector<std::shared_ptr<void>> connections_;
  std::unique_ptr<WaveformReader> reader_;  // null where no sound file can be read
};

}  // namespace vrel
