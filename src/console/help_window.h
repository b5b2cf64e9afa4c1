// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>
#include <span>
#include <string_view>

#include "document/app_state.h"
#include "foundation/observable.h"
#include "text/help_texts.h"

namespace vrel {

/// What a help window is about.
enum class HelpSubject {
  manual,
  liveKeys,
};

/// What a help window shows. A value.
struct VrelHelpView {
  HelpSubject subject = HelpSubject::manual;
  Language language = Language::english;
  Color accentColor = AppState::accentColor;  // of the heading

  /// Of the window, and its heading.
  [[nodiscard]] std::string_view title() const;
  [[nodiscard]] std::span<const HelpSection> sections() const;

  bool operator==(const VrelHelpView&) const = default;
};

/// The one window of its subject: shown again, it comes to the front in the language of that moment. Closed, it keeps
/// its place and what it showed. Main thread.
class VrelHelpWindowController {
 public:
  explicit VrelHelpWindowController(HelpSubject subject) : subject_(subject) {}

  /// Of the window itself, in points.
  static constexpr int width = 560;
  static constexpr int height = 520;

  Observable<bool> isOpen{false};
  /// None before it was first shown.
  Observable<std::optional<VrelHelpView>> view;
  /// How often it was to come to the front.
  Observable<int> raises{0};

  /// Opens the window or brings it forward.
  void show(Language language, const Color& accentColor);
  void close() { isOpen.set(false); }

 private:
  HelpSubject subject_;
};

}  // namespace vrel
