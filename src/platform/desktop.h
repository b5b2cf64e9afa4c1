// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace vrel {

/// A modal question.
struct NSAlert {
  enum class Style { warning, informational };

  Style alertStyle = Style::warning;
  std::string messageText;
  std::string informativeText;
  std::vector<std::string> buttons;  // in order; the first is the one that Return presses

  bool operator==(const NSAlert&) const = default;
};

/// The kind of file that a panel offers.
enum class FileType {
  setlist,  // extension "vrel", or any file where the system has no such type
  movie,
  clip,  // a movie, or a picture that does not move
  audio,
  folder,  // a new one
};

/// Asks for one existing file; no directories, no hidden files.
struct NSOpenPanel {
  FileType allowedType = FileType::setlist;
  std::optional<std::filesystem::path> directory{};  // where it starts; none: where the last one ended
};

/// Asks for the name of a file to write.
struct NSSavePanel {
  FileType allowedType = FileType::setlist;
  std::string suggestedName;
  std::optional<std::filesystem::path> directory{};  // as of NSOpenPanel
};

/// A rectangle of the desktop, in its pixels, from the top left.
struct ScreenRect {
  int x = 0;
  int y = 0;
  int width = 0;
  int height = 0;

  bool operator==(const ScreenRect&) const = default;
};

/// A screen; `visibleFrame` excludes bars and docks. Name, model and serial number distinguish it from all others, as
/// far as it says them; its place in the list does not.
struct NSScreen {
  std::string name;  // of what it is plugged into
  ScreenRect visibleFrame;
  ScreenRect frame{};  // all of it
  std::string model{};
  std::string serialNumber{};
  double scale = 1;  // of its own pixels to those of the desktop
};

/// Whether two descriptions are of one screen, which may have moved or changed its size between them.
[[nodiscard]] inline bool isSameScreen(const NSScreen& one, const NSScreen& other) {
  return one.name == other.name && one.model == other.model && one.serialNumber == other.serialNumber;
}

/// The desktop that the program runs on. Main thread. Alerts and panels return when they are answered; the main loop
/// runs meanwhile, so the caller must expect any other work of the main queue in between.
class Desktop {
 public:
  virtual ~Desktop() = default;

  /// The index of the button that was pressed; none when the alert was dismissed.
  [[nodiscard]] virtual std::optional<std::size_t> runModal(const NSAlert& alert) = 0;

  /// Whether an alert is open.
  [[nodiscard]] virtual bool isAlertShown() const = 0;

  /// The file that was chosen; none when the panel was cancelled.
  [[nodiscard]] virtual std::optional<std::filesystem::path> runModal(const NSOpenPanel& panel) = 0;
  [[nodiscard]] virtual std::optional<std::filesystem::path> runModal(const NSSavePanel& panel) = 0;

  /// The connected screens, the main one first; may be empty.
  [[nodiscard]] virtual std::vector<NSScreen> screens() = 0;

  /// Makes the program the active one, whose window has the keyboard. No effect where it is already.
  virtual void activateApplication() = 0;

  /// Removes the keyboard focus from the control of the front window that has it. No effect without such a window.
  virtual void makeNothingFirstResponder() = 0;

  /// Answers a deferred request to quit.
  virtual void replyToApplicationShouldTerminate(bool shouldTerminate) = 0;
};

}  // namespace vrel
