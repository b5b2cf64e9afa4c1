#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""Makes the clips that the tests show, good ones and bad ones, in the folder given.

"count" clips have 25 grey pictures, 25 a second; picture n has a luma of 20 + 8 n.
"""

import pathlib
import struct
import subprocess
import sys

COUNT = "nullsrc=size=64x48:rate=25:duration={seconds},format=yuv420p,geq=lum='20+8*N':cb=128:cr=128"
# Dark, less dark, less bright and bright: top left, top right, bottom left, bottom right.
QUARTERS = ("nullsrc=size=64x48:rate=25:duration=0.4,format=yuv420p,"
            "geq=lum='40+50*gte(X,32)+100*gte(Y,24)':cb=128:cr=128")
HALF_CLEAR = ("nullsrc=size=64x48:rate=25:duration=0.2,format=yuva444p,"
              "geq=lum=200:cb=128:cr=128:a='255*gte(X,32)'")


def ffmpeg(*arguments):
    subprocess.run(["ffmpeg", "-y", "-loglevel", "error", "-nostdin", *arguments], check=True)


def pictures(source):
    return ["-f", "lavfi", "-i", source]


def make_good(folder):
    count = pictures(COUNT.format(seconds=1))
    h264 = ["-c:v", "libx264", "-preset", "veryfast", "-qp", "10", "-bf", "2"]
    ffmpeg(*count, *h264, str(folder / "count-h264.mp4"))
    ffmpeg(*count, *h264, str(folder / "count-h264.mkv"))
    ffmpeg(*count, "-c:v", "libx265", "-x265-params", "log-level=none", "-qp", "10", str(folder / "count-hevc.mp4"))
    ffmpeg(*count, "-c:v", "libvpx-vp9", "-crf", "10", "-b:v", "0", str(folder / "count-vp9.webm"))
    ffmpeg(*count, "-c:v", "prores_ks", str(folder / "count-prores.mov"))
    ffmpeg(*count, "-c:v", "mjpeg", "-pix_fmt", "yuvj420p", "-q:v", "2", str(folder / "count-mjpeg.mkv"))
    sound = ["-f", "lavfi", "-i", "sine=duration=3"]
    ffmpeg(*count, *sound, *h264, "-c:a", "aac", str(folder / "with-sound.mp4"))
    ffmpeg(*sound, "-c:a", "aac", str(folder / "only-sound.mp4"))
    ffmpeg(*pictures(COUNT.format(seconds=0.2)), *h264, str(folder / "short.mp4"))
    ffmpeg(*pictures(COUNT.format(seconds=0.04)), *h264, str(folder / "one-picture.mp4"))
    # Picture n comes at n * n / 100 seconds.
    ffmpeg(*count, "-vf", "settb=1/1000,setpts=N*N*10", "-fps_mode", "passthrough", "-enc_time_base", "1:1000", *h264,
           "-bf", "0", str(folder / "uneven.mkv"))
    ffmpeg(*pictures(QUARTERS), *h264, str(folder / "upright.mp4"))
    for angle in (90, 180, 270):  # against the clock
        ffmpeg("-i", str(folder / "upright.mp4"), "-c", "copy", "-metadata:s:v", f"rotate={angle}",
               str(folder / f"turned-{angle}.mp4"))
    ffmpeg(*pictures(QUARTERS), "-vf", "setsar=2/1", *h264, str(folder / "wide-pixels.mp4"))
    ffmpeg(*pictures(HALF_CLEAR), "-c:v", "prores_ks", "-profile:v", "4", "-pix_fmt", "yuva444p10le",
           str(folder / "alpha-prores.mov"))
    ffmpeg(*pictures(HALF_CLEAR), "-c:v", "libvpx-vp9", "-pix_fmt", "yuva420p", "-auto-alt-ref", "0",
           str(folder / "alpha-vp9.webm"))


def lie_about_length(data):
    """All lengths of an MP4 header as long as they can be told."""
    data = bytearray(data)
    for name, place in ((b"mvhd", 16), (b"mdhd", 16), (b"tkhd", 20)):
        at = data.find(name)
        assert at > 0 and data[at + 4] == 0
        data[at + 4 + place:at + 8 + place] = struct.pack(">I", 0x7FFFFFFF)
    return bytes(data)


def make_bad(folder):
    whole = (folder / "count-h264.mkv").read_bytes()
    mjpeg = (folder / "count-mjpeg.mkv").read_bytes()
    (folder / "truncated.mkv").write_bytes(mjpeg[:len(mjpeg) * 6 // 10])
    (folder / "only-header.mkv").write_bytes(whole[:300])
    (folder / "renamed.mp4").write_bytes(whole)
    (folder / "empty.mp4").write_bytes(b"")
    (folder / "text.mov").write_text("This is no movie.\n" * 100, encoding="ascii")
    (folder / "lying.mp4").write_bytes(lie_about_length((folder / "count-h264.mp4").read_bytes()))
    noise = bytearray(mjpeg)
    for at in range(len(noise) // 2, len(noise), 7):
        noise[at] ^= 0x5A
    (folder / "damaged.mkv").write_bytes(bytes(noise))


def main():
    folder = pathlib.Path(sys.argv[1])
    folder.mkdir(parents=True, exist_ok=True)
    make_good(folder)
    make_bad(folder)


main()
