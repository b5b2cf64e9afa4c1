// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <span>
#include <string_view>

#include "text/text.h"

// What the windows of the Help menu say, in five languages.

namespace vrel {

/// A heading and what is below it, UTF-8.
struct HelpSection {
  std::string_view title;
  std::string_view body;
};

/// The short manual: six sections, in the same order in every language. Any thread.
[[nodiscard]] std::span<const HelpSection> manualSections(Language language);

/// The keys of Live mode: in each heading the keys, below it what they do. Any thread.
[[nodiscard]] std::span<const HelpSection> liveKeySections(Language language);

}  // namespace vrel
