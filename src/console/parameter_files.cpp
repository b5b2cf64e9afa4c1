// SPDX-License-Identifier: GPL-3.0-or-later
#include "console/parameter_files.h"

#include <algorithm>
#include <filesystem>
#include <utility>

#include "document/app_state.h"
#include "performance/live_mode_policy.h"
#include "platform/desktop.h"
#include "platform/dispatch.h"
#include "platform/message_parameters.h"

namespace vrel {
namespace {

constexpr double secondsBetweenPanels = 1.0;

bool mayChoose(const AppState& state) {
  return LiveModePolicy::isAllowed(LiveModeAction::changeInstrument, state);
}

}  // namespace

bool chooseParameterFile(const std::weak_ptr<AVAudioUnit>& unit, AUParameterAddress address, AppState& state,
                         Desktop& desktop) {
  NSOpenPanel panel{.allowedType = FileType::audio};
  {
    const auto asking = unit.lock();
    auto* const messages = asking != nullptr ? dynamic_cast<MessageParameters*>(&asking->auAudioUnit()) : nullptr;
    if (messages == nullptr || !mayChoose(state)) {
      return false;
    }
    const std::filesystem::path present = messages->parameterText(address);
    if (present.has_parent_path()) {
      panel.directory = present.parent_path();
    }
  }
  const auto chosen = desktop.runModal(panel);
  const auto there = unit.lock();  // it may have gone while the panel was open
  auto* const messages = there != nullptr ? dynamic_cast<MessageParameters*>(&there->auAudioUnit()) : nullptr;
  if (!chosen || messages == nullptr || !mayChoose(state)) {
    return false;
  }
  messages->setParameterText(address, chosen->string());
  state.markEdited();
  return true;
}

void ParameterFiles::request(const std::shared_ptr<AVAudioUnit>& unit, const std::string& identifier) {
  if (isBusy_ || !mayChoose(state_)) {
    return;
  }
  isBusy_ = true;
  unit->auAudioUnit().requestParameterTree([this, life = life_.watch(), weak = std::weak_ptr(unit), identifier,
                                            &mainQueue = mainQueue_](std::shared_ptr<const AUParameterTree> tree) {
    mainQueue.async([this, life, weak, identifier, tree = std::move(tree)] {
      if (life.isAlive()) {
        isBusy_ = false;
        if (tree != nullptr) {
          choose(weak, *tree, identifier);
        }
      }
    });
  });
}

void ParameterFiles::choose(const std::weak_ptr<AVAudioUnit>& unit, const AUParameterTree& tree,
                            const std::string& identifier) {
  const auto& all = tree.allParameters;
  const auto found = std::find_if(all.begin(), all.end(), [&](const AUParameter& each) {
    return each.identifier == identifier && isPath(each) && !each.isOutput;
  });
  if (found == all.end()) {
    return;
  }
  isBusy_ = true;
  const auto life = life_.watch();
  (void)chooseParameterFile(unit, found->address, state_, desktop_);
  if (life.isAlive()) {  // the console may have gone while the panel was open
    mainQueue_.asyncAfter(secondsBetweenPanels, [this, life] {
      if (life.isAlive()) {
        isBusy_ = false;
      }
    });
  }
}

}  // namespace vrel
