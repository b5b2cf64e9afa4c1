// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/plugins/lv2/lv2_world.h"

#include <lilv/lilv.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <map>
#include <memory>
#include <utility>

#include "foundation/mutex.h"
#include "system/plugins/lv2/bundle_reader.h"
#include "system/plugins/lv2/bundle_scan.h"
#include "system/plugins/lv2/bundle_search.h"
#include "system/plugins/lv2/describe_editor.h"
#include "system/plugins/lv2/describe_parameters.h"
#include "system/plugins/lv2/describe_plugin.h"
#include "system/plugins/lv2/lilv_pointers.h"
#include "system/plugins/lv2/scan_cache.h"
#include "system/plugins/lv2/urid_map.h"
#include "system/plugins/scratch_folder.h"

namespace vrel::lv2 {
namespace {

bool matches(std::uint32_t wanted, std::uint32_t code) {
  return wanted == 0 || wanted == code;
}

bool matches(const AudioComponentDescription& wanted, const AudioComponentDescription& codes) {
  return matches(wanted.componentType, codes.componentType) &&
         matches(wanted.componentSubType, codes.componentSubType) &&
         matches(wanted.componentManufacturer, codes.componentManufacturer);
}

/// Of two bundles that define a plug-in the newer counts, and else the one that comes first.
bool isNewer(const ScannedPlugin& plugin, const ScannedPlugin& than) {
  return std::pair(plugin.minorVersion, plugin.microVersion) > std::pair(than.minorVersion, than.microVersion);
}

}  // namespace

std::shared_ptr<Lv2World> Lv2World::open(const ScanSettings& settings) {
  const std::shared_ptr<Lv2World> world(new Lv2World(settings.isAwaited));
  world->begin([self = world.get(), settings] { self->scan(settings); });
  return world;
}

std::shared_ptr<Lv2World> Lv2World::openOne(const PluginAddress& address) {
  const std::shared_ptr<Lv2World> world(new Lv2World(true));
  world->begin([self = world.get(), address] { self->readOne(address); });
  return world;
}

Lv2World::Lv2World(bool isAwaited)
    : isAwaited_(isAwaited), library_(newLibraryWorld()), urids_(std::make_unique<UridMap>()) {}

void Lv2World::begin(std::function<void()> find) {
  auto done = std::make_shared<std::promise<void>>();
  scanned_ = done->get_future().share();
  thread_.post([done, find = std::move(find)] {
    find();
    done->set_value();
  });
}

Lv2World::~Lv2World() {
  stopScan_.request_stop();
  scanned_.wait();
  // Posted last: released units may still be in the queue, and need both to the end.
  thread_.post([library = library_, urids = std::shared_ptr<UridMap>(std::move(urids_))] { lilv_world_free(library); });
}

bool Lv2World::isComplete() const {
  return isAwaited_ || scanned_.wait_for(std::chrono::seconds(0)) == std::future_status::ready;
}

void Lv2World::whenComplete(std::function<void()> handler) {
  thread_.post(std::move(handler));  // behind the scan
}

std::vector<AVAudioUnitComponent> Lv2World::componentsMatchingDescription(
    const AudioComponentDescription& description) {
  if (!isComplete()) {
    return {};
  }
  scanned_.wait();
  std::vector<AVAudioUnitComponent> components;
  for (const auto& plugin : plugins_) {
    if (matches(description, plugin->codes)) {
      components.push_back({plugin->name, plugin->manufacturerName, plugin->codes});
    }
  }
  return components;
}

std::shared_ptr<const PluginDescription> Lv2World::find(const AudioComponentDescription& codes) const {
  scanned_.wait();
  const auto found =
      std::find_if(plugins_.begin(), plugins_.end(), [&codes](const auto& plugin) { return plugin->codes == codes; });
  return found == plugins_.end() ? nullptr : *found;
}

void Lv2World::requestParameters(const AudioComponentDescription& codes, double sampleRate,
                                 std::function<void(std::shared_ptr<const AUParameterTree>)> handler) {
  // A strong hold here would let the world end on its own thread.
  thread_.post([weak = weak_from_this(), codes, sampleRate, handler = std::move(handler)] {
    const auto self = weak.lock();
    const auto description = self != nullptr ? self->find(codes) : nullptr;
    const LilvPlugin* const plugin = description != nullptr ? self->libraryPlugin(description->uri) : nullptr;
    handler(plugin == nullptr ? nullptr
                              : std::make_shared<const AUParameterTree>(
                                    describeParameters(self->library_, plugin, *description, sampleRate)));
  });
}

void Lv2World::requestEditor(const AudioComponentDescription& codes,
                             std::function<void(std::optional<EditorPlace>)> handler) {
  thread_.post([weak = weak_from_this(), codes, handler = std::move(handler)] {
    const auto self = weak.lock();
    const auto description = self != nullptr ? self->find(codes) : nullptr;
    const LilvPlugin* const plugin = description != nullptr ? self->libraryPlugin(description->uri) : nullptr;
    handler(plugin == nullptr ? std::nullopt : describeEditor(self->library_, plugin, *description));
  });
}

std::size_t Lv2World::bundlesRead() const {
  scanned_.wait();
  return bundlesRead_;
}

const LilvPlugin* Lv2World::libraryPlugin(const std::string& uri) {
  if (!askedFor_.contains(uri)) {
    const LilvPlugin* const plugin = readAllAbout(uri);
    if (plugin != nullptr) {
      askedFor_.insert(uri);
    }
    return plugin;
  }
  const Node node(lilv_new_uri(library_, uri.c_str()));
  return node == nullptr ? nullptr : lilv_plugins_get_by_uri(lilv_world_get_all_plugins(library_), node.get());
}

const LilvPlugin* Lv2World::readAllAbout(const std::string& uri) {
  const MutexLock lock(libraryMutex());
  for (Bundle& bundle : bundles_) {
    const BundleRecord& record = bundle.record;
    if (bundle.isRead || !(record.isForAll() || bundle.plugins.contains(uri))) {
      continue;
    }
    bundle.isRead = true;
    // It may have changed since the scan.
    if (isUpToDate(record, dataFilesOf(record.folder)) ? record.isReadable : isReadableBundle(record.folder)) {
      loadBundle(library_, record.folder);
    }
  }
  return readablePlugin(library_, uri);
}

void Lv2World::scan(const ScanSettings& settings) {
  const auto cache = std::make_shared<ScanCache>(settings.files, settings.cacheFile, settings.log);
  std::map<std::string, BundleRecord> known;
  for (auto& record : cache->load()) {
    known.emplace(record.folder, std::move(record));
  }
  std::vector<BundleRecord> records;
  std::vector<std::filesystem::path> changed;
  std::vector<std::size_t> places;  // of those, among the records
  for (const auto& folder : findBundles()) {
    const auto found = known.find(folder.string());
    if (found != known.end() && isUpToDate(found->second, dataFilesOf(folder))) {
      records.push_back(std::move(found->second));
      known.erase(found);
    } else {
      places.push_back(records.size());
      changed.push_back(folder);
      records.emplace_back();
    }
  }
  auto read = readBundles(changed, {settings.helperProgram, settings.log, stopScan_.get_token()});
  for (std::size_t index = 0; index < read.size(); ++index) {
    if (read[index]) {
      records[places[index]] = std::move(*read[index]);
      ++bundlesRead_;
    }
  }
  // Those without a record are not kept either, so that the next scan tries them again.
  std::erase_if(records, [](const BundleRecord& record) { return record.folder.empty(); });
  if (bundlesRead_ > 0 || !known.empty()) {
    // Behind the scan, which nobody waits for any more then.
    thread_.post([cache, records] { cache->store(records); });
  }
  take(std::move(records));
  thread_.post([] { ScratchFolder::sweep(); });
}

void Lv2World::take(std::vector<BundleRecord> records) {
  std::map<std::string, const ScannedPlugin*> newest;
  for (const BundleRecord& record : records) {
    for (const ScannedPlugin& plugin : record.plugins) {
      const ScannedPlugin*& place = newest[plugin.description.uri];
      if (place == nullptr || isNewer(plugin, *place)) {
        place = &plugin;
      }
    }
  }
  for (const auto& [uri, plugin] : newest) {
    plugins_.push_back(std::make_shared<const PluginDescription>(plugin->description));
  }
  for (BundleRecord& record : records) {
    Bundle& bundle = bundles_.emplace_back();
    bundle.plugins.insert(record.presetsFor.begin(), record.presetsFor.end());
    for (const ScannedPlugin& plugin : record.plugins) {
      if (newest.at(plugin.description.uri) == &plugin) {
        bundle.plugins.insert(plugin.description.uri);
      }
    }
    record.plugins.clear();
    bundle.record = std::move(record);
  }
}

void Lv2World::readOne(const PluginAddress& address) {
  {
    const MutexLock lock(libraryMutex());
    loadBundle(library_, address.bundlePath);
  }
  askedFor_.insert(address.uri);
  if (const LilvPlugin* const plugin = libraryPlugin(address.uri)) {
    const MutexLock lock(libraryMutex());
    // The bundles that define classes are not read, so its class is not known here, and with it its type.
    PluginDescription description = describePlugin(library_, plugin);
    description.codes = address.codes;
    plugins_.push_back(std::make_shared<const PluginDescription>(std::move(description)));
  }
}

}  // namespace vrel::lv2
