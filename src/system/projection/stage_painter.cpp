// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/projection/stage_painter.h"

#include <QByteArray>
#include <QOpenGLContext>
#include <QOpenGLFunctions>
#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <iterator>
#include <utility>

#include "system/projection/stage_images.h"

#ifndef GL_UNPACK_ROW_LENGTH
#define GL_UNPACK_ROW_LENGTH 0x0CF2
#endif

namespace vrel::system {
namespace {

constexpr double placeholderOpacity = 0.2;
constexpr int mostIdleFrames = 2;  // so that a picture is not uploaded into what the last frame still reads
constexpr unsigned cornerAttribute = 0;

enum Source : std::size_t { rgbaSource, separateSource, separateAlphaSource, interleavedSource };
constexpr std::array sourceNames{"RGBA", "SEPARATE", "SEPARATE_ALPHA", "INTERLEAVED"};

// `corner` runs from 0 to 1 over the stage, from the top left; `stored` over the stored rows of the picture.
constexpr auto vertexShader = R"(
attribute vec2 corner;
uniform mat3 toStored;
varying vec2 stored;
void main() {
  stored = (toStored * vec3(corner, 1.0)).xy;
  gl_Position = vec4(corner.x * 2.0 - 1.0, 1.0 - corner.y * 2.0, 0.0, 1.0);
}
)";

constexpr auto fragmentShader = R"(
#ifdef GL_ES
#ifdef GL_FRAGMENT_PRECISION_HIGH
precision highp float;
#else
precision mediump float;
#endif
#endif
varying vec2 stored;
uniform float opacity;
uniform mat3 colours;
uniform vec3 black;
uniform vec4 chroma;
uniform sampler2D plane0;
uniform sampler2D plane1;
uniform sampler2D plane2;
uniform sampler2D plane3;
void main() {
  if (any(lessThan(stored, vec2(0.0))) || any(greaterThan(stored, vec2(1.0)))) {
    gl_FragColor = vec4(0.0, 0.0, 0.0, opacity);
    return;
  }
#ifdef RGBA
  vec4 seen = texture2D(plane0, stored);
#else
  vec2 there = stored * chroma.xy + chroma.zw;
#ifdef INTERLEAVED
  vec3 yuv = vec3(texture2D(plane0, stored).r, texture2D(plane1, there).ra);
#else
  vec3 yuv = vec3(texture2D(plane0, stored).r, texture2D(plane1, there).r, texture2D(plane2, there).r);
#endif
  vec4 seen = vec4(clamp(colours * (yuv - black), 0.0, 1.0), 1.0);
#ifdef SEPARATE_ALPHA
  seen.a = texture2D(plane3, stored).r;
#endif
#endif
  gl_FragColor = vec4(seen.rgb * seen.a, seen.a) * opacity;
}
)";

/// Weights of red and blue in the luma of a matrix.
std::pair<double, double> weightsOf(PicturePlanes::Matrix matrix) {
  switch (matrix) {
    case PicturePlanes::Matrix::bt601:
      return {0.299, 0.114};
    case PicturePlanes::Matrix::bt709:
      return {0.2126, 0.0722};
    case PicturePlanes::Matrix::bt2020:
      return {0.2627, 0.0593};
  }
  return {};
}

Source sourceOf(const PicturePlanes& planes) {
  switch (planes.layout) {
    case PicturePlanes::Layout::rgba:
      return rgbaSource;
    case PicturePlanes::Layout::interleaved:
      return interleavedSource;
    case PicturePlanes::Layout::separate:
      return planes.planeCount > 3 ? separateAlphaSource : separateSource;
  }
  return rgbaSource;
}

bool coversAll(const StageFrame::Layer& layer) {
  return layer.blending == LayerBlending::normal && layer.opacity >= 1 &&
         (layer.picture == nullptr || !layer.picture->hasAlpha());
}

bool hasSamples(const StageFrame::Layer& layer) {
  return layer.picture != nullptr && layer.picture->planes().planeCount > 0;
}

/// Every n-th sample of every n-th row, without gaps.
void copyTight(const PicturePlane& plane, std::size_t sampleBytes, std::size_t every,
               std::vector<std::uint8_t>& tight) {
  tight.clear();
  for (std::size_t row = 0; row < plane.height; row += every) {
    const std::uint8_t* const samples = plane.rows + row * plane.rowBytes;
    if (every == 1) {
      tight.insert(tight.end(), samples, samples + plane.width * sampleBytes);
      continue;
    }
    for (std::size_t column = 0; column < plane.width; column += every) {
      const std::uint8_t* const sample = samples + column * sampleBytes;
      tight.insert(tight.end(), sample, sample + sampleBytes);
    }
  }
}

unsigned compiled(QOpenGLFunctions& gl, unsigned kind, const QByteArray& source, std::string& failure) {
  const unsigned shader = gl.glCreateShader(kind);
  const char* text = source.constData();
  gl.glShaderSource(shader, 1, &text, nullptr);
  gl.glCompileShader(shader);
  int isCompiled = 0;
  gl.glGetShaderiv(shader, GL_COMPILE_STATUS, &isCompiled);
  if (isCompiled == 0) {
    std::array<char, 512> log{};
    gl.glGetShaderInfoLog(shader, static_cast<int>(log.size()) - 1, nullptr, log.data());
    failure = log.data();
  }
  return shader;
}

}  // namespace

Result<std::unique_ptr<StagePainter>> StagePainter::make(QOpenGLContext& context) {
  std::unique_ptr<StagePainter> painter(new StagePainter(context));
  std::string failure;
  if (!painter->prepare(failure)) {
    return Error{"the shaders of the projection are refused: " + failure};
  }
  return painter;
}

StagePainter::StagePainter(QOpenGLContext& context) : gl_(*context.functions()) {
  hasRowLength_ = !context.isOpenGLES() || context.format().majorVersion() >= 3;
  int most = 0;
  gl_.glGetIntegerv(GL_MAX_TEXTURE_SIZE, &most);
  mostTexels_ = static_cast<std::size_t>(std::max(most, 64));  // what each version has at least
}

StagePainter::~StagePainter() {
  if (isContextLost_) {
    return;
  }
  for (const auto& each : textures_) {
    gl_.glDeleteTextures(static_cast<int>(each->ids.size()), each->ids.data());
  }
  gl_.glDeleteTextures(1, &noChroma_);
  gl_.glDeleteBuffers(1, &corners_);
  for (const auto& program : programs_) {
    gl_.glDeleteProgram(program.id);
  }
}

bool StagePainter::prepare(std::string& failure) {
  for (std::size_t source = 0; source < programs_.size(); ++source) {
    auto& program = programs_[source];
    const QByteArray define = QByteArray("#define ") + sourceNames[source] + "\n";
    const unsigned vertex = compiled(gl_, GL_VERTEX_SHADER, vertexShader, failure);
    const unsigned fragment = compiled(gl_, GL_FRAGMENT_SHADER, define + fragmentShader, failure);
    program.id = gl_.glCreateProgram();
    gl_.glAttachShader(program.id, vertex);
    gl_.glAttachShader(program.id, fragment);
    gl_.glBindAttribLocation(program.id, cornerAttribute, "corner");
    gl_.glLinkProgram(program.id);
    gl_.glDeleteShader(vertex);
    gl_.glDeleteShader(fragment);
    int isLinked = 0;
    gl_.glGetProgramiv(program.id, GL_LINK_STATUS, &isLinked);
    if (isLinked == 0) {
      failure += failure.empty() ? "they cannot be linked" : "";
      return false;
    }
    program.toStored = gl_.glGetUniformLocation(program.id, "toStored");
    program.opacity = gl_.glGetUniformLocation(program.id, "opacity");
    program.colours = gl_.glGetUniformLocation(program.id, "colours");
    program.black = gl_.glGetUniformLocation(program.id, "black");
    program.chroma = gl_.glGetUniformLocation(program.id, "chroma");
    gl_.glUseProgram(program.id);
    constexpr std::array planes{"plane0", "plane1", "plane2", "plane3"};
    for (std::size_t plane = 0; plane < planes.size(); ++plane) {
      gl_.glUniform1i(gl_.glGetUniformLocation(program.id, planes[plane]), static_cast<int>(plane));
    }
  }
  constexpr std::array<float, 8> corners{0, 0, 1, 0, 0, 1, 1, 1};
  gl_.glGenBuffers(1, &corners_);
  gl_.glBindBuffer(GL_ARRAY_BUFFER, corners_);
  gl_.glBufferData(GL_ARRAY_BUFFER, sizeof corners, corners.data(), GL_STATIC_DRAW);
  constexpr std::uint8_t neutral = 128;
  gl_.glGenTextures(1, &noChroma_);
  gl_.glBindTexture(GL_TEXTURE_2D, noChroma_);
  gl_.glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_NEAREST);
  gl_.glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_NEAREST);
  gl_.glPixelStorei(GL_UNPACK_ALIGNMENT, 1);
  gl_.glTexImage2D(GL_TEXTURE_2D, 0, GL_LUMINANCE, 1, 1, 0, GL_LUMINANCE, GL_UNSIGNED_BYTE, &neutral);
  return true;
}

void StagePainter::paint(const StageFrame& frame, QSize size, double scale) {
  gl_.glViewport(0, 0, size.width(), size.height());
  gl_.glDisable(GL_DEPTH_TEST);
  gl_.glDisable(GL_SCISSOR_TEST);
  gl_.glDisable(GL_DITHER);
  gl_.glColorMask(GL_TRUE, GL_TRUE, GL_TRUE, GL_TRUE);
  gl_.glClearColor(0, 0, 0, 1);
  gl_.glClear(GL_COLOR_BUFFER_BIT);
  gl_.glColorMask(GL_TRUE, GL_TRUE, GL_TRUE, GL_FALSE);  // the stage stays opaque
  gl_.glEnable(GL_BLEND);
  gl_.glBindBuffer(GL_ARRAY_BUFFER, corners_);
  gl_.glEnableVertexAttribArray(cornerAttribute);
  gl_.glVertexAttribPointer(cornerAttribute, 2, GL_FLOAT, GL_FALSE, 0, nullptr);

  for (const auto& layer : seenLayers(frame, size, scale)) {
    drawLayer(layer, size);
  }
  gl_.glDisable(GL_BLEND);
  gl_.glColorMask(GL_TRUE, GL_TRUE, GL_TRUE, GL_TRUE);
  releaseIdle();
}

std::vector<StageFrame::Layer> StagePainter::seenLayers(const StageFrame& frame, QSize size, double scale) {
  const auto own = [&](OwnPicture& kept, const std::string& words, const auto& make) {
    if (kept.picture == nullptr || kept.words != words || kept.size != size || kept.scale != scale) {
      kept = {words, size, scale, make(words, size, scale)};
    }
    return kept.picture;
  };
  std::vector<StageFrame::Layer> layers;
  if (frame.background != nullptr) {
    layers.push_back({frame.background, LayerBlending::normal, 1});
  }
  if (!frame.placeholder.empty()) {
    layers.push_back(
        {own(placeholder_, frame.placeholder, placeholderPicture), LayerBlending::normal, placeholderOpacity});
  }
  layers.insert(layers.end(), frame.layers.begin(), frame.layers.end());
  if (!frame.testPicture.empty()) {
    layers.push_back({own(test_, frame.testPicture, testPicture), LayerBlending::normal, 1});
  }
  if (frame.isBlack) {
    layers.clear();
  }
  // What is covered wholly is neither uploaded nor drawn.
  const auto top = std::find_if(layers.rbegin(), layers.rend(), coversAll);
  layers.erase(layers.begin(), top == layers.rend() ? layers.begin() : std::prev(top.base()));
  std::erase_if(layers, [](const StageFrame::Layer& each) { return each.opacity <= 0; });
  return layers;
}

void StagePainter::load(const StageFrame& frame, QSize size, double scale) {
  for (const auto& layer : seenLayers(frame, size, scale)) {
    if (hasSamples(layer)) {
      (void)loadedTextures(layer.picture);
    }
  }
  gl_.glFlush();
}

void StagePainter::drawLayer(const StageFrame::Layer& layer, QSize size) {
  switch (layer.blending) {
    case LayerBlending::normal:
      gl_.glBlendFunc(GL_ONE, GL_ONE_MINUS_SRC_ALPHA);
      break;
    case LayerBlending::multiply:
      gl_.glBlendFunc(GL_DST_COLOR, GL_ONE_MINUS_SRC_ALPHA);
      break;
    case LayerBlending::screen:
      gl_.glBlendFunc(GL_ONE, GL_ONE_MINUS_SRC_COLOR);
      break;
    case LayerBlending::plusLighter:
      gl_.glBlendFunc(GL_ONE, GL_ONE);
      break;
  }
  if (!hasSamples(layer)) {
    // A place outside the picture, everywhere.
    constexpr std::array<float, 9> outside{0, 0, 0, 0, 0, 0, -1, -1, 1};
    gl_.glUseProgram(programs_[rgbaSource].id);
    gl_.glUniformMatrix3fv(programs_[rgbaSource].toStored, 1, GL_FALSE, outside.data());
    gl_.glUniform1f(programs_[rgbaSource].opacity, static_cast<float>(layer.opacity));
    gl_.glDrawArrays(GL_TRIANGLE_STRIP, 0, 4);
    return;
  }
  const PicturePlanes planes = layer.picture->planes();
  const auto& textures = loadedTextures(layer.picture);
  for (std::size_t plane = 0; plane < textures.ids.size(); ++plane) {
    gl_.glActiveTexture(GL_TEXTURE0 + static_cast<unsigned>(plane));
    gl_.glBindTexture(GL_TEXTURE_2D, plane < planes.planeCount ? textures.ids[plane] : noChroma_);
  }
  gl_.glActiveTexture(GL_TEXTURE0);
  const Program& program = programs_[sourceOf(planes)];
  gl_.glUseProgram(program.id);
  gl_.glUniform1f(program.opacity, static_cast<float>(layer.opacity));
  usePlace(program, *layer.picture, planes, size);
  useColours(program, planes);
  gl_.glDrawArrays(GL_TRIANGLE_STRIP, 0, 4);
}

StagePainter::Textures& StagePainter::loadedTextures(const std::shared_ptr<const VideoPicture>& picture) {
  auto& textures = texturesOf(picture);
  if (textures.picture.lock() != picture) {
    upload(picture->planes(), textures);
    textures.picture = picture;
  }
  return textures;
}

// What holds the picture already, or else what has been idle for longest.
StagePainter::Textures& StagePainter::texturesOf(const std::shared_ptr<const VideoPicture>& picture) {
  Textures* idle = nullptr;
  for (const auto& each : textures_) {
    if (each->picture.lock() == picture) {
      each->idleFrames = -1;
      return *each;
    }
    if (each->idleFrames > 0 && (idle == nullptr || each->idleFrames > idle->idleFrames)) {
      idle = each.get();
    }
  }
  if (idle == nullptr) {
    idle = textures_.emplace_back(std::make_unique<Textures>()).get();
    gl_.glGenTextures(static_cast<int>(idle->ids.size()), idle->ids.data());
  }
  idle->idleFrames = -1;
  return *idle;
}

void StagePainter::releaseIdle() {
  for (const auto& each : textures_) {
    if (++each->idleFrames > mostIdleFrames) {
      gl_.glDeleteTextures(static_cast<int>(each->ids.size()), each->ids.data());
    }
  }
  std::erase_if(textures_, [](const auto& each) { return each->idleFrames > mostIdleFrames; });
}

void StagePainter::upload(const PicturePlanes& planes, Textures& textures) {
  gl_.glPixelStorei(GL_UNPACK_ALIGNMENT, 1);
  std::vector<std::uint8_t> tight;
  for (std::size_t index = 0; index < planes.planeCount; ++index) {
    const PicturePlane& plane = planes.planes[index];
    const bool isPair = planes.layout == PicturePlanes::Layout::interleaved && index == 1;
    const bool isRgba = planes.layout == PicturePlanes::Layout::rgba;
    const unsigned format = isRgba ? GL_RGBA : isPair ? GL_LUMINANCE_ALPHA : GL_LUMINANCE;
    const std::size_t sampleBytes = isRgba ? 4 : isPair ? 2 : 1;
    const std::size_t every = (std::max(plane.width, plane.height) + mostTexels_ - 1) / mostTexels_;
    const QSize size(static_cast<int>((plane.width + every - 1) / every),
                     static_cast<int>((plane.height + every - 1) / every));
    const void* rows = plane.rows;
    if (every == 1 && hasRowLength_ && plane.rowBytes % sampleBytes == 0) {
      gl_.glPixelStorei(GL_UNPACK_ROW_LENGTH, static_cast<int>(plane.rowBytes / sampleBytes));
    } else if (every > 1 || plane.rowBytes != plane.width * sampleBytes) {
      copyTight(plane, sampleBytes, every, tight);
      rows = tight.data();
    }
    gl_.glBindTexture(GL_TEXTURE_2D, textures.ids[index]);
    if (textures.sizes[index] == size && textures.formats[index] == format) {
      gl_.glTexSubImage2D(GL_TEXTURE_2D, 0, 0, 0, size.width(), size.height(), format, GL_UNSIGNED_BYTE, rows);
    } else {
      gl_.glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_LINEAR);
      gl_.glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_LINEAR);
      gl_.glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_S, GL_CLAMP_TO_EDGE);
      gl_.glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_T, GL_CLAMP_TO_EDGE);
      gl_.glTexImage2D(GL_TEXTURE_2D, 0, static_cast<int>(format), size.width(), size.height(), 0, format,
                       GL_UNSIGNED_BYTE, rows);
      textures.sizes[index] = size;
      textures.formats[index] = format;
    }
    if (hasRowLength_) {
      gl_.glPixelStorei(GL_UNPACK_ROW_LENGTH, 0);
    }
  }
}

// As large as fits, in whole pixels, in the middle.
void StagePainter::usePlace(const Program& program, const VideoPicture& picture, const PicturePlanes& planes,
                            QSize size) {
  const double stageWidth = size.width();
  const double stageHeight = size.height();
  const auto width = static_cast<double>(picture.width());
  const auto height = static_cast<double>(picture.height());
  const double scale = std::min(stageWidth / width, stageHeight / height);
  const double shownWidth = std::max(1.0, std::round(width * scale));
  const double shownHeight = std::max(1.0, std::round(height * scale));
  const double left = std::floor((stageWidth - shownWidth) / 2);
  const double top = std::floor((stageHeight - shownHeight) / 2);
  // From the stage to what is seen of the picture: seen = stage * stretch + shift.
  std::array<double, 2> stretch{stageWidth / shownWidth, stageHeight / shownHeight};
  std::array<double, 2> shift{-left / shownWidth, -top / shownHeight};
  // From there to what is stored. Along each stored axis: which seen axis it is, and whether it runs the other way.
  std::array<float, 9> toStored{0, 0, 0, 0, 0, 0, 0, 0, 1};
  for (std::size_t axis = 0; axis < 2; ++axis) {
    const std::size_t seen = planes.transposed ? 1 - axis : axis;
    const bool isMirrored = axis == 0 ? planes.mirrorsX : planes.mirrorsY;
    toStored[seen * 3 + axis] = static_cast<float>(isMirrored ? -stretch[seen] : stretch[seen]);
    toStored[2 * 3 + axis] = static_cast<float>(isMirrored ? 1 - shift[seen] : shift[seen]);
  }
  gl_.glUniformMatrix3fv(program.toStored, 1, GL_FALSE, toStored.data());
}

void StagePainter::useColours(const Program& program, const PicturePlanes& planes) {
  if (planes.layout == PicturePlanes::Layout::rgba) {
    return;
  }
  const auto [red, blue] = weightsOf(planes.matrix);
  const double green = 1 - red - blue;
  const double luma = planes.isFullRange ? 1 : 255.0 / 219;
  const double chroma = planes.isFullRange ? 1 : 255.0 / 224;
  const double ofRed = 2 * (1 - red) * chroma;
  const double ofBlue = 2 * (1 - blue) * chroma;
  const std::array<float, 9> colours{static_cast<float>(luma),
                                     static_cast<float>(luma),
                                     static_cast<float>(luma),
                                     0,
                                     static_cast<float>(-ofBlue * blue / green),
                                     static_cast<float>(ofBlue),
                                     static_cast<float>(ofRed),
                                     static_cast<float>(-ofRed * red / green),
                                     0};
  gl_.glUniformMatrix3fv(program.colours, 1, GL_FALSE, colours.data());
  constexpr float middle = 128.0F / 255;
  gl_.glUniform3f(program.black, planes.isFullRange ? 0 : 16.0F / 255, middle, middle);
  const PicturePlane& light = planes.planes[0];
  const PicturePlane& colour = planes.planes[planes.planeCount > 1 ? 1 : 0];
  const auto columns = static_cast<double>(planes.chromaColumns);
  const auto rows = static_cast<double>(planes.chromaRows);
  const double toLeft = planes.isChromaLeft ? (0.5 - 0.5 / columns) / static_cast<double>(colour.width) : 0;
  gl_.glUniform4f(program.chroma,
                  static_cast<float>(static_cast<double>(light.width) / (columns * static_cast<double>(colour.width))),
                  static_cast<float>(static_cast<double>(light.height) / (rows * static_cast<double>(colour.height))),
                  static_cast<float>(toLeft), 0);
}

}  // namespace vrel::system
