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

/// What the engine asks of the machine. All borrowed; they outlive the engine and all its work.
struct EnginePlatform {
  AudioNodeFactory& nodes;
  AudioUnitFactory& units;
  MainQueue& mainQueue;
  DispatchQueueFactory& queues;
  HostClock& clock;
  NSPropertyListSerialization& propertyLists;
  ConsoleOutput& console;

  // Null where the program plays to no device, hears no keyboard or reads no audio files.
  AudioHardware* hardware = nullptr;
  MIDIService* midi = nullptr;
  AudioFileFactory* files = nullptr;
};

}  // namespace vrel
