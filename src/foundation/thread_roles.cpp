// SPDX-License-Identifier: GPL-3.0-or-later
#include "foundation/thread_roles.h"

namespace vrel {
namespace {

constinit thread_local int scopeDepth = 0;

}  // namespace

int audioScopeDepth() noexcept {
  return scopeDepth;
}

AudioThreadScope::AudioThreadScope() noexcept {
  ++scopeDepth;
}

AudioThreadScope::~AudioThreadScope() {
  --scopeDepth;
}

ForeignCodeScope::ForeignCodeScope() noexcept : suspendedDepth_(scopeDepth) {
  scopeDepth = 0;
}

ForeignCodeScope::~ForeignCodeScope() {
  scopeDepth = suspendedDepth_;
}

}  // namespace vrel
