// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <lv2/data-access/data-access.h>
#include <lv2/options/options.h>
#include <lv2/ui/ui.h>

#include <array>
#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "foundation/result.h"
#include "system/plugins/lv2/atom_packing.h"
#include "system/plugins/lv2/plugin_log.h"
#include "system/plugins/lv2/urid_map.h"
#include "system/plugins/sandbox/editor_messages.h"

namespace vrel::editor {

/// What an editor in the process of its plug-in has of it. Borrowed.
struct PluginAccess {
  void* instance = nullptr;
  const void* (*extensionData)(const char* uri) = nullptr;
  lv2::UridMap& urids;
};

/// The code of one editor, with all that it was given. One thread.
///
/// Order of calls: `load`, `open`, then the others. At its end the editor cleans up; its window must still be there.
class HostedEditor {
 public:
  /// What the editor does; called from within the calls below.
  struct Handlers {
    std::function<void(const sandbox::PortValue&)> written;
    std::function<void(std::uint32_t port, const std::vector<std::uint8_t>& packed)> atomWritten;  // see AtomPacking
    std::function<void(const sandbox::EditorSize&)> resized;
    std::function<void(const std::string& uri)> fileRequested;  // for one of its parameters that are files
    std::function<void(const std::string& line)> log;
  };

  /// `access` is null in a process of its own.
  HostedEditor(sandbox::EditorRequest request, Handlers handlers, const PluginAccess* access);
  ~HostedEditor();
  HostedEditor(const HostedEditor&) = delete;
  HostedEditor& operator=(const HostedEditor&) = delete;

  /// Loads the library, and finds the editor in it.
  [[nodiscard]] Outcome load();

  /// Makes the editor, of X11 within the window `parent`, and gives it the values it begins with; shows one that has
  /// windows of its own. Takes as long as it takes.
  [[nodiscard]] Outcome open(unsigned long parent);

  /// X11's number of its window, or its widget; null where it gives none.
  [[nodiscard]] LV2UI_Widget widget() const { return widget_; }

  void show(const std::vector<sandbox::PortValue>& values);

  void showAtom(std::uint32_t port, std::span<const std::uint8_t> packed);

  /// Lets it draw and answer. False when it has ended by itself.
  [[nodiscard]] bool idle();

 private:
  /// What an external editor gives in the place of a widget, and what it gets of its host; of its interface.
  struct ExternalWidget {
    void (*run)(ExternalWidget* widget);
    void (*show)(ExternalWidget* widget);
    void (*hide)(ExternalWidget* widget);
  };
  struct ExternalHost {
    void (*closed)(LV2UI_Controller self);
    const char* title;
  };

  [[nodiscard]] Outcome showWindows();
  void hideWindows();
  [[nodiscard]] ExternalWidget* external() const { return static_cast<ExternalWidget*>(widget_); }
  static void closedByPerson(LV2UI_Controller self);
  static void write(LV2UI_Controller self, std::uint32_t port, std::uint32_t size, std::uint32_t protocol,
                    const void* value);
  static int resize(LV2UI_Feature_Handle self, int width, int height);
  static std::uint32_t portIndex(LV2UI_Feature_Handle self, const char* symbol);
  static std::uint32_t acceptSubscription(LV2UI_Feature_Handle self, std::uint32_t port, std::uint32_t protocol,
                                          const LV2_Feature* const* features);
  static void touch(LV2UI_Feature_Handle self, std::uint32_t port, bool isHeld);
  static LV2UI_Request_Value_Status requestValue(LV2UI_Feature_Handle self, LV2_URID key, LV2_URID type,
                                                 const LV2_Feature* const* features);
  void offer(const char* uri, void* data = nullptr) { features_.push_back({uri, data}); }
  void makeOptions();

  const sandbox::EditorRequest request_;
  const Handlers handlers_;
  lv2::UridMap ownUrids_;
  lv2::UridMap& urids_;  // the plug-in's, or those
  const lv2::AtomPacking packing_{urids_};
  const LV2_URID eventTransfer_;
  lv2::PluginLog log_;
  LV2UI_Resize resizeFeature_{this, resize};
  LV2UI_Port_Map portMap_{this, portIndex};
  LV2UI_Port_Subscribe subscribe_{this, acceptSubscription, acceptSubscription};
  LV2UI_Touch touch_{this, touch};
  LV2UI_Request_Value requestValue_{this, requestValue};
  ExternalHost externalHost_{closedByPerson, nullptr};
  void* const instance_;  // null where it has no access
  LV2_Extension_Data_Feature dataAccess_{};
  float sampleRate_;
  float updatesPerSecond_ = 30;
  float scale_ = 1;
  std::vector<LV2_Options_Option> options_;
  std::vector<LV2_Feature> features_;
  void* library_ = nullptr;  // never closed: editors leave threads and exit handlers behind
  const LV2UI_Descriptor* descriptor_ = nullptr;
  const LV2UI_Idle_Interface* idle_ = nullptr;
  LV2UI_Handle handle_ = nullptr;
  LV2UI_Widget widget_ = nullptr;
  const LV2UI_Show_Interface* show_ = nullptr;
  bool isShown_ = false;  // in windows of its own
  bool isClosed_ = false;
};

}  // namespace vrel::editor
