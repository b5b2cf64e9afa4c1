// SPDX-License-Identifier: GPL-3.0-or-later
#include "console/moved_files.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "console/file_queue.h"
#include "console/instrument_selector.h"
#include "console/setlist_files.h"
#include "document/app_state.h"
#include "document/played_files.h"
#include "engine/audio_engine.h"
#include "performance/live_mode_policy.h"
#include "performance/song_switch.h"
#include "platform/desktop.h"
#include "platform/dispatch.h"
#include "platform/file_manager.h"
#include "text/language_texts.h"

namespace vrel {
namespace {

namespace fs = std::filesystem;

constexpr std::size_t mostFilesNamed = 6;

constexpr LanguageTexts movedQuestionTexts{
    "Use the files that were found beside the setlist?", "¿Usar los archivos encontrados junto al setlist?",
    "Utiliser les fichiers trouvés à côté de la liste ?", "Usare i file trovati accanto alla scaletta?",
    "Die neben der Setliste gefundenen Dateien verwenden?"};
constexpr LanguageTexts movedDetailTexts{
    "They are not where the setlist says, but files of their names are here:\n",
    "No están donde dice el setlist, pero aquí hay archivos con sus nombres:\n",
    "Ils ne sont pas là où la liste l'indique, mais des fichiers de mêmes noms sont ici :\n",
    "Non sono dove dice la scaletta, ma qui ci sono file con i loro nomi:\n",
    "Sie liegen nicht dort, wo die Setliste sie sucht, aber Dateien ihres Namens liegen hier:\n"};
constexpr LanguageTexts useTexts{"Use", "Usar", "Utiliser", "Usa", "Verwenden"};
constexpr LanguageTexts leaveTexts{"Not now", "Ahora no", "Pas maintenant", "Non ora", "Nicht jetzt"};

std::size_t commonParts(const fs::path& one, const fs::path& other) {
  const std::vector<fs::path> partsOfOne(one.begin(), one.end());
  const std::vector<fs::path> partsOfOther(other.begin(), other.end());
  const auto differ = std::mismatch(partsOfOne.rbegin(), partsOfOne.rend(), partsOfOther.rbegin(), partsOfOther.rend());
  return static_cast<std::size_t>(differ.first - partsOfOne.rbegin());
}

/// Where the missing ones of these files are, as far as that is found. On the other thread.
std::map<std::string, std::string> findMissing(FileManager& files, const std::set<std::string>& paths,
                                               const fs::path& folder) {
  std::set<std::string> missing;
  std::set<std::string> names;
  for (const auto& path : paths) {
    if (!files.fileExists(path)) {
      missing.insert(path);
      names.insert(fs::path(path).filename().string());
    }
  }
  std::map<std::string, std::string> found;
  if (missing.empty()) {
    return found;
  }
  const auto candidates = files.filesNamed(folder, names, MovedFiles::mostEntries);
  for (const auto& path : missing) {
    if (const auto file = likeliestFile(path, candidates)) {
      found[path] = file->string();
    }
  }
  return found;
}

}  // namespace

std::optional<fs::path> likeliestFile(const fs::path& missing, const std::vector<fs::path>& files) {
  std::optional<fs::path> likeliest;
  std::size_t most = 0;
  for (const auto& file : files) {
    if (const auto common = commonParts(missing, file); common > most) {
      most = common;
      likeliest = file;
    }
  }
  return likeliest;
}

MovedFiles::MovedFiles(const Collaborators& collaborators)
    : state_(collaborators.state),
      engine_(collaborators.engine),
      songSwitch_(collaborators.songSwitch),
      instruments_(collaborators.instruments),
      mainQueue_(collaborators.mainQueue),
      desktop_(collaborators.desktop),
      files_(collaborators.files),
      connections_({collaborators.setlistFiles.settled.connect([this] { search(); }),
                    state_.currentFilePath.changed.connect([this](const auto&) { search(); })}),
      queue_(collaborators.queues != nullptr && files_ != nullptr
                 ? std::make_unique<FileQueue>(mainQueue_, *collaborators.queues, "vrel.moved.files")
                 : nullptr) {}

MovedFiles::~MovedFiles() = default;

std::optional<Uuid> MovedFiles::firstSong() const {
  const auto& songs = state_.songs.get();
  return songs.empty() ? std::nullopt : std::optional(songs.front().id);
}

void MovedFiles::search() {
  const auto& setlist = state_.currentFilePath.get();
  if (!setlist || queue_ == nullptr) {
    return;
  }
  if (firstSong() != searched_) {
    searched_ = firstSong();
    offered_.clear();
  }
  std::set<std::string> paths;
  for (const auto& song : state_.songs.get()) {
    for (const auto& channel : song.channels) {
      visitPlayedFiles(channel, [&paths](const std::string& path) { paths.insert(path); });
    }
  }
  queue_->async([this, files = files_, paths = std::move(paths), folder = setlist->parent_path(),
                 number = ++search_](const FileQueue::Answer& answer) {
    const auto found = findMissing(*files, paths, folder);
    if (!found.empty()) {
      answer([this, found, number] { offer(found, number); });
    }
  });
}

void MovedFiles::offer(const Places& found, std::uint64_t number) {
  const bool isNew =
      std::any_of(found.begin(), found.end(), [this](const auto& place) { return !offered_.contains(place.first); });
  if (number != search_ || !isNew) {
    return;
  }
  if (desktop_.isAlertShown() || !LiveModePolicy::isAllowed(LiveModeAction::changeInstrument, state_)) {
    mainQueue_.asyncAfter(offerSeconds, [this, found, number, life = life_.watch()] {
      if (life.isAlive()) {
        offer(found, number);
      }
    });
    return;
  }
  std::string list;
  std::size_t count = 0;
  for (const auto& [from, to] : found) {
    offered_.insert(from);
    if (++count <= mostFilesNamed) {
      list += to + "\n";
    }
  }
  list += count > mostFilesNamed ? "... (" + std::to_string(count) + ")" : "";
  const auto language = state_.language.get();
  const auto answer =
      desktop_.runModal(NSAlert{.alertStyle = NSAlert::Style::informational,
                                .messageText = filledText(movedQuestionTexts, language),
                                .informativeText = filledText(movedDetailTexts, language) + list,
                                .buttons = {filledText(useTexts, language), filledText(leaveTexts, language)}});
  // Another setlist may have come, or Live mode, while the question was open.
  if (answer == std::size_t{0} && number == search_ &&
      LiveModePolicy::isAllowed(LiveModeAction::changeInstrument, state_)) {
    take(found);
  }
}

void MovedFiles::take(const Places& found) {
  const auto replace = [&found](std::string& path) {
    const auto place = found.find(path);
    if (place != found.end()) {
      path = place->second;
    }
  };
  const auto isMissing = [&found](ChannelConfig& channel) {
    bool is = false;
    visitPlayedFiles(channel, [&](const std::string& path) { is = is || found.contains(path); });
    return is;
  };
  songSwitch_.captureCurrentSong();
  const auto selected = state_.selectedSongIndex.get();
  std::vector<std::pair<std::size_t, ChannelConfig>> onStage;  // the strips there that play another file now
  state_.songs.modify([&](std::vector<SongConfig>& songs) {
    for (std::size_t song = 0; song < songs.size(); ++song) {
      for (std::size_t index = 0; index < songs[song].channels.size(); ++index) {
        ChannelConfig& channel = songs[song].channels[index];
        if (isMissing(channel)) {
          visitPlayedFiles(channel, replace);
          if (song == selected) {
            onStage.emplace_back(index, channel);
          }
        }
      }
    }
  });
  for (const auto& [index, channel] : onStage) {
    if (index < engine_.channels().size()) {
      instruments_.put(engine_.channels()[index], channel);
    }
  }
  state_.markEdited();
}

}  // namespace vrel
