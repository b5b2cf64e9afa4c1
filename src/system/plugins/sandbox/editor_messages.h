// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// The bodies of the messages between the program and the process of an editor; see messages.h.

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "platform/key_event.h"
#include "system/plugins/editor_place.h"
#include "system/plugins/sandbox/byte_coding.h"

namespace vrel::sandbox {

struct PortValue {
  std::uint32_t port = 0;
  float value = 0;

  bool operator==(const PortValue&) const = default;
};

/// Pixels.
struct EditorSize {
  std::uint32_t width = 0;
  std::uint32_t height = 0;

  bool operator==(const EditorSize&) const = default;
};

/// What an editor's window is to do.
enum class EditorMove : std::uint32_t { center = 1, raise, keepAbove };

/// The editor that a process is to be.
struct EditorRequest {
  EditorPlace place;
  std::string title;
  EditorSize content;            // of the window
  std::uint64_t mainWindow = 0;  // X11's number of the window to stay above; 0 for none
  double sampleRate = 0;         // frames per second
  bool takesStageKeys = false;   // see MessageKind::takeStageKeys
  std::vector<PortValue> values;

  bool operator==(const EditorRequest&) const = default;
};

[[nodiscard]] Bytes toBytes(const EditorRequest& request);
[[nodiscard]] std::optional<EditorRequest> editorRequestFromBytes(std::span<const std::uint8_t> bytes);
[[nodiscard]] Bytes toBytes(const EditorSize& size);
[[nodiscard]] std::optional<EditorSize> editorSizeFromBytes(std::span<const std::uint8_t> bytes);
[[nodiscard]] Bytes toBytes(std::span<const PortValue> values);
[[nodiscard]] std::optional<std::vector<PortValue>> portValuesFromBytes(std::span<const std::uint8_t> bytes);
[[nodiscard]] Bytes toBytes(const KeyEvent& key);
[[nodiscard]] std::optional<KeyEvent> keyEventFromBytes(std::span<const std::uint8_t> bytes);

}  // namespace vrel::sandbox
