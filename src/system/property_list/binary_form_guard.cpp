// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/property_list/binary_form_guard.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <limits>
#include <optional>
#include <string_view>

namespace vrel::system {
namespace {

using Bytes = std::span<const std::uint8_t>;

constexpr std::string_view header = "bplist00";
constexpr std::size_t trailerBytes = 32;

/// The kinds of object, as the high half of their marker byte.
enum Kind : std::uint8_t {
  simple = 0x0,
  integer = 0x1,
  real = 0x2,
  bytes = 0x4,
  asciiText = 0x5,
  utf16Text = 0x6,
  array = 0xA,
  dictionary = 0xD,
};

/// A big-endian number of 1 to 8 bytes.
std::uint64_t readNumber(Bytes data) {
  std::uint64_t number = 0;
  for (const std::uint8_t byte : data) {
    number = (number << 8U) | byte;
  }
  return number;
}

/// The decoded marker and count of an object. `body` begins behind them.
struct Object {
  std::uint8_t kind = 0;
  std::uint8_t low = 0;
  std::uint64_t count = 0;
  std::uint64_t body = 0;
};

class Walk {
 public:
  explicit Walk(Bytes data) : data_(data) {}

  Outcome run() {
    if (!readTrailer()) {
      return Error{"not a binary property list"};
    }
    visit(topObject_, 0, false);
    return failure_;
  }

 private:
  bool readTrailer() {
    if (data_.size() < header.size() + trailerBytes + 2 || data_.size() > maximumPropertyListBytes ||
        !std::equal(header.begin(), header.end(), data_.begin())) {
      return false;
    }
    const Bytes trailer = data_.last(trailerBytes);
    offsetBytes_ = trailer[6];
    referenceBytes_ = trailer[7];
    objectCount_ = readNumber(trailer.subspan(8, 8));
    topObject_ = readNumber(trailer.subspan(16, 8));
    tableStart_ = readNumber(trailer.subspan(24, 8));
    const std::uint64_t tableEnd = data_.size() - trailerBytes;
    if (offsetBytes_ < 1 || offsetBytes_ > 8 || referenceBytes_ < 1 || referenceBytes_ > 8 ||
        tableStart_ <= header.size() || tableStart_ >= tableEnd) {
      return false;
    }
    return objectCount_ > 0 && topObject_ < objectCount_ && objectCount_ <= (tableEnd - tableStart_) / offsetBytes_;
  }

  /// Steps into one object. `mustBeText` holds for the keys of a dictionary.
  void visit(std::uint64_t index, int depth, bool mustBeText) {
    if (++visited_ > maximumPropertyListValues) {
      return fail("property list has too many values");
    }
    if (depth > maximumPropertyListDepth) {
      return fail("property list is nested too deeply");
    }
    const std::optional<Object> object = readObject(index);
    if (!object) {
      return fail("property list is damaged");
    }
    if (mustBeText && object->kind != asciiText && object->kind != utf16Text) {
      return fail("property list has a key that is not a string");
    }
    visitContent(*object, depth);
  }

  void visitContent(const Object& object, int depth) {
    switch (object.kind) {
      case simple:
        return require(object.low == 0x8 || object.low == 0x9, "property list has a value of an unknown type");
      case integer:
        return require(object.low <= 3 ? fits(object, std::uint64_t{1} << object.low, 1) : wideIntegerFits(object),
                       "property list has a number that is damaged or too large");
      case real:
        return require((object.low == 2 || object.low == 3) && fits(object, std::uint64_t{1} << object.low, 1),
                       "property list has a number that is damaged");
      case bytes:
        return require(fits(object, object.count, 1), "property list is damaged");
      case asciiText:
        return require(fits(object, object.count, 1) && isPlainAscii(object), "property list holds a damaged string");
      case utf16Text:
        return require(fits(object, object.count, 2) && isPlainUtf16(object), "property list holds a damaged string");
      case array:
        return visitReferences(object, object.count, 0, depth);
      case dictionary:
        return visitReferences(object, object.count, object.count, depth);
      default:
        return fail("property list has a value of an unknown type");
    }
  }

  /// An array has `values` references, a dictionary has as many `keys` before them.
  void visitReferences(const Object& object, std::uint64_t values, std::uint64_t keys, int depth) {
    if (values > maximumPropertyListValues || !fits(object, values + keys, referenceBytes_)) {
      return fail("property list is damaged");
    }
    for (std::uint64_t step = 0; step < values + keys && !failure_; ++step) {
      const Bytes reference = data_.subspan(object.body + step * referenceBytes_, referenceBytes_);
      visit(readNumber(reference), depth + 1, step < keys);
    }
  }

  std::optional<Object> readObject(std::uint64_t index) const {
    if (index >= objectCount_) {
      return std::nullopt;
    }
    const std::uint64_t offset = readNumber(data_.subspan(tableStart_ + index * offsetBytes_, offsetBytes_));
    if (offset < header.size() || offset >= tableStart_) {
      return std::nullopt;
    }
    Object object;
    object.kind = static_cast<std::uint8_t>(data_[offset] >> 4U);
    object.low = data_[offset] & 0x0FU;
    object.count = object.low;
    object.body = offset + 1;
    const bool counted = object.kind != simple && object.kind != integer && object.kind != real;
    if (counted && object.low == 0x0F) {
      return readLongCount(object);
    }
    return object;
  }

  /// A count of 15 and more follows the marker as an integer object.
  std::optional<Object> readLongCount(Object object) const {
    if (object.body >= tableStart_) {
      return std::nullopt;
    }
    const std::uint8_t marker = data_[object.body];
    const std::uint64_t width = std::uint64_t{1} << (marker & 0x0FU);
    if (marker >> 4U != integer || (marker & 0x0FU) > 3 || width > tableStart_ - object.body - 1) {
      return std::nullopt;
    }
    object.count = readNumber(data_.subspan(object.body + 1, width));
    object.body += 1 + width;
    return object;
  }

  /// Whether `count` units lie inside the object area; adds them to the total size.
  bool fits(const Object& object, std::uint64_t count, std::uint64_t unitBytes) {
    const std::uint64_t room = tableStart_ - std::min(tableStart_, object.body);
    if (count > room / unitBytes) {
      return false;
    }
    total_ += count * unitBytes;
    return total_ <= maximumPropertyListBytes;
  }

  /// Sixteen bytes are used for unsigned numbers; those beyond a signed 64-bit number are refused.
  bool wideIntegerFits(const Object& object) {
    if (object.low != 4 || !fits(object, 16, 1)) {
      return false;
    }
    return readNumber(data_.subspan(object.body, 8)) == 0 &&
           readNumber(data_.subspan(object.body + 8, 8)) <= std::uint64_t{std::numeric_limits<std::int64_t>::max()};
  }

  bool isPlainAscii(const Object& object) const {
    const Bytes text = data_.subspan(object.body, object.count);
    return std::all_of(text.begin(), text.end(), [](std::uint8_t byte) { return byte != 0 && byte < 0x80; });
  }

  /// No zero, and no lone surrogate.
  bool isPlainUtf16(const Object& object) const {
    bool awaitsLow = false;
    for (std::uint64_t step = 0; step < object.count; ++step) {
      const std::uint64_t unit = readNumber(data_.subspan(object.body + 2 * step, 2));
      const bool isLow = unit >= 0xDC00 && unit < 0xE000;
      if (unit == 0 || isLow != awaitsLow) {
        return false;
      }
      awaitsLow = unit >= 0xD800 && unit < 0xDC00;
    }
    return !awaitsLow;
  }

  void require(bool holds, const char* otherwise) {
    if (!holds) {
      fail(otherwise);
    }
  }
  void fail(const char* reason) {
    if (!failure_) {
      failure_ = Error{reason};
    }
  }

  Bytes data_;
  std::uint64_t offsetBytes_ = 0;
  std::uint64_t referenceBytes_ = 0;
  std::uint64_t objectCount_ = 0;
  std::uint64_t topObject_ = 0;
  std::uint64_t tableStart_ = 0;
  std::uint64_t visited_ = 0;
  std::uint64_t total_ = 0;
  Outcome failure_;
};

}  // namespace

Outcome checkBinaryForm(std::span<const std::uint8_t> data) {
  return Walk(data).run();
}

}  // namespace vrel::system
