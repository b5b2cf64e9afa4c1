// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/plugins/editor/hosted_editor.h"

#include <dlfcn.h>
#include <lv2/atom/atom.h>
#include <lv2/instance-access/instance-access.h>
#include <lv2/log/log.h>
#include <lv2/parameters/parameters.h>
#include <lv2/urid/urid.h>

#include <algorithm>
#include <cstring>
#include <exception>
#include <utility>

#include "system/plugins/lv2/editor_features.h"

namespace vrel::editor {
namespace {

lv2::HostSettings logSettings(const std::function<void(const std::string&)>& log) {
  lv2::HostSettings settings;
  settings.log = log;
  return settings;
}

}  // namespace

HostedEditor::HostedEditor(sandbox::EditorRequest request, Handlers handlers, const PluginAccess* access)
    : request_(std::move(request)),
      handlers_(std::move(handlers)),
      urids_(access != nullptr ? access->urids : ownUrids_),
      eventTransfer_(urids_.map(LV2_ATOM__eventTransfer)),
      log_(request_.place.pluginName, logSettings(handlers_.log)),
      instance_(access != nullptr ? access->instance : nullptr),
      dataAccess_{access != nullptr ? access->extensionData : nullptr},
      sampleRate_(static_cast<float>(request_.sampleRate)) {
  makeOptions();
}

HostedEditor::~HostedEditor() {
  hideWindows();
  if (handle_ != nullptr && descriptor_->cleanup != nullptr) {
    descriptor_->cleanup(handle_);
  }
}

void HostedEditor::makeOptions() {
  const auto add = [this](const char* key, const char* type, std::size_t size, const void* value) {
    options_.push_back(
        {LV2_OPTIONS_INSTANCE, 0, urids_.map(key), static_cast<std::uint32_t>(size), urids_.map(type), value});
  };
  add(LV2_PARAMETERS__sampleRate, LV2_ATOM__Float, sizeof(float), &sampleRate_);
  add(LV2_UI__updateRate, LV2_ATOM__Float, sizeof(float), &updatesPerSecond_);
  add(LV2_UI__scaleFactor, LV2_ATOM__Float, sizeof(float), &scale_);
  add(LV2_UI__windowTitle, LV2_ATOM__String, request_.title.size() + 1, request_.title.c_str());
  options_.push_back({});
}

Outcome HostedEditor::load() {
  library_ = dlopen(request_.place.libraryPath.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (library_ == nullptr) {
    const char* const why = dlerror();
    return Error{std::string("has a library that does not load: ") + (why != nullptr ? why : "unknown reason")};
  }
  const auto find = reinterpret_cast<LV2UI_DescriptorFunction>(dlsym(library_, "lv2ui_descriptor"));
  for (std::uint32_t index = 0; find != nullptr; ++index) {
    descriptor_ = find(index);
    if (descriptor_ == nullptr || request_.place.uri == descriptor_->URI) {
      break;
    }
  }
  if (descriptor_ == nullptr || descriptor_->instantiate == nullptr) {
    descriptor_ = nullptr;
    return Error{"has no editor " + request_.place.uri + " in its library"};
  }
  return std::nullopt;
}

Outcome HostedEditor::open(unsigned long parent) {
  offer(LV2_URID__map, urids_.mapFeature());
  offer(LV2_URID__unmap, urids_.unmapFeature());
  offer(LV2_OPTIONS__options, options_.data());
  offer(LV2_LOG__log, log_.feature());
  if (request_.place.kind == EditorKind::x11) {
    offer(LV2_UI__parent, reinterpret_cast<void*>(static_cast<std::uintptr_t>(parent)));
  }
  if (request_.place.kind == EditorKind::external) {
    externalHost_.title = request_.title.c_str();
    offer(lv2::externalEditorHost, &externalHost_);
    offer(lv2::externalEditorOld, &externalHost_);
  }
  offer(LV2_UI__resize, &resizeFeature_);
  offer(LV2_UI__portMap, &portMap_);
  offer(LV2_UI__portSubscribe, &subscribe_);
  offer(LV2_UI__touch, &touch_);
  offer(LV2_UI__requestValue, &requestValue_);
  offer(LV2_UI__idleInterface);
  if (instance_ != nullptr) {
    offer(LV2_INSTANCE_ACCESS_URI, instance_);
    offer(LV2_DATA_ACCESS_URI, &dataAccess_);
  }
  std::vector<const LV2_Feature*> list;
  for (const LV2_Feature& feature : features_) {
    list.push_back(&feature);
  }
  list.push_back(nullptr);
  try {
    handle_ = descriptor_->instantiate(descriptor_, request_.place.pluginUri.c_str(), request_.place.bundlePath.c_str(),
                                       write, this, &widget_, list.data());
  } catch (const std::exception& thrown) {
    return Error{std::string("refused to open: ") + thrown.what()};
  } catch (...) {
    return Error{"refused to open"};
  }
  if (handle_ == nullptr) {
    return Error{"refused to open"};
  }
  if (descriptor_->extension_data != nullptr) {
    idle_ = static_cast<const LV2UI_Idle_Interface*>(descriptor_->extension_data(LV2_UI__idleInterface));
  }
  show(request_.values);
  return showWindows();
}

Outcome HostedEditor::showWindows() {
  if (isEmbedded(request_.place.kind)) {
    return std::nullopt;
  }
  const Error nothing{"has nothing to show"};
  if (request_.place.kind == EditorKind::external) {
    if (widget_ == nullptr) {
      return nothing;
    }
    external()->show(external());
  } else {
    const auto* const data =
        descriptor_->extension_data != nullptr ? descriptor_->extension_data(LV2_UI__showInterface) : nullptr;
    show_ = static_cast<const LV2UI_Show_Interface*>(data);
    if (show_ == nullptr || show_->show(handle_) != 0) {
      return nothing;
    }
  }
  isShown_ = true;
  return std::nullopt;
}

void HostedEditor::hideWindows() {
  if (!isShown_ || isClosed_) {
    return;
  }
  if (show_ != nullptr) {
    (void)show_->hide(handle_);
  } else {
    external()->hide(external());
  }
}

void HostedEditor::closedByPerson(LV2UI_Controller self) {
  static_cast<HostedEditor*>(self)->isClosed_ = true;
}

void HostedEditor::show(const std::vector<sandbox::PortValue>& values) {
  if (descriptor_->port_event == nullptr) {
    return;
  }
  for (const sandbox::PortValue& each : values) {
    descriptor_->port_event(handle_, each.port, sizeof each.value, 0, &each.value);
  }
}

void HostedEditor::showAtom(std::uint32_t port, std::span<const std::uint8_t> packed) {
  const auto atom = packing_.unpack(packed);
  if (atom && descriptor_->port_event != nullptr) {
    descriptor_->port_event(handle_, port, static_cast<std::uint32_t>(atom->size()), eventTransfer_, atom->data());
  }
}

bool HostedEditor::idle() {
  if (request_.place.kind == EditorKind::external) {
    if (!isClosed_) {
      external()->run(external());
    }
    return !isClosed_;
  }
  isClosed_ = idle_ != nullptr && idle_->idle != nullptr && idle_->idle(handle_) != 0;
  return !isClosed_;
}

void HostedEditor::write(LV2UI_Controller self, std::uint32_t port, std::uint32_t size, std::uint32_t protocol,
                         const void* value) {
  auto& editor = *static_cast<HostedEditor*>(self);
  if (value != nullptr && protocol == editor.eventTransfer_) {
    const auto* const bytes = static_cast<const std::uint8_t*>(value);
    if (const auto packed = editor.packing_.pack({bytes, size})) {
      editor.handlers_.atomWritten(port, *packed);
    }
    return;
  }
  if (value == nullptr || (protocol != 0 && protocol != editor.urids_.map(LV2_UI__floatProtocol))) {
    return;
  }
  if (size == sizeof(float)) {
    sandbox::PortValue written{port};
    std::memcpy(&written.value, value, sizeof written.value);
    editor.handlers_.written(written);
  }
}

int HostedEditor::resize(LV2UI_Feature_Handle self, int width, int height) {
  if (width <= 0 || height <= 0) {
    return 1;
  }
  const auto& editor = *static_cast<HostedEditor*>(self);
  editor.handlers_.resized({static_cast<std::uint32_t>(width), static_cast<std::uint32_t>(height)});
  return 0;
}

std::uint32_t HostedEditor::portIndex(LV2UI_Feature_Handle self, const char* symbol) {
  const auto& ports = static_cast<HostedEditor*>(self)->request_.place.ports;
  const auto found = std::find_if(ports.begin(), ports.end(), [&](const auto& port) { return port.symbol == symbol; });
  return found == ports.end() ? LV2UI_INVALID_PORT_INDEX : found->index;
}

/// Every control is shown to every editor anyway.
std::uint32_t HostedEditor::acceptSubscription(LV2UI_Feature_Handle self, std::uint32_t port,
                                               std::uint32_t /*protocol*/, const LV2_Feature* const* /*features*/) {
  return port < static_cast<HostedEditor*>(self)->request_.place.ports.size() ? 0 : 1;
}

/// The answer comes, if one does, from the plug-in, which gets what is chosen.
LV2UI_Request_Value_Status HostedEditor::requestValue(LV2UI_Feature_Handle self, LV2_URID key, LV2_URID type,
                                                      const LV2_Feature* const* /*features*/) {
  auto& editor = *static_cast<HostedEditor*>(self);
  const char* const uri = editor.urids_.unmap(key);
  const auto& files = editor.request_.place.files;
  if (uri == nullptr || std::find(files.begin(), files.end(), uri) == files.end()) {
    return LV2UI_REQUEST_VALUE_ERR_UNKNOWN;
  }
  if (type != 0 && type != editor.urids_.map(LV2_ATOM__Path)) {
    return LV2UI_REQUEST_VALUE_ERR_UNSUPPORTED;
  }
  editor.handlers_.fileRequested(uri);
  return LV2UI_REQUEST_VALUE_SUCCESS;
}

/// Nothing here distinguishes a held knob.
void HostedEditor::touch(LV2UI_Feature_Handle /*self*/, std::uint32_t /*port*/, bool /*isHeld*/) {}

}  // namespace vrel::editor
