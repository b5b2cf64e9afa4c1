#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""Makes the clips that the tests show, good ones and bad ones, in the folder given.

"count" clips have 25 grey pictures, 25 a second; picture n has a luma of 20 + 8 n. "large" ones are like them in their
first quarter and noise elsewhere, so that no reader takes them in at once.
"""

import pathlib
import struct
import subprocess
import sys
import zlib

COUNT = "nullsrc=size=64x48:rate=25:duration={seconds},format=yuv420p,geq=lum='20+8*N':cb=128:cr=128"
LARGE = ("nullsrc=size=320x240:rate=25:duration=1,format=yuv420p,"
         "geq=lum='if(lt(X,160)*lt(Y,120),20+8*N,255*random(1))':cb=128:cr=128")
# Dark, less dark, less bright and bright: top left, top right, bottom left, bottom right.
QUARTERS = ("nullsrc=size=64x48:rate=25:duration=0.4,format=yuv420p,"
            "geq=lum='40+50*gte(X,32)+100*gte(Y,24)':cb=128:cr=128")
# Blocks of 16 by 16 pixels, each of one colour.
BLOCKS = ("nullsrc=size={size}:rate=25:duration=0.2,format={pixels},"
          "geq=lum='16+mod(floor(X/16)*53+floor(Y/16)*97,220)':"
          "cb='16+mod(floor(X*{across}/16)*71+floor(Y*{down}/16)*39,224)':"
          "cr='16+mod(floor(X*{across}/16)*29+floor(Y*{down}/16)*113,224)'")
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
    ffmpeg(*count, *h264, str(folder / "count-h264.mov"))
    ffmpeg(*count, "-c:v", "libx265", "-x265-params", "log-level=none", "-qp", "10", str(folder / "count-hevc.mp4"))
    ffmpeg("-i", str(folder / "count-hevc.mp4"), "-c", "copy", str(folder / "count-hevc.mkv"))
    ffmpeg(*count, "-c:v", "libvpx-vp9", "-crf", "10", "-b:v", "0", str(folder / "count-vp9.webm"))
    ffmpeg("-i", str(folder / "count-vp9.webm"), "-c", "copy", str(folder / "count-vp9.mp4"))
    ffmpeg(*count, "-c:v", "prores_ks", str(folder / "count-prores.mov"))
    mjpeg = ["-c:v", "mjpeg", "-pix_fmt", "yuvj420p", "-q:v", "2"]
    ffmpeg(*count, *mjpeg, str(folder / "count-mjpeg.mkv"))
    ffmpeg("-i", str(folder / "count-mjpeg.mkv"), "-c", "copy", str(folder / "count-mjpeg.mov"))
    ffmpeg(*pictures(LARGE), *mjpeg, str(folder / "large-mjpeg.mkv"))
    ffmpeg(*pictures(LARGE), *h264, "-movflags", "+faststart", str(folder / "large-h264.mp4"))
    sound = ["-f", "lavfi", "-i", "sine=duration=3"]
    ffmpeg(*count, *sound, *h264, "-c:a", "aac", str(folder / "with-sound.mp4"))
    ffmpeg(*sound, "-c:a", "aac", str(folder / "only-sound.mp4"))
    ffmpeg(*sound, *pictures("color=gray:size=64x48:duration=0.04"), "-c:a", "aac", "-c:v", "mjpeg", "-pix_fmt",
           "yuvj420p", "-disposition:v:0", "attached_pic", str(folder / "only-cover.mp4"))
    for name, size in (("many-lines", "3840x2160"), ("most-lines", "8192x4608"), ("too-many-lines", "8192x4624")):
        ffmpeg(*pictures(f"color=gray:size={size}:rate=25:duration=0.2"), *mjpeg, str(folder / f"{name}.mkv"))
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


def exif(orientation, order):
    """Exif data that say nothing else; `order` of the bytes is "<" or ">"."""
    head = b"II*\0" if order == "<" else b"MM\0*"
    return head + struct.pack(order + "IHHHIHHI", 8, 1, 0x0112, 3, 1, orientation, 0, 0)


def png_chunk(name, data):
    return struct.pack(">I", len(data)) + name + data + struct.pack(">I", zlib.crc32(name + data))


def riff_chunk(name, data):
    return name + struct.pack("<I", len(data)) + data + b"\0" * (len(data) % 2)


def make_stills(folder):
    def read(name):
        return (folder / name).read_bytes()

    def write(name, data):
        (folder / name).write_bytes(data)

    one = ["-frames:v", "1", "-update", "1"]
    for name, codec in (("upright.png", ["-pix_fmt", "rgb24"]), ("upright-grey.png", ["-pix_fmt", "gray"]),
                        ("upright-deep.png", ["-pix_fmt", "rgb48be"]), ("upright.jpg", ["-q:v", "1"]),
                        ("upright.webp", ["-c:v", "libwebp", "-quality", "100"]),
                        ("upright-lossless.webp", ["-c:v", "libwebp", "-lossless", "1"])):
        ffmpeg(*pictures(QUARTERS), *one, *codec, str(folder / name))
    ffmpeg(*pictures(HALF_CLEAR), *one, "-pix_fmt", "rgba", str(folder / "alpha.png"))
    ffmpeg(*pictures(HALF_CLEAR), *one, "-c:v", "libwebp", "-pix_fmt", "yuva420p", str(folder / "alpha.webp"))
    ffmpeg(*pictures(QUARTERS + ",scale=5000:3000:flags=neighbor,setsar=1"), *one, "-q:v", "2", str(folder / "photo.jpg"))
    jpeg, png, webp = read("upright.jpg"), read("upright.png"), read("upright.webp")
    for orientation in range(1, 9):
        data = b"Exif\0\0" + exif(orientation, ">")
        write(f"exif-{orientation}.jpg", jpeg[:2] + b"\xff\xe1" + struct.pack(">H", len(data) + 2) + data + jpeg[2:])
    write("exif-6.png", png[:33] + png_chunk(b"eXIf", exif(6, "<")) + png[33:])
    chunks = webp[12:] + riff_chunk(b"EXIF", exif(6, "<"))
    extended = riff_chunk(b"VP8X", b"\x08\0\0\0" + struct.pack("<I", 63)[:3] + struct.pack("<I", 47)[:3])
    write("exif-6.webp", b"RIFF" + struct.pack("<I", 4 + len(extended + chunks)) + b"WEBP" + extended + chunks)
    # What their headers say is too large, whatever follows.
    write("too-large.png", png[:8] + png_chunk(b"IHDR", struct.pack(">II", 8193, 8192) + png[24:29]) + png[33:])
    frame = jpeg.index(b"\xff\xc0")
    write("too-large.jpg", jpeg[:frame + 5] + b"\xff\xff\xff\xff" + jpeg[frame + 9:])
    huge = riff_chunk(b"VP8X", b"\0\0\0\0" + b"\xff\x3f\x00" * 2)
    write("too-large.webp", b"RIFF" + struct.pack("<I", 4 + len(huge)) + b"WEBP" + huge)
    write("only-header.png", png[:40])
    write("only-header.jpg", jpeg[:20])
    write("only-header.webp", webp[:20])
    write("text.png", b"This is not a picture.\n" * 100)
    clear = zlib.compress(bytes((1 + 3840 * 4) * 2160), 1)
    write("large.png", png[:8] + png_chunk(b"IHDR", struct.pack(">IIBBBBB", 3840, 2160, 8, 6, 0, 0, 0)) +
          png_chunk(b"IDAT", clear) + png_chunk(b"IEND", b""))
    photo = read("photo.jpg")
    write("truncated.jpg", photo[:len(photo) * 8 // 10])
    write("no-end.jpg", b"\xff\xd8\xff\xe1\xff\xff" + exif(6, ">"))


def make_colours(folder):
    """Blocks of colours, and beside each clip its first picture as FFmpeg converts it: rows of RGBA."""
    lossless = ["-c:v", "ffv1"]
    for name, matrix, extent, pixels, size, codec in (
            ("601-limited", "smpte170m", "tv", "yuv420p", "128x96", lossless),
            ("601-full", "smpte170m", "pc", "yuv420p", "128x96", lossless),
            ("709-limited", "bt709", "tv", "yuv420p", "128x96", lossless),
            ("709-full", "bt709", "pc", "yuv420p", "128x96", lossless),
            ("2020-limited", "bt2020nc", "tv", "yuv420p", "128x96", lossless),
            ("odd-420", "bt709", "tv", "yuv420p", "101x75", lossless),
            ("422", "bt709", "tv", "yuv422p", "128x96", lossless),
            ("444", "bt709", "tv", "yuv444p", "128x96", lossless),
            ("422-10", "bt709", "tv", "yuv422p10le", "128x96", lossless),
            ("410", "smpte170m", "tv", "yuv410p", "128x96", lossless),
            ("grey", "smpte170m", "tv", "gray", "128x96", lossless),
            ("rgb", "bt709", "tv", "bgr0", "128x96", lossless),
            ("nv12", "smpte170m", "tv", "nv12", "128x96", ["-c:v", "rawvideo"])):
        planar = {"nv12": "yuv420p", "yuv422p10le": "yuv422p", "gray": "yuv444p", "bgr0": "yuv444p"}.get(pixels, pixels)
        subsampling = {"yuv420p": (2, 2), "yuv422p": (2, 1), "yuv444p": (1, 1), "yuv410p": (4, 4)}[planar]
        source = BLOCKS.format(size=size, pixels=planar, across=subsampling[0], down=subsampling[1])
        file = folder / f"colours-{name}.{'avi' if pixels == 'nv12' else 'mkv'}"
        tags = ["-colorspace", matrix, "-color_range", extent] if planar == pixels else []
        ffmpeg(*pictures(source), *codec, "-pix_fmt", pixels, *tags, str(file))
        ffmpeg("-i", str(file), "-frames:v", "1", "-sws_flags", "bilinear+accurate_rnd+full_chroma_int", "-pix_fmt",
               "rgba", "-f", "rawvideo", str(folder / f"colours-{name}.rgba"))


def lie_about_length(data, ticks):
    """All total lengths in an MP4 header."""
    data = bytearray(data)
    for name, place in ((b"mvhd", 16), (b"mdhd", 16), (b"tkhd", 20)):
        at = data.find(name)
        assert at > 0 and data[at + 4] == 0
        data[at + 4 + place:at + 8 + place] = struct.pack(">I", ticks)
    return bytes(data)


def lie_in_matroska(data, ticks):
    at = data.find(b"\x44\x89\x88")
    assert at > 0
    return data[:at + 3] + struct.pack(">d", ticks) + data[at + 11:]


def lie_about_codec(data):
    codec = b"V_MPEG4/ISO/AVC"
    assert codec in data
    return data.replace(codec, b"V_UNHEARD_OF/1X")


def make_bad(folder):
    def read(name):
        return (folder / name).read_bytes()

    def write(name, data):
        (folder / name).write_bytes(data)

    whole = read("count-h264.mkv")
    mjpeg = read("count-mjpeg.mkv")
    write("truncated.mkv", mjpeg[:len(mjpeg) * 6 // 10])
    large = read("large-h264.mp4")
    write("truncated.mp4", large[:len(large) * 6 // 10])
    write("without-index.mp4", read("count-h264.mp4")[:1000])
    write("only-header.mkv", whole[:300])
    write("renamed.mp4", whole)
    write("empty.mp4", b"")
    write("text.mov", b"This is not a movie.\n" * 100)
    write("unknown-codec.mkv", lie_about_codec(whole))
    write("lying-long.mp4", lie_about_length(read("count-h264.mp4"), 0x7FFFFFFF))
    write("lying-short.mp4", lie_about_length(read("count-h264.mp4"), 1))
    write("lying-long.mkv", lie_in_matroska(whole, 1e12))
    write("lying-short.mkv", lie_in_matroska(whole, 1))
    noise = bytearray(mjpeg)
    for at in range(len(noise) // 2, len(noise), 7):
        noise[at] ^= 0x5A
    write("damaged.mkv", bytes(noise))


def main():
    folder = pathlib.Path(sys.argv[1])
    folder.mkdir(parents=True, exist_ok=True)
    make_good(folder)
    make_stills(folder)
    make_colours(folder)
    make_bad(folder)


main()
