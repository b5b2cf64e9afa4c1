// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

namespace vrel {

class AudioFileFactory;
class AudioHardware;
class AudioNodeFactory;
class AudioUnitFactory;
class ConsoleOutput;
class DispatchQueueFactory;
class HostClock;
class MainQueue;
class MIDIService;
class NSPropertyListSerialization;
class VideoFactory;

/// What the engine asks of the machine. All borrowed; they outlive the engine and all its work.
struct EnginePlatform {
  AudioNodeFactory& nodes;
  AudioUnitFactory& units;
  MainQueue& mainQueue;
  DispatchQueueFactory& queues;
  HostClock& clock;
  NSPropertyListSerialization& propertyLists;
  ConsoleOutput& console;

  // Null where the program plays to no device, hears no keyboard, reads no audio files or shows no clips.
  AudioHardware* hardware = nullptr;
  MIDIService* midi = nullptr;
  AudioFileFactory* files = nullptr;
  VideoFactory* videos = nullptr;

  // What a setlist plays is decoded on threads of its own before it is needed. Not where each run must be the same.
  bool decodesAhead = false;
};

}  // namespace vrel
