#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""Makes the audio files that the tests play, good ones and bad ones, in the folder given.

"count" files hold, exactly, frame n as n mod 20000 steps of 16 bits on the left, and its negative on the right.
"tones" files hold a sum of sines that does not repeat, in forms that lose some of it. "long" ones hold noise that comes
and goes, which makes an encoder change the length of its packets.
"""

import pathlib
import struct
import subprocess
import sys

COUNT = "mod(n,20000)/32768|-mod(n,20000)/32768"
TONES = "0.2*sin(440*2*PI*t)+0.1*sin(1234.5*2*PI*t*(1+t/20))|0.2*sin(330*2*PI*t)+0.1*sin(777.7*2*PI*t*(1+t/30))"
LONG = "0.2*sin(440*2*PI*t)+0.1*sin(1234.5*2*PI*t*(1+t/20))|0.2*random(1)*gt(mod(t,1),0.9)"


def ffmpeg(*arguments):
    subprocess.run(["ffmpeg", "-y", "-loglevel", "error", "-nostdin", *arguments], check=True)


def source(expression, seconds, rate):
    return ["-f", "lavfi", "-i", f"aevalsrc='{expression}':d={seconds}:s={rate}"]


def wav_header(rate, channels, frames):
    size = frames * channels * 2
    return (b"RIFF" + struct.pack("<I", 36 + size) + b"WAVEfmt " +
            struct.pack("<IHHIIHH", 16, 1, channels, rate, rate * channels * 2, channels * 2, 16) +
            b"data" + struct.pack("<I", size))


def make_good(folder):
    for name, rate, form in (("count.wav", 48000, "pcm_s16le"), ("count.aiff", 48000, "pcm_s16be"),
                             ("count.flac", 48000, "flac"), ("count-44100.wav", 44100, "pcm_s16le")):
        ffmpeg(*source(COUNT, 2, rate), "-c:a", form, "-sample_fmt", "s16", str(folder / name))
    lossy = (("tones.ogg", "libvorbis"), ("tones.mp3", "libmp3lame"), ("tones.m4a", "aac"), ("tones.aac", "aac"),
             ("tones.opus", "libopus"), ("tones-opus.webm", "libopus"), ("tones-aac.mkv", "aac"))
    for name, form in lossy:
        ffmpeg(*source(TONES, 3, 48000), "-c:a", form, "-b:a", "160k", str(folder / name))
    ffmpeg(*source(LONG, 60, 44100), "-c:a", "libvorbis", "-b:a", "64k", str(folder / "long.ogg"))
    picture = ["-f", "lavfi", "-i", "testsrc=size=64x48:rate=25:duration=3"]
    ffmpeg(*picture, *source(TONES, 3, 48000), "-c:v", "mpeg4", "-c:a", "aac", "-b:a", "160k", str(folder / "movie.mp4"))
    ffmpeg(*picture, "-c:v", "mpeg4", str(folder / "silent-movie.mp4"))
    ffmpeg(*source("mod(n,20000)/32768", 1, 48000), "-c:a", "pcm_s16le", str(folder / "mono.wav"))


def changed(whole, at, form, change):
    """The file with one number in it changed."""
    value = struct.pack(form, change(struct.unpack_from(form, whole, at)[0]))
    return whole[:at] + value + whole[at + len(value):]


def make_lying(folder):
    """Headers that declare more than follows."""
    (folder / "lying.wav").write_bytes(wav_header(48000, 2, 0x10000000) + bytes(4000))
    aiff = (folder / "count.aiff").read_bytes()
    (folder / "lying.aiff").write_bytes(changed(aiff, aiff.index(b"COMM") + 10, ">I", lambda frames: 2 * frames))
    flac = (folder / "count.flac").read_bytes()
    (folder / "lying.flac").write_bytes(changed(flac, 22, ">I", lambda frames: 2 * frames))
    (folder / "untold.flac").write_bytes(changed(flac, 22, ">I", lambda frames: 0))
    mp3 = (folder / "tones.mp3").read_bytes()
    (folder / "lying.mp3").write_bytes(changed(mp3, mp3.index(b"Info") + 8, ">I", lambda packets: 2 * packets))
    m4a = (folder / "tones.m4a").read_bytes()
    (folder / "lying.m4a").write_bytes(changed(m4a, m4a.index(b"mdhd") + 20, ">I", lambda ticks: 2 * ticks))


def make_odd(folder):
    frames = b"".join(struct.pack("<20h", *range(frame, frame + 20)) for frame in range(480))
    (folder / "twenty.wav").write_bytes(wav_header(48000, 20, 480) + frames)
    (folder / "one.wav").write_bytes(wav_header(48000, 2, 1) + struct.pack("<2h", 16384, -16384))
    (folder / "zero.wav").write_bytes(wav_header(48000, 2, 0))
    (folder / "empty.wav").write_bytes(b"")
    (folder / "rate-0.wav").write_bytes(wav_header(0, 2, 100) + bytes(400))
    (folder / "text.wav").write_bytes(b"This is not a sound.\n" * 100)
    (folder / "renamed.wav").write_bytes((folder / "tones.mp3").read_bytes())
    (folder / "renamed.mp3").write_bytes((folder / "tones.m4a").read_bytes())
    (folder / "list.wav").write_text("ffconcat version 1.0\nfile tones.m4a\n")
    (folder / "list.mp4").write_text("#EXTM3U\n#EXT-X-TARGETDURATION:3\n#EXTINF:3,\ntones.aac\n#EXT-X-ENDLIST\n")
    ogg = (folder / "tones.ogg").read_bytes()
    (folder / "damaged.ogg").write_bytes(ogg[:len(ogg) // 2] + bytes(500) + ogg[len(ogg) // 2 + 500:])
    for name in ("count.wav", "count.flac", "tones.ogg", "tones.mp3", "tones.m4a", "tones-opus.webm"):
        whole = (folder / name).read_bytes()
        (folder / f"cut-{name}").write_bytes(whole[:len(whole) // 2])
        (folder / f"stub-{name}").write_bytes(whole[:40])
    hours = 3 * 3600 * 48000
    with open(folder / "three-hours.wav", "wb") as file:
        file.write(wav_header(48000, 2, hours))
        file.truncate(44 + hours * 4)


def main():
    folder = pathlib.Path(sys.argv[1])
    folder.mkdir(parents=True, exist_ok=True)
    make_good(folder)
    make_lying(folder)
    make_odd(folder)


if __name__ == "__main__":
    main()
