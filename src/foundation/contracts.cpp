// SPDX-License-Identifier: GPL-3.0-or-later
#include "foundation/contracts.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "foundation/thread_roles.h"

namespace vrel {
namespace {

#ifdef NDEBUG
constexpr ContractPolicy policyOfBuild = ContractPolicy::recover;
#else
constexpr ContractPolicy policyOfBuild = ContractPolicy::terminate;
#endif

constinit std::atomic<ContractPolicy> policy{policyOfBuild};
constinit std::atomic<std::uint64_t> violations{0};

const char* fileName(const char* path) {
  const char* separator = std::strrchr(path, '/');
  return separator == nullptr ? path : separator + 1;
}

}  // namespace

ContractPolicy contractPolicy() noexcept {
  return policy.load(std::memory_order_relaxed);
}

void setContractPolicy(ContractPolicy chosen) noexcept {
  policy.store(chosen, std::memory_order_relaxed);
}

std::uint64_t contractViolations() noexcept {
  return violations.load(std::memory_order_relaxed);
}

void ContractPlace::violated() noexcept {
  const bool isFatal = contractPolicy() == ContractPolicy::terminate;
  if (isFatal || (audioScopeDepth() == 0 && !isLogged_.exchange(true))) {
    std::fprintf(stderr, "Contract violated at %s:%d: %s\n", fileName(file_), line_, condition_);
  }
  if (isFatal) {
    std::abort();
  }
  violations.fetch_add(1, std::memory_order_relaxed);
}

}  // namespace vrel
