// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

namespace vrel {

class AudioNodeFactory;
class AudioUnitFactory;
class ConsoleOutput;
class DispatchQueueFactory;
class HostClock;
class MainQueue;
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
};

}  // namespace vrel
