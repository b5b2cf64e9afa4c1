// SPDX-License-Identifier: GPL-3.0-or-later
#include "vrel-render/input_files.h"

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <string_view>

#include "document/collected_setlist.h"
#include "document/setlist_coding.h"
#include "midi/standard_midi_file.h"
#include "system/files/file_calls.h"
#include "system/files/posix_file_manager.h"

namespace vrel::render {
namespace {

constexpr double longestShow = 24 * 60 * 60;  // seconds

/// The decoding error of a setlist, with its place. The reader's own error is about the legacy form, a bare array, and
/// misleads unless the file has that form.
std::string setlistError(std::string_view bytes, const Error& readerError) {
  constexpr std::string_view blanksAndMark = " \t\r\n\xEF\xBB\xBF";
  const std::size_t root = bytes.find_first_not_of(blanksAndMark);
  if (root != std::string_view::npos && bytes[root] == '[') {
    return readerError.description;
  }
  const auto setlist = decodeSetlist(bytes);
  return setlist ? readerError.description : setlist.error().description;
}

Result<std::string> readFile(const std::string& path) {
  system::FileCalls calls;
  auto bytes = system::PosixFileManager(calls).contents(path, mostSetlistBytes);
  if (!bytes) {
    return Error{"cannot read " + bytes.error().description};
  }
  return bytes;
}

}  // namespace

Result<SetlistFile> readSetlistFile(const std::string& path) {
  const auto bytes = readFile(path);
  if (!bytes) {
    return bytes.error();
  }
  auto setlist = readSetlist(bytes.value());
  if (!setlist) {
    return Error{path + " is not a setlist: " + setlistError(bytes.value(), setlist.error())};
  }
  system::FileCalls calls;
  system::PosixFileManager files(calls);
  takeFilesBeside(setlist.value(), files.canonicalPath(path).parent_path(),
                  [&files](const std::filesystem::path& file) { return files.fileExists(file); });
  return setlist;
}

Result<std::vector<ShowStep>> readShowFile(const std::string& path) {
  const auto bytes = readFile(path);
  if (!bytes) {
    return bytes.error();
  }
  const auto& text = bytes.value();
  const auto file = readStandardMidiFile(std::vector<std::uint8_t>(text.begin(), text.end()));
  if (!file) {
    return Error{path + " is not a MIDI file: " + file.error().description};
  }
  auto steps = showSteps(file.value());
  if (!steps.empty() && steps.back().seconds > longestShow) {
    return Error{path + " is longer than a day"};
  }
  return steps;
}

}  // namespace vrel::render
