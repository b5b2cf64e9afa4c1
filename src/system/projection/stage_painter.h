// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QSize>
#include <array>
#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "foundation/result.h"
#include "platform/projection.h"
#include "platform/video_player.h"

class QOpenGLContext;
class QOpenGLFunctions;

namespace vrel::system {

/// What is to be seen at one instant; the fields mean what those of `ProjectionScene` do.
struct StageFrame {
  struct Layer {
    std::shared_ptr<const VideoPicture> picture;  // null: black
    LayerBlending blending = LayerBlending::normal;
    double opacity = 1;

    bool operator==(const Layer&) const = default;
  };

  std::shared_ptr<const VideoPicture> background;
  std::string placeholder;
  std::vector<Layer> layers;
  std::string testPicture;
  bool isBlack = false;

  bool operator==(const StageFrame&) const = default;
};

/// Draws stages with OpenGL, of any version and kind that has shaders, into whatever framebuffer is bound: a window's,
/// or one off the screen. Colours are converted and pictures scaled and turned in the shader; layers are blended by the
/// fixed functions, with colours multiplied by their alpha and opacity, so no layer needs a buffer of its own.
///
/// A picture is uploaded when it is first drawn; of one that is larger than the driver takes, every other sample or
/// less. Letterbox bars are black and belong to their layer; where a picture itself is transparent, what lies below is
/// seen.
///
/// Made, used and destroyed with the same context current, which outlives it; of a lost one nothing is released.
class StagePainter {
 public:
  [[nodiscard]] static Result<std::unique_ptr<StagePainter>> make(QOpenGLContext& context);
  ~StagePainter();
  StagePainter(const StagePainter&) = delete;
  StagePainter& operator=(const StagePainter&) = delete;

  /// Uploads what `paint` would, so that it only draws.
  void load(const StageFrame& frame, QSize size, double scale);

  /// Fills the framebuffer's `size` pixels. `scale`: pixels of a point, for the words.
  void paint(const StageFrame& frame, QSize size, double scale);

  /// Its context is gone, and all that it held there.
  void forgetContext() { isContextLost_ = true; }

 private:
  struct Program {
    unsigned id = 0;
    int toStored = -1;
    int opacity = -1;
    int colours = -1;
    int black = -1;
    int chroma = -1;
  };
  struct Textures {
    std::array<unsigned, 4> ids{};
    std::array<QSize, 4> sizes{};
    std::array<unsigned, 4> formats{};
    std::weak_ptr<const VideoPicture> picture;  // that they hold
    int idleFrames = 0;
  };
  struct OwnPicture {
    std::string words;
    QSize size;
    double scale = 1;
    std::shared_ptr<const VideoPicture> picture;
  };

  explicit StagePainter(QOpenGLContext& context);
  [[nodiscard]] bool prepare(std::string& failure);
  /// What is seen of a frame, from the back.
  [[nodiscard]] std::vector<StageFrame::Layer> seenLayers(const StageFrame& frame, QSize size, double scale);
  void drawLayer(const StageFrame::Layer& layer, QSize size);
  /// With the picture in them.
  [[nodiscard]] Textures& loadedTextures(const std::shared_ptr<const VideoPicture>& picture);
  void upload(const PicturePlanes& planes, Textures& textures);
  [[nodiscard]] Textures& texturesOf(const std::shared_ptr<const VideoPicture>& picture);
  void useColours(const Program& program, const PicturePlanes& planes);
  void usePlace(const Program& program, const VideoPicture& picture, const PicturePlanes& planes, QSize size);
  void releaseIdle();

  QOpenGLFunctions& gl_;
  bool hasRowLength_ = false;
  std::size_t mostTexels_ = 0;  // in a row or a column
  bool isContextLost_ = false;
  std::array<Program, 4> programs_{};  // by what a fragment is made of
  unsigned corners_ = 0;
  unsigned noChroma_ = 0;  // a texture of one neutral sample
  std::vector<std::unique_ptr<Textures>> textures_;
  OwnPicture placeholder_;
  OwnPicture test_;
};

}  // namespace vrel::system
