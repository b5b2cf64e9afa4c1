// SPDX-License-Identifier: GPL-3.0-or-later
#include "vrel-render/event_log.h"

#include <cerrno>
#include <nlohmann/json.hpp>
#include <system_error>
#include <utility>

#include "document/stored_texts.h"

namespace vrel::render {
namespace {

using Json = nlohmann::ordered_json;

Json channelOf(const EventLog::Strip& strip) {
  return strip ? Json(*strip) : Json();
}

void writeLine(std::ofstream& file, const Json& object) {
  file << object.dump() << '\n';
}

}  // namespace

EventLog::EventLog(std::string path, std::ofstream file) : path_(std::move(path)), file_(std::move(file)) {}

Result<EventLog> EventLog::create(const std::string& path) {
  std::ofstream file(path, std::ios::binary | std::ios::trunc);
  if (!file) {
    return Error{"cannot write " + path + ": " + std::generic_category().message(errno)};
  }
  return EventLog(path, std::move(file));
}

void EventLog::midi(double seconds, std::size_t strip, std::uint8_t status, std::uint8_t data1, std::uint8_t data2) {
  writeLine(
      file_,
      {{"t", seconds}, {"kind", "midi"}, {"channel", strip}, {"status", status}, {"data1", data1}, {"data2", data2}});
}

void EventLog::status(double seconds, std::size_t strip, ChannelStatus status) {
  writeLine(file_, {{"t", seconds}, {"kind", "status"}, {"channel", strip}, {"status", statusText(status)}});
}

void EventLog::song(double seconds, std::size_t index) {
  writeLine(file_, {{"t", seconds}, {"kind", "song"}, {"index", index}});
}

void EventLog::songSwitch(double seconds, std::size_t index, int milliseconds, int pendingLoads) {
  writeLine(file_, {{"t", seconds},
                    {"kind", "switch"},
                    {"index", index},
                    {"milliseconds", milliseconds},
                    {"pendingLoads", pendingLoads}});
}

void EventLog::control(double seconds, const MidiControlTarget& target, bool isPressed, float value) {
  writeLine(file_, {{"t", seconds},
                    {"kind", "control"},
                    {"target", storedText(target.kind)},
                    {"channel", target.channelIndex ? Json(*target.channelIndex) : Json()},
                    {"value", value},
                    {"pressed", isPressed}});
}

void EventLog::dirty(double seconds, bool isDirty) {
  writeLine(file_, {{"t", seconds}, {"kind", "dirty"}, {"dirty", isDirty}});
}

void EventLog::sandbox(double seconds, Strip strip, int processId) {
  writeLine(file_, {{"t", seconds}, {"kind", "sandbox"}, {"channel", channelOf(strip)}, {"pid", processId}});
  file_.flush();  // for whoever watches the processes meanwhile
}

void EventLog::crash(double seconds, Strip strip, int processId) {
  writeLine(file_, {{"t", seconds}, {"kind", "crash"}, {"channel", channelOf(strip)}, {"pid", processId}});
}

void EventLog::clip(double seconds, std::size_t strip, std::uint8_t note, double opacity) {
  writeLine(file_, {{"t", seconds}, {"kind", "clip"}, {"channel", strip}, {"note", note}, {"opacity", opacity}});
}

Outcome EventLog::close() {
  file_.close();
  if (!file_) {
    return Error{"cannot write " + path_ + ": incomplete"};
  }
  return {};
}

}  // namespace vrel::render
