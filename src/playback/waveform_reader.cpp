// SPDX-License-Identifier: GPL-3.0-or-later
#include "playback/waveform_reader.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <charconv>
#include <utility>

#include "foundation/fnv1a64.h"
#include "platform/audio_file.h"
#include "platform/file_manager.h"

namespace vrel {
namespace {

constexpr std::uint32_t scanFrames = 1U << 16U;
constexpr std::uint32_t chunksPerReport = 32;
constexpr double zeroSearchSeconds = 0.05;
constexpr std::uintmax_t mostKeptBytes = std::uintmax_t{64} << 20U;

/// Frames of a file in memory; null where they cannot be read.
std::shared_ptr<AVAudioPCMBuffer> framesOf(AudioFileFactory& files, AVAudioFile& file, std::int64_t from,
                                           std::int64_t frames) {
  const auto count = static_cast<std::uint32_t>(std::clamp<std::int64_t>(frames, 0, WaveformReader::mostDetailFrames));
  auto buffer = files.makePCMBuffer(file.processingFormat(), count);
  if (buffer == nullptr) {
    return nullptr;
  }
  file.setFramePosition(from);
  return file.readIntoBuffer(*buffer, count) ? nullptr : buffer;
}

}  // namespace

/// One file, from `read` to `stop`. The paths do not change; each other part says whose it is.
struct WaveformReader::Job {
  Job(std::string filePath, Heard listener) : path(std::move(filePath)), heard(std::move(listener)) {}

  const std::string path;
  const Heard heard;                    // main thread
  std::optional<std::string> identity;  // main thread, from the first report on
  bool isKnown = false;                 // main thread: there was a report
  std::atomic<bool> isDropped{false};
  std::atomic<std::uint64_t> columnsWanted{0};  // the last request
  std::shared_ptr<AVAudioFile> file;            // for details, on their queue

  std::optional<std::string> scannedIdentity;  // on the scan's queue
};

WaveformReader::WaveformReader(const Collaborators& collaborators)
    : files_(collaborators.files),
      mainQueue_(collaborators.mainQueue),
      cacheFiles_(collaborators.cacheFolder.empty() ? nullptr : collaborators.cacheFiles),
      cacheFolder_(collaborators.cacheFolder),
      scanQueue_(collaborators.queues.makeSerialQueue("vrel.waveform.scan")),
      detailQueue_(collaborators.queues.makeSerialQueue("vrel.waveform.detail")) {}

WaveformReader::~WaveformReader() {
  stop();
}

void WaveformReader::stop() {
  if (job_ != nullptr) {
    job_->isDropped = true;
    job_ = nullptr;
  }
}

void WaveformReader::read(const std::string& path, Heard heard) {
  stop();
  job_ = std::make_shared<Job>(path, std::move(heard));
  scanQueue_->async([this, job = job_] { scan(job); });
}

void WaveformReader::report(const std::shared_ptr<Job>& job, Progress progress) {
  mainQueue_.async([job, identity = job->scannedIdentity, progress = std::move(progress)] {
    if (!job->isDropped) {
      job->identity = identity;
      job->isKnown = true;
      job->heard(progress);
    }
  });
}

void WaveformReader::scan(const std::shared_ptr<Job>& job) {
  if (job->isDropped) {
    return;
  }
  job->scannedIdentity = files_ != nullptr ? files_->contentIdentity(job->path) : std::nullopt;
  if (auto kept = job->scannedIdentity ? keptPeaks(*job->scannedIdentity) : std::nullopt) {
    report(job, {std::nullopt, *std::move(kept), true});
    return;
  }
  const auto quick = files_ != nullptr ? files_->openForScanning(job->path) : nullptr;
  auto peaks = quick != nullptr ? scan(job, *quick) : std::nullopt;
  if (!peaks && !job->isDropped) {
    const auto opened = files_ != nullptr
                            ? files_->openForReading(job->path)
                            : Result<std::shared_ptr<AVAudioFile>>(Error{"this program reads no audio files"});
    if (!opened) {
      report(job, {opened.error(), {}, true});
      return;
    }
    AVAudioFile& file = *opened.value();
    peaks = scan(job, file);
    if (!peaks) {
      report(job, {std::nullopt, PeakScan(file.length(), file.processingFormat().sampleRate).peaks(), true});
    }
  }
  if (!peaks) {
    return;
  }
  report(job, {std::nullopt, *peaks, true});
  if (job->scannedIdentity && files_->contentIdentity(job->path) == job->scannedIdentity) {
    keep(*peaks, *job->scannedIdentity);
  }
}

std::optional<WaveformPeaks> WaveformReader::scan(const std::shared_ptr<Job>& job, AVAudioFile& file) {
  PeakScan scan(file.length(), file.processingFormat().sampleRate);
  report(job, {std::nullopt, scan.peaks(), false});
  const auto buffer = files_->makePCMBuffer(file.processingFormat(), scanFrames);
  for (std::uint32_t chunk = 1; buffer != nullptr && !job->isDropped; ++chunk) {
    if (file.readIntoBuffer(*buffer, scanFrames)) {
      return std::nullopt;
    }
    if (buffer->frameLength == 0) {
      scan.end();
      return scan.peaks();
    }
    scan.add(*buffer);
    if (chunk % chunksPerReport == 0) {
      report(job, {std::nullopt, scan.peaks(), false});
    }
  }
  return std::nullopt;
}

std::filesystem::path WaveformReader::keptPath(const std::string& identity) const {
  constexpr int hexadecimal = 16;
  std::array<char, hexadecimal> digits{};
  const auto written = std::to_chars(digits.data(), digits.data() + digits.size(), fnv1a64(identity), hexadecimal);
  return cacheFolder_ / (std::string(digits.data(), written.ptr) + ".peaks");
}

std::optional<WaveformPeaks> WaveformReader::keptPeaks(const std::string& identity) {
  if (cacheFiles_ == nullptr) {
    return std::nullopt;
  }
  const auto bytes = cacheFiles_->contents(keptPath(identity), mostKeptBytes);
  return bytes ? peaksFromStored(bytes.value(), identity) : std::nullopt;
}

void WaveformReader::keep(const WaveformPeaks& peaks, const std::string& identity) {
  if (cacheFiles_ == nullptr || cacheFiles_->createDirectory(cacheFolder_)) {
    return;
  }
  makeRoom();
  (void)cacheFiles_->writeAtomically(keptPath(identity), storedPeaks(peaks, identity));
}

/// Any: their names are hashes, and so no file is among the first again and again.
void WaveformReader::makeRoom() {
  const auto names = cacheFiles_->fileNames(cacheFolder_);
  for (std::size_t index = 0; index + mostKept <= names.size(); ++index) {
    (void)cacheFiles_->remove(cacheFolder_ / names[index]);
  }
}

/// `work` gets the job with its file open, and returns what is left to be done on the main thread; null for nothing.
void WaveformReader::detail(std::function<std::function<void()>(Job&)> work) {
  if (job_ == nullptr || files_ == nullptr) {
    return;
  }
  detailQueue_->async([this, job = job_, work = std::move(work)] {
    if (job->isDropped) {
      return;
    }
    if (auto done = work(*job)) {
      mainQueue_.async([job, done = std::move(done)] {
        if (!job->isDropped) {
          done();
        }
      });
    }
  });
}

void WaveformReader::readColumns(std::int64_t from, std::int64_t frames, std::size_t count,
                                 std::function<void(std::vector<WaveformColumn>)> done) {
  const std::uint64_t request = job_ != nullptr ? ++job_->columnsWanted : 0;
  detail([this, request, from, frames, count, done = std::move(done)](Job& job) -> std::function<void()> {
    if (job.columnsWanted != request || !openForDetail(job)) {
      return nullptr;
    }
    const auto buffer = framesOf(*files_, *job.file, from, frames);
    if (buffer == nullptr) {
      return nullptr;
    }
    return [&job, request, done, columns = frameColumns(*buffer, count)] {
      if (job.columnsWanted == request) {
        done(columns);
      }
    };
  });
}

void WaveformReader::findZeroCrossing(std::int64_t near, std::function<void(std::optional<std::int64_t>)> done) {
  detail([this, near, done = std::move(done)](Job& job) -> std::function<void()> {
    if (!openForDetail(job)) {
      return nullptr;
    }
    const auto reach = static_cast<std::int64_t>(job.file->processingFormat().sampleRate * zeroSearchSeconds);
    const std::int64_t from = std::max<std::int64_t>(0, near - reach);
    const auto buffer = framesOf(*files_, *job.file, from, near + reach + 1 - from);
    std::optional<std::int64_t> crossing;
    if (const auto found =
            buffer != nullptr ? nearestZeroCrossing(*buffer, static_cast<std::uint32_t>(near - from)) : std::nullopt) {
      crossing = from + *found;
    }
    return [done, crossing] { done(crossing); };
  });
}

bool WaveformReader::openForDetail(Job& job) {
  if (job.file == nullptr) {
    auto opened = files_->openForReading(job.path);
    job.file = opened ? std::move(opened).value() : nullptr;
  }
  return job.file != nullptr;
}

void WaveformReader::findChange(std::function<void(bool hasChanged)> done) {
  if (job_ == nullptr || !job_->isKnown) {
    return;
  }
  detail([this, known = job_->identity, done = std::move(done)](Job& job) -> std::function<void()> {
    const bool hasChanged = files_->contentIdentity(job.path) != known;
    return [done, hasChanged] { done(hasChanged); };
  });
}

}  // namespace vrel
