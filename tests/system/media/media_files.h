// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "system/media/audio_files.h"

namespace vrel::system::test {

inline std::string mediaFile(const std::string& name) {
  return std::string(VREL_MEDIA_FOLDER) + "/" + name;
}

/// The file, which must open.
inline std::shared_ptr<AVAudioFile> opened(const std::string& name) {
  AudioFiles files;
  auto file = files.openForReading(mediaFile(name));
  EXPECT_TRUE(file.ok()) << name << ": " << (file.ok() ? "" : file.error().description);
  return file.ok() ? file.value() : nullptr;
}

/// A copy of a file for a test that does something to it.
struct CopiedFile {
  CopiedFile(const std::string& name, const std::string& copyName) : path(mediaFile(copyName)) {
    std::filesystem::copy_file(mediaFile(name), path, std::filesystem::copy_options::overwrite_existing);
  }
  ~CopiedFile() { std::filesystem::remove(path); }
  CopiedFile(const CopiedFile&) = delete;
  CopiedFile& operator=(const CopiedFile&) = delete;

  const std::string path;
};

/// The samples of one read, a list per channel.
inline std::vector<std::vector<float>> readAt(AVAudioFile& file, std::int64_t frame, std::uint32_t count) {
  AVAudioPCMBuffer buffer(file.processingFormat(), count);
  file.setFramePosition(frame);
  const auto failure = file.readIntoBuffer(buffer, count);
  EXPECT_FALSE(failure) << failure->description;
  std::vector<std::vector<float>> channels;
  for (std::uint32_t channel = 0; channel < file.processingFormat().channelCount; ++channel) {
    const float* const samples = buffer.floatChannelData()[channel];
    channels.emplace_back(samples, samples + buffer.frameLength);
  }
  return channels;
}

/// The left channel of frame `n` of the "count" files.
inline float countAt(std::int64_t n) {
  return static_cast<float>(n % 20000) / 32768.0F;
}

}  // namespace vrel::system::test
