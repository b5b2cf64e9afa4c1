// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/media/audio_rate_converter.h"

#include <soxr.h>

#include <cstddef>
#include <utility>

namespace vrel::system {

struct AudioRateConverter::Handle {
  explicit Handle(soxr_t created) : resampler(created) {}
  ~Handle() { soxr_delete(resampler); }
  Handle(const Handle&) = delete;
  Handle& operator=(const Handle&) = delete;

  soxr_t resampler;
};

std::unique_ptr<AVAudioConverter> AudioRateConverter::make(double inputRate, double outputRate) {
  soxr_error_t failure = nullptr;
  const soxr_io_spec_t samples = soxr_io_spec(SOXR_FLOAT32_S, SOXR_FLOAT32_S);
  const soxr_quality_spec_t quality = soxr_quality_spec(SOXR_HQ, 0);
  const soxr_runtime_spec_t runtime = soxr_runtime_spec(1);
  soxr_t resampler = soxr_create(inputRate, outputRate, 2, &failure, &samples, &quality, &runtime);
  if (resampler == nullptr || failure != nullptr) {
    soxr_delete(resampler);
    return nullptr;
  }
  return std::unique_ptr<AVAudioConverter>(new AudioRateConverter(std::make_unique<Handle>(resampler)));
}

AudioRateConverter::AudioRateConverter(std::unique_ptr<Handle> handle) : handle_(std::move(handle)) {}

AudioRateConverter::~AudioRateConverter() = default;

AVAudioConverter::Progress AudioRateConverter::convert(const Input& input, std::uint32_t inputFrames,
                                                       const Output& output, std::uint32_t outputRoom) {
  std::size_t taken = 0;
  std::size_t given = 0;
  if (soxr_process(handle_->resampler, input.data(), inputFrames, &taken, const_cast<float**>(output.data()),
                   outputRoom, &given) != nullptr) {
    return {};
  }
  return {static_cast<std::uint32_t>(taken), static_cast<std::uint32_t>(given)};
}

std::uint32_t AudioRateConverter::finish(const Output& output, std::uint32_t outputRoom) {
  std::size_t given = 0;
  if (soxr_process(handle_->resampler, nullptr, 0, nullptr, const_cast<float**>(output.data()), outputRoom, &given) !=
      nullptr) {
    return 0;
  }
  return static_cast<std::uint32_t>(given);
}

}  // namespace vrel::system
