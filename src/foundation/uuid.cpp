// SPDX-License-Identifier: GPL-3.0-or-later
#include "foundation/uuid.h"

#include <cstdio>
#include <random>

namespace vrel {

Uuid Uuid::fresh() {
  thread_local std::mt19937_64 generator = [] {
    std::random_device entropy;
    std::seed_seq seed{entropy(), entropy(), entropy(), entropy(), entropy(), entropy()};
    return std::mt19937_64(seed);
  }();
  constexpr std::uint64_t versionMask = 0xF000;
  constexpr std::uint64_t version4 = 0x4000;
  constexpr std::uint64_t variantMask = 0xC000'0000'0000'0000;
  constexpr std::uint64_t variantRfc4122 = 0x8000'0000'0000'0000;
  Uuid id;
  id.words_[0] = (generator() & ~versionMask) | version4;
  id.words_[1] = (generator() & ~variantMask) | variantRfc4122;
  return id;
}

std::string Uuid::text() const {
  std::array<char, 37> buffer{};
  const auto high = words_[0];
  const auto low = words_[1];
  std::snprintf(buffer.data(), buffer.size(), "%08X-%04X-%04X-%04X-%012llX", static_cast<unsigned>(high >> 32),
                static_cast<unsigned>((high >> 16) & 0xFFFF), static_cast<unsigned>(high & 0xFFFF),
                static_cast<unsigned>(low >> 48), static_cast<unsigned long long>(low & 0xFFFF'FFFF'FFFF));
  return {buffer.data()};
}

}  // namespace vrel
