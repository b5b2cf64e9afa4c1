// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/plugins/lv2/hosted_plugin.h"

#include <lilv/lilv.h>
#include <lv2/atom/atom.h>

#include <cmath>
#include <cstring>
#include <exception>
#include <filesystem>
#include <optional>
#include <string>
#include <system_error>
#include <utility>

#include "foundation/mutex.h"
#include "foundation/thread_roles.h"
#include "system/plugins/lv2/urid_map.h"

namespace vrel::lv2 {

void HostedPluginRelease::operator()(HostedPlugin* plugin) const {
  (pluginThread != nullptr ? *pluginThread : world->thread()).post([plugin] { delete plugin; });
}

Result<HostedPluginPointer> HostedPlugin::make(const std::shared_ptr<Lv2World>& world,
                                               std::shared_ptr<const PluginDescription> description,
                                               const HostSettings& settings, double sampleRate) {
  HostedPluginPointer plugin(new HostedPlugin(*world, std::move(description), settings, sampleRate),
                             HostedPluginRelease{world, settings.pluginThread});
  Outcome failure;
  const auto open = [&] { failure = plugin->open(*world); };
  if (settings.pluginThread != nullptr) {
    settings.pluginThread->runAndWait(open);  // the world's thread waits, so the library has one user
  } else {
    open();
  }
  if (failure) {
    return Error{"plug-in " + plugin->description().name + " " + failure->description};
  }
  return plugin;
}

HostedPlugin::HostedPlugin(Lv2World& world, std::shared_ptr<const PluginDescription> description,
                           const HostSettings& settings, double sampleRate)
    : description_(std::move(description)),
      sampleRate_(sampleRate),
      urids_(world.urids()),
      log_(description_->name, settings),
      worker_(settings),
      files_(description_->bundlePath),
      features_(urids_, settings, sampleRate, log_, worker_, files_),
      ports_(*description_, sampleRate, urids_, settings.guardsBuffers) {}

HostedPlugin::~HostedPlugin() {
  if (instance_ == nullptr) {
    return;
  }
  worker_.detach();
  lilv_instance_deactivate(instance_);
  lilv_instance_free(instance_);
}

Outcome HostedPlugin::findObstacle() const {
  if (const auto missing = features_.firstMissing(*description_)) {
    return Error{"requires the unsupported feature " + *missing};
  }
  for (const PortDescription& port : description_->ports) {
    if (port.kind == PortKind::unsupported && !port.isOptional) {
      return Error{"has a port of an unsupported type: " + port.symbol};
    }
  }
  std::error_code ignored;
  if (!std::filesystem::exists(description_->libraryPath, ignored)) {
    return Error{"has no library file: " + description_->libraryPath};
  }
  return std::nullopt;
}

Outcome HostedPlugin::open(Lv2World& world) {
  if (Outcome obstacle = findObstacle()) {
    return obstacle;
  }
  const Error refused{"could not be instantiated"};
  const LilvPlugin* plugin = world.libraryPlugin(description_->uri);
  if (plugin == nullptr) {
    return refused;
  }
  try {
    instance_ = lilv_plugin_instantiate(plugin, sampleRate_, features_.list());
  } catch (const std::exception& thrown) {
    return Error{refused.description + ": " + thrown.what()};
  } catch (...) {
    return refused;
  }
  if (instance_ == nullptr) {
    return refused;
  }
  for (std::uint32_t index = 0; index < description_->ports.size(); ++index) {
    lilv_instance_connect_port(instance_, index, ports_.location(index));
  }
  const auto* work = lilv_instance_get_extension_data(instance_, LV2_WORKER__interface);
  worker_.attach(handle(), static_cast<const LV2_Worker_Interface*>(work));
  const auto* state = lilv_instance_get_extension_data(instance_, LV2_STATE__interface);
  stateInterface_ = static_cast<const LV2_State_Interface*>(state);
  const MutexLock lock(worker_.workMutex());
  if (description_->wantsDefaultState) {
    loadDefaultState(world);
  }
  lilv_instance_activate(instance_);
  return std::nullopt;
}

void HostedPlugin::loadDefaultState(Lv2World& world) {
  LilvNode* uri = lilv_new_uri(world.library(), description_->uri.c_str());
  LilvState* state = lilv_state_new_from_world(world.library(), urids_.mapFeature(), uri);
  lilv_node_free(uri);
  if (state == nullptr) {
    return;
  }
  lilv_state_restore(state, instance_, &setStoredControl, this, 0, features_.list());
  lilv_state_free(state);
}

void HostedPlugin::setStoredControl(const char* symbol, void* plugin, const void* value, std::uint32_t size,
                                    std::uint32_t type) {
  auto& self = *static_cast<HostedPlugin*>(plugin);
  const auto read = [&](const char* typeUri, auto number) -> std::optional<float> {
    if (type != self.urids_.map(typeUri) || size != sizeof number) {
      return std::nullopt;
    }
    std::memcpy(&number, value, sizeof number);
    return static_cast<float>(number);
  };
  std::optional<float> number = read(LV2_ATOM__Float, float{});
  number = number ? number : read(LV2_ATOM__Double, double{});
  number = number ? number : read(LV2_ATOM__Int, std::int32_t{});
  number = number ? number : read(LV2_ATOM__Long, std::int64_t{});
  number = number ? number : read(LV2_ATOM__Bool, std::int32_t{});
  const auto& ports = self.description_->ports;
  for (std::uint32_t index = 0; number && std::isfinite(*number) && index < ports.size(); ++index) {
    if (ports[index].symbol == symbol && ports[index].isSetting()) {
      self.ports_.setControl(index, *number);
    }
  }
}

void HostedPlugin::runAndAnswer(std::uint32_t frameCount, bool performNow) noexcept {
  const InsideBlockScope insideBlock(!performNow);
  const ForeignCodeScope foreignCode;
  lilv_instance_run(instance_, frameCount);
  worker_.endBlock(performNow);
}

LV2_Handle HostedPlugin::handle() const {
  return lilv_instance_get_handle(instance_);
}

const void* (*HostedPlugin::extensionData() const)(const char* uri) {
  return lilv_instance_get_descriptor(instance_)->extension_data;
}

void HostedPlugin::settle() noexcept {
  ports_.beginBlock();
  runAndAnswer(0, true);
}

void HostedPlugin::reactivate() noexcept {
  lilv_instance_deactivate(instance_);
  lilv_instance_activate(instance_);
}

}  // namespace vrel::lv2
