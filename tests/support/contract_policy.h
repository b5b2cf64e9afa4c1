// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "foundation/contracts.h"

namespace vrel::test {

/// What becomes of a violated contract, for the time of a scope: as in development, or as on stage.
class ContractPolicyScope {
 public:
  explicit ContractPolicyScope(ContractPolicy policy) : before_(contractPolicy()) { setContractPolicy(policy); }
  ~ContractPolicyScope() { setContractPolicy(before_); }
  ContractPolicyScope(const ContractPolicyScope&) = delete;
  ContractPolicyScope& operator=(const ContractPolicyScope&) = delete;

 private:
  ContractPolicy before_;
};

}  // namespace vrel::test
