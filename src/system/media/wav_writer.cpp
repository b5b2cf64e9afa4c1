// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/media/wav_writer.h"

#include <sndfile.h>

#include <cstddef>
#include <cstdint>
#include <utility>

namespace vrel::system {
namespace {

constexpr int channelCount = 2;
// The sizes in the file's header have 32 bits; a little is left for the header itself.
constexpr std::uint64_t mostFrames = (0xFFFFFFFFU - 4096U) / (channelCount * sizeof(float));

Error failure(const std::string& path, SNDFILE* file) {
  return Error{"cannot write " + path + ": " + sf_strerror(file)};
}

}  // namespace

struct WavWriter::File {
  explicit File(std::string filePath) : path(std::move(filePath)) {}
  ~File() { sf_close(handle); }
  File(const File&) = delete;
  File& operator=(const File&) = delete;

  std::string path;
  SNDFILE* handle = nullptr;
  std::uint64_t frameCount = 0;
  Outcome failed;
};

WavWriter::WavWriter(std::unique_ptr<File> file) : file_(std::move(file)) {}
WavWriter::~WavWriter() = default;
WavWriter::WavWriter(WavWriter&&) noexcept = default;
WavWriter& WavWriter::operator=(WavWriter&&) noexcept = default;

Result<WavWriter> WavWriter::create(const std::string& path, int sampleRate) {
  SF_INFO info{};
  info.samplerate = sampleRate;
  info.channels = channelCount;
  info.format = SF_FORMAT_WAV | SF_FORMAT_FLOAT;
  auto file = std::make_unique<File>(path);
  file->handle = sf_open(path.c_str(), SFM_WRITE, &info);
  if (file->handle == nullptr) {
    return failure(path, nullptr);
  }
  // The chunk with the peaks holds the time of day.
  sf_command(file->handle, SFC_SET_ADD_PEAK_CHUNK, nullptr, SF_FALSE);
  return WavWriter(std::move(file));
}

Outcome WavWriter::write(std::span<const float> left, std::span<const float> right) {
  File& file = *file_;
  if (file.failed) {
    return file.failed;
  }
  if (file.handle == nullptr || left.size() != right.size()) {
    file.failed = Error{"cannot write " + file.path + ": it is closed, or the channels differ in length"};
    return file.failed;
  }
  if (left.size() > mostFrames - file.frameCount) {
    file.failed = Error{"cannot write " + file.path + ": a WAV file holds at most 4 GiB"};
    return file.failed;
  }
  interleaved_.resize(left.size() * channelCount);
  for (std::size_t frame = 0; frame < left.size(); ++frame) {
    interleaved_[frame * channelCount] = left[frame];
    interleaved_[frame * channelCount + 1] = right[frame];
  }
  const auto frames = static_cast<sf_count_t>(left.size());
  if (sf_writef_float(file.handle, interleaved_.data(), frames) != frames) {
    file.failed = failure(file.path, file.handle);
  }
  file.frameCount += left.size();
  return file.failed;
}

Outcome WavWriter::close() {
  File& file = *file_;
  if (file.handle != nullptr) {
    const int code = sf_close(std::exchange(file.handle, nullptr));
    if (code != SF_ERR_NO_ERROR && !file.failed) {
      file.failed = Error{"cannot write " + file.path + ": " + sf_error_number(code)};
    }
  }
  return file.failed;
}

}  // namespace vrel::system
