// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "console/window/mirror_source.h"

namespace vrel::window {

class AlertViewModel;
class CheckViewModel;
class ClipViewModel;
class CopiesViewModel;
class HelpViewModel;
class LearnedControlsViewModel;
class MasterViewModel;
class MenuBarViewModel;
class RackViewModel;
class SelectorViewModel;
class SessionViewModel;
class SongControlViewModel;
class TextsViewModel;
class TrackViewModel;

/// The objects and lists that the window knows from the beginning; each number once.
namespace mirror_ids {
inline constexpr FixedMirrorId<SessionViewModel> session{1};
inline constexpr FixedMirrorId<MasterViewModel> master{2};
inline constexpr FixedMirrorId<TextsViewModel> texts{3};
inline constexpr FixedMirrorId<AlertViewModel> alert{4};
inline constexpr FixedMirrorId<MenuBarViewModel> menuBar{5};
inline constexpr FixedMirrorId<SelectorViewModel> selector{6};
inline constexpr FixedMirrorId<RackViewModel> rack{7};
inline constexpr FixedMirrorId<LearnedControlsViewModel> learned{8};
inline constexpr FixedMirrorId<SongControlViewModel> songControl{9};
inline constexpr FixedMirrorId<ClipViewModel> clips{10};
inline constexpr FixedMirrorId<TrackViewModel> track{11};
inline constexpr FixedMirrorId<HelpViewModel> help{12};
inline constexpr FixedMirrorId<HelpViewModel> liveKeys{13};
inline constexpr FixedMirrorId<CheckViewModel> check{14};
inline constexpr FixedMirrorId<CopiesViewModel> copies{15};
inline constexpr MirrorId songs = 16;
inline constexpr MirrorId strips = 17;
inline constexpr MirrorId editors = 18;
}  // namespace mirror_ids

}  // namespace vrel::window
