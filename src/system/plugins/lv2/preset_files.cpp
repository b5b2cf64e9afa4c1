// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/plugins/lv2/preset_files.h"

#include <fcntl.h>
#include <lilv/lilv.h>
#include <lv2/atom/atom.h>
#include <lv2/presets/presets.h>
#include <lv2/state/state.h>
#include <signal.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <map>
#include <optional>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

#include "system/plugins/lv2/lilv_pointers.h"
#include "system/plugins/lv2/lv2_world.h"
#include "system/plugins/lv2/plugin_state.h"
#include "system/plugins/lv2/preset_list.h"
#include "system/plugins/lv2/preset_state.h"
#include "system/plugins/lv2/urid_map.h"

namespace vrel::lv2 {
namespace {

namespace fs = std::filesystem;

constexpr const char* manifestFileName = "manifest.ttl";
constexpr const char* presetFileName = "preset.ttl";
constexpr const char* filesFolderName = "files";
constexpr std::string_view madeFolderPrefix = ".vrel-";
constexpr std::string_view ownFilePrefix = "state:";
constexpr std::string_view bundleFilePrefix = "bundle:";
constexpr std::size_t longestFolderPart = 60;

std::string safeForAFolder(const std::string& name) {
  std::string safe;
  for (const char character : name.substr(0, longestFolderPart)) {
    const auto code = static_cast<unsigned char>(character);
    const bool isKept =
        (code >= '0' && code <= '9') || (code >= 'A' && code <= 'Z') || (code >= 'a' && code <= 'z') || code == '-';
    safe += isKept ? character : '_';
  }
  return safe;
}

/// A preset of a name that its file cannot hold is not found again.
std::string nameInAFile(std::string name) {
  std::replace_if(
      name.begin(), name.end(), [](char character) { return static_cast<unsigned char>(character) < ' '; }, ' ');
  return name;
}

std::string quoted(const std::string& text) {
  std::string quoted = "\"";
  for (const char character : text) {
    if (character == '"' || character == '\\') {
      quoted += '\\';
    }
    quoted += character;
  }
  return quoted + "\"";
}

/// Takes the place of the plug-in while its state is written: it has the snapshot instead of a state of its own.
struct Replayed {
  std::vector<StateProperty> properties;
  UridMap& urids;
};

LV2_State_Status replay(LV2_Handle handle, LV2_State_Store_Function store, LV2_State_Handle state,
                        std::uint32_t /*flags*/, const LV2_Feature* const* /*features*/) {
  const auto& replayed = *static_cast<const Replayed*>(handle);
  for (const StateProperty& property : replayed.properties) {
    const LV2_State_Status status = store(state, replayed.urids.map(property.key), property.value.data(),
                                          property.value.size(), replayed.urids.map(property.type), property.flags);
    if (status != LV2_STATE_SUCCESS) {
      return status;
    }
  }
  return LV2_STATE_SUCCESS;
}

const void* replayExtension(const char* uri) {
  static const LV2_State_Interface interface { &replay, nullptr };
  return std::string_view(uri) == LV2_STATE__interface ? &interface : nullptr;
}

/// The plug-in's own files go with the preset; see state_files.h.
std::string pathInPreset(const std::string& stored, const fs::path& pluginBundle) {
  if (stored.starts_with(ownFilePrefix)) {
    return std::string(filesFolderName) + "/" + stored.substr(ownFilePrefix.size());
  }
  return stored.starts_with(bundleFilePrefix) ? (pluginBundle / stored.substr(bundleFilePrefix.size())).string()
                                              : stored;
}

Outcome writeFile(const fs::path& path, std::string_view content) {
  std::error_code failure;
  fs::create_directories(path.parent_path(), failure);
  std::ofstream stream(path, std::ios::binary);
  stream.write(content.data(), static_cast<std::streamsize>(content.size()));
  stream.close();
  return failure || !stream ? Outcome(Error{"cannot write " + path.string()}) : std::nullopt;
}

std::string manifest(const PluginDescription& description, const std::string& name) {
  const std::string file = std::string("<") + presetFileName + ">";
  return "@prefix lv2: <http://lv2plug.in/ns/lv2core#> .\n"
         "@prefix pset: <http://lv2plug.in/ns/ext/presets#> .\n"
         "@prefix rdfs: <http://www.w3.org/2000/01/rdf-schema#> .\n\n" +
         file + "\n\ta pset:Preset ;\n\tlv2:appliesTo <" + description.uri + "> ;\n\trdfs:label " + quoted(name) +
         " ;\n\trdfs:seeAlso " + file + " ;\n\t<" + userPresetProperty + "> true .\n";
}

/// The last statement of a file ends in a full stop.
bool endsInAStop(const fs::path& file) {
  std::ifstream stream(file, std::ios::binary);
  char last = 0;
  for (char character = 0; stream.get(character);) {
    last = character > ' ' ? character : last;
  }
  return last == '.';
}

struct StoredPorts {
  const std::map<std::string, float>& values;
  LV2_URID floatType;
};

const void* storedPort(const char* symbol, void* data, std::uint32_t* size, std::uint32_t* type) {
  const auto& ports = *static_cast<const StoredPorts*>(data);
  const auto found = ports.values.find(symbol);
  *size = found == ports.values.end() ? 0 : sizeof(float);
  *type = found == ports.values.end() ? 0 : ports.floatType;
  return found == ports.values.end() ? nullptr : &found->second;
}

/// All files of a bundle with this state, in a folder that is there.
Outcome writeBundle(Lv2World& world, const PluginDescription& description, const StateSnapshot& snapshot,
                    const std::string& name, const fs::path& folder) {
  UridMap& urids = world.urids();
  auto properties = inThisProcess(urids, snapshot.properties);
  if (!properties) {
    return properties.error();
  }
  for (StateProperty& property : properties.value()) {
    if (property.type == LV2_ATOM__Path && !property.value.empty()) {
      const auto* const begin = reinterpret_cast<const char*>(property.value.data());
      const std::string path = pathInPreset({begin, ::strnlen(begin, property.value.size())}, description.bundlePath);
      property.value.assign(path.c_str(), path.c_str() + path.size() + 1);
    }
  }
  for (const auto& [file, content] : snapshot.files) {
    const fs::path relative = fs::path(file).lexically_normal();
    if (relative.empty() || relative.is_absolute() || *relative.begin() == "..") {
      return Error{"the plug-in has a file outside its folder: " + file};
    }
    const std::string_view bytes(reinterpret_cast<const char*>(content.data()), content.size());
    if (Outcome failure = writeFile(folder / filesFolderName / relative, bytes)) {
      return failure;
    }
  }
  const LilvPlugin* const plugin = world.libraryPlugin(description.uri);
  if (plugin == nullptr) {
    return Error{"the plug-in is not installed any more"};
  }
  Replayed replayed{std::move(properties).value(), urids};
  const LV2_Descriptor descriptor{description.uri.c_str(), nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                                  &replayExtension};
  LilvInstance stand{&descriptor, &replayed, nullptr};
  StoredPorts ports{snapshot.ports, urids.map(LV2_ATOM__Float)};
  const State state(lilv_state_new_from_instance(plugin, &stand, urids.mapFeature(), nullptr, nullptr, nullptr, nullptr,
                                                 &storedPort, &ports, LV2_STATE_IS_POD | LV2_STATE_IS_PORTABLE,
                                                 nullptr));
  if (state == nullptr) {
    return Error{"its state cannot be written"};
  }
  lilv_state_set_label(state.get(), name.c_str());
  const fs::path file = folder / presetFileName;
  if (lilv_state_save(world.library(), urids.mapFeature(), urids.unmapFeature(), state.get(), nullptr, folder.c_str(),
                      presetFileName) != 0) {
    return Error{"cannot write " + file.string()};
  }
  // The library does not say that the disk is full.
  const Node subject(lilv_new_file_uri(world.library(), nullptr, file.c_str()));
  const State written(lilv_state_new_from_file(world.library(), urids.mapFeature(), subject.get(), file.c_str()));
  if (written == nullptr || valueCount(written.get()) != valueCount(state.get()) || !endsInAStop(file)) {
    return Error{"cannot write all of " + file.string()};
  }
  return writeFile(folder / manifestFileName, manifest(description, name));
}

std::optional<AUAudioUnitPreset> ownPreset(const std::vector<AUAudioUnitPreset>& presets, const std::string& name) {
  const auto found = std::find_if(presets.begin(), presets.end(),
                                  [&](const auto& each) { return each.isUserPreset && each.name == name; });
  return found == presets.end() ? std::nullopt : std::optional(*found);
}

Node bundleNode(LilvWorld* library, const fs::path& folder) {
  return Node(lilv_new_file_uri(library, nullptr, (folder / "").c_str()));
}

/// A name that no folder has.
fs::path freeFolder(const fs::path& place, const std::string& name, const std::string& ending) {
  std::error_code ignored;
  fs::path folder = place / (name + ending);
  for (int number = 2; fs::exists(folder, ignored); ++number) {
    folder = place / (name + "-" + std::to_string(number) + ending);
  }
  return folder;
}

Result<fs::path> folderOf(Lv2World& world, const AUAudioUnitPreset& preset) {
  const Node node(lilv_new_uri(world.library(), preset.identifier.c_str()));
  const HeapText path(node != nullptr ? lilv_node_get_path(node.get(), nullptr) : nullptr);
  const fs::path folder = path == nullptr ? fs::path() : fs::path(path.get()).parent_path();
  if (folder.empty() || folder.parent_path() != userBundleFolder()) {
    return Error{"it is not among the user's files"};
  }
  return folder;
}

/// Whether nothing is in the folder that savePreset does not write. A person may have put more there.
bool isOfOnePreset(const fs::path& folder) {
  std::error_code failure;
  const fs::directory_iterator entries(folder, failure);
  return !failure && std::all_of(fs::begin(entries), fs::end(entries), [](const fs::directory_entry& each) {
    const fs::path name = each.path().filename();
    return name == manifestFileName || name == presetFileName || name == filesFolderName;
  });
}

/// A bundle of the user's on its way out: it has another name until it is deleted, and can be put back.
class LeavingBundle {
 public:
  [[nodiscard]] static Result<LeavingBundle> of(Lv2World& world, const AUAudioUnitPreset& preset) {
    const auto folder = folderOf(world, preset);
    if (!folder) {
      return folder.error();
    }
    if (!isOfOnePreset(folder.value())) {
      return Error{"there are other files in " + folder.value().string()};
    }
    const fs::path hidden = freeFolder(folder.value().parent_path(), ".vrel-deleted-" + std::to_string(::getpid()), "");
    std::error_code failure;
    fs::rename(folder.value(), hidden, failure);
    if (failure) {
      return Error{"cannot delete " + folder.value().string() + ": " + failure.message()};
    }
    return LeavingBundle(preset, folder.value(), hidden);
  }

  void putBack() const {
    std::error_code ignored;
    fs::rename(hidden_, folder_, ignored);
  }

  void finish(Lv2World& world) const {
    const Node node(lilv_new_uri(world.library(), preset_.identifier.c_str()));
    lilv_world_unload_resource(world.library(), node.get());
    lilv_world_unload_bundle(world.library(), bundleNode(world.library(), folder_).get());
    std::error_code ignored;
    fs::remove_all(hidden_, ignored);
  }

 private:
  LeavingBundle(AUAudioUnitPreset preset, fs::path folder, fs::path hidden)
      : preset_(std::move(preset)), folder_(std::move(folder)), hidden_(std::move(hidden)) {}

  AUAudioUnitPreset preset_;
  fs::path folder_;
  fs::path hidden_;
};

/// Removes what processes that have ended were making.
void sweepMade(const fs::path& place) {
  std::error_code ignored;
  std::vector<fs::path> left;
  for (const auto& each : fs::directory_iterator(place, ignored)) {
    const std::string name = each.path().filename().string();
    const char* const begin = name.data() + std::min(name.size(), madeFolderPrefix.size());
    const char* const end = name.data() + name.size();
    pid_t process = 0;
    const auto number = std::from_chars(begin, end, process);
    if (name.starts_with(madeFolderPrefix) && number.ec == std::errc() && process > 0 &&
        (number.ptr == end || *number.ptr == '-') && ::kill(process, 0) != 0 && errno == ESRCH) {
      left.push_back(each.path());
    }
  }
  for (const fs::path& each : left) {
    fs::remove_all(each, ignored);
  }
}

/// A file or a folder as it is now is there after a loss of power.
bool isOnTheDisk(const fs::path& path) {
  const int file = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  const bool isSynced = file >= 0 && ::fsync(file) == 0;
  if (file >= 0) {
    ::close(file);
  }
  return isSynced;
}

bool isAllOnTheDisk(const fs::path& folder) {
  std::error_code failure;
  const fs::recursive_directory_iterator entries(folder, failure);
  return !failure && std::all_of(fs::begin(entries), fs::end(entries), [](const fs::directory_entry& each) {
    return isOnTheDisk(each.path());
  }) && isOnTheDisk(folder);
}

/// Removes what is half made.
Error withdrawn(const fs::path& made, Error reason) {
  std::error_code ignored;
  fs::remove_all(made, ignored);
  return reason;
}

}  // namespace

Result<AUAudioUnitPreset> savePreset(Lv2World& world, const PluginDescription& description,
                                     const StateSnapshot& snapshot, const std::string& wantedName, bool mayReplace) {
  const fs::path place = userBundleFolder();
  if (place.empty()) {
    return Error{"there is no home folder"};
  }
  const std::string name = nameInAFile(wantedName);
  if (name.empty() || name.size() > longestPresetName) {
    return Error{"its name is empty or too long"};
  }
  const auto present = ownPreset(listPresets(world, description), name);
  if (present && !mayReplace) {
    return Error{"there is one of this name"};
  }
  const std::string folderName = safeForAFolder(description.name) + "_" + safeForAFolder(name);
  sweepMade(place);
  const fs::path made = freeFolder(place, std::string(madeFolderPrefix) + std::to_string(::getpid()), "");
  std::error_code failure;
  fs::create_directories(made, failure);
  if (failure) {
    return Error{"cannot make " + made.string() + ": " + failure.message()};
  }
  if (const Outcome problem = writeBundle(world, description, snapshot, name, made)) {
    return withdrawn(made, *problem);
  }
  if (!isAllOnTheDisk(made)) {
    return withdrawn(made, Error{"cannot write all of " + made.string()});
  }
  std::optional<LeavingBundle> earlier;
  if (present) {
    auto leaving = LeavingBundle::of(world, *present);
    if (!leaving) {
      return withdrawn(made, leaving.error());
    }
    earlier = std::move(leaving).value();
  }
  const fs::path folder = freeFolder(place, folderName, ".preset.lv2");
  fs::rename(made, folder, failure);
  if (failure) {
    if (earlier) {
      earlier->putBack();
    }
    return withdrawn(made, Error{"cannot make " + folder.string() + ": " + failure.message()});
  }
  (void)isOnTheDisk(place);  // before the earlier one is deleted
  if (earlier) {
    earlier->finish(world);
  }
  lilv_world_load_bundle(world.library(), bundleNode(world.library(), folder).get());
  const auto saved = ownPreset(listPresets(world, description), name);
  return saved ? Result<AUAudioUnitPreset>(*saved) : Error{"it cannot be found in " + folder.string()};
}

Outcome deletePreset(Lv2World& world, const PluginDescription& description, const std::string& identifier) {
  for (const auto& preset : listPresets(world, description)) {
    if (preset.identifier == identifier && preset.isUserPreset) {
      const auto leaving = LeavingBundle::of(world, preset);
      if (!leaving) {
        return leaving.error();
      }
      leaving.value().finish(world);
      return std::nullopt;
    }
  }
  return Error{"it is not a preset of the user"};
}

}  // namespace vrel::lv2
