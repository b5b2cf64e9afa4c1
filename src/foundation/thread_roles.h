// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// Who may call what, checked by the compiler.
//
// "Audio thread" is a role, not a thread: whoever renders a block plays it, be it a device's
// callback, the offline device's caller or a test. Code that runs inside a block is marked
// VREL_AUDIO_THREAD and can only be called where the role is held; code that must never run inside
// a block (it allocates, locks, or changes what a block reads) is marked VREL_NOT_AUDIO_THREAD.
// Clang's -Wthread-safety, in the `lint` preset, fails the build on a call across.
//
// The role is taken by one object, AudioThreadScope, at the outermost call of a block. In the
// `rtcheck` preset the same object arms the trap that aborts on allocation and locks.

#if defined(__clang__)
#define VREL_THREAD_ATTRIBUTE(x) __attribute__((x))
#else
#define VREL_THREAD_ATTRIBUTE(x)
#endif

/// The function runs inside a block: no allocation, no lock, no file, no log, no throw.
#define VREL_AUDIO_THREAD VREL_THREAD_ATTRIBUTE(requires_capability(::vrel::audioThreadRole))

/// The function must never run inside a block.
#define VREL_NOT_AUDIO_THREAD VREL_THREAD_ATTRIBUTE(locks_excluded(::vrel::audioThreadRole))

namespace vrel {

/// Empty: it exists for the compiler's analysis only.
class VREL_THREAD_ATTRIBUTE(capability("role")) ThreadRole {};

inline ThreadRole audioThreadRole;

/// Depth of audio scopes on this thread; the trap of the `rtcheck` preset reads it.
int audioScopeDepth() noexcept;

/// Takes the audio role for the time of its life. Cheap enough for every block.
class VREL_THREAD_ATTRIBUTE(scoped_lockable) AudioThreadScope {
 public:
  AudioThreadScope() noexcept VREL_THREAD_ATTRIBUTE(acquire_capability(audioThreadRole));
  ~AudioThreadScope() VREL_THREAD_ATTRIBUTE(release_capability());
  AudioThreadScope(const AudioThreadScope&) = delete;
  AudioThreadScope& operator=(const AudioThreadScope&) = delete;
};

/// Suspends the trap, not the role, around code that is not ours: a plug-in's own processing.
class ForeignCodeScope {
 public:
  ForeignCodeScope() noexcept;
  ~ForeignCodeScope();
  ForeignCodeScope(const ForeignCodeScope&) = delete;
  ForeignCodeScope& operator=(const ForeignCodeScope&) = delete;

 private:
  int suspendedDepth_;
};

}  // namespace vrel
