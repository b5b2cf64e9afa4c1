// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/plugins/editor/gtk_toolkit.h"

#include <dlfcn.h>

#include <algorithm>
#include <cstdint>
#include <string>
#include <type_traits>
#include <utility>

namespace vrel::editor {
namespace {

constexpr const char* gtkLibrary = "libgtk-x11-2.0.so.0";

// An animation that never rests must not keep the editor's other work from being done.
constexpr int mostEventsAtOnce = 200;

/// GtkRequisition.
struct Requisition {
  int width;
  int height;
};

}  // namespace

struct GtkToolkit::Functions {
  int (*initCheck)(int* argumentCount, char*** arguments) = nullptr;
  Widget (*plugNew)(WindowId socket) = nullptr;
  WindowId (*plugGetId)(Widget plug) = nullptr;
  void (*containerAdd)(Widget container, Widget child) = nullptr;
  void (*showAll)(Widget widget) = nullptr;
  void (*sizeRequest)(Widget widget, Requisition* size) = nullptr;
  void (*destroy)(Widget widget) = nullptr;
  int (*eventsPending)() = nullptr;
  int (*iterate)(int mayBlock) = nullptr;
};

GtkToolkit::GtkToolkit(std::unique_ptr<const Functions> functions) : functions_(std::move(functions)) {}

GtkToolkit::~GtkToolkit() = default;

Result<std::unique_ptr<GtkToolkit>> GtkToolkit::load() {
  // Global, since editors of Gtk may find it there without naming it.
  void* const library = dlopen(gtkLibrary, RTLD_NOW | RTLD_GLOBAL);
  if (library == nullptr) {
    return Error{std::string("needs Gtk 2, which is not installed: ") + gtkLibrary};
  }
  auto functions = std::make_unique<Functions>();
  bool isWhole = true;
  const auto find = [&](const char* name, auto& function) {
    function = reinterpret_cast<std::remove_reference_t<decltype(function)>>(dlsym(library, name));
    isWhole = isWhole && function != nullptr;
  };
  find("gtk_init_check", functions->initCheck);
  find("gtk_plug_new", functions->plugNew);
  find("gtk_plug_get_id", functions->plugGetId);
  find("gtk_container_add", functions->containerAdd);
  find("gtk_widget_show_all", functions->showAll);
  find("gtk_widget_size_request", functions->sizeRequest);
  find("gtk_widget_destroy", functions->destroy);
  find("gtk_events_pending", functions->eventsPending);
  find("gtk_main_iteration_do", functions->iterate);
  if (!isWhole || functions->initCheck(nullptr, nullptr) == 0) {
    return Error{"needs Gtk 2, which does not start"};
  }
  return std::unique_ptr<GtkToolkit>(new GtkToolkit(std::move(functions)));
}

GtkToolkit::WindowId GtkToolkit::embed(Widget widget, WindowId parent) {
  plug_ = functions_->plugNew(parent);
  functions_->containerAdd(plug_, widget);
  functions_->showAll(plug_);
  handleEvents();
  return functions_->plugGetId(plug_);
}

sandbox::EditorSize GtkToolkit::wantedSize() const {
  Requisition size{0, 0};
  functions_->sizeRequest(plug_, &size);
  return {static_cast<std::uint32_t>(std::max(1, size.width)), static_cast<std::uint32_t>(std::max(1, size.height))};
}

void GtkToolkit::handleEvents() {
  for (int count = 0; count < mostEventsAtOnce && functions_->eventsPending() != 0; ++count) {
    (void)functions_->iterate(0);
  }
}

void GtkToolkit::removeWindow() {
  if (plug_ != nullptr) {
    functions_->destroy(std::exchange(plug_, nullptr));
    handleEvents();
  }
}

}  // namespace vrel::editor
