// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/property_list/libplist_serialization.h"

#include <plist/plist.h>

#include <cstdlib>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "foundation/utf8.h"
#include "system/property_list/binary_form_guard.h"
#include "system/property_list/xml_form_guard.h"

namespace vrel::system {
namespace {

struct PlistDeleter {
  void operator()(void* node) const { plist_free(node); }
};
using Plist = std::unique_ptr<void, PlistDeleter>;

struct HeapDeleter {
  void operator()(void* memory) const { std::free(memory); }
};
template <typename T>
using FromHeap = std::unique_ptr<T, HeapDeleter>;

/// Builds the library's tree. Fails on text that the format cannot hold.
class Encoder {
 public:
  Plist encode(const PropertyListValue& value, int depth) {
    if (depth > maximumPropertyListDepth) {
      return fail("property list is nested too deeply");
    }
    return std::visit([this, depth](const auto& content) { return make(content, depth); }, value.content);
  }

  Plist make(const PropertyListDictionary& dictionary, int depth) {
    Plist node(plist_new_dict());
    for (const auto& [key, value] : dictionary) {
      Plist item = isEncodable(key) ? encode(value, depth + 1) : fail("a key is not valid UTF-8");
      if (!item) {
        return nullptr;
      }
      plist_dict_set_item(node.get(), key.c_str(), item.release());
    }
    return node;
  }

  [[nodiscard]] const Outcome& failure() const { return failure_; }

 private:
  Plist make(bool value, int /*depth*/) { return Plist(plist_new_bool(value ? 1 : 0)); }
  Plist make(std::int64_t value, int /*depth*/) { return Plist(plist_new_uint(static_cast<std::uint64_t>(value))); }
  Plist make(double value, int /*depth*/) { return Plist(plist_new_real(value)); }
  Plist make(const std::string& text, int /*depth*/) {
    return isEncodable(text) ? Plist(plist_new_string(text.c_str())) : fail("a string is not valid UTF-8");
  }
  Plist make(const PropertyListData& data, int /*depth*/) {
    // The library requires a pointer even for no bytes.
    const char* bytes = data.empty() ? "" : reinterpret_cast<const char*>(data.data());
    return Plist(plist_new_data(bytes, data.size()));
  }
  Plist make(const PropertyListArray& array, int depth) {
    Plist node(plist_new_array());
    for (const auto& value : array) {
      Plist item = encode(value, depth + 1);
      if (!item) {
        return nullptr;
      }
      plist_array_append_item(node.get(), item.release());
    }
    return node;
  }

  static bool isEncodable(const std::string& text) { return text.find('\0') == std::string::npos && isValidUtf8(text); }
  Plist fail(const char* reason) {
    failure_ = Error{reason};
    return nullptr;
  }

  Outcome failure_;
};

std::optional<PropertyListValue> decode(plist_t node);

std::optional<PropertyListValue> decodeArray(plist_t node) {
  PropertyListArray array;
  plist_array_iter rawIterator = nullptr;
  plist_array_new_iter(node, &rawIterator);
  const FromHeap<void> iterator(rawIterator);
  for (plist_t item = nullptr;;) {
    plist_array_next_item(node, iterator.get(), &item);
    if (item == nullptr) {
      return PropertyListValue{std::move(array)};
    }
    std::optional<PropertyListValue> value = decode(item);
    if (!value) {
      return std::nullopt;
    }
    array.push_back(*std::move(value));
  }
}

std::optional<PropertyListValue> decodeDictionary(plist_t node) {
  PropertyListDictionary dictionary;
  plist_dict_iter rawIterator = nullptr;
  plist_dict_new_iter(node, &rawIterator);
  const FromHeap<void> iterator(rawIterator);
  for (plist_t item = nullptr;;) {
    char* rawKey = nullptr;
    plist_dict_next_item(node, iterator.get(), &rawKey, &item);
    const FromHeap<char> key(rawKey);
    if (item == nullptr) {
      return PropertyListValue{std::move(dictionary)};
    }
    std::optional<PropertyListValue> value = key && isValidUtf8(key.get()) ? decode(item) : std::nullopt;
    if (!value) {
      return std::nullopt;
    }
    dictionary.insert_or_assign(std::string(key.get()), *std::move(value));
  }
}

std::optional<PropertyListValue> decodeData(plist_t node) {
  std::uint64_t length = 0;
  const char* bytes = plist_get_data_ptr(node, &length);
  if (bytes == nullptr || length == 0) {
    return PropertyListValue{PropertyListData{}};
  }
  const auto* first = reinterpret_cast<const std::uint8_t*>(bytes);
  return PropertyListValue{PropertyListData(first, first + length)};
}

std::optional<PropertyListValue> decode(plist_t node) {
  switch (plist_get_node_type(node)) {
    case PLIST_BOOLEAN: {
      std::uint8_t value = 0;
      plist_get_bool_val(node, &value);
      return PropertyListValue{value != 0};
    }
    case PLIST_UINT: {
      std::uint64_t value = 0;
      plist_get_uint_val(node, &value);
      return PropertyListValue{static_cast<std::int64_t>(value)};
    }
    case PLIST_REAL: {
      double value = 0;
      plist_get_real_val(node, &value);
      return PropertyListValue{value};
    }
    case PLIST_STRING: {
      const char* text = plist_get_string_ptr(node, nullptr);
      return text == nullptr || !isValidUtf8(text) ? std::nullopt : std::optional(PropertyListValue{std::string(text)});
    }
    case PLIST_DATA:
      return decodeData(node);
    case PLIST_ARRAY:
      return decodeArray(node);
    case PLIST_DICT:
      return decodeDictionary(node);
    default:
      return std::nullopt;
  }
}

}  // namespace

Result<PropertyListData> LibplistSerialization::dataFromPropertyList(const PropertyListDictionary& dictionary) {
  Encoder encoder;
  const Plist root = encoder.make(dictionary, 0);
  if (!root) {
    return encoder.failure().value_or(Error{"property list could not be built"});
  }
  char* rawBytes = nullptr;
  std::uint32_t length = 0;
  plist_to_bin(root.get(), &rawBytes, &length);
  const FromHeap<char> bytes(rawBytes);
  if (!bytes || length == 0) {
    return Error{"property list could not be written"};
  }
  const auto* first = reinterpret_cast<const std::uint8_t*>(bytes.get());
  PropertyListData data(first, first + length);
  if (const Outcome failure = checkBinaryForm(data)) {
    return *failure;  // or the setlist could not be read again
  }
  return data;
}

Result<PropertyListValue> LibplistSerialization::propertyListFromData(const PropertyListData& data) {
  const bool isXml = isXmlForm(data);
  if (const Outcome failure = isXml ? checkXmlForm(data) : checkBinaryForm(data)) {
    return *failure;
  }
  plist_t rawRoot = nullptr;
  const auto* const bytes = reinterpret_cast<const char*>(data.data());
  (isXml ? plist_from_xml : plist_from_bin)(bytes, static_cast<std::uint32_t>(data.size()), &rawRoot);
  const Plist root(rawRoot);
  std::optional<PropertyListValue> value = root ? decode(root.get()) : std::nullopt;
  if (!value) {
    return Error{"property list could not be read"};
  }
  return *std::move(value);
}

}  // namespace vrel::system
