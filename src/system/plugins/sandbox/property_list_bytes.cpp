// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/plugins/sandbox/property_list_bytes.h"

#include <cstdint>
#include <string>
#include <type_traits>
#include <utility>
#include <variant>

namespace vrel::sandbox {
namespace {

constexpr int deepest = 32;

// The kind of a value is its place among the alternatives.
void write(ByteWriter& writer, const PropertyListValue& value);

void write(ByteWriter& writer, const PropertyListDictionary& dictionary) {
  writer.number(static_cast<std::uint32_t>(dictionary.size()));
  for (const auto& [key, value] : dictionary) {
    writer.text(key);
    write(writer, value);
  }
}

void write(ByteWriter& writer, const PropertyListValue& value) {
  writer.number(static_cast<std::uint8_t>(value.content.index()));
  std::visit(
      [&writer](const auto& content) {
        using Content = std::decay_t<decltype(content)>;
        if constexpr (std::is_same_v<Content, std::string>) {
          writer.text(content);
        } else if constexpr (std::is_same_v<Content, PropertyListData>) {
          writer.data(content);
        } else if constexpr (std::is_same_v<Content, PropertyListArray>) {
          writer.number(static_cast<std::uint32_t>(content.size()));
          for (const PropertyListValue& element : content) {
            write(writer, element);
          }
        } else if constexpr (std::is_same_v<Content, PropertyListDictionary>) {
          write(writer, content);
        } else {
          writer.number(content);
        }
      },
      value.content);
}

std::uint64_t byteCountOf(const PropertyListValue& value) {
  constexpr std::uint64_t kind = 1;
  constexpr std::uint64_t length = sizeof(std::uint32_t);
  return kind + std::visit(
                    [](const auto& content) -> std::uint64_t {
                      using Content = std::decay_t<decltype(content)>;
                      if constexpr (std::is_same_v<Content, PropertyListDictionary>) {
                        return byteCount(content);
                      } else if constexpr (std::is_same_v<Content, PropertyListArray>) {
                        std::uint64_t bytes = length;
                        for (const PropertyListValue& element : content) {
                          bytes += byteCountOf(element);
                        }
                        return bytes;
                      } else if constexpr (std::is_arithmetic_v<Content>) {
                        return sizeof content;
                      } else {
                        return length + content.size();
                      }
                    },
                    value.content);
}

class Reader {
 public:
  explicit Reader(std::span<const std::uint8_t> bytes) : bytes_(bytes) {}

  std::optional<PropertyListDictionary> whole() {
    PropertyListDictionary dictionary = readDictionary(0);
    return isSound_ && bytes_.ok() && bytes_.isAtEnd() ? std::optional(std::move(dictionary)) : std::nullopt;
  }

 private:
  [[nodiscard]] bool goesOn() const { return isSound_ && bytes_.ok(); }

  PropertyListDictionary readDictionary(int depth) {
    PropertyListDictionary dictionary;
    const auto count = bytes_.number<std::uint32_t>();
    for (std::uint32_t index = 0; index < count && goesOn(); ++index) {
      std::string key = bytes_.text();
      dictionary[std::move(key)] = readValue(depth + 1);
    }
    return dictionary;
  }

  PropertyListArray readArray(int depth) {
    PropertyListArray array;
    const auto count = bytes_.number<std::uint32_t>();
    for (std::uint32_t index = 0; index < count && goesOn(); ++index) {
      array.push_back(readValue(depth + 1));
    }
    return array;
  }

  PropertyListValue readValue(int depth) {
    if (depth > deepest) {
      isSound_ = false;
      return {};
    }
    switch (bytes_.number<std::uint8_t>()) {
      case 0:
        return {bytes_.number<std::uint8_t>() != 0};
      case 1:
        return {bytes_.number<std::int64_t>()};
      case 2:
        return {bytes_.number<double>()};
      case 3:
        return {bytes_.text()};
      case 4:
        return {bytes_.data()};
      case 5:
        return {readArray(depth)};
      case 6:
        return {readDictionary(depth)};
      default:
        isSound_ = false;
        return {};
    }
  }

  ByteReader bytes_;
  bool isSound_ = true;
};

}  // namespace

Bytes toBytes(const PropertyListDictionary& dictionary) {
  ByteWriter writer;
  write(writer, dictionary);
  return writer.take();
}

std::uint64_t byteCount(const PropertyListDictionary& dictionary) {
  constexpr std::uint64_t length = sizeof(std::uint32_t);
  std::uint64_t bytes = length;
  for (const auto& [key, value] : dictionary) {
    bytes += length + key.size() + byteCountOf(value);
  }
  return bytes;
}

std::optional<PropertyListDictionary> dictionaryFromBytes(std::span<const std::uint8_t> bytes) {
  return Reader(bytes).whole();
}

}  // namespace vrel::sandbox
