// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "document/setlist.h"
#include "platform/property_list.h"

namespace vrel {

class AudioChannel;
class AUAudioUnit;
class ConsoleOutput;

/// Whether a plug-in is asked for its state, or what it took or gave last is used. One in this process is asked always.
enum class StateRead { now, lastKnown };

/// The sound of a plug-in as text for the document: base64 of a binary property list of the
/// dictionary that the plug-in gives. Opaque: nothing in it is read or changed here.
///
/// A failure costs the one state only: it is logged and the field stays absent.
///
/// The text of a large state is made when somebody reads it, so that a capture does not cost the time: as a rule a
/// save, beside the main thread. Until then it is the dictionary itself, and goes back into a plug-in as that. Main
/// thread.
class PluginState {
 public:
  PluginState(NSPropertyListSerialization& propertyLists, ConsoleOutput& console)
      : propertyLists_(propertyLists), console_(console) {}

  /// Announces a capture of all that the channel hosts: before several channels are captured, each is announced, so
  /// that their plug-ins work at the same time.
  void requestStates(const AudioChannel& channel);

  /// The unit's document state, or else its preset state; none when it has neither.
  [[nodiscard]] std::optional<SharedText> captureAudioUnitState(AUAudioUnit& unit, StateRead read = StateRead::now);

  /// The state of the channel's instrument, or what one that has died left; none for a channel that hosts no plug-in.
  [[nodiscard]] std::optional<SharedText> capturePluginState(const AudioChannel& channel,
                                                             StateRead read = StateRead::now);

  /// The slots that hold something, each with the present state of its node; a slot without a node
  /// keeps the state it had, so that a plug-in missing on this machine loses nothing.
  [[nodiscard]] std::vector<AudioPluginSlot> captureEffectSlots(const AudioChannel& channel,
                                                                StateRead read = StateRead::now);

  /// The dictionary that such a text holds; none for no text, empty text or anything else.
  [[nodiscard]] std::optional<PropertyListDictionary> decodePluginState(const std::optional<SharedText>& text);

 private:
  /// `failurePrefix` begins the logged failure.
  [[nodiscard]] std::optional<SharedText> stateText(AUAudioUnit& unit, const std::string& failurePrefix,
                                                    StateRead read);

  NSPropertyListSerialization& propertyLists_;
  ConsoleOutput& console_;
};

/// The document's record of a live channel, with the state of its plug-ins. The record has an id of its own.
[[nodiscard]] ChannelConfig makeChannelConfig(const AudioChannel& channel, PluginState& pluginState,
                                              StateRead read = StateRead::now);

}  // namespace vrel
