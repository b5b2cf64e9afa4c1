// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <locale>
#include <string>
#include <string_view>
#include <vector>

#include "document/collation.h"
#include "platform/audio_component.h"

namespace vrel {

/// The plug-ins of one manufacturer, by name. Manufacturers that differ only in case are two.
struct PluginGroup {
  std::string manufacturerName;
  std::vector<AVAudioUnitComponent> plugins;

  bool operator==(const PluginGroup&) const = default;
};

/// The plug-ins that a person chooses from, in the order of their language and ready to be searched at each key.
///
/// What takes time, sorting and folding, is done once, in the constructor. Any thread.
class PluginList {
 public:
  PluginList() = default;
  explicit PluginList(const std::vector<AVAudioUnitComponent>& plugins, const std::locale& locale = userLocale());

  /// Those whose name or manufacturer contains the text, with no regard to case; all of them for an empty text.
  [[nodiscard]] std::vector<PluginGroup> matching(std::string_view searchText) const;

  /// Those of `keys` that are in the list and match, in the order of `keys`.
  [[nodiscard]] std::vector<AVAudioUnitComponent> matching(std::string_view searchText,
                                                           const std::vector<std::string>& keys) const;
  /// The same ones in the order of the list.
  [[nodiscard]] std::vector<AVAudioUnitComponent> matchingInOrder(std::string_view searchText,
                                                                  const std::vector<std::string>& keys) const;

 private:
  struct Entry {
    AVAudioUnitComponent plugin;
    std::string key;
    std::wstring foldedName;
    std::wstring foldedManufacturer;

    [[nodiscard]] bool contains(const std::wstring& folded) const {
      return foldedName.find(folded) != std::wstring::npos || foldedManufacturer.find(folded) != std::wstring::npos;
    }
  };

  std::locale locale_;
  std::vector<Entry> entries_;
};

}  // namespace vrel
