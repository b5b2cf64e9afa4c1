// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/media/still_file.h"

extern "C" {
#include <libavcodec/avcodec.h>
}

#include <algorithm>
#include <array>
#include <filesystem>
#include <fstream>
#include <ios>
#include <string_view>
#include <system_error>
#include <utility>

#include "system/media/ffmpeg_handles.h"

namespace vrel::system {
namespace {

using Bytes = std::span<const std::uint8_t>;

constexpr std::size_t signatureBytes = 12;
constexpr std::size_t mostChunks = 65536;  // that are looked at
constexpr double stillSeconds = 0.04;      // of one pass, which nobody sees

bool hasText(Bytes bytes, std::size_t at, std::string_view text) {
  return at <= bytes.size() && bytes.size() - at >= text.size() &&
         std::equal(text.begin(), text.end(), bytes.begin() + static_cast<std::ptrdiff_t>(at),
                    [](char letter, std::uint8_t byte) { return static_cast<std::uint8_t>(letter) == byte; });
}

/// A number of `count` bytes; 0 beyond the end.
std::uint32_t numberAt(Bytes bytes, std::size_t at, std::size_t count, bool isLittleEndian) {
  if (at > bytes.size() || bytes.size() - at < count) {
    return 0;
  }
  std::uint32_t number = 0;
  for (std::size_t index = 0; index < count; ++index) {
    number = (number << 8U) | bytes[at + (isLittleEndian ? count - 1 - index : index)];
  }
  return number;
}

std::uint32_t big(Bytes bytes, std::size_t at, std::size_t count) {
  return numberAt(bytes, at, count, false);
}

std::uint32_t little(Bytes bytes, std::size_t at, std::size_t count) {
  return numberAt(bytes, at, count, true);
}

Bytes part(Bytes bytes, std::size_t at, std::size_t count) {
  return at < bytes.size() ? bytes.subspan(at, std::min(count, bytes.size() - at)) : Bytes();
}

/// As Exif counts them, from 1: upright.
ClipOrientation orientationNumbered(std::uint32_t number) {
  switch (number) {
    case 2:
      return {false, true, false};
    case 3:
      return {false, true, true};
    case 4:
      return {false, false, true};
    case 5:
      return {true, false, false};
    case 6:
      return {true, false, true};
    case 7:
      return {true, true, true};
    case 8:
      return {true, true, false};
    default:
      return {};
  }
}

ClipOrientation orientationIn(Bytes exif) {
  constexpr std::string_view prefix("Exif\0\0", 6);
  constexpr std::uint32_t orientationTag = 0x0112;
  constexpr std::size_t entryBytes = 12;
  if (hasText(exif, 0, prefix)) {
    exif = exif.subspan(prefix.size());
  }
  const bool isLittleEndian = hasText(exif, 0, "II");
  if (!isLittleEndian && !hasText(exif, 0, "MM")) {
    return {};
  }
  const std::size_t directory = numberAt(exif, 4, 4, isLittleEndian);
  const std::size_t first = directory + 2;
  const std::size_t room = first < exif.size() ? (exif.size() - first) / entryBytes : 0;
  const std::size_t entries = std::min<std::size_t>(numberAt(exif, directory, 2, isLittleEndian), room);
  for (std::size_t entry = 0; entry < entries; ++entry) {
    const std::size_t at = first + entry * entryBytes;
    if (numberAt(exif, at, 2, isLittleEndian) == orientationTag) {
      return orientationNumbered(numberAt(exif, at + 8, 2, isLittleEndian));
    }
  }
  return {};
}

void readPng(Bytes bytes, StillHeader& header) {
  constexpr std::size_t firstChunk = 8;
  constexpr std::size_t chunkFrame = 12;  // length, name and checksum
  header.width = big(bytes, firstChunk + 8, 4);
  header.height = big(bytes, firstChunk + 12, 4);
  bool hasExif = false;
  std::size_t at = firstChunk;
  for (std::size_t chunk = 0; chunk < mostChunks && at + chunkFrame <= bytes.size(); ++chunk) {
    const std::size_t length = big(bytes, at, 4);
    if (!hasExif && hasText(bytes, at + 4, "eXIf")) {
      hasExif = true;
      header.orientation = orientationIn(part(bytes, at + 8, length));
    }
    at += chunkFrame + length;
  }
}

void readJpeg(Bytes bytes, StillHeader& header) {
  constexpr std::uint8_t lead = 0xFF;
  bool hasExif = false;
  std::size_t at = 2;
  for (std::size_t chunk = 0; chunk < mostChunks && at + 4 <= bytes.size() && bytes[at] == lead; ++chunk) {
    const std::uint8_t marker = bytes[at + 1];
    if (marker == lead) {
      ++at;  // a fill byte
      continue;
    }
    const std::size_t length = big(bytes, at + 2, 2);
    const bool isFrame = marker >= 0xC0 && marker <= 0xCF && marker != 0xC4 && marker != 0xC8 && marker != 0xCC;
    if (isFrame) {
      header.height = big(bytes, at + 5, 2);
      header.width = big(bytes, at + 7, 2);
      return;
    }
    if (!hasExif && marker == 0xE1 && hasText(bytes, at + 4, "Exif")) {
      hasExif = true;
      header.orientation = orientationIn(part(bytes, at + 4, length));
    }
    at += 2 + length;
  }
}

void readWebp(Bytes bytes, StillHeader& header) {
  constexpr std::size_t firstChunk = 12;
  constexpr std::size_t chunkFrame = 8;
  bool hasExif = false;
  std::size_t at = firstChunk;
  for (std::size_t chunk = 0; chunk < mostChunks && at + chunkFrame <= bytes.size(); ++chunk) {
    const std::size_t length = little(bytes, at + 4, 4);
    const std::size_t data = at + chunkFrame;
    if (hasText(bytes, at, "VP8X")) {
      header.width = little(bytes, data + 4, 3) + 1;
      header.height = little(bytes, data + 7, 3) + 1;
    } else if (hasText(bytes, at, "VP8L")) {
      const std::uint32_t both = little(bytes, data + 1, 4);
      header.width = (both & 0x3FFFU) + 1;
      header.height = ((both >> 14U) & 0x3FFFU) + 1;
    } else if (hasText(bytes, at, "VP8 ")) {
      header.width = little(bytes, data + 6, 2) & 0x3FFFU;
      header.height = little(bytes, data + 8, 2) & 0x3FFFU;
    } else if (!hasExif && hasText(bytes, at, "EXIF")) {
      hasExif = true;
      header.orientation = orientationIn(part(bytes, data, length));
    }
    at = data + length + length % 2;
  }
}

AVCodecID codecOf(StillHeader::Kind kind) {
  switch (kind) {
    case StillHeader::Kind::png:
      return AV_CODEC_ID_PNG;
    case StillHeader::Kind::jpeg:
      return AV_CODEC_ID_MJPEG;
    case StillHeader::Kind::webp:
      return AV_CODEC_ID_WEBP;
  }
  return AV_CODEC_ID_NONE;
}

/// What the format means and its decoder may leave unsaid.
void completeColours(AVFrame& frame, StillHeader::Kind kind) {
  if (kind != StillHeader::Kind::webp) {
    frame.color_range = AVCOL_RANGE_JPEG;
  }
  if (frame.colorspace == AVCOL_SPC_UNSPECIFIED) {
    frame.colorspace = AVCOL_SPC_BT470BG;
  }
  if (frame.chroma_location == AVCHROMA_LOC_UNSPECIFIED) {
    frame.chroma_location = AVCHROMA_LOC_CENTER;
  }
}

}  // namespace

std::optional<StillHeader> StillHeader::read(std::span<const std::uint8_t> bytes) {
  StillHeader header;
  if (hasText(bytes, 0, "\x89PNG\r\n\x1a\n")) {
    header.kind = Kind::png;
    readPng(bytes, header);
  } else if (hasText(bytes, 0, "\xFF\xD8\xFF")) {
    header.kind = Kind::jpeg;
    readJpeg(bytes, header);
  } else if (hasText(bytes, 0, "RIFF") && hasText(bytes, 8, "WEBP")) {
    header.kind = Kind::webp;
    readWebp(bytes, header);
  } else {
    return std::nullopt;
  }
  return header;
}

std::optional<StillFile> StillFile::open(const std::string& path) {
  std::error_code failure;
  if (!std::filesystem::is_regular_file(path, failure)) {
    return std::nullopt;  // a pipe would block its reader
  }
  std::ifstream file(path, std::ios::binary);
  std::array<char, signatureBytes> first{};
  file.read(first.data(), first.size());
  std::array<std::uint8_t, signatureBytes> signature{};
  std::copy(first.begin(), first.end(), signature.begin());
  const auto known = file ? StillHeader::read(signature) : std::nullopt;
  const auto size = std::filesystem::file_size(path, failure);
  if (!known || failure) {
    return std::nullopt;
  }
  StillFile still(*known);
  still.hasTooManyBytes_ = size > mostBytes;
  if (!still.hasTooManyBytes_) {
    still.bytes_.resize(size + AV_INPUT_BUFFER_PADDING_SIZE);
    file.seekg(0);
    file.read(reinterpret_cast<char*>(still.bytes_.data()), static_cast<std::streamsize>(size));
    // Its end may be missing by now.
    const auto count = static_cast<std::size_t>(std::max<std::streamsize>(file.gcount(), 0));
    still.bytes_.resize(count + AV_INPUT_BUFFER_PADDING_SIZE);
    still.header_ = StillHeader::read(Bytes(still.bytes_).first(count)).value_or(*known);
  }
  return still;
}

bool StillFile::isTooLarge() const {
  return hasTooManyBytes_ || std::uint64_t{header_.width} * header_.height > mostPixels;
}

ClipPicturePointer StillFile::decode() const {
  const auto* const decoder = avcodec_find_decoder(codecOf(header_.kind));
  const FFmpegCodec codec(decoder != nullptr && !isTooLarge() ? avcodec_alloc_context3(decoder) : nullptr);
  const FFmpegPacket packet(av_packet_alloc());
  FFmpegFrame frame(av_frame_alloc());
  if (codec == nullptr || packet == nullptr || frame == nullptr) {
    return nullptr;
  }
  av_log_set_level(AV_LOG_QUIET);
  codec->max_pixels = static_cast<std::int64_t>(mostPixels);  // the header may be wrong
  packet->data = const_cast<std::uint8_t*>(bytes_.data());    // the codec copies it
  packet->size = static_cast<int>(bytes_.size() - AV_INPUT_BUFFER_PADDING_SIZE);
  if (avcodec_open2(codec.get(), decoder, nullptr) < 0 || avcodec_send_packet(codec.get(), packet.get()) < 0 ||
      avcodec_send_packet(codec.get(), nullptr) < 0 || avcodec_receive_frame(codec.get(), frame.get()) < 0 ||
      frame->width <= 0 || frame->height <= 0) {
    return nullptr;
  }
  completeColours(*frame, header_.kind);
  ClipFrameConverter converter;
  AVFrame* const kept = converter.convert(frame.release(), longestSide);
  return kept == nullptr ? nullptr : std::make_shared<const ClipPicture>(kept, 0.0, stillSeconds, header_.orientation);
}

}  // namespace vrel::system
