// SPDX-License-Identifier: GPL-3.0-or-later
#include "shell/menu_builder.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string_view>
#include <utility>

#include "document/app_state.h"
#include "document/setlist.h"
#include "shell/menu_commands.h"
#include "text/hints.h"
#include "text/text.h"

namespace vrel {
namespace {

using Items = std::vector<MenuItem>;

constexpr std::array<std::pair<VisualBlendMode, const char*>, 4> blendModeTitles{
    {{VisualBlendMode::multiply, "Multiply"},
     {VisualBlendMode::screen, "Screen"},
     {VisualBlendMode::plusLighter, "Add"},
     {VisualBlendMode::normal, "Normal"}}};

/// Makes items in the language of the session, enabled as it wants.
class Builder {
 public:
  explicit Builder(const MenuContents& contents)
      : contents_(contents), state_(contents.state), language_(state_.language.get()) {}

  [[nodiscard]] MenuItem application(const MenuBar& former) const;
  [[nodiscard]] MenuItem file() const;
  [[nodiscard]] MenuItem edit() const;
  [[nodiscard]] MenuItem mode() const;
  [[nodiscard]] MenuItem visual() const;
  [[nodiscard]] MenuItem settings() const;
  [[nodiscard]] MenuItem help() const;

 private:
  [[nodiscard]] std::string words(TextKey key) const { return std::string(text(key, language_)); }
  [[nodiscard]] std::string hinted(Hint hint) const { return std::string(hintText(hint, language_)); }

  [[nodiscard]] std::string titleOr(const std::string& title, TextKey key) const {
    return title.empty() ? words(key) : title;
  }

  [[nodiscard]] MenuItem command(std::string title, MenuAction action, std::string object = {}) const;
  [[nodiscard]] MenuItem withKey(MenuItem item, const char* key, ModifierFlags further = ModifierFlags::none) const;
  [[nodiscard]] MenuItem checked(MenuItem item, bool isChecked) const;
  [[nodiscard]] static MenuItem menu(std::string title, Items children);
  [[nodiscard]] static MenuItem unavailable(std::string title);

  [[nodiscard]] MenuItem recentFiles() const;
  [[nodiscard]] MenuItem screens() const;
  [[nodiscard]] MenuItem blendModes() const;
  [[nodiscard]] MenuItem backgroundVideo() const;
  [[nodiscard]] MenuItem bufferSizes() const;
  [[nodiscard]] MenuItem outputs() const;

  const MenuContents& contents_;
  const AppState& state_;
  Language language_;
};

MenuItem Builder::command(std::string title, MenuAction action, std::string object) const {
  MenuItem item;
  item.title = std::move(title);
  item.action = menuCommand(action).name;
  item.representedObject = std::move(object);
  item.isEnabled = isMenuActionEnabled(action, state_);
  if (action != MenuAction::noop) {
    item.hint = hintText(menuActionHint(action, state_), language_);
  }
  return item;
}

MenuItem Builder::withKey(MenuItem item, const char* key, ModifierFlags further) const {
  item.key = key;
  item.modifiers = ModifierFlags::command | further;
  return item;
}

MenuItem Builder::checked(MenuItem item, bool isChecked) const {
  item.isChecked = isChecked;
  return item;
}

MenuItem Builder::menu(std::string title, Items children) {
  MenuItem item;
  item.title = std::move(title);
  item.children = std::move(children);
  return item;
}

MenuItem Builder::unavailable(std::string title) {
  MenuItem item;
  item.title = std::move(title);
  item.isEnabled = false;
  return item;
}

MenuItem separator() {
  MenuItem item;
  item.isSeparator = true;
  item.isEnabled = false;
  return item;
}

bool isInAnyLanguage(const std::string& title, TextKey key) {
  return std::any_of(allLanguages.begin(), allLanguages.end(),
                     [&](Language language) { return title == text(key, language); });
}

bool isTitleOfTheBar(const std::string& title) {
  constexpr std::array own{TextKey::fileMenu,   TextKey::editMenu,        TextKey::modeMenu,
                           TextKey::visualMenu, TextKey::appSettingsMenu, TextKey::helpMenu};
  return std::any_of(own.begin(), own.end(), [&](TextKey key) { return isInAnyLanguage(title, key); });
}

bool isQuit(const MenuItem& item) {
  return item.action == menuCommand(MenuAction::terminate).name;
}

bool isApplicationMenu(const MenuItem& menu) {
  return std::any_of(menu.children.begin(), menu.children.end(), isQuit) && !isTitleOfTheBar(menu.title);
}

bool isOurQuit(const MenuItem& item) {
  return isQuit(item) && isInAnyLanguage(item.title, TextKey::quitApp);
}

MenuItem Builder::application(const MenuBar& former) const {
  const auto found = std::find_if(former.begin(), former.end(), isApplicationMenu);
  if (found == former.end()) {
    return menu(words(TextKey::appTitle), {withKey(command(words(TextKey::quitApp), MenuAction::terminate), "q")});
  }
  MenuItem kept = *found;
  for (MenuItem& item : kept.children) {
    if (isOurQuit(item)) {
      item.title = words(TextKey::quitApp);
      item.hint = hintText(Hint::quit, language_);
    }
  }
  return kept;
}

MenuItem Builder::recentFiles() const {
  Items items;
  for (const auto& path : state_.recentFiles.get()) {
    items.push_back(command(path.filename().string(), MenuAction::openRecentSetlist, path.string()));
  }
  if (items.empty()) {
    items.push_back(unavailable(words(TextKey::noRecentFiles)));
  } else {
    items.push_back(command(words(TextKey::clearRecent), MenuAction::clearRecentSetlists));
  }
  return menu(words(TextKey::openRecent), std::move(items));
}

MenuItem Builder::file() const {
  return menu(words(TextKey::fileMenu),
              {withKey(command(words(TextKey::newSetlist), MenuAction::newSetlist), "n"),
               withKey(command(words(TextKey::openSetlist), MenuAction::openSetlist), "o"), recentFiles(),
               withKey(command(words(TextKey::saveSetlist), MenuAction::saveSetlist), "s"),
               withKey(command(words(TextKey::saveSetlistAs), MenuAction::saveSetlistAs), "S", ModifierFlags::shift),
               command(words(TextKey::checkSetlist), MenuAction::checkSetlist),
               command(words(TextKey::keptCopies), MenuAction::showKeptCopies),
               command(hinted(Hint::collectTitle), MenuAction::collectSetlist)});
}

MenuItem Builder::edit() const {
  return menu(words(TextKey::editMenu),
              {withKey(command(words(TextKey::copyChannel), MenuAction::copyChannel), "c"),
               withKey(command(words(TextKey::cutChannel), MenuAction::cutChannel), "x"),
               withKey(command(words(TextKey::pasteChannel), MenuAction::pasteChannel), "v"),
               withKey(command(words(TextKey::duplicateChannel), MenuAction::duplicateChannel), "d"),
               withKey(command(titleOr(state_.undoTitle.get(), TextKey::undoEdit), MenuAction::undo), "z"),
               withKey(command(titleOr(state_.redoTitle.get(), TextKey::redoEdit), MenuAction::redo), "Z",
                       ModifierFlags::shift)});
}

MenuItem Builder::mode() const {
  const bool isLive = state_.isLiveModeEnabled.get();
  const auto shifted = [this](TextKey key, MenuAction action, const char* letter, bool isChecked) {
    return checked(withKey(command(words(key), action), letter, ModifierFlags::shift), isChecked);
  };
  return menu(
      words(TextKey::modeMenu),
      {shifted(TextKey::modeEdit, MenuAction::modeEdit, "E", !isLive),
       shifted(TextKey::modeLive, MenuAction::modeLive, "L", isLive),
       shifted(TextKey::midiLearn, MenuAction::toggleLearn, "M", state_.isMidiLearnMode.get()),
       command(words(TextKey::clearMidiLearn), MenuAction::clearMidiLearn),
       command(words(TextKey::learnedControls), MenuAction::showLearnedControls),
       command(words(TextKey::songsByMidi), MenuAction::showSongControl),
       withKey(command(hinted(Hint::largeNotesTitle), MenuAction::toggleLargeNotes), "N", ModifierFlags::shift)});
}

MenuItem Builder::screens() const {
  Items items;
  for (std::size_t index = 0; index < contents_.screenCount; ++index) {
    items.push_back(
        command("Display " + std::to_string(index + 1), MenuAction::openVisualProjection, std::to_string(index)));
  }
  if (items.size() < 2) {
    items.push_back(unavailable(words(TextKey::visualNoExternalDisplays)));
  }
  return menu(words(TextKey::visualOpenProjection), std::move(items));
}

MenuItem Builder::blendModes() const {
  Items items;
  for (const auto& [blendMode, title] : blendModeTitles) {
    items.push_back(checked(command(title, MenuAction::selectVisualBlendMode, storedText(blendMode)),
                            blendMode == state_.visualBlendMode.get()));
  }
  return menu(words(TextKey::visualBlendMode), std::move(items));
}

MenuItem Builder::backgroundVideo() const {
  Items items{command(words(TextKey::visualChooseBackgroundVideo), MenuAction::chooseVisualBackgroundVideo)};
  if (const auto& path = state_.visualBackgroundVideoPath.get(); path && !path->empty()) {
    items.push_back(command(std::filesystem::path(*path).filename().string(), MenuAction::noop));
  }
  items.push_back(separator());
  items.push_back(command(words(TextKey::visualClearBackgroundVideo), MenuAction::clearVisualBackgroundVideo));
  return menu(words(TextKey::visualBackgroundVideo), std::move(items));
}

MenuItem Builder::visual() const {
  return menu(words(TextKey::visualMenu),
              {screens(), blendModes(), backgroundVideo(), separator(),
               withKey(command(words(TextKey::visualToggleFullscreen), MenuAction::toggleVisualProjectionFullscreen),
                       "f", ModifierFlags::option),
               withKey(command(words(TextKey::visualCloseProjection), MenuAction::closeVisualProjection), "w",
                       ModifierFlags::option),
               separator(),
               withKey(checked(command(words(TextKey::projectionBlackout), MenuAction::toggleProjectionBlackout),
                               contents_.isProjectionBlack),
                       "b", ModifierFlags::option),
               checked(command(words(TextKey::projectionTestPicture), MenuAction::toggleProjectionTestPicture),
                       contents_.showsTestPicture)});
}

MenuItem Builder::bufferSizes() const {
  Items items;
  for (const std::uint32_t frames : AppState::allowedFrameSizes) {
    const std::string number = std::to_string(frames);
    items.push_back(
        checked(command(number + " " + words(TextKey::audioSamples), MenuAction::selectAudioBufferSize, number),
                frames == state_.audioIOBufferFrameSize.get()));
  }
  return menu(words(TextKey::audioBufferSize), std::move(items));
}

MenuItem Builder::outputs() const {
  const auto current = state_.audioOutputDeviceUID.get().value_or("");
  Items items{
      checked(command(words(TextKey::audioSystemDefault), MenuAction::selectSystemAudioOutput), current.empty())};
  for (const auto& device : contents_.outputDevices) {
    items.push_back(checked(command(device.name, MenuAction::selectAudioOutput, device.uid), device.uid == current));
  }
  if (contents_.outputDevices.empty()) {
    items.push_back(unavailable(words(TextKey::audioNoOutputs)));
  }
  return menu(words(TextKey::audioOutput), std::move(items));
}

MenuItem Builder::settings() const {
  return menu(words(TextKey::appSettingsMenu), {bufferSizes(), outputs()});
}

MenuItem Builder::help() const {
  return menu(words(TextKey::helpMenu), {withKey(command(words(TextKey::helpCommand), MenuAction::showHelp), "/"),
                                         command(words(TextKey::liveKeys), MenuAction::showLiveKeys),
                                         command(words(TextKey::stateFolder), MenuAction::openStateFolder)});
}

}  // namespace

MenuBar buildMenuBar(const MenuContents& contents, const MenuBar& former) {
  const Builder builder(contents);
  return {builder.application(former), builder.file(), builder.edit(), builder.mode(), builder.visual(),
          builder.settings(),          builder.help()};
}

}  // namespace vrel
