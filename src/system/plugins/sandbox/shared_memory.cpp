// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/plugins/sandbox/shared_memory.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>

#include <cerrno>
#include <system_error>

namespace vrel::sandbox {
namespace {

Error systemError(const char* what) {
  return Error{std::string(what) + ": " + std::generic_category().message(errno)};
}

}  // namespace

void SharedMemory::Unmap::operator()(SharedBlock* block) const {
  munmap(block, sizeof(SharedBlock));
}

Result<SharedMemory> SharedMemory::create(FileDescriptor& descriptor) {
  FileDescriptor memory(memfd_create("vrel-plugin", MFD_CLOEXEC | MFD_ALLOW_SEALING));
  if (!memory || ftruncate(memory.get(), sizeof(SharedBlock)) != 0) {
    return systemError("cannot create shared memory");
  }
  // A guest that could shrink it would crash the host at the next access.
  if (fcntl(memory.get(), F_ADD_SEALS, F_SEAL_SHRINK | F_SEAL_GROW | F_SEAL_SEAL) != 0) {
    return systemError("cannot seal the shared memory");
  }
  Result<SharedMemory> mapped = map(memory);
  if (mapped) {
    descriptor = std::move(memory);
  }
  return mapped;
}

Result<SharedMemory> SharedMemory::map(const FileDescriptor& descriptor) {
  struct stat status {};
  if (fstat(descriptor.get(), &status) != 0 || status.st_size < static_cast<off_t>(sizeof(SharedBlock))) {
    return Error{"shared memory is too small"};
  }
  // Populated now, so that no block has to fetch a page.
  void* const address =
      mmap(nullptr, sizeof(SharedBlock), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_POPULATE, descriptor.get(), 0);
  if (address == MAP_FAILED) {
    return systemError("cannot map the shared memory");
  }
  return SharedMemory(static_cast<SharedBlock*>(address));
}

}  // namespace vrel::sandbox
