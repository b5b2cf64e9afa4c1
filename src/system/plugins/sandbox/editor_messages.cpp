// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/plugins/sandbox/editor_messages.h"

namespace vrel::sandbox {
namespace {

template <typename Value>
std::optional<Value> ifWhole(const ByteReader& reader, Value value) {
  return reader.ok() && reader.isAtEnd() ? std::optional(std::move(value)) : std::nullopt;
}

void writeFlag(ByteWriter& writer, bool flag) {
  writer.number<std::uint8_t>(flag ? 1 : 0);
}

bool readFlag(ByteReader& reader) {
  return reader.number<std::uint8_t>() != 0;
}

void write(ByteWriter& writer, std::span<const PortValue> values) {
  writer.number(static_cast<std::uint32_t>(values.size()));
  for (const PortValue& each : values) {
    writer.number(each.port);
    writer.number(each.value);
  }
}

std::vector<PortValue> readValues(ByteReader& reader) {
  std::vector<PortValue> values;
  for (auto count = reader.number<std::uint32_t>(); count > 0 && reader.ok(); --count) {
    const auto port = reader.number<std::uint32_t>();
    values.push_back({port, reader.number<float>()});
  }
  return values;
}

void write(ByteWriter& writer, const EditorPlace& place) {
  writer.number(static_cast<std::uint8_t>(place.kind));
  writeFlag(writer, place.needsInstance);
  for (const std::string* text :
       {&place.pluginName, &place.pluginUri, &place.uri, &place.bundlePath, &place.libraryPath}) {
    writer.text(*text);
  }
  writer.number(static_cast<std::uint32_t>(place.ports.size()));
  for (const EditorPort& port : place.ports) {
    writer.number(port.index);
    writer.text(port.symbol);
    writeFlag(writer, port.isControl);
    writeFlag(writer, port.isSetting);
    writeFlag(writer, port.isAtom);
  }
  writer.number(static_cast<std::uint32_t>(place.files.size()));
  for (const std::string& uri : place.files) {
    writer.text(uri);
  }
}

EditorPlace readPlace(ByteReader& reader) {
  EditorPlace place;
  place.kind = static_cast<EditorKind>(reader.number<std::uint8_t>());
  place.needsInstance = readFlag(reader);
  for (std::string* text : {&place.pluginName, &place.pluginUri, &place.uri, &place.bundlePath, &place.libraryPath}) {
    *text = reader.text();
  }
  for (auto count = reader.number<std::uint32_t>(); count > 0 && reader.ok(); --count) {
    EditorPort port;
    port.index = reader.number<std::uint32_t>();
    port.symbol = reader.text();
    port.isControl = readFlag(reader);
    port.isSetting = readFlag(reader);
    port.isAtom = readFlag(reader);
    place.ports.push_back(std::move(port));
  }
  for (auto count = reader.number<std::uint32_t>(); count > 0 && reader.ok(); --count) {
    place.files.push_back(reader.text());
  }
  return place;
}

}  // namespace

Bytes toBytes(const EditorRequest& request) {
  ByteWriter writer;
  write(writer, request.place);
  writer.text(request.title);
  writer.number(request.content.width);
  writer.number(request.content.height);
  writer.number(request.mainWindow);
  writer.number(request.sampleRate);
  writeFlag(writer, request.takesStageKeys);
  write(writer, request.values);
  return writer.take();
}

std::optional<EditorRequest> editorRequestFromBytes(std::span<const std::uint8_t> bytes) {
  ByteReader reader(bytes);
  EditorRequest request;
  request.place = readPlace(reader);
  request.title = reader.text();
  request.content.width = reader.number<std::uint32_t>();
  request.content.height = reader.number<std::uint32_t>();
  request.mainWindow = reader.number<std::uint64_t>();
  request.sampleRate = reader.number<double>();
  request.takesStageKeys = readFlag(reader);
  request.values = readValues(reader);
  return ifWhole(reader, std::move(request));
}

Bytes toBytes(const EditorSize& size) {
  ByteWriter writer;
  writer.number(size.width);
  writer.number(size.height);
  return writer.take();
}

std::optional<EditorSize> editorSizeFromBytes(std::span<const std::uint8_t> bytes) {
  ByteReader reader(bytes);
  EditorSize size;
  size.width = reader.number<std::uint32_t>();
  size.height = reader.number<std::uint32_t>();
  return ifWhole(reader, size);
}

Bytes toBytes(std::span<const PortValue> values) {
  ByteWriter writer;
  write(writer, values);
  return writer.take();
}

std::optional<std::vector<PortValue>> portValuesFromBytes(std::span<const std::uint8_t> bytes) {
  ByteReader reader(bytes);
  auto values = readValues(reader);
  return ifWhole(reader, std::move(values));
}

Bytes toBytes(const KeyEvent& key) {
  ByteWriter writer;
  writeFlag(writer, key.charactersIgnoringModifiers.has_value());
  writer.text(key.charactersIgnoringModifiers.value_or(""));
  writer.number(static_cast<std::uint8_t>(key.modifierFlags));
  writer.number(key.keyCode);
  return writer.take();
}

std::optional<KeyEvent> keyEventFromBytes(std::span<const std::uint8_t> bytes) {
  ByteReader reader(bytes);
  KeyEvent key;
  const bool hasText = readFlag(reader);
  key.charactersIgnoringModifiers = reader.text();
  if (!hasText) {
    key.charactersIgnoringModifiers.reset();
  }
  key.modifierFlags = static_cast<ModifierFlags>(reader.number<std::uint8_t>());
  key.keyCode = reader.number<std::uint16_t>();
  return ifWhole(reader, std::move(key));
}

}  // namespace vrel::sandbox
