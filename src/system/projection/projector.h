// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QImage>
#include <QSize>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <thread>

#include "foundation/mutex.h"
#include "platform/projection.h"
#include "system/projection/layer_fades.h"
#include "system/projection/stage_painter.h"

class QOpenGLContext;
class QSurface;

namespace vrel::system {

/// Draws a scene on a surface, on a thread of its own at the surface's rate: neither the main thread nor the window's
/// waits for a picture, and none passes through them.
///
/// For each refresh it takes from every player the picture that is due. A scene that is set is drawn for the very next
/// refresh: pictures are uploaded at once, and put together as late as their drawing allows. What changes nothing is
/// not drawn: a still scene costs nothing, and with OpenGL in software, where no swap waits for a screen, a picture is
/// drawn once.
///
/// Threads: `setScene` from any; `show` and `hide` from the one that owns the surface. None of them waits for a
/// picture. Only `join` and the destructor wait, for the picture under way; the surface may be destroyed after either.
///
/// Failure: without OpenGL, or when the surface cannot be used for several seconds, `failed` is called once, on the
/// projector's thread, and nothing more is drawn until it is shown again after `hide`. A context that is lost is made
/// again.
class Projector {
 public:
  /// Media time, in seconds; any thread.
  using Clock = std::function<double()>;

  struct Target {
    QSurface* surface = nullptr;
    QSize size;        // pixels
    double scale = 1;  // pixels of a point
    double refreshesPerSecond = 60;
    /// Takes each picture, on the projector's thread, which then does not go to the surface. Null for a screen.
    std::function<void(QImage)> taken{};
  };

  /// What it has done so far. Times in seconds.
  struct Figures {
    std::uint64_t drawn = 0;   // refreshes that were drawn
    std::uint64_t missed = 0;  // refreshes between two of them that should have been
    std::uint64_t contexts = 0;
    /// From the scene that first had a layer to the swap that showed it: the last such time.
    std::optional<double> firstPicture;
  };

  /// What the driver is asked for.
  struct Driver {
    std::function<bool(QOpenGLContext& context)> create;
    std::function<bool(QOpenGLContext& context, QSurface* surface)> makeCurrent;
    /// Shows what was drawn; the driver of a graphics card waits for the screen.
    std::function<void(QOpenGLContext& context, QSurface* surface)> swap = swapBuffers;
    std::function<bool(QOpenGLContext& context)> isSoftware = drawsInSoftware;

    [[nodiscard]] static Driver real();
    static void swapBuffers(QOpenGLContext& context, QSurface* surface);
    [[nodiscard]] static bool drawsInSoftware(QOpenGLContext& context);
  };

  Projector(Clock clock, std::function<void(const std::string&)> failed, Driver driver = Driver::real());
  ~Projector();
  Projector(const Projector&) = delete;
  Projector& operator=(const Projector&) = delete;

  void setScene(const ProjectionScene& scene);
  /// Black, until a scene is set, which is a first one again.
  void clearScene();
  void show(const Target& target);
  void hide();

  /// Nothing is drawn any more; does not wait. Once it is done, `ended` is called on the projector's thread.
  void end(std::function<void()> ended);
  /// Waits for the end, which must have been asked for. The thread that owns the surface.
  void join();

  [[nodiscard]] Figures figures() const;

 private:
  struct Drawing;
  /// What a refresh is drawn from.
  struct Work {
    std::shared_ptr<const ProjectionScene> scene;
    LayerFades fades;
    Target target;
    std::uint64_t number = 0;   // of the last change of any of it
    std::uint64_t showing = 0;  // counts those that followed a `hide`
    std::optional<double> noteTime;
  };

  void run();
  [[nodiscard]] std::optional<Work> currentWork() const;
  void drawRefresh(Drawing& drawing, Work work);
  static void drawTaken(Drawing& drawing, const Work& work, const StageFrame& frame);
  // These take scenes that are set meanwhile; false: there is nothing to draw on that surface any more.
  [[nodiscard]] bool drawOnScreen(Drawing& drawing, Work& work, StageFrame& frame, double instant);
  [[nodiscard]] bool load(Drawing& drawing, Work& work, StageFrame& frame, double instant, double until);
  [[nodiscard]] bool prepare(Drawing& drawing, const Work& work);
  [[nodiscard]] bool makeContext(Drawing& drawing, const Work& work);
  void fail(Drawing& drawing, const std::string& why);
  /// Whether anything has changed since that number; waits for it, so many seconds at most.
  bool waitForChange(std::uint64_t number, std::optional<double> atMost);

  const Clock clock_;
  const std::function<void(const std::string&)> failed_;
  const Driver driver_;
  mutable Mutex mutex_;  // never held while anything is drawn
  std::condition_variable changed_;
  std::shared_ptr<const ProjectionScene> scene_ VREL_GUARDED_BY(mutex_) = std::make_shared<ProjectionScene>();
  bool hasScene_ VREL_GUARDED_BY(mutex_) = false;
  LayerFades fades_ VREL_GUARDED_BY(mutex_);
  std::optional<Target> target_ VREL_GUARDED_BY(mutex_);
  std::uint64_t number_ VREL_GUARDED_BY(mutex_) = 0;
  std::uint64_t showing_ VREL_GUARDED_BY(mutex_) = 0;
  std::optional<double> noteTime_ VREL_GUARDED_BY(mutex_);  // of a new layer that was not drawn yet
  bool isEnding_ VREL_GUARDED_BY(mutex_) = false;
  std::function<void()> ended_ VREL_GUARDED_BY(mutex_);
  Figures figures_ VREL_GUARDED_BY(mutex_);
  std::thread thread_;  // last: it uses all above
};

}  // namespace vrel::system
