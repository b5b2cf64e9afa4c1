// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/media/mpeg_packets.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <fstream>
#include <string_view>
#include <vector>

namespace vrel::system {
namespace {

constexpr std::size_t chunkBytes = std::size_t{1} << 18U;
constexpr std::size_t headerBytes = 4;
constexpr std::uint64_t endTagBytes = 128;

// Kilobits per second of layer III, by version and the header's index.
constexpr std::array<int, 16> bitRates1{0, 32, 40, 48, 56, 64, 80, 96, 112, 128, 160, 192, 224, 256, 320, 0};
constexpr std::array<int, 16> bitRates2{0, 8, 16, 24, 32, 40, 48, 56, 64, 80, 96, 112, 128, 144, 160, 0};
constexpr std::array<int, 4> sampleRates1{44100, 48000, 32000, 0};

std::uint32_t bigEndian(std::string_view bytes) {
  std::uint32_t number = 0;
  for (const char byte : bytes.substr(0, 4)) {
    number = (number << 8U) | static_cast<unsigned char>(byte);
  }
  return number;
}

/// The bytes of a file in their order, a chunk at a time.
class Bytes {
 public:
  explicit Bytes(const std::string& path) : file_(path, std::ios::binary | std::ios::ate), chunk_(chunkBytes) {
    size_ = file_ ? static_cast<std::uint64_t>(file_.tellg()) : 0;
  }

  [[nodiscard]] std::uint64_t size() const { return size_; }

  /// Up to `count` of them; fewer at the end.
  [[nodiscard]] std::string_view at(std::uint64_t position, std::size_t count) {
    count = static_cast<std::size_t>(std::min<std::uint64_t>(count, size_ - std::min(size_, position)));
    if (position < begin_ || position + count > begin_ + held_) {
      file_.seekg(static_cast<std::streamoff>(position));
      file_.read(chunk_.data(), static_cast<std::streamsize>(chunk_.size()));
      held_ = static_cast<std::size_t>(file_.gcount());
      begin_ = position;
      file_.clear();
    }
    return {chunk_.data() + (position - begin_), std::min(count, held_)};
  }

 private:
  std::ifstream file_;
  std::uint64_t size_ = 0;
  std::vector<char> chunk_;
  std::uint64_t begin_ = 0;
  std::size_t held_ = 0;
};

struct Header {
  bool isVersion1 = false;
  bool isMono = false;
  int sampleRate = 0;
  std::uint64_t bytes = 0;  // of the packet
};

std::optional<Header> parse(std::string_view bytes) {
  const std::uint32_t bits = bytes.size() < headerBytes ? 0 : bigEndian(bytes);
  const std::uint32_t version = bits >> 19U & 3U;
  const bool isLayer3 = (bits >> 17U & 3U) == 1;
  if (bits >> 21U != 0x7FF || version == 1 || !isLayer3) {
    return std::nullopt;
  }
  Header header;
  header.isVersion1 = version == 3;
  header.isMono = (bits >> 6U & 3U) == 3;
  header.sampleRate = sampleRates1[bits >> 10U & 3U] / (version == 3 ? 1 : version == 2 ? 2 : 4);
  const int bitRate = (header.isVersion1 ? bitRates1 : bitRates2)[bits >> 12U & 15U];
  if (bitRate == 0 || header.sampleRate == 0) {
    return std::nullopt;
  }
  header.bytes = static_cast<std::uint64_t>((header.isVersion1 ? 144 : 72) * bitRate * 1000 / header.sampleRate) +
                 (bits >> 9U & 1U);
  return header;
}

std::uint64_t skipTags(Bytes& bytes) {
  constexpr std::size_t tagHeader = 10;
  constexpr unsigned char hasFooter = 0x10;
  std::uint64_t position = 0;
  for (auto tag = bytes.at(0, tagHeader); tag.size() == tagHeader && tag.starts_with("ID3");
       tag = bytes.at(position, tagHeader)) {
    std::uint64_t size = 0;
    for (const char byte : tag.substr(6)) {
      size = size << 7U | (static_cast<unsigned char>(byte) & 0x7FU);
    }
    const bool isLonger = (static_cast<unsigned char>(tag[5]) & hasFooter) != 0;
    position += tagHeader + size + (isLonger ? tagHeader : 0);
  }
  return position;
}

/// Reads the tag that encoders put into a first, silent packet. False for one without a count.
bool readTag(std::string_view packet, const Header& header, MpegPackets& packets) {
  const std::size_t place =
      headerBytes + (header.isVersion1 ? (header.isMono ? 17U : 32U) : (header.isMono ? 9U : 17U));
  const auto tag = packet.substr(std::min(place, packet.size()));
  if (packet.find("VBRI") != std::string_view::npos) {
    return false;
  }
  if (!tag.starts_with("Xing") && !tag.starts_with("Info")) {
    packets.count = 1;
    return true;
  }
  constexpr std::size_t countPlace = 8;
  if (tag.size() < countPlace + 4 || (bigEndian(tag.substr(4)) & 1U) == 0) {
    return false;
  }
  packets.stated = bigEndian(tag.substr(countPlace));
  return true;
}

}  // namespace

std::optional<MpegPackets> findMpegPackets(const std::string& path) {
  Bytes bytes(path);
  std::uint64_t position = skipTags(bytes);
  const auto first = parse(bytes.at(position, headerBytes));
  MpegPackets packets;
  if (!first || !readTag(bytes.at(position, static_cast<std::size_t>(first->bytes)), *first, packets)) {
    return std::nullopt;
  }
  packets.framesEach = first->isVersion1 ? 1152 : 576;
  position += first->bytes;
  while (position < bytes.size()) {
    const auto header = parse(bytes.at(position, headerBytes));
    if (!header && bytes.size() - position == endTagBytes && bytes.at(position, 3) == "TAG") {
      return packets;
    }
    if (!header || header->isVersion1 != first->isVersion1 || header->sampleRate != first->sampleRate) {
      return std::nullopt;
    }
    position += header->bytes;
    ++packets.count;
  }
  return position == bytes.size() ? std::optional(packets) : std::nullopt;
}

}  // namespace vrel::system
