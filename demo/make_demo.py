#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""Writes the demo show: demo.vrel, a setlist of three songs, and demo.mid, a performance of it.

Both files depend on this script alone. It needs nothing but Python; to hear the show, the plug-ins of the
Debian packages mda-lv2 and setbfree must be installed.
"""

import argparse
import base64
import json
import pathlib
import plistlib
import struct

# --- Plug-ins ---------------------------------------------------------------------------------------

INSTRUMENT = int.from_bytes(b"aumu", "big")
EFFECT = int.from_bytes(b"aufx", "big")
MDA = "http://drobilla.net/plugins/mda/"


class Plugin:
    """One LV2 plug-in, under the codes by which the host knows it."""

    def __init__(self, component_type: int, uri: str, name: str, manufacturer: str):
        # FNV-1a, 64 bits; the subtype is the high half, the manufacturer the low one.
        digest = 0xCBF29CE484222325
        for byte in uri.encode():
            digest = (digest ^ byte) * 0x100000001B3 % 2**64
        self.uri = uri
        self.name = name
        self.manufacturer = manufacturer
        self.codes = {"type": component_type, "subtype": digest >> 32, "manufacturer": digest % 2**32}

    @property
    def path(self) -> str:
        return "aucd:{type}:{subtype}:{manufacturer}".format(**self.codes)

    def state(self, **ports: float) -> str:
        """The state with these values at the control inputs; those not named keep theirs."""
        values = {symbol: float(value) for symbol, value in ports.items()}
        content = {"format": 1, "uri": self.uri, "name": self.name, **self.codes, "ports": values, "properties": [],
                   "files": {}}
        return base64.b64encode(plistlib.dumps(content, fmt=plistlib.FMT_BINARY, sort_keys=True)).decode()


def mda(component_type: int, last_part: str, name: str) -> Plugin:
    return Plugin(component_type, MDA + last_part, name, "David Robillard")


ELECTRIC_PIANO = mda(INSTRUMENT, "EPiano", "MDA ePiano")
PIANO = mda(INSTRUMENT, "Piano", "MDA Piano")
FM_SYNTH = mda(INSTRUMENT, "DX10", "MDA DX10")
ANALOG_SYNTH = mda(INSTRUMENT, "JX10", "MDA JX10")
ORGAN = Plugin(INSTRUMENT, "http://gareus.org/oss/lv2/b_synth", "setBfree DSP Tonewheel Organ", "Robin Gareus")
BASS_SOUND = FM_SYNTH.state(attack=0.0, decay=0.55, release=0.35, coarse=0.1, fine=0.0, mod_init=0.35, mod_dec=0.5,
                            mod_sus=0.1, octave=0.5)
DETUNE = mda(EFFECT, "Detune", "MDA Detune")
DELAY = mda(EFFECT, "Delay", "MDA Delay")

# --- The setlist ------------------------------------------------------------------------------------

ORANGE, TEAL, VIOLET, GREEN, RED = ([1.0, 0.33, 0.0], [0.0, 0.76, 0.76], [0.7, 0.2, 0.8], [0.2, 0.8, 0.2],
                                    [0.85, 0.2, 0.2])


def slot(plugin: Plugin, **ports: float) -> dict:
    return {"plugin_path": plugin.path, "plugin_name": plugin.name, "manufacturer_name": plugin.manufacturer,
            "state_base64": plugin.state(**ports)}


def channel(name: str, plugin: Plugin, color: list, **settings) -> dict:
    """A strip; `settings` are keys of the file, all others have the defaults of a new strip."""
    record = {"name": name, "volume": 0.75, "gain": 0.5, "reverb": 0.0, "mute": False, "solo": False,
              "plugin_path": plugin.path, "color": color, "min_note": 0, "max_note": 127, "transpose": 0,
              "send_sustain": True, "send_expression": True, "sustain_controls_rotor": False, "effect_slots": [],
              "playback_file_path": "", "playback_loop": False, "playback_start_time": 0.0,
              "playback_end_time": 0.0, "playback_stop_mode": "toggle", "visual_clip_mappings": []}
    unknown = settings.keys() - record.keys() - {"plugin_state_base64"}
    if unknown:
        raise KeyError(f"no such keys of a channel: {sorted(unknown)}")
    return record | settings


def decibels(value: float) -> float:
    """The position of the gain knob, which goes straight from -24 to 24 dB."""
    return 0.5 + value / 48


def song(name: str, tempo_bpm: int, notes: str, channels: list, master_effects: list) -> dict:
    return {"name": name, "tempo_bpm": tempo_bpm, "song_notes": notes, "keyboard_start_note": 21,
            "keyboard_key_count": 88, "channels": channels, "master_channel_color": [0.5, 0.5, 0.5],
            "master_effect_slots": master_effects, "midi_control_assignments": []}


def setlist() -> dict:
    split = song(
        "Split at Middle C", 96, "Bass in the left hand, electric piano in the right.",
        [channel("Bass", FM_SYNTH, ORANGE, max_note=59, transpose=-12, gain=decibels(4), send_sustain=False,
                 plugin_state_base64=BASS_SOUND),
         channel("Electric Piano", ELECTRIC_PIANO, TEAL, min_note=60, gain=decibels(-8), reverb=0.35,
                 effect_slots=[slot(DETUNE, detune=0.25, mix=0.6, output=0.5)])],
        [])
    layer = song(
        "Layers", 72, "Piano below, electric piano on top of it, strings an octave up.",
        [channel("Piano", PIANO, ORANGE, gain=decibels(-4), reverb=0.3, send_expression=False),
         channel("Electric Piano", ELECTRIC_PIANO, TEAL, gain=decibels(-8), reverb=0.3),
         channel("Octave Up", ANALOG_SYNTH, VIOLET, gain=decibels(-8), reverb=0.6, transpose=12, min_note=60,
                 send_sustain=False,
                 plugin_state_base64=ANALOG_SYNTH.state(osc_mix=0.9, vcf_freq=0.6, vcf_reso=0.1, vcf_env=0.1,
                                                        env_att=0.45, env_dec=0.5, env_sus=0.9, env_rel=0.6,
                                                        vibrato=0.5, glide=0.0))],
        [slot(DELAY, l_delay=0.5, r_delay=0.27, feedback=0.4, fb_tone=0.4, fx_mix=0.2, output=0.5)])
    organ = song(
        "Rotor", 120, "The sustain pedal switches the rotor, the expression pedal is the swell.",
        [channel("Organ", ORGAN, RED, min_note=48, reverb=0.25, sustain_controls_rotor=True),
         channel("Bass", FM_SYNTH, GREEN, gain=decibels(2), max_note=47, send_sustain=False, send_expression=False,
                 plugin_state_base64=BASS_SOUND)],
        [])
    return {"version": 3, "songs": [split, layer, organ], "global_midi_control_assignments": []}


# --- The performance --------------------------------------------------------------------------------

TICKS_PER_BEAT = 480
SUSTAIN, EXPRESSION = 64, 11


class Track:
    """Events of a MIDI file, placed by beat in any order."""

    def __init__(self, name: str):
        self.events = []
        self.meta(0, 0x03, name.encode())

    def add(self, beat: float, data: bytes, order: int = 1):
        self.events.append((round(beat * TICKS_PER_BEAT), order, len(self.events), data))

    def meta(self, beat: float, kind: int, data: bytes):
        self.add(beat, bytes([0xFF, kind]) + variable_length(len(data)) + data, order=0)

    def tempo(self, beat: float, bpm: float):
        self.meta(beat, 0x51, round(60_000_000 / bpm).to_bytes(3, "big"))

    def marker(self, beat: float, text: str):
        self.meta(beat, 0x06, text.encode())

    def note(self, beat: float, beats: float, number: int, velocity: int, midi_channel: int = 0):
        self.add(beat, bytes([0x90 | midi_channel, number, velocity]), order=2)
        # The end comes before what begins at the same moment.
        self.add(beat + beats, bytes([0x80 | midi_channel, number, 64]), order=1)

    def chord(self, beat: float, beats: float, numbers: list, velocity: int):
        for number in numbers:
            self.note(beat, beats, number, velocity)

    def controller(self, beat: float, number: int, value: int):
        self.add(beat, bytes([0xB0, number, value]))

    def bend(self, beat: float, amount: float):
        """`amount` from -1 to 1 of the instrument's range."""
        value = min(16383, round(8192 + 8192 * amount))
        self.add(beat, bytes([0xE0, value & 0x7F, value >> 7]))

    def ramp(self, beat: float, beats: float, first: float, last: float, steps: int, send):
        for step in range(steps + 1):
            send(beat + beats * step / steps, first + (last - first) * step / steps)

    def chunk(self) -> bytes:
        body = b""
        now = 0
        for tick, _, _, data in sorted(self.events):
            body += variable_length(tick - now) + data
            now = tick
        body += b"\x00\xff\x2f\x00"
        return b"MTrk" + struct.pack(">I", len(body)) + body


def variable_length(value: int) -> bytes:
    groups = [value & 0x7F]
    while value := value >> 7:
        groups.append(0x80 | value & 0x7F)
    return bytes(reversed(groups))


def play_split(right: Track, left: Track, pedals: Track, start: float):
    """24 beats."""
    chords = [[62, 65, 69, 72], [62, 65, 67, 71], [60, 64, 67, 71], [61, 64, 67, 70]]  # Dm7 G7 Cmaj7 A7
    basses = [[38, 45, 50, 45], [43, 50, 55, 50], [36, 43, 48, 43], [45, 52, 49, 45]]
    for bar in range(5):
        at = start + 4 * bar
        chord = chords[bar % 4]
        right.chord(at, 1.4, chord, 84)
        right.chord(at + 1.5, 0.4, chord, 68)
        right.chord(at + 2.5, 1.3, chord, 78)
        right.note(at + 3, 0.5, 77 - bar, 92)
        right.note(at + 3.5, 0.5, 79 - bar, 88)
        for beat, number in enumerate(basses[bar % 4]):
            left.note(at + beat, 0.8, number, 96 if beat == 0 else 82)
    right.chord(start + 20, 3, [60, 64, 67, 71, 74], 80)
    left.note(start + 20, 3, 36, 96)
    # A fall of the last bass note, and back.
    pedals.ramp(start + 21.5, 1, 0, -1, 8, pedals.bend)
    pedals.bend(start + 23.5, 0)


def play_layers(right: Track, left: Track, pedals: Track, start: float):
    """20 beats."""
    broken = [[48, 55, 60, 64, 67], [45, 52, 57, 60, 64], [41, 48, 53, 57, 60], [43, 50, 55, 59, 62]]  # C Am F G
    melody = [(72, 2), (71, 1), (67, 1), (69, 3), (64, 1), (65, 2), (69, 1), (72, 1), (74, 3), (71, 1)]
    at = start
    for number, beats in melody:
        right.note(at, beats * 0.95, number, 86)
        at += beats
    for bar, numbers in enumerate(broken):
        at = start + 4 * bar
        pedals.controller(at, SUSTAIN, 127)
        for index, number in enumerate(numbers + numbers[3:0:-1]):
            left.note(at + index * 0.5, 0.5, number, 66 + 3 * (index % 4))
        pedals.controller(at + 3.9, SUSTAIN, 0)
    pedals.controller(start + 16, SUSTAIN, 127)
    right.chord(start + 16, 3, [60, 64, 67, 72], 74)
    left.chord(start + 16, 3, [36, 48], 70)
    pedals.controller(start + 19.5, SUSTAIN, 0)
    # The electric piano and the strings get softer; the piano ignores expression.
    pedals.ramp(start + 12, 4, 127, 70, 16, lambda beat, value: pedals.controller(beat, EXPRESSION, round(value)))
    pedals.controller(start + 19.5, EXPRESSION, 127)


def play_rotor(right: Track, left: Track, pedals: Track, start: float):
    """28 beats; the last chord is never released."""
    riff = [(0, [60, 64, 67], 1.5), (1.5, [60, 65, 69], 0.5), (2, [60, 64, 67], 1), (3, [58, 62, 65], 1)]
    for bar in range(5):
        at = start + 4 * bar
        for offset, chord, beats in riff:
            right.chord(at + offset, beats * 0.9, chord, 100)
        for offset, number in ((0, 36), (2, 43), (3, 34)):
            left.note(at + offset, 0.9, number, 100)
    pedals.ramp(start, 4, 60, 127, 16, lambda beat, value: pedals.controller(beat, EXPRESSION, round(value)))
    pedals.controller(start + 8, SUSTAIN, 127)   # fast
    pedals.controller(start + 15, SUSTAIN, 0)    # slow
    pedals.controller(start + 19, SUSTAIN, 127)  # and fast to the end
    right.chord(start + 20, 100, [60, 64, 67, 72], 110)
    left.note(start + 20, 100, 36, 110)


def performance() -> bytes:
    conductor, right, left, pedals = (Track(name) for name in ("Conductor", "Right hand", "Left hand", "Pedals"))
    conductor.tempo(0, 96)
    play_split(right, left, pedals, 0)

    conductor.marker(24.5, "song 1")
    conductor.tempo(24.5, 72)
    play_layers(right, left, pedals, 25)
    conductor.tempo(41, 66)  # slower into the end

    conductor.marker(46, "song 2")
    conductor.tempo(46, 120)
    play_rotor(right, left, pedals, 47)
    conductor.tempo(63, 126)
    # The last chord is released after the panic, when it is silent.
    conductor.marker(73, "panic")
    return file_of([conductor, shortened(right, 74), shortened(left, 74), pedals])


def shortened(track: Track, last_beat: float) -> Track:
    """The track with every later event moved to `last_beat`."""
    limit = round(last_beat * TICKS_PER_BEAT)
    track.events = [(min(tick, limit), *rest) for tick, *rest in track.events]
    return track


def file_of(tracks: list) -> bytes:
    header = struct.pack(">4sIHHH", b"MThd", 6, 1, len(tracks), TICKS_PER_BEAT)
    return header + b"".join(track.chunk() for track in tracks)


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("folder", nargs="?", type=pathlib.Path, default=pathlib.Path(__file__).resolve().parent,
                        help="where the two files go; beside this script when left out")
    folder = parser.parse_args().folder
    text = json.dumps(setlist(), indent=2, sort_keys=True) + "\n"
    (folder / "demo.vrel").write_bytes(text.encode())
    (folder / "demo.mid").write_bytes(performance())


if __name__ == "__main__":
    main()
