// SPDX-License-Identifier: GPL-3.0-or-later
#include "console/setlist_copies.h"

#include <algorithm>
#include <charconv>
#include <functional>
#include <optional>
#include <string_view>
#include <system_error>

#include "document/setlist_coding.h"
#include "foundation/fnv1a64.h"
#include "platform/console_output.h"
#include "platform/file_manager.h"

namespace vrel {
namespace {

namespace fs = std::filesystem;

constexpr std::string_view copyExtension = ".vrel";
constexpr std::size_t numberDigits = 6;       // at least
constexpr std::size_t mostNumberDigits = 15;  // far from where the numbers end
constexpr std::size_t mostNameBytes = 100;    // of the setlist's name, so that any name makes a directory

std::string nameOf(std::uint64_t number) {
  const std::string digits = std::to_string(number);
  return std::string(numberDigits - std::min(numberDigits, digits.size()), '0') + digits + std::string(copyExtension);
}

/// The number that a name begins with, and what follows it.
std::optional<std::pair<std::uint64_t, std::string_view>> numberedName(std::string_view name) {
  std::uint64_t number = 0;
  const auto [end, error] = std::from_chars(name.data(), name.data() + name.size(), number);
  const auto digits = static_cast<std::size_t>(end - name.data());
  if (error != std::errc() || digits < numberDigits || digits > mostNumberDigits) {
    return std::nullopt;
  }
  return std::pair(number, name.substr(digits));
}

/// No more than the bytes that fit, and no half of a character.
std::string shortened(std::string name) {
  if (name.size() > mostNameBytes) {
    std::size_t length = mostNameBytes;
    while (length > 0 && (static_cast<unsigned char>(name[length]) & 0xC0U) == 0x80) {
      --length;
    }
    name.resize(length);
  }
  return name;
}

/// The file with the path of the setlist whose copies are in `directory`.
fs::path pathFileOf(const fs::path& directory) {
  return fs::path(directory.string() + ".path");
}

/// Without it a copy can be opened all the same.
void notePath(FileManager& files, const fs::path& directory, const fs::path& setlist) {
  if (!files.fileExists(pathFileOf(directory))) {
    static_cast<void>(files.writeAtomically(pathFileOf(directory), files.canonicalPath(setlist).string()));
  }
}

std::string hexText(std::uint64_t number) {
  constexpr std::size_t digits = 16;
  std::string text(digits, '0');
  for (std::size_t index = digits; index-- > 0; number >>= 4U) {
    text[index] = "0123456789abcdef"[number & 0xFU];
  }
  return text;
}

/// The newest first.
std::vector<std::uint64_t> numbersIn(FileManager& files, const fs::path& directory) {
  std::vector<std::uint64_t> numbers;
  for (const auto& name : files.fileNames(directory)) {
    if (const auto numbered = numberedName(name); numbered && numbered->second == copyExtension) {
      numbers.push_back(numbered->first);
    }
  }
  std::sort(numbers.begin(), numbers.end(), std::greater<>());
  return numbers;
}

}  // namespace

fs::path directoryOfCopies(FileManager& files, const fs::path& ofAll, const fs::path& setlist) {
  const auto whole = files.canonicalPath(setlist);
  return ofAll / (shortened(whole.filename().string()) + "-" + hexText(fnv1a64(whole.string())));
}

std::vector<fs::path> findCopies(FileManager& files, const fs::path& ofAll, const fs::path& setlist) {
  std::vector<fs::path> copies;
  if (!ofAll.empty()) {
    const auto directory = directoryOfCopies(files, ofAll, setlist);
    for (const auto number : numbersIn(files, directory)) {
      copies.push_back(directory / nameOf(number));
    }
  }
  return copies;
}

bool SetlistCopies::keep(const fs::path& setlist) {
  if (!files_.fileExists(setlist)) {
    return true;
  }
  if (directory_.empty()) {
    logFailure(setlist, Error{"no state folder (HOME and XDG_STATE_HOME are not set)"});
    return false;
  }
  const auto bytes = files_.contents(setlist, mostSetlistBytes);
  if (!bytes) {
    logFailure(setlist, bytes.error());
    return false;
  }
  const auto directory = directoryOf(setlist);
  const auto numbers = numbersIn(files_, directory);
  const auto newest = numbers.empty() ? 0 : numbers.front();
  const bool isKept = !numbers.empty() && holds(directory / nameOf(newest), bytes.value());
  const bool isGood = isKept || readSetlist(bytes.value());
  Outcome failure;
  if (isGood && !isKept) {
    failure = add(setlist, newest + 1, bytes.value());
  }
  if (failure) {
    logFailure(setlist, *failure);
  }
  if (!numbers.empty()) {
    notePath(files_, directory, setlist);  // the first ones may have been made without
  }
  tidy(directory);
  return isGood && !failure;
}

std::optional<fs::path> SetlistCopies::newestGoodCopyOf(const fs::path& setlist) const {
  for (const auto& copy : copiesOf(setlist)) {
    const auto bytes = files_.contents(copy, mostSetlistBytes);
    if (bytes && readSetlist(bytes.value())) {
      return copy;
    }
  }
  return std::nullopt;
}

std::optional<fs::path> SetlistCopies::setlistOf(const fs::path& copy) const {
  constexpr std::uintmax_t longestPath = 65536;
  const auto directory = files_.canonicalPath(copy).parent_path();
  if (directory_.empty() || directory.parent_path() != files_.canonicalPath(directory_)) {
    return std::nullopt;
  }
  const auto path = files_.contents(pathFileOf(directory), longestPath);
  const bool isOfThisDirectory = path && directoryOf(path.value()).filename() == directory.filename();
  return isOfThisDirectory ? std::optional<fs::path>(path.value()) : std::nullopt;
}

void SetlistCopies::hold(const fs::path& copy, const fs::path& setlist) {
  held_ = copy;
  notePath(files_, directoryOf(setlist), setlist);
}

bool SetlistCopies::holds(const fs::path& copy, const std::string& bytes) const {
  const auto kept = files_.contents(copy, bytes.size());
  return kept && kept.value() == bytes;
}

Outcome SetlistCopies::add(const fs::path& setlist, std::uint64_t number, const std::string& bytes) {
  const auto directory = directoryOf(setlist);
  if (auto failure = files_.createDirectory(directory)) {
    return failure;
  }
  notePath(files_, directory, setlist);
  return files_.writeAtomically(directory / nameOf(number), bytes);
}

/// Drops what is too old, and what a copy that was never finished has left. A failure costs space only.
void SetlistCopies::tidy(const fs::path& directory) {
  const auto numbers = numbersIn(files_, directory);
  for (std::size_t index = mostCopies; index < numbers.size(); ++index) {
    if (const auto copy = directory / nameOf(numbers[index]); copy != held_) {
      static_cast<void>(files_.remove(copy));
    }
  }
  for (const auto& name : files_.fileNames(directory)) {
    // Beyond the newest there may be one that is being written right now, by another run of the program.
    const auto numbered = numberedName(name);
    if (numbered && numbered->second.size() > copyExtension.size() && numbered->second.starts_with(copyExtension) &&
        !numbers.empty() && numbered->first <= numbers.front()) {
      static_cast<void>(files_.remove(directory / name));
    }
  }
}

void SetlistCopies::logFailure(const fs::path& setlist, const Error& error) {
  console_.print("Failed to keep a copy of " + setlist.string() + ": " + error.description);
}

}  // namespace vrel
