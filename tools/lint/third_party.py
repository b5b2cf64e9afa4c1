# SPDX-License-Identifier: GPL-3.0-or-later
"""Which folder may use which library's headers."""

import dataclasses
import re


@dataclasses.dataclass(frozen=True)
class Library:
    name: str
    headers: re.Pattern[str]
    folders: tuple[str, ...]


LIBRARIES = (
    Library("Qt", re.compile(r"Q[A-Z]\w*(/.*)?|Qt\w*/.*|q[a-z0-9]+\.h"),
            ("src/console", "src/shell", "src/system/desktop", "src/system/projection", "apps/vrel", "tests/apps/vrel",
             "tests/console/window", "tests/support/desktop", "tests/support/ui", "tests/system/desktop", "tests/system/projection",
             "bench/console")),
    Library("LV2", re.compile(r"(lilv|lv2|suil)(/.*|\.h)"),
            ("src/system/plugins/lv2", "src/system/plugins/editor", "tests/system/plugins/lv2", "tests/support/zoo", "bench/performance/ballast", "bench/sandbox/herald")),
    Library("RtAudio and JACK", re.compile(r"(rtaudio/)?RtAudio\.h|jack/.*"),
            ("src/system/devices", "tests/system/devices", "tests/support/devices", "bench/devices", "bench/console")),
    Library("ALSA", re.compile(r"alsa/.*"), ("src/system/devices", "tests/system/devices")),
    Library("FFmpeg, libsndfile, libvorbisfile and the resamplers",
            re.compile(r"lib(av|sw)\w+/.*|sndfile\.hh?|vorbis/.*|samplerate\.h|soxr\.h"),
            ("src/system/media", "bench/media")),
    Library("libplist", re.compile(r"plist/.*"), ("src/system/property_list",)),
    Library("nlohmann/json", re.compile(r"nlohmann/.*"),
            ("src/check", "src/document", "apps", "tests", "bench", "fuzz")),
    Library("X11", re.compile(r"X11/.*"), ("src/system/plugins/editor", "tests/support/zoo", "tests/system/plugins/editor")),
    Library("XCB", re.compile(r"xcb/.*"), ("tests/apps/vrel", "bench/console")),
    Library("GoogleTest", re.compile(r"(gtest|gmock)/.*"), ("tests",)),
    Library("Google Benchmark", re.compile(r"benchmark/.*"), ("bench",)),
)

# The operating system. The logic and the interfaces below it are plain C++.
OPERATING_SYSTEM = re.compile(
    r"(sys|linux|arpa|net|netinet|asm|bits)/.*"
    r"|(unistd|fcntl|pthread|dlfcn|poll|sched|semaphore|spawn|execinfo|dirent|termios|glob|ftw|malloc|strings"
    r"|pwd|getopt|libgen|mqueue|aio|ucontext|sysexits|syslog|link|elf|endian|byteswap)\.h")
WITHOUT_OPERATING_SYSTEM = ("src/foundation", "src/platform", "src/document", "src/check", "src/channel", "src/engine", "src/midi",
                            "src/performance", "src/playback", "src/visuals", "src/console", "src/shell",
                            "src/simulation")

PROCESSOR = re.compile(r"([a-z]*mmintrin|immintrin|x86intrin|arm_neon|cpuid)\.h")

STANDARD = frozenset("""
    algorithm any array atomic barrier bit bitset cassert ccomplex cctype cerrno cfenv cfloat charconv chrono
    cinttypes ciso646 climits clocale cmath codecvt compare complex concepts condition_variable coroutine csetjmp
    csignal cstdalign cstdarg cstdbool cstddef cstdint cstdio cstdlib cstring ctgmath ctime cuchar cwchar cwctype
    deque exception execution filesystem format forward_list fstream functional future initializer_list iomanip
    ios iosfwd iostream istream iterator latch limits list locale map memory memory_resource mutex new numbers
    numeric optional ostream queue random ranges ratio regex scoped_allocator semaphore set shared_mutex
    source_location span sstream stack stdexcept stop_token streambuf string string_view strstream syncstream
    system_error thread tuple type_traits typeindex typeinfo unordered_map unordered_set utility valarray variant
    vector version cxxabi.h
    assert.h complex.h ctype.h errno.h fenv.h float.h inttypes.h iso646.h limits.h locale.h math.h setjmp.h
    signal.h stdalign.h stdarg.h stdatomic.h stdbool.h stddef.h stdint.h stdio.h stdlib.h stdnoreturn.h string.h
    tgmath.h threads.h time.h uchar.h wchar.h wctype.h
    """.split())


def _within(path: str, folders: tuple[str, ...]) -> bool:
    return any(path.startswith(folder + "/") for folder in folders)


def refusal(path: str, header: str, quoted: bool) -> str | None:
    """Why the file at `path`, relative to the root, may not include a library's header, or None."""
    for library in LIBRARIES:
        if library.headers.fullmatch(header):
            if _within(path, library.folders):
                return None
            return f"belongs to {library.name}, which only {', '.join(library.folders)} may use"
    if quoted or header in STANDARD or PROCESSOR.fullmatch(header):
        return None
    if OPERATING_SYSTEM.fullmatch(header):
        if _within(path, WITHOUT_OPERATING_SYSTEM):
            return "belongs to the operating system, which only src/system and the apps may use"
        return None
    return "is not declared in tools/lint/third_party.py"
