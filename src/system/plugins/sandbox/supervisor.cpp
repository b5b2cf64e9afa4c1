// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/plugins/sandbox/supervisor.h"

#include <cstdlib>
#include <filesystem>
#include <system_error>
#include <utility>

#include "system/plugins/sandbox/supervisor_core.h"

namespace vrel::sandbox {

Guest::Guest(std::shared_ptr<Supervisor> supervisor, std::shared_ptr<GuestLink> link, std::uint64_t key, int processId)
    : supervisor_(std::move(supervisor)), link_(std::move(link)), key_(key), processId_(processId) {}

Guest::~Guest() {
  supervisor_->core_->post([key = key_](Supervisor::Core& core) { core.release(key); });
}

Result<Bytes> Guest::ask(MessageKind kind, Bytes body, MessageKind answer, GuestLink::Timeout timeout) {
  return link_->ask(sender(), kind, std::move(body), answer, timeout);
}

bool Guest::requestState() {
  return link_->requestState(sender());
}

void Guest::request(MessageKind kind, Bytes body, MessageKind answer, GuestLink::Answered handler) {
  link_->request(sender(), kind, std::move(body), answer, std::move(handler));
}

void Guest::attachEditor(FileDescriptor socket) {
  supervisor_->core_->post(
      [key = key_, shared = std::make_shared<FileDescriptor>(std::move(socket))](Supervisor::Core& core) {
        core.send(key, {MessageKind::attachEditor}, std::move(*shared));
      });
}

GuestLink::Send Guest::sender() {
  return [this](Message message) {
    supervisor_->core_->post([key = key_, message = std::make_shared<const Message>(std::move(message))](
                                 Supervisor::Core& core) { core.send(key, *message); });
  };
}

Supervisor::Supervisor(std::shared_ptr<Core> core) : core_(std::move(core)) {}

Result<std::shared_ptr<Supervisor>> Supervisor::start(Settings settings) {
  auto core = std::make_shared<Core>(std::move(settings));
  if (Outcome failure = core->begin(core)) {
    return *failure;
  }
  return std::shared_ptr<Supervisor>(new Supervisor(std::move(core)));
}

Supervisor::~Supervisor() {
  core_->end();
}

void Supervisor::launch(Launch launch) {
  // The thread does not hold the supervisor, or that would never end.
  core_->post([weak = weak_from_this(), launch = std::move(launch)](Core& core) { core.start(weak, launch); });
}

std::size_t Supervisor::processCount() const {
  return core_->processCount();
}

std::size_t Supervisor::parkedCount() const {
  return core_->parkedCount();
}

std::string Supervisor::defaultHelperPath() {
  // NOLINTNEXTLINE(concurrency-mt-unsafe): nothing here changes the environment
  if (const char* const given = std::getenv("VREL_PLUGIN_HOST"); given != nullptr && *given != '\0') {
    return given;
  }
  std::error_code failure;
  const auto program = std::filesystem::read_symlink("/proc/self/exe", failure);
  return helperPathFor(program.parent_path());
}

std::string Supervisor::helperPathFor(const std::filesystem::path& folder) {
  const auto installed = folder.parent_path() / "libexec" / "vrel" / "vrel-plugin-host";
  const auto beside = folder / "vrel-plugin-host";
  std::error_code ignored;
  return (!std::filesystem::exists(beside, ignored) && std::filesystem::exists(installed, ignored) ? installed : beside)
      .string();
}

}  // namespace vrel::sandbox
