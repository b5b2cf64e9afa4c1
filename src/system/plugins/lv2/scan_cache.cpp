// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/plugins/lv2/scan_cache.h"

#include <cstdint>
#include <cstdlib>
#include <span>
#include <string_view>
#include <type_traits>
#include <utility>

#include "foundation/fnv1a64.h"
#include "foundation/version.h"
#include "platform/file_manager.h"
#include "system/plugins/byte_coding.h"

namespace vrel::lv2 {
namespace {

// To be raised with every change of what is stored, or of what is made of a bundle's data.
constexpr std::uint32_t cacheFormat = 1;
constexpr std::string_view cacheName = "VREL plug-ins\n";
constexpr std::uintmax_t mostCacheBytes = std::uintmax_t{64} << 20U;

std::string environment(const char* name) {
  const char* const value = std::getenv(name);  // NOLINT(concurrency-mt-unsafe): nothing here changes the environment
  return value != nullptr ? value : "";
}

// The fields of a record are named once, for both directions: `coder` is a RecordWriter or a RecordReader, and what it
// is given is constant for the one only.

class RecordWriter {
 public:
  template <typename Value>
  void value(const Value& value) {
    if constexpr (std::is_same_v<Value, std::string>) {
      bytes_.text(value);
    } else if constexpr (std::is_same_v<Value, bool>) {
      bytes_.number(std::uint8_t{value});
    } else {
      bytes_.number(value);
    }
  }
  template <typename Choice>
  void choice(const Choice& value, Choice /*last*/) {
    bytes_.number(static_cast<std::uint8_t>(value));
  }
  template <typename Item, typename Code>
  void list(const std::vector<Item>& items, const Code& code) {
    bytes_.number(static_cast<std::uint32_t>(items.size()));
    for (const Item& item : items) {
      code(*this, item);
    }
  }
  [[nodiscard]] std::string take() {
    const Bytes bytes = bytes_.take();
    return {bytes.begin(), bytes.end()};
  }

 private:
  ByteWriter bytes_;
};

class RecordReader {
 public:
  explicit RecordReader(std::string_view bytes)
      : bytes_(std::span(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size())) {}

  template <typename Value>
  void value(Value& value) {
    if constexpr (std::is_same_v<Value, std::string>) {
      value = bytes_.text();
    } else if constexpr (std::is_same_v<Value, bool>) {
      value = bytes_.number<std::uint8_t>() != 0;
    } else {
      value = bytes_.number<Value>();
    }
  }
  template <typename Choice>
  void choice(Choice& value, Choice last) {
    const auto number = bytes_.number<std::uint8_t>();
    isSound_ = isSound_ && number <= static_cast<std::uint8_t>(last);
    value = static_cast<Choice>(isSound_ ? number : 0);
  }
  template <typename Item, typename Code>
  void list(std::vector<Item>& items, const Code& code) {
    const auto count = bytes_.number<std::uint32_t>();
    // Every item takes a byte at least.
    isSound_ = isSound_ && count <= bytes_.remaining();
    for (std::uint32_t index = 0; ok() && index < count; ++index) {
      code(*this, items.emplace_back());
    }
  }
  [[nodiscard]] bool ok() const { return isSound_ && bytes_.ok(); }
  [[nodiscard]] bool isAtEnd() const { return bytes_.isAtEnd(); }

 private:
  ByteReader bytes_;
  bool isSound_ = true;
};

constexpr auto codeText = [](auto& coder, auto& text) { coder.value(text); };

constexpr auto codeStamp = [](auto& coder, auto& stamp) {
  coder.value(stamp.path);
  coder.value(stamp.size);
  coder.value(stamp.node);
  coder.value(stamp.modifiedNanoseconds);
  coder.value(stamp.changedNanoseconds);
};

constexpr auto codePort = [](auto& coder, auto& port) {
  coder.value(port.symbol);
  coder.choice(port.kind, PortKind::unsupported);
  coder.value(port.isInput);
  coder.value(port.isOptional);
  coder.value(port.takesMidi);
  coder.value(port.takesTime);
  coder.value(port.isDesignated);
  coder.choice(port.hostControl, HostControl::beatsPerMinute);
  coder.value(port.scalesWithRate);
  coder.value(port.defaultValue);
  coder.value(port.minimum);
  coder.value(port.maximum);
  coder.value(port.minimumBytes);
  coder.choice(port.use, AudioUse::spare);
  coder.choice(port.channelRank, AudioChannelRank::surround);
};

constexpr auto codePlugin = [](auto& coder, auto& plugin) {
  auto& description = plugin.description;
  coder.value(plugin.minorVersion);
  coder.value(plugin.microVersion);
  coder.value(description.uri);
  coder.value(description.name);
  coder.value(description.manufacturerName);
  coder.value(description.bundlePath);
  coder.value(description.libraryPath);
  coder.value(description.codes.componentType);
  coder.value(description.codes.componentSubType);
  coder.value(description.codes.componentManufacturer);
  coder.value(description.isInstrumentClass);
  coder.value(description.wantsDefaultState);
  coder.list(description.requiredFeatures, codeText);
  coder.list(description.ports, codePort);
};

constexpr auto codeRecord = [](auto& coder, auto& record) {
  coder.value(record.folder);
  coder.list(record.files, codeStamp);
  coder.list(record.filesElsewhere, codeStamp);
  coder.value(record.isReadable);
  coder.value(record.definesPlugins);
  coder.list(record.plugins, codePlugin);
  coder.list(record.presetsFor, codeText);
};

std::string sumOf(std::string_view content) {
  ByteWriter sum;
  sum.number(fnv1a64(content));
  const Bytes bytes = sum.take();
  return {bytes.begin(), bytes.end()};
}

}  // namespace

std::string scanSurroundings() {
  std::string text = std::string(programVersion()) + "\n" + std::to_string(cacheFormat) + "\n";
  // The library takes the user's language from this variable alone.
  for (const char* const name : {"LANG", "LV2_PATH"}) {
    text += environment(name) + "\n";
  }
  return text;
}

std::string storedRecords(const std::vector<BundleRecord>& records, const std::string& surroundings) {
  RecordWriter writer;
  writer.value(surroundings);
  writer.list(records, codeRecord);
  std::string bytes = std::string(cacheName) + writer.take();
  bytes += sumOf(bytes);
  return bytes;
}

std::optional<std::vector<BundleRecord>> recordsFromStored(const std::string& bytes, const std::string& surroundings) {
  constexpr std::size_t sumBytes = sizeof(std::uint64_t);
  if (!bytes.starts_with(cacheName) || bytes.size() < cacheName.size() + sumBytes) {
    return std::nullopt;
  }
  const std::string_view content = std::string_view(bytes).substr(0, bytes.size() - sumBytes);
  if (sumOf(content) != bytes.substr(content.size())) {
    return std::nullopt;
  }
  RecordReader reader(content.substr(cacheName.size()));
  std::string storedSurroundings;
  reader.value(storedSurroundings);
  std::vector<BundleRecord> records;
  if (reader.ok() && storedSurroundings != surroundings) {
    return records;
  }
  reader.list(records, codeRecord);
  return reader.ok() && reader.isAtEnd() ? std::optional(std::move(records)) : std::nullopt;
}

ScanCache::ScanCache(std::shared_ptr<FileManager> files, std::filesystem::path file, Log log)
    : files_(file.empty() ? nullptr : std::move(files)),
      file_(std::move(file)),
      log_(log ? std::move(log) : [](const std::string&) {}) {}

std::vector<BundleRecord> ScanCache::load() {
  if (files_ == nullptr || !files_->fileExists(file_)) {
    return {};
  }
  const auto bytes = files_->contents(file_, mostCacheBytes);
  auto records = bytes ? recordsFromStored(bytes.value(), surroundings_) : std::nullopt;
  if (!records) {
    log_("All plug-ins are looked for again: the list of the last run cannot be read (" +
         (bytes ? "damaged" : bytes.error().description) + "): " + file_.string());
  }
  return std::move(records).value_or(std::vector<BundleRecord>());
}

void ScanCache::store(const std::vector<BundleRecord>& records) {
  if (files_ == nullptr) {
    return;
  }
  Outcome failure = files_->createDirectory(file_.parent_path());
  if (!failure) {
    failure = files_->writeAtomically(file_, storedRecords(records, surroundings_));
  }
  if (failure) {
    log_("The next start looks for all plug-ins again: their list cannot be kept in " + file_.string() + ": " +
         failure->description);
  }
}

}  // namespace vrel::lv2
