// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>

#include "foundation/result.h"
#include "system/plugins/sandbox/shared_layout.h"
#include "system/processes/file_descriptor.h"

namespace vrel::sandbox {

/// A mapping of one SharedBlock; unmapped at its end. The memory has no name: it goes with its last
/// mapping and descriptor, however the processes end.
class SharedMemory {
 public:
  /// New memory, all zero, that cannot change its size. `descriptor` gets what the other process needs.
  [[nodiscard]] static Result<SharedMemory> create(FileDescriptor& descriptor);

  /// The memory behind a descriptor. Fails when it is too small.
  [[nodiscard]] static Result<SharedMemory> map(const FileDescriptor& descriptor);

  [[nodiscard]] SharedBlock& block() const { return *block_; }

 private:
  struct Unmap {
    void operator()(SharedBlock* block) const;
  };
  explicit SharedMemory(SharedBlock* block) : block_(block) {}

  std::unique_ptr<SharedBlock, Unmap> block_;
};

}  // namespace vrel::sandbox
