// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/projection/stage_reader.h"

#include <QOpenGLContext>
#include <QOpenGLFunctions>

#ifndef GL_RGBA8
#define GL_RGBA8 0x8058
#endif

namespace vrel::system {

StageReader::StageReader(QOpenGLContext& context) : gl_(*context.functions()) {
  gl_.glGenFramebuffers(1, &buffer_);
  gl_.glGenRenderbuffers(1, &pixels_);
}

StageReader::~StageReader() {
  if (!isContextLost_) {
    gl_.glDeleteFramebuffers(1, &buffer_);
    gl_.glDeleteRenderbuffers(1, &pixels_);
  }
}

void StageReader::bind(QSize size) {
  gl_.glBindFramebuffer(GL_FRAMEBUFFER, buffer_);
  if (size != size_) {
    size_ = size;
    gl_.glBindRenderbuffer(GL_RENDERBUFFER, pixels_);
    gl_.glRenderbufferStorage(GL_RENDERBUFFER, GL_RGBA8, size.width(), size.height());
    gl_.glFramebufferRenderbuffer(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_RENDERBUFFER, pixels_);
  }
}

QImage StageReader::read() const {
  QImage image(size_, QImage::Format_RGBX8888);
  if (image.isNull() || gl_.glCheckFramebufferStatus(GL_FRAMEBUFFER) != GL_FRAMEBUFFER_COMPLETE) {
    return {};
  }
  gl_.glPixelStorei(GL_PACK_ALIGNMENT, 4);
  gl_.glReadPixels(0, 0, size_.width(), size_.height(), GL_RGBA, GL_UNSIGNED_BYTE, image.bits());
  return image.mirrored();
}

}  // namespace vrel::system
