// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/projection/projector.h"

#include <QOpenGLContext>
#include <QOpenGLFunctions>
#include <QSurface>
#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstring>
#include <utility>

#include "platform/video_player.h"
#include "system/projection/refresh_clock.h"
#include "system/projection/stage_reader.h"

namespace vrel::system {
namespace {

constexpr double retrySeconds = 1;  // until a lost context is made again
constexpr int mostAttempts = 5;
// Periods.
constexpr double shortestWait = 0.25;  // of a swap for its screen
constexpr double missedRefresh = 1.5;  // from one refresh to the swap that was to be shown by the next

bool isOpaqueLayer(const ProjectionScene& scene, const Uuid& key) {
  return std::any_of(scene.layers.begin(), scene.layers.end(),
                     [&](const ProjectionLayer& each) { return each.key == key && each.opacity > 0; });
}

/// Whether a layer is to appear that the scene before did not show.
bool hasNewLayer(const ProjectionScene& before, const ProjectionScene& now) {
  return std::any_of(now.layers.begin(), now.layers.end(),
                     [&](const ProjectionLayer& each) { return each.opacity > 0 && !isOpaqueLayer(before, each.key); });
}

StageFrame stageFrameOf(const ProjectionScene& scene, const LayerFades& fades, double due, double seen) {
  StageFrame frame;
  frame.isBlack = scene.isBlack;
  frame.testPicture = scene.testPicture;
  frame.placeholder = scene.placeholder;
  // Pictures are taken in any case: it is their takers who keep players decoding.
  frame.background = scene.background != nullptr ? scene.background->copyPictureForTime(due) : nullptr;
  for (const auto& layer : scene.layers) {
    frame.layers.push_back({layer.player != nullptr ? layer.player->copyPictureForTime(due) : nullptr, layer.blending,
                            fades.opacity(layer.key, seen)});
  }
  return frame;
}

}  // namespace

// All that belongs to the thread.
struct Projector::Drawing {
  const Driver& driver;
  std::unique_ptr<QOpenGLContext> context;
  std::unique_ptr<StagePainter> painter;
  std::unique_ptr<StageReader> reader;  // once a picture was taken
  bool isSoftware = false;
  std::uint64_t showing = 0;
  bool hasFailed = false;    // for all of this showing
  int attempts = 0;          // without a picture since; those that came soon after another count as one
  double nextAttemptAt = 0;  // media time from which on another one counts
  std::optional<StageFrame> last;
  std::uint64_t lastTarget = 0;
  QSize lastSize;
  QSurface* lastSurface = nullptr;
  std::optional<double> lastInstant;
  double rate = 0;
  RefreshClock refreshes{rate};
  DrawingLead lead{refreshes.period()};
  bool hasWaited = false;  // the last swap, for its screen

  explicit Drawing(const Driver& used) : driver(used) {}
  ~Drawing() { release(); }
  Drawing(const Drawing&) = delete;
  Drawing& operator=(const Drawing&) = delete;

  void release() {
    const bool isCurrent = context != nullptr && lastSurface != nullptr && driver.makeCurrent(*context, lastSurface);
    if (painter != nullptr && !isCurrent) {
      painter->forgetContext();
    }
    painter.reset();
    if (reader != nullptr && !isCurrent) {
      reader->forgetContext();
    }
    reader.reset();
    if (isCurrent) {
      context->doneCurrent();
    }
    context.reset();
    last.reset();
  }
};

Projector::Driver Projector::Driver::real() {
  return {[](QOpenGLContext& context) { return context.create(); },
          [](QOpenGLContext& context, QSurface* surface) { return context.isValid() && context.makeCurrent(surface); }};
}

void Projector::Driver::swapBuffers(QOpenGLContext& context, QSurface* surface) {
  context.swapBuffers(surface);
}

bool Projector::Driver::drawsInSoftware(QOpenGLContext& context) {
  const auto* const name = reinterpret_cast<const char*>(context.functions()->glGetString(GL_RENDERER));
  return name != nullptr && (std::strstr(name, "llvmpipe") != nullptr || std::strstr(name, "softpipe") != nullptr);
}

Projector::Projector(Clock clock, std::function<void(const std::string&)> failed, Driver driver)
    : clock_(std::move(clock)), failed_(std::move(failed)), driver_(std::move(driver)), thread_([this] { run(); }) {}

Projector::~Projector() {
  end(nullptr);
  join();
}

void Projector::join() {
  if (thread_.joinable()) {
    thread_.join();
  }
}

void Projector::setScene(const ProjectionScene& scene) {
  std::shared_ptr<const ProjectionScene> before;  // freed after the lock
  {
    const MutexLock lock(mutex_);
    if (hasScene_ && *scene_ == scene) {
      return;
    }
    const double now = clock_();
    if (scene.layers.empty()) {
      noteTime_.reset();
    } else if (!noteTime_ && hasNewLayer(*scene_, scene)) {
      noteTime_ = now;
    }
    fades_.follow(scene.layers, now, !hasScene_);
    before = std::exchange(scene_, std::make_shared<const ProjectionScene>(scene));
    hasScene_ = true;
    ++number_;
  }
  changed_.notify_one();
}

void Projector::clearScene() {
  setScene({});
  const MutexLock lock(mutex_);
  hasScene_ = false;
}

void Projector::show(const Target& target) {
  {
    const MutexLock lock(mutex_);
    showing_ += target_ ? 0 : 1;
    target_ = target;
    ++number_;
  }
  changed_.notify_one();
}

void Projector::hide() {
  {
    const MutexLock lock(mutex_);
    target_.reset();
    ++number_;
  }
  changed_.notify_one();
}

void Projector::end(std::function<void()> ended) {
  {
    const MutexLock lock(mutex_);
    isEnding_ = true;
    if (ended) {
      ended_ = std::move(ended);
    }
  }
  changed_.notify_one();
}

Projector::Figures Projector::figures() const {
  const MutexLock lock(mutex_);
  return figures_;
}

void Projector::run() {
  {
    Drawing drawing(driver_);
    for (;;) {
      {
        MutexLock lock(mutex_);
        changed_.wait(lock.native(), [this]() VREL_REQUIRES(mutex_) { return isEnding_ || target_.has_value(); });
      }
      auto work = currentWork();
      if (!work) {
        const MutexLock lock(mutex_);
        if (isEnding_) {
          break;
        }
        continue;
      }
      if (drawing.rate != work->target.refreshesPerSecond) {
        drawing.rate = work->target.refreshesPerSecond;
        drawing.refreshes = RefreshClock(drawing.rate);
        drawing.lead = DrawingLead(drawing.refreshes.period());
      }
      drawRefresh(drawing, std::move(*work));
    }
  }
  std::function<void()> ended;
  {
    const MutexLock lock(mutex_);
    ended = std::move(ended_);
    scene_ = std::make_shared<ProjectionScene>();
  }
  if (ended) {
    ended();
  }
}

std::optional<Projector::Work> Projector::currentWork() const {
  const MutexLock lock(mutex_);
  if (isEnding_ || !target_) {
    return std::nullopt;
  }
  return Work{scene_, fades_, *target_, number_, showing_, noteTime_};
}

void Projector::drawRefresh(Drawing& drawing, Work work) {
  auto& refreshes = drawing.refreshes;
  const double early = refreshes.untilNext(clock_(), drawing.hasWaited);
  if (early > 0) {
    // Not woken by a change: it is drawn with the next refresh.
    MutexLock lock(mutex_);
    changed_.wait_for(lock.native(), std::chrono::duration<double>(early),
                      [this]() VREL_REQUIRES(mutex_) { return isEnding_; });
    drawing.hasWaited = false;
    return;
  }
  const double now = clock_();
  const double instant = refreshes.next(now, drawing.hasWaited);
  const bool isTaken = work.target.taken != nullptr;
  // What is read back is seen at once, and must not ask players for more than is due: a screen may show them as well.
  StageFrame frame = isTaken ? stageFrameOf(*work.scene, work.fades, now, now)
                             : stageFrameOf(*work.scene, work.fades, instant, instant + refreshes.period());
  const bool isAsBefore = drawing.last == frame && drawing.lastSize == work.target.size &&
                          drawing.lastSurface == work.target.surface && drawing.lastTarget == work.number;
  const bool isStill = work.scene->background == nullptr && work.scene->layers.empty() && !work.fades.isMoving(instant);
  if (isAsBefore && (isStill || isTaken || drawing.isSoftware)) {
    drawing.lastInstant.reset();
    refreshes.rest();
    waitForChange(work.number, isStill ? std::nullopt : std::optional(refreshes.period()));
    return;
  }
  if (std::exchange(drawing.showing, work.showing) != work.showing) {
    drawing.hasFailed = false;
    drawing.attempts = 0;
    drawing.nextAttemptAt = 0;
  }
  if (drawing.hasFailed || !prepare(drawing, work)) {
    waitForChange(work.number, drawing.hasFailed ? std::nullopt : std::optional(retrySeconds));
    return;
  }
  if (isTaken) {
    drawTaken(drawing, work, frame);
  } else if (!drawOnScreen(drawing, work, frame, instant)) {
    return;
  }
  drawing.attempts = 0;
  const double shown = clock_();
  const double gap = drawing.lastInstant ? std::round((instant - *drawing.lastInstant) / refreshes.period()) : 1;
  const bool isComplete = std::all_of(frame.layers.begin(), frame.layers.end(),
                                      [](const StageFrame::Layer& each) { return each.picture != nullptr; });
  drawing.last = std::move(frame);
  drawing.lastSize = work.target.size;
  drawing.lastTarget = work.number;
  drawing.lastInstant = instant;
  const MutexLock lock(mutex_);
  ++figures_.drawn;
  figures_.missed += static_cast<std::uint64_t>(std::max(0.0, gap - 1));
  if (isComplete && work.noteTime && noteTime_ == work.noteTime) {
    figures_.firstPicture = shown - *work.noteTime;
    noteTime_.reset();
  }
}

void Projector::drawTaken(Drawing& drawing, const Work& work, const StageFrame& frame) {
  if (drawing.reader == nullptr) {
    drawing.reader = std::make_unique<StageReader>(*drawing.context);
  }
  drawing.reader->bind(work.target.size);
  drawing.painter->paint(frame, work.target.size, work.target.scale);
  work.target.taken(drawing.reader->read());
}

bool Projector::drawOnScreen(Drawing& drawing, Work& work, StageFrame& frame, double instant) {
  const double period = drawing.refreshes.period();
  const bool isForeseen = !drawing.isSoftware && drawing.refreshes.isRunning();
  const double begin = isForeseen ? std::max(clock_(), instant + period - drawing.lead.seconds()) : clock_();
  if (isForeseen && !load(drawing, work, frame, instant, begin)) {
    return false;
  }
  drawing.painter->paint(frame, work.target.size, work.target.scale);
  if (isForeseen) {
    drawing.context->functions()->glFinish();  // so that its time is known
  }
  const double ready = clock_();
  driver_.swap(*drawing.context, work.target.surface);
  const double shown = clock_();
  drawing.hasWaited = !drawing.isSoftware && shown - ready >= shortestWait * period;
  if (isForeseen) {
    drawing.lead.drew(ready - begin, shown > instant + missedRefresh * period);
  }
  return true;
}

bool Projector::load(Drawing& drawing, Work& work, StageFrame& frame, double instant, double until) {
  drawing.painter->load(frame, work.target.size, work.target.scale);
  for (double now = clock_(); now < until && waitForChange(work.number, until - now); now = clock_()) {
    auto later = currentWork();
    if (!later || later->target.surface != work.target.surface || later->target.size != work.target.size) {
      return false;
    }
    work = std::move(*later);
    frame = stageFrameOf(*work.scene, work.fades, instant, instant + drawing.refreshes.period());
    drawing.painter->load(frame, work.target.size, work.target.scale);
  }
  return true;
}

bool Projector::waitForChange(std::uint64_t number, std::optional<double> atMost) {
  MutexLock lock(mutex_);
  const auto isOther = [this, number]() VREL_REQUIRES(mutex_) { return isEnding_ || number_ != number; };
  if (atMost) {
    return changed_.wait_for(lock.native(), std::chrono::duration<double>(*atMost), isOther);
  }
  changed_.wait(lock.native(), isOther);
  return true;
}

bool Projector::prepare(Drawing& drawing, const Work& work) {
  if (drawing.painter != nullptr && driver_.makeCurrent(*drawing.context, work.target.surface)) {
    drawing.lastSurface = work.target.surface;
    return true;
  }
  drawing.release();
  drawing.lastSurface = work.target.surface;
  if (makeContext(drawing, work)) {
    return true;
  }
  drawing.context.reset();
  return false;
}

bool Projector::makeContext(Drawing& drawing, const Work& work) {
  const bool isFirst = figures().contexts == 0;
  // Each change is an attempt; many notes in a short loss must not use up all of them.
  if (const double now = clock_(); now >= drawing.nextAttemptAt) {
    ++drawing.attempts;
    drawing.nextAttemptAt = now + retrySeconds;
  }
  const bool isLastAttempt = drawing.attempts >= mostAttempts;
  drawing.context = std::make_unique<QOpenGLContext>();
  drawing.context->setFormat(work.target.surface->format());
  if (!driver_.create(*drawing.context)) {
    if (isFirst || isLastAttempt) {
      fail(drawing, "there is no OpenGL for it");
    }
    return false;
  }
  if (!driver_.makeCurrent(*drawing.context, work.target.surface)) {
    // The window may be on its way out, or the context lost again.
    if (isLastAttempt) {
      fail(drawing, "OpenGL cannot draw in its window");
    }
    return false;
  }
  auto painter = StagePainter::make(*drawing.context);
  if (!painter.ok()) {
    if (isFirst || isLastAttempt) {
      fail(drawing, painter.error().description);
    }
    return false;
  }
  drawing.painter = std::move(painter).value();
  drawing.isSoftware = driver_.isSoftware(*drawing.context);
  const MutexLock lock(mutex_);
  ++figures_.contexts;
  return true;
}

void Projector::fail(Drawing& drawing, const std::string& why) {
  drawing.hasFailed = true;
  failed_("nothing is projected: " + why);
}

}  // namespace vrel::system
