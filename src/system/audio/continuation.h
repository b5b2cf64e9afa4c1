// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <span>

namespace vrel::audio {

/// How many past frames a continuation is made from.
inline constexpr std::uint32_t continuationHistory = 512;

/// Continues a signal of which nothing more comes, so that it can be faded out instead of being cut: linear prediction
/// from its last frames, with coefficients by Burg's method, which are always stable. A tone goes on as it was; noise
/// fades. What is not finite continues as silence. Takes some 50 us for a whole history.
void continueSignal(std::span<const float> history, std::span<float> continuation) noexcept;

/// The weight of a signal that fades in over `length` frames, at `frame` of them: a raised cosine. One that fades out
/// has what is missing to 1.
[[nodiscard]] float fadeInAt(std::uint32_t frame, std::uint32_t length) noexcept;

}  // namespace vrel::audio
