#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""Writes the initial corpus of each fuzz target. Later findings are added by hand."""

import json
import pathlib
import plistlib
import struct
import subprocess
import tempfile

CORPUS = pathlib.Path(__file__).resolve().parent / "corpus"

SLOT = {"plugin_path": "aucd:1635083896:7:8", "plugin_name": "Hall", "manufacturer_name": "Acme", "state_base64": "AAEC"}
CHANNEL = {
    "name": "Piano", "volume": 0.85, "gain": 0.5, "reverb": 0.1, "mute": False, "solo": True,
    "plugin_path": "aucd:1635085685:1:2", "plugin_state_base64": "YnBsaXN0MDA=", "color": [1.0, 0.33, 0.0],
    "min_note": 0, "max_note": 127, "transpose": -12, "send_sustain": True, "send_expression": False,
    "sustain_controls_rotor": True, "effect_slots": [SLOT], "playback_file_path": "/a.wav", "playback_loop": True,
    "playback_start_time": 1.5, "playback_end_time": 6e1, "playback_stop_mode": "toggle",
    "visual_clip_mappings": [{"note": 60, "file_path": "/a.mov", "trigger_mode": "toggle"}],
}
ASSIGNMENT = {"target": {"kind": "channel_volume", "channelIndex": 3},
              "binding": {"statusType": 176, "midiChannel": 0, "number": 7}}
SONG = {
    "name": "Opening", "tempo_bpm": 97, "song_notes": "one\ntwo", "keyboard_start_note": 21, "keyboard_key_count": 88,
    "channels": [CHANNEL], "master_channel_color": [0.5, 0.5, 0.5], "master_effect_slots": [SLOT],
    "midi_control_assignments": [ASSIGNMENT],
}

SETLISTS = {
    "empty_object": b"{}",
    "empty_array": b"[]",
    "empty_file": b"",
    "whole": json.dumps({"version": 3, "songs": [SONG], "global_midi_control_assignments": [ASSIGNMENT]}).encode(),
    "legacy": json.dumps([SONG, {}]).encode(),
    "defaults": b'{"songs": [{"channels": [{"effect_slots": [{}], "visual_clip_mappings": [{}]}]}]}',
    "nulls": b'{"version": null, "songs": [{"name": null, "channels": [{"send_sustain": null, "color": null}]}]}',
    "colours": b'{"songs": [{"channels": [{"color": [0.2]}, {"color": [0.1, 0.2, 0.3, 0.4]}, {"color": []}]}]}',
    "numbers": b'{"songs": [{"channels": [{"min_note": 6e1, "max_note": 60.0, "volume": 3.4028235e38, "gain": -0.0}]}]}',
    "escapes": rb'{"songs": [{"name": "\ud834\udd1e \u0000 \/ \" \\ \n", "song_notes": "caf\u00e9"}]}',
    "byte_order_mark": b"\xef\xbb\xbf{}",
    "equal_keys": b'{"version": 1, "version": 2, "songs": 1, "songs": []}',
    "out_of_width": b'{"songs": [{"channels": [{"min_note": 300}]}]}',
    "fraction": b'{"songs": [{"tempo_bpm": 120.5}]}',
    "float_out_of_width": b'{"songs": [{"channels": [{"volume": 1e39}]}]}',
    "number_out_of_double": b'{"x": 1e400}',
    "unknown_control": json.dumps([{"midi_control_assignments": [{**ASSIGNMENT, "target": {"kind": "warp"}}]}]).encode(),
    "missing_binding": b'[{"midi_control_assignments": [{"target": {"kind": "panic"}}]}]',
    "not_utf8": b'{"songs": [{"name": "\xff\xc0\x80"}]}',
    "lone_surrogate": rb'{"songs": [{"name": "\ud800"}]}',
    "zero_byte": b"{}\x00{",
    "deep": b"[" * 400,
    "cut": json.dumps({"songs": [SONG]}).encode()[:150],
}


def chunk(name: bytes, content: bytes) -> bytes:
    return name + struct.pack(">I", len(content)) + content


def midi(division: int, tracks: list[bytes], form: int | None = None, announced: int | None = None) -> bytes:
    form = (1 if len(tracks) > 1 else 0) if form is None else form
    header = struct.pack(">HHH", form, len(tracks) if announced is None else announced, division)
    return chunk(b"MThd", header) + b"".join(chunk(b"MTrk", track) for track in tracks)


END = b"\x00\xff\x2f\x00"
NOTE = b"\x00\x90\x3c\x64\x60\x80\x3c\x40"
RUNNING = b"\x00\x90\x3c\x64\x10\x3e\x64\x10\x3c\x00\x00\x3e\x00"
TEMPO = b"\x00\xff\x51\x03\x07\xa1\x20\x83\x60\xff\x51\x03\x03\xd0\x90"
TEXTS = b"\x00\xff\x01\x06song 1\x10\xff\x06\x05panic\x00\xff\x03\x04name"
TWO_BYTES = b"\x00\xc0\x05\x10\xd0\x40\x10\xe0\x00\x40\x00\xb0\x40\x7f"
EXCLUSIVE = b"\x00\xf0\x05\x7e\x7f\x09\x01\xf7\x00\xf7\x02\xf8\xf7"

MIDI_FILES = {
    "empty_file": b"",
    "one_note": midi(96, [NOTE + END]),
    "running_status": midi(480, [RUNNING + END]),
    "tempo_track": midi(480, [TEMPO + END, NOTE + RUNNING + END, TWO_BYTES + END]),
    "texts": midi(96, [TEXTS + NOTE + END]),
    "exclusive": midi(96, [EXCLUSIVE + NOTE + END]),
    "running_after_exclusive": midi(96, [NOTE + EXCLUSIVE + b"\x00\x3c\x00" + END]),
    "film_frames": midi(0xE728, [NOTE + END]),
    "drop_frames": midi(0xE350, [NOTE + END]),
    "unknown_chunk": chunk(b"XFIH", b"abc").join([midi(96, [], 0, 1), chunk(b"MTrk", NOTE + END)]),
    "format_two": midi(96, [NOTE + END, NOTE + END], 2),
    "no_division": midi(0, [NOTE + END]),
    "no_end": midi(96, [NOTE]),
    "long_delta": midi(96, [b"\xff\xff\xff\x7f" + NOTE[1:] + END]),
    "five_byte_delta": midi(96, [b"\xff\xff\xff\xff\x7f" + NOTE[1:] + END]),
    "lying_length": midi(96, [NOTE + END])[:-2],
    "missing_track": midi(96, [NOTE + END], 1, 2),
    "data_without_status": midi(96, [b"\x00\x3c\x64" + END]),
}


def property_list(value: object) -> bytes:
    return plistlib.dumps(value, fmt=plistlib.FMT_BINARY)


def made_by_hand(objects: list[bytes], top: int) -> bytes:
    """A binary property list of these objects, valid or not."""
    content = b"bplist00"
    offsets = b""
    for item in objects:
        offsets += bytes([len(content)])
        content += item
    return content + offsets + bytes(6) + b"\x01\x01" + struct.pack(">QQQ", len(objects), top, len(content))


STATE = {
    "format": 1, "uri": "urn:x", "ports": {"gain": 0.5, "high": 2.0}, "files": {"a.bin": bytes(range(40))},
    "properties": [{"key": "urn:k", "type": "urn:t", "flags": 3, "value": b"\x00\x01", "uris": {"7": "urn:u"}}],
}

PROPERTY_LISTS = {
    "empty_file": b"",
    "header_only": b"bplist00",
    "state": property_list(STATE),
    "array": property_list([1, "two", 3.0, [True, False]]),
    "wide_text": property_list({"caf\u00e9": "\U0001d11e", "empty": ""}),
    "numbers": property_list({"a": -1, "b": 2**63 - 1, "c": -2**63, "d": 1e300, "e": 300, "f": 70000}),
    "long": property_list({"bytes": bytes(300), "text": "x" * 300, "list": list(range(40))}),
    "cut": property_list(STATE)[:-40],
    "too_wide": property_list([2**64 - 1]),
    "holds_itself": made_by_hand([b"\xa1\x00"], 0),
    "key_is_number": made_by_hand([b"\x10\x01", b"\xd1\x00\x00"], 1),
    "same_key_twice": made_by_hand([b"\x51k", b"\x10\x01", b"\xd2\x00\x00\x01\x01"], 2),
    "date": made_by_hand([b"\x33" + bytes(8)], 0),
    "grows": made_by_hand([b"\x10\x01"] + [bytes([0xA2, level, level]) for level in range(12)], 12),
    "lying_length": made_by_hand([b"\x4f\x13" + b"\xff" * 8], 0),
    "single_real": made_by_hand([b"\x51k", b"\x22\x7f\xc0\x00\x00", b"\xd1\x00\x01"], 2),
}


def message(kind: int, body: bytes = b"", request: int = 1, announced: int | None = None) -> bytes:
    return struct.pack("<III", kind, request, len(body) if announced is None else announced) + body


def text(value: bytes) -> bytes:
    return struct.pack("<I", len(value)) + value


def carried(value: object) -> bytes:
    """A value of a dictionary as messages encode it."""
    if isinstance(value, bool):
        return b"\x00" + bytes([value])
    if isinstance(value, int):
        return b"\x01" + struct.pack("<q", value)
    if isinstance(value, float):
        return b"\x02" + struct.pack("<d", value)
    if isinstance(value, str):
        return b"\x03" + text(value.encode())
    if isinstance(value, bytes):
        return b"\x04" + text(value)
    if isinstance(value, list):
        return b"\x05" + struct.pack("<I", len(value)) + b"".join(map(carried, value))
    return b"\x06" + dictionary(value)


def dictionary(value: dict[str, object]) -> bytes:
    return struct.pack("<I", len(value)) + b"".join(text(key.encode()) + carried(value[key]) for key in sorted(value))


INSTANTIATE = (text(b"/lv2/x.lv2/") + text(b"urn:x") + struct.pack("<III", 1, 2, 3) + struct.pack("<d", 48000.0)
               + struct.pack("<I", 128) + b"\x01\x00")

# The first byte is the chunk size for the rest.
MESSAGES = {
    "ready": b"\x00" + message(101, struct.pack("<I", 2)),
    "instantiate": b"\x05" + message(1, INSTANTIATE),
    "state": b"\x07" + message(104, dictionary(STATE)),
    "restore_and_quit": b"\xff" + message(4, dictionary(STATE), 2) + message(5, request=3) + message(6),
    "log_lines": b"\x0b" + message(105, b"one line") + message(105) + message(103),
    "failed": b"\x01" + message(102, b"no such plug-in"),
    "prepare": b"\x02" + message(2, struct.pack("<d", 44100.0)),
    "unknown_kind": b"\x03" + message(77, b"x"),
    "too_large": b"\x03" + message(103, announced=1),
    "cut_head": b"\x00" + message(103)[:-3],
    "cut_body": b"\x00" + message(104, dictionary(STATE))[:-9],
    "lying_count": b"\x10" + message(104, struct.pack("<I", 0xFFFFFFFF)),
    "deep": b"\x10" + message(104, dictionary({"a": [[[[[[[[[[1]]]]]]]]]]})),
}


SOUND = ["-f", "lavfi", "-i", "sine=frequency=440:sample_rate=8000:duration=0.1"]
PICTURES = ["-f", "lavfi", "-i", "testsrc=size=32x24:rate=10:duration=0.3"]


def media(name: str, *arguments: str) -> bytes:
    """The output of ffmpeg under this name."""
    with tempfile.TemporaryDirectory() as folder:
        path = pathlib.Path(folder) / name
        subprocess.run(["ffmpeg", "-loglevel", "error", "-nostdin", *arguments, "-bitexact", str(path)], check=True)
        return path.read_bytes()


def sounds() -> dict[str, bytes]:
    files = {name: media(name, *SOUND) for name in ("a.wav", "a.aiff", "a.mp3", "a.m4a")}
    return files | {"empty_file": b"", "cut": files["a.m4a"][:600], "text": b"no sound"}


def clips() -> dict[str, bytes]:
    files = {
        "mjpeg.mkv": media("a.mkv", *PICTURES, "-c:v", "mjpeg", "-pix_fmt", "yuvj420p"),
        "h264.mp4": media("a.mp4", *PICTURES, "-c:v", "libx264"),
        "vp9.webm": media("a.webm", *PICTURES, "-c:v", "libvpx-vp9"),
        "sound_only.m4a": media("a.m4a", *SOUND),
    }
    return files | {"empty_file": b"", "cut": files["h264.mp4"][:700], "text": b"no pictures"}


def main() -> None:
    corpora = {"setlist": SETLISTS, "standard_midi_file": MIDI_FILES, "property_list": PROPERTY_LISTS,
               "sandbox_messages": MESSAGES, "audio_files": sounds(), "clips": clips()}
    for target, files in corpora.items():
        folder = CORPUS / target
        folder.mkdir(parents=True, exist_ok=True)
        for name, content in files.items():
            (folder / name).write_bytes(content)


if __name__ == "__main__":
    main()
