// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/plugins/sandbox/messages.h"

#include <sys/socket.h>
#include <sys/types.h>

#include <cerrno>
#include <cstddef>
#include <cstring>
#include <utility>
#include <variant>

namespace vrel::sandbox {
namespace {

constexpr std::uint32_t largestState = 256U << 20U;
constexpr std::uint32_t largestText = 64U << 10U;
constexpr std::uint32_t largestRequest = 1U << 20U;

}  // namespace

std::optional<std::uint32_t> largestBody(MessageKind kind) {
  switch (kind) {
    case MessageKind::instantiate:
    case MessageKind::failed:
    case MessageKind::log:
    case MessageKind::usePreset:
    case MessageKind::presetUsed:
    case MessageKind::portValues:
    case MessageKind::portsWritten:
    case MessageKind::editorKey:
    case MessageKind::fileRequested:
      return largestText;
    case MessageKind::openEditor:
    case MessageKind::editorAtom:
    case MessageKind::portAtom:
    case MessageKind::pluginAtom:
    case MessageKind::atomWritten:
    case MessageKind::setValues:
    case MessageKind::valuesReported:
      return largestRequest;
    case MessageKind::fitEditor:
    case MessageKind::editorShown:
    case MessageKind::editorSized:
      return static_cast<std::uint32_t>(2 * sizeof(std::uint32_t));
    case MessageKind::moveEditor:
      return static_cast<std::uint32_t>(sizeof(std::uint32_t));
    case MessageKind::takeStageKeys:
    case MessageKind::watchAtoms:
    case MessageKind::watchValues:
      return 1;
    case MessageKind::restoreState:
    case MessageKind::state:
      return largestState;
    case MessageKind::prepare:
      return static_cast<std::uint32_t>(sizeof(double));
    case MessageKind::ready:
      return static_cast<std::uint32_t>(sizeof(std::uint32_t) + sizeof(std::int32_t));
    case MessageKind::captureState:
    case MessageKind::reset:
    case MessageKind::quit:
    case MessageKind::done:
    case MessageKind::attachEditor:
    case MessageKind::editorClosed:
      return 0;
  }
  return std::nullopt;
}

Bytes toBytes(const InstantiateRequest& request) {
  ByteWriter writer;
  writer.text(request.bundlePath);
  writer.text(request.pluginUri);
  writer.number(request.componentType);
  writer.number(request.componentSubType);
  writer.number(request.componentManufacturer);
  writer.number(request.sampleRate);
  writer.number(request.nominalBlockFrames);
  writer.number<std::uint8_t>(request.worksWithinBlock ? 1 : 0);
  writer.number<std::uint8_t>(request.isRealTime ? 1 : 0);
  return writer.take();
}

std::optional<InstantiateRequest> instantiateRequestFromBytes(std::span<const std::uint8_t> bytes) {
  ByteReader reader(bytes);
  InstantiateRequest request;
  request.bundlePath = reader.text();
  request.pluginUri = reader.text();
  request.componentType = reader.number<std::uint32_t>();
  request.componentSubType = reader.number<std::uint32_t>();
  request.componentManufacturer = reader.number<std::uint32_t>();
  request.sampleRate = reader.number<double>();
  request.nominalBlockFrames = reader.number<std::uint32_t>();
  request.worksWithinBlock = reader.number<std::uint8_t>() != 0;
  request.isRealTime = reader.number<std::uint8_t>() != 0;
  return reader.ok() && reader.isAtEnd() ? std::optional(request) : std::nullopt;
}

Bytes toBytes(const PresetPlace& place) {
  ByteWriter writer;
  writer.text(place.uri);
  writer.text(place.file);
  return writer.take();
}

std::optional<PresetPlace> presetPlaceFromBytes(std::span<const std::uint8_t> bytes) {
  ByteReader reader(bytes);
  PresetPlace place;
  place.uri = reader.text();
  place.file = reader.text();
  return reader.ok() && reader.isAtEnd() ? std::optional(place) : std::nullopt;
}

Bytes toBytes(const std::vector<MessageValue>& values) {
  ByteWriter writer;
  for (const MessageValue& each : values) {
    const auto* const path = std::get_if<std::string>(&each.value);
    writer.number(each.address);
    writer.number<std::uint8_t>(path != nullptr ? 1 : 0);
    if (path != nullptr) {
      writer.text(*path);
    } else {
      writer.number(std::get<double>(each.value));
    }
  }
  return writer.take();
}

std::optional<std::vector<MessageValue>> messageValuesFromBytes(std::span<const std::uint8_t> bytes) {
  ByteReader reader(bytes);
  std::vector<MessageValue> values;
  while (reader.ok() && !reader.isAtEnd()) {
    MessageValue& each = values.emplace_back();
    each.address = reader.number<AUParameterAddress>();
    if (reader.number<std::uint8_t>() != 0) {
      each.value = reader.text();
    } else {
      each.value = reader.number<double>();
    }
  }
  return reader.ok() ? std::optional(std::move(values)) : std::nullopt;
}

Bytes toBytes(const Message& message) {
  const MessageHead head{message.kind, message.request, static_cast<std::uint32_t>(message.body.size())};
  Bytes bytes(sizeof head + message.body.size());
  std::memcpy(bytes.data(), &head, sizeof head);
  if (!message.body.empty()) {
    std::memcpy(bytes.data() + sizeof head, message.body.data(), message.body.size());
  }
  return bytes;
}

bool sendMessage(int socket, const Message& message) {
  const Bytes bytes = toBytes(message);
  for (std::size_t sent = 0; sent < bytes.size();) {
    const ssize_t count = ::send(socket, bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL);
    if (count > 0) {
      sent += static_cast<std::size_t>(count);
    } else if (errno != EINTR) {
      return false;
    }
  }
  return true;
}

void MessageParser::add(std::span<const std::uint8_t> bytes) {
  pending_.insert(pending_.end(), bytes.begin(), bytes.end());
}

std::optional<Message> MessageParser::next() {
  MessageHead head{};
  if (isDamaged_ || pending_.size() - taken_ < sizeof head) {
    return std::nullopt;
  }
  std::memcpy(&head, pending_.data() + taken_, sizeof head);
  const std::optional<std::uint32_t> largest = largestBody(head.kind);
  if (!largest || head.size > *largest) {
    isDamaged_ = true;
    pending_ = {};
    taken_ = 0;
    return std::nullopt;
  }
  const std::size_t whole = sizeof head + head.size;
  if (pending_.size() - taken_ < whole) {
    return std::nullopt;
  }
  const auto body = std::span(pending_).subspan(taken_ + sizeof head, head.size);
  Message message{head.kind, head.request, {body.begin(), body.end()}};
  taken_ += whole;
  if (taken_ == pending_.size()) {
    pending_ = {};  // gives a large state's memory back
    taken_ = 0;
  } else if (taken_ > largestText) {
    pending_.erase(pending_.begin(), pending_.begin() + static_cast<std::ptrdiff_t>(taken_));
    taken_ = 0;
  }
  return message;
}

}  // namespace vrel::sandbox
