#!/usr/bin/env python3
"""Writes the seed corpus of every fuzz target: make_corpus.py OUTPUT_FOLDER.

Each function in TARGETS yields (file name, bytes). The same script gives the same files.
"""

import pathlib
import random
import struct
import subprocess
import sys
import zipfile


def u16(value):
    return struct.pack("<H", value & 0xFFFF)


def u32(value):
    return struct.pack("<I", value & 0xFFFFFFFF)


def tagged(tag, name, value):
    return tag.encode() + bytes([len(name)]) + name.encode() + u32(len(value)) + value


def tagged_node(name, *elements):
    return tagged("@", name, b"".join(elements) + b"\0")


def every_tag():
    return [
        tagged("B", "Enabled", b"\1"),
        tagged("1", "Alpha", b"\x80"),
        tagged("2", "Dx", u16(-2)),
        tagged("I", "Bits", u32(-3)),
        tagged("Q", "Count", struct.pack("<q", -4)),
        tagged("F", "Factor", struct.pack("<d", 0.1)),
        tagged("S", "Name", b"a string that does not fit in place"),
        tagged("W", "Text", "wide".encode("utf-16-le")),
        tagged("*", "Data", b"1" + bytes(range(9))),
        tagged("*", "Coords", b"2" + b"".join(u16(i * 999) for i in range(7))),
        tagged("G", "ID", bytes(range(16))),
        tagged("T", "EventTime", struct.pack("<Q", 2**64 - 1)),
        tagged("X", "Motion", b"\0payload"),
        tagged("X", "", tagged("Z", "m", b"meta") + b"\0payload"),
        tagged_node("Config", tagged("I", "own", u32(1)), tagged_node("")),
    ]


def damages(whole):
    for at in range(len(whole)):
        yield f"cut_{at}", whole[:at]
        for flip in (0x01, 0x80):
            yield f"flip_{at}_{flip}", whole[:at] + bytes([whole[at] ^ flip]) + whole[at + 1:]


def parse_tagged():
    def block(*elements, mask=0, end=b"\0"):
        return b"".join(elements) + end + u16(mask)

    yield "empty", block()
    yield "every_tag", block(*every_tag())
    for number, element in enumerate(every_tag()):
        yield f"tag_{number:02}", block(element)
        yield f"mask_{number:02}", block(*every_tag(), mask=1 << number)
    yield "repeated_names", block(*(tagged("I", f"n{i % 7}", u32(i)) for i in range(60)))
    yield "tokens_indexed", block(*(tagged("B", "Config", b"\1") for _ in range(60)))
    nested = b"\0"
    for depth in range(1, 301):
        nested = tagged("@", "", nested) + b"\0"
        if depth in (10, 256, 257, 300):
            yield f"depth_{depth}", nested + u16(0)
    for name, damaged in damages(block(*every_tag())[:-2]):
        yield name, damaged + u16(0)
    yield "odd_wide", block(tagged("W", "Text", b"abc"), tagged("*", "", b"2abc"))
    yield "bad_subtype", block(tagged("*", "", b"3abc"))
    yield "bad_size", block(tagged("I", "", b"abc"))
    yield "long_size", b"S\0" + u32(0xFFFFFFFF) + b"abc" + u16(0)
    yield "negative_name", b"I\x80" + u32(4) + bytes(200) + u16(0)


def counted(kind, name, value):
    return bytes([kind, len(name)]) + name.encode() + value


def parse_counted():
    def node(*elements, count=None):
        return u32(len(elements) if count is None else count) + b"".join(elements)

    six = [
        counted(0, "Enabled", u32(1)),
        counted(1, "Bits", u32(-3)),
        counted(2, "Factor", struct.pack("<f", 0.1)),
        counted(3, "Name", u32(4) + b"text"),
        counted(4, "Data", u32(3) + b"\0\1\2"),
        counted(5, "Config", node(counted(1, "own", u32(4)), counted(5, "", node()))),
    ]
    yield "empty", node()
    yield "six_types", node(*six)
    for number, element in enumerate(six):
        yield f"type_{number}", node(element)
    yield from damages(node(*six))
    yield "huge_count", node(*six, count=0xFFFFFFFF)
    yield "bad_type", node(six[0], counted(6, "", u32(0)), six[1])
    yield "bad_child", node(counted(5, "", node(counted(9, "", u32(0)))), six[1])
    yield "long_string", node(counted(3, "", u32(0xFFFFFFFF) + b"abc"))
    yield "bool_bytes", node(counted(0, "", u32(0xFFFFFF00)))
    nested = node()
    for depth in range(1, 301):
        nested = node(counted(5, "", nested))
        if depth in (10, 256, 257, 300):
            yield f"depth_{depth}", nested


def convert():
    ramp = bytes(range(0, 256, 3)) + bytes(range(255, -1, -5))
    for pair in range(9 * 11):
        source, target = divmod(pair, 11)
        yield f"pair_{source}_{target}", bytes([source, target, 37, 3]) + ramp
    for source, target, width, height in ((6, 2, 37, 7), (6, 4, 38, 7), (6, 4, 36, 4), (8, 3, 5, 2)):
        yield f"size_{source}_{target}_{width}", bytes([source, target, width, height]) + ramp


def jpeg(width, height, *options):
    """Returns a small picture of gradients and noise, encoded by cjpeg."""
    seed = 1
    pixels = bytearray()
    for y in range(height):
        for x in range(width):
            seed = (seed * 1664525 + 1013904223) & 0xFFFFFFFF
            noise = seed >> 28
            pixels += bytes(v & 0xFF for v in (4 * x + noise, 3 * y + noise, 2 * (x + y)))
    picture = b"P6 %d %d 255\n" % (width, height) + bytes(pixels)
    return subprocess.run(
        ["cjpeg", "-quality", "50", *options], input=picture, stdout=subprocess.PIPE, check=True
    ).stdout


def pictures():
    yield "420", jpeg(40, 24)
    yield "422", jpeg(17, 19, "-sample", "2x1")
    yield "444", jpeg(16, 16, "-sample", "1x1")
    yield "440", jpeg(18, 18, "-sample", "1x2")
    yield "411", jpeg(40, 8, "-sample", "4x1")
    yield "uneven", jpeg(24, 24, "-sample", "2x2,1x2,2x1")
    yield "gray", jpeg(20, 20, "-grayscale")
    yield "rgb", jpeg(16, 16, "-rgb")
    yield "progressive", jpeg(40, 24, "-progressive")
    yield "restart", jpeg(40, 24, "-restart", "1B")
    yield "optimized", jpeg(40, 24, "-optimize")
    yield "arithmetic", jpeg(24, 24, "-arithmetic")
    yield "pixel", jpeg(1, 1)
    yield "column", jpeg(1, 33)
    yield "row", jpeg(33, 1)
    yield "tables_only", b"\xff\xd8\xff\xd9"


def jpeg_roads():
    def stream(how, sizes, data):
        return bytes([how, sizes]) + u16(len(data)) + data

    same_size = 0x88
    sound = dict(pictures())
    for name, options in [("420_fine", []), ("422_fine", ["-sample", "2x1"]),
                          ("optimized_fine", ["-optimize"]), ("gray_fine", ["-grayscale"]),
                          ("restart_fine", ["-restart", "3B"])]:
        sound[name] = jpeg(83, 37, *options, "-quality", "95")
    for name, data in sound.items():
        for how in range(20):
            yield f"{name}_{how}", stream(how, same_size, data)
    for name in ("420", "optimized", "restart", "gray"):
        data = sound[name]
        for at in range(2, len(data), 3):
            yield f"{name}_cut_{at}", stream(at % 40, same_size, data[:at])
            changed = data[:at] + bytes([data[at] ^ (1 << at % 8)]) + data[at + 1:]
            yield f"{name}_changed_{at}", stream(at % 40, same_size, changed)
    for sizes in range(0, 256, 17):
        yield f"sizes_{sizes}", stream(sizes % 40, sizes, sound["420_fine"])
    yield "filled_up", stream(1, same_size, sound["420"] + bytes(700))
    data = sound["420_fine"]
    at = data.index(b"\xff\xc4")
    size = struct.unpack(">H", data[at + 2:at + 4])[0]
    without = data[:at] + data[at + 2 + size:]
    yield "tables_kept", b"".join(stream(1, same_size, d) for d in (data, without, without, data))


def mjpeg_frame(stream, video_format=3):
    header = bytearray(112)
    struct.pack_into("<III", header, 0, 3, 112 + len(stream), 112)
    struct.pack_into("<H", header, 24, video_format)
    return bytes(header) + stream


def decoder_process():
    def frames(*parts, scale=0, pixels=2):
        return bytes([scale, pixels]) + b"".join(b"\xc8" + u16(len(part)) + part for part in parts)

    every = dict(pictures())
    for name, stream in every.items():
        for pixels in (1, 2, 3, 5):
            yield f"{name}_format_{pixels}", frames(mjpeg_frame(stream), pixels=pixels)
    for scale in range(8):
        yield f"scale_{scale}", frames(mjpeg_frame(every["420"]), scale=scale, pixels=3)
    for pixels in range(10):
        yield f"swap_{pixels}", frames(mjpeg_frame(every["422"])) + bytes([255, 0, pixels, 0])
    streams = [mjpeg_frame(every[name]) for name in ("420", "progressive", "444")]
    yield "sequence", frames(*streams, pixels=4)
    yield "cut", frames(streams[0][:-9], streams[1][:300], streams[2][:60], pixels=3)
    yield "no_tables", frames(streams[0], mjpeg_frame(b"\xff\xd8" + every["420"][-200:]))
    yield "other_format", frames(mjpeg_frame(every["420"], video_format=5))
    many = every["progressive"]
    scan = many.rindex(b"\xff\xda")
    yield "many_scans", frames(mjpeg_frame(many[:scan] + 600 * many[scan:-2] + b"\xff\xd9"))


def differential():
    def script(*steps, scale=0, pixels=2):
        return bytes([scale, pixels]) + b"".join(steps)

    def good(frame, *changes):
        return bytes([frame * 16 + len(changes)]) + b"".join(
            u16(at) + bytes([value]) for at, value in changes
        )

    def own(frame):
        return bytes([200]) + u16(len(frame)) + frame

    def frame(stream, width=96, height=64, kind=0, blocks=b"", count=0):
        header = bytearray(mjpeg_frame(b"", video_format=7))
        struct.pack_into("<H", header, 26, kind != 0)
        struct.pack_into("<II", header, 32, width, height)
        struct.pack_into("<I", header, 72, kind)
        struct.pack_into("<II", header, 84, count, len(blocks))
        return bytes(header) + blocks + stream

    def block_part(count, runs, bits):
        return u32(count) + u32(runs) + u32(bits) + bytes(range(40))

    every = [good(number) for number in range(12)]
    for scale in range(8):
        for pixels in range(10):
            yield f"all_{scale}_{pixels}", script(*every, scale=scale, pixels=pixels)
    yield "old_frames", script(good(0), good(1, (72, 0)), good(3, (72, 0)))
    yield "type_6", script(good(0), good(1, (72, 6)), good(2))
    yield "lying_list", script(
        good(0), good(1, (112, 255)), good(1, (116, 9)), good(1, (120, 32)), good(1, (124, 255)),
        good(1, (88, 255)), good(7, (126, 255)), good(1, (84, 0)),
    )
    yield "sizes", script(good(0), good(1, (32, 97)), good(1, (36, 0), (37, 4)), good(0), good(1))
    yield "client_base", script(good(0), b"\xff", good(1), b"\xf0\1\5", b"\xff", good(0), good(9))
    yield "other_codec", script(good(0), own(mjpeg_frame(jpeg(40, 24))), good(1), good(0), good(1))
    for name, stream in pictures():
        yield f"key_{name}", script(own(frame(stream)), own(frame(stream, 40, 24)), good(1))
        for kind in (3, 4, 5):
            strip = frame(stream, kind=kind, blocks=block_part(3, 1, 2), count=3)
            yield f"strip_{name}_{kind}", script(good(0), own(strip), good(1))
    giant = bytearray(jpeg(40, 24, "-progressive"))
    struct.pack_into(">HH", giant, giant.index(b"\xff\xc2") + 5, 65500, 65500)
    yield "giant", script(own(frame(bytes(giant))), good(0), own(frame(bytes(giant), kind=3, count=1)))


def layered():
    def good(frame, *changes):
        return bytes([frame * 16 + len(changes)]) + b"".join(
            u16(at) + bytes([value]) for at, value in changes
        )

    def own(frame):
        return b"\xa0" + u16(len(frame)) + frame

    every = b"".join(good(number) for number in range(9))
    for scale in range(8):
        for pixels in range(10):
            yield f"all_{scale}_{pixels}", bytes([scale, pixels]) + every
    yield "scales", bytes([0, 4]) + b"".join(
        bytes([170, scale, 5]) + good(3) + good(4) for scale in range(8))
    # Every field of the second header is changed. Differential frames have it behind their list.
    for number, inner in ((2, 112), (3, 112), (4, 144)):
        for field in range(0, 112, 2):
            yield f"field_{number}_{field}", bytes([0, 2]) + b"".join(
                good(number, (inner + field + high, value)) + bytes([204, 219, 251])
                for high, value in ((0, 0), (0, 1), (1, 255)))
    for offset in (224, 240, 256, 272, 300, 600, 900):
        yield f"body_{offset}", bytes([0, 3]) + b"".join(
            good(number, *((offset + i, 128 + i) for i in range(9))) for number in range(9))
    for step in range(200, 256):
        yield f"layers_{step}", bytes([1, 5]) + good(1) + bytes([step, 80, 0, 9]) + good(4) + (
            bytes([step, 4, 0, 3, 88, 0, 1]))
    yield "others", bytes([0, 2]) + own(mjpeg_frame(jpeg(40, 24))) + good(0) + own(bytes(112)) + (
        own(mjpeg_frame(bytes(112), video_format=0)) + own(mjpeg_frame(b"", video_format=4)))


def block_list():
    yield "four", u32(4) + u32(2) + u32(6) + u16(2) + u16(1) + u16(3) + u16(2) + bytes(8)
    yield "empty", u32(0) + u32(0) + u32(6)
    yield "no_bits", u32(3) + u32(3) + u32(0) + 3 * (u16(1) + u16(0xFFFF)) + bytes(4)
    yield "lies", u32(-1) + u32(-1) + u32(31) + bytes(range(64))
    for bits in (0, 6, 31):
        yield f"round_trip_{bits}", bytes([bits]) + bytes(range(256))


def encoder_config():
    size = [tagged("I", "Width", u32(96)), tagged("I", "Height", u32(64))]
    sets = {
        "plain": size,
        "quality": size + [tagged("I", "JPEGQuality", u32(-1)), tagged("I", "LineSize", u32(7))],
        "advanced": size + [tagged("B", "AdvancedProfile", b"\1")],
        "keys": size + [tagged("I", "IFrameInterval", u32(2)), tagged("I", "Bits", u32(31))],
        "references": size + [tagged("I", "RPFrameInterval", u32(1)), tagged("I", "Bits", u32(0))],
        "sensitive": size + [tagged("I", "IVPixelSensitivity", u32(20)),
                             tagged("B", "GenerateOutOfOrderIFrames", b"\0")],
        "bad": size + [tagged("I", "RPFrameInterval", u32(0)), tagged("I", "Bits", u32(32))],
        "kinds": [tagged("2", "Width", u16(64)), tagged("Q", "Height", bytes(8))],
        "odd": [tagged("I", "Width", u32(97)), tagged("I", "Height", u32(60))],
        "huge": [tagged("I", "Width", u32(-1)), tagged("I", "Height", u32(-1))],
        "none": [tagged("I", "Width", u32(0)), tagged("I", "Height", u32(0))],
    }
    blocks = {name: b"".join(elements) + b"\0" for name, elements in sets.items()}
    for name, block in blocks.items():
        for other in ("plain", "advanced"):
            yield f"{name}_{other}", b"".join(u16(len(b)) + b for b in (block, blocks[other]))


def load_image():
    sample_bytes = (0, 1, 4, 4, 4, 4, 1, 4, 384)
    for pixel_format, size in enumerate(sample_bytes):
        for dx, dy in ((0, 0), (3, 2), (16, 1), (17, 5)):
            body = bytes(i % 251 for i in range(dx * dy * size or dx * dy // 8 + 16))
            head = u32(1) + u32(32 + len(body)) + u32(32) + u32(0)
            block = head + u32(pixel_format) + u32(dx) + u32(dy) + u32(0) + body
            yield f"format_{pixel_format}_{dx}_{dy}", block
            yield f"cut_{pixel_format}_{dx}_{dy}", block[:-1]
    yield "other_version", u32(2) + bytes(12) + u32(1) + bytes(12)
    yield "huge", u32(1) + bytes(12) + u32(8) + u32(0x7FFFFFFF) + u32(2) + u32(0)


def mask():
    def polygons(width, height, *arrays):
        body = b"".join(bytes([len(a)]) + b"".join(map(u16, a)) for a in arrays)
        return u16(width) + u16(height) + body

    frame = (0, 0, 16384, 0, 16384, 9216, 0, 9216)
    star = (30, 0, 45, 50, 2, 18, 58, 18, 15, 50)
    yield "none", polygons(64, 48)
    yield "frame", polygons(160, 90, frame)
    yield "star", polygons(64, 48, star)
    yield "several", polygons(2047, 511, star, frame, (0, 0, 2046, 510, 1, 509), (5, 5), ())
    yield "touching", polygons(200, 20, (0, 0, 64, 0, 64, 19, 0, 19), (64, 0, 128, 0, 128, 19))
    yield "repeated", polygons(300, 100, star, *[frame, star] * 9)
    yield "edges_twice", polygons(300, 100, star * 2, star[:4] * 5, (9, 0, 9, 99, 90, 50) * 3)
    yield "negative", polygons(127, 100, (-32768, -32768, 32767, -5, 0, 32767, -9000, 70))
    for width, height in ((1, 1), (0, 9), (9, 0), (-3, -3), (63, 2), (64, 2), (65, 2)):
        yield f"size_{width}_{height}", polygons(width, height, star, (0, 0, 99, 0, 99, 99))


def triangulation():
    def calls(*parts):
        return b"".join(parts)

    def init(x0, y0, x1, y1, dimensions=2):
        return b"\0" + b"".join(map(u32, (x0, y0, x1, y1))) + bytes([dimensions & 255])

    def point(x, y, *values):
        return b"\1" + u32(x) + u32(y) + bytes([len(values)]) + bytes(values)

    finalize = b"\2"

    def estimate(x, y, count=2):
        return b"\3" + u32(x) + u32(y) + bytes([count + 2])

    low, high = -(2**31), 2**31 - 1
    yield "early", calls(point(1, 1, 2), finalize, estimate(1, 1))
    for name, (x0, y0, x1, y1) in {"small": (0, 0, 12, 12), "square": (0, 0, 512, 512),
                                   "largest": (low, low, high, high), "empty": (5, 5, 2, 9)}.items():
        x, y = (x0 + x1) // 2, (y0 + y1) // 2
        sides = ((x, y), (x, y0), (x0, y), (x, y1 - 1), (x1 - 1, y),
                 ((x0 + x) // 2, (y0 + y) // 2), ((x1 + x) // 2, (y0 + y) // 2))
        points = calls(*(point(*side, number, 9) for number, side in enumerate(sides)))
        look = calls(*(estimate(a, b) for a, b in ((x0, y0), (x, y), (x + 1, y0), (x1, y1))))
        yield name, calls(init(x0, y0, x1, y1), points, look, finalize, look)
        yield f"{name}_values_missing", calls(init(x0, y0, x1, y1), points, point(x0, y0), look,
                                              finalize, point(x0 + 1, y0, 7), look)
    grid = calls(*(point(i % 12, i // 12, i, 255 - i) for i in range(0, 144, 3)))
    yield "crowded", calls(init(0, 0, 12, 12), grid, estimate(4, 5), finalize,
                           *(estimate(i % 15 - 1, i // 15) for i in range(60)))
    for dimensions in (0, 1, 3, -1):
        yield f"dimensions_{dimensions}", calls(init(0, 0, 12, 12, dimensions), grid,
                                                estimate(4, 5, 1), finalize, estimate(4, 5, 3))
    # Random points lie in these frames.
    numbers = random.Random(1)
    frames = ((0, 0, 20, 20), (-9, 4, 6, 30), (0, 0, 640, 480), (100, 100, 1000, 103),
              (low, low, high, high), (0, 0, 70000, 70000), (high - 9, low, high, low + 9))
    for number, (x0, y0, x1, y1) in enumerate(frames * 8):
        def place():
            return numbers.randint(x0 - (x0 > low), x1), numbers.randint(y0, y1 + (y1 < high))

        parts = [init(x0, y0, x1, y1)]
        for i in range(60):
            values = numbers.choices(range(256), k=1 if number % 3 == 0 and i % 4 == 0 else 2)
            parts += [point(*place(), *values), estimate(*place(), i % 4)]
            if i in (40, 59) and number % 3 == 1:
                parts.append(finalize)
        yield f"random_{number:02}", calls(*parts, *(estimate(*place()) for _ in range(200)))


def record():
    texts = ("12", "99999999999999999999", "abc", "off", "hidden", "1e999", "2024-02-29T23:59:60Z",
             "00112233-4455-6677-8899-aabbccddeeff", "", "+1.5")
    names = ("Enabled", "Bits", "Count", "Factor", "ID", "Motion", "ViolationTimeMs", "Name",
             "Type", "EventTime", "Config", "Figures", "Masks", "Points", "Point")
    values = [
        ("B", b"\1"),
        ("I", u32(-3)),
        ("Q", struct.pack("<q", 2**40)),
        ("F", struct.pack("<d", 2.0**63)),
        ("F", struct.pack("<d", float("nan"))),
        ("G", bytes(range(16))),
        ("T", struct.pack("<Q", 5)),
        ("X", b"\0payload"),
        ("@", tagged("*", "", b"2" + u16(5) + u16(-6)) + b"\0"),
        ("@", tagged_node("", tagged("I", "X", u32(4)), tagged("S", "Name", b"n")) + b"\0"),
        ("@", tagged("I", "X", u32(4)) + tagged("I", "", u32(4)) + b"\0"),
    ]
    for number, (tag, value) in enumerate(values):
        yield f"value_{number:02}", b"".join(tagged(tag, name, value) for name in names) + b"\0"
    for number, text in enumerate(texts):
        for name in names:
            yield f"{name}_{number}", tagged("S", name, text.encode()) + b"\0"


def motion():
    def configure(*elements, width=40, height=30, choice=128):
        block = b"".join(elements) + b"\0"
        return bytes([choice, width, height]) + u16(len(block)) + block

    def frames(burst, width=40, height=30, kind=1, seed=100, step=100, time=2**43):
        return bytes([burst * 9 + kind, width, height, seed]) + u16(step) + struct.pack("<Q", time)

    def detector(*elements):
        return tagged_node("", *elements)

    def double(name, value):
        return tagged("F", name, struct.pack("<d", value))

    triangle = tagged("*", "", b"2" + b"".join(u16(n) for n in (0, 0, 16384, 0, 8192, 9000)))
    flags = [tagged("B", name, b"\1") for name in (
        "MeltinReduction", "AlternativeVarianceHandling", "HighVarianceReduction",
        "ForbidHighSensitivityStart")]
    warm = frames(13)
    moving = frames(5, seed=213, time=2**43 + 5000)
    yield "defaults", configure() + warm + moving
    yield "not_configured", warm + moving
    yield "masked", configure(tagged_node("Configs", detector(tagged_node("Masks", triangle)))) + (
        warm + moving + frames(13, height=35) + frames(5, height=38, seed=250))
    for number, flag in enumerate(flags):
        yield f"flag_{number}", configure(tagged_node("Configs", detector(flag))) + warm + moving
    yield "graded", configure(tagged_node("Configs", detector(
        tagged("B", "BinaryOutputMode", b"\0"), double("Sensitivity", float("nan"))))) + (
        warm + moving)
    yield "nine", configure(tagged_node("Configs", *(detector(
        double("MotionPercent", n)) for n in range(9)))) + warm + moving
    yield "quiet", configure(tagged("B", "GenerateMetadata", b"\0")) + warm + moving
    yield "slow", configure(tagged("Q", "ViolationTimeMs", struct.pack("<q", 1000))) + warm + moving
    yield "bad_mask", configure(tagged_node("Configs", detector(
        tagged_node("Masks", tagged("I", "", u32(1)))))) + warm + configure() + moving
    yield "bad_kinds", configure(*every_tag()) + warm
    yield "numbers", configure(double("FpsLimit", 1e-300), tagged("S", "Version", b"x")) + warm
    for time in (0, 2**63 - 1000, 2**63, 2**64 - 1):
        yield f"time_{time}", configure() + frames(13, time=time) + frames(5, step=-30000)
    for kind in range(9):
        yield f"kind_{kind}", configure(width=32, height=16) + frames(2, 32, 16, kind) + (
            frames(1, 37, 19, kind))
    for width, height in ((0, 0), (1, 1), (3, 3), (0, 9), (9, 0), (71, 2), (38, 39), (50, 21),
                          (69, 33)):
        yield f"size_{width}_{height}", configure(width=width, height=height) + (
            frames(13, width, height) + frames(2, width, height, seed=240))
    yield "negative", configure(choice=255) + warm


def calibration():
    def case(*elements):
        return struct.pack("<2f", 8000, 9000) + b"".join(elements) + b"\0"

    def doubles(**values):
        return [tagged("F", name, struct.pack("<d", n)) for name, n in values.items()]

    def corners(*coordinates):
        return [tagged("I", f"{'XY'[i % 2]}{i // 2}Virtual", u32(n))
                for i, n in enumerate(coordinates)]

    def marks(*segments, height=1.8):
        return doubles(RefDistanceMeter=height) + [
            tagged_node("RefSegment", *(tagged_node("", *corners(*s)) for s in segments))]

    mark, leaning = (4000, 8000, 4000, 6000), (8000, 8000, 8100, 6000)
    yield "defaults", case()
    yield "marks", case(*marks(mark, leaning))
    yield "one_line", case(*marks((5000, 8000, 5000, 6000), (5000, 6000, 5000, 4700)))
    yield "one_mark", case(*marks(mark))
    yield "heights", case(*marks(mark, leaning, (0, 0, 0, 0), height=1e300))
    yield "square", case(*corners(4000, 9000, 9000, 9000, 9000, 4000, 4000, 4000),
                         *marks(mark, leaning))
    low, high = -2**31, 2**31 - 1
    yield "huge", case(*corners(low, high, high, high, high, low, low, low),
                       *marks((low, 0, high, 5), mark))
    yield "text", case(tagged("S", "X0Virtual", b"seven"))
    yield "lengths", case(*doubles(Distance01=1e-6, Distance03=float("inf")))


def client():
    """Random bytes are calls in random order: every byte means something to this target."""
    source = random.Random(45)
    for number in range(48):
        yield f"calls_{number}", source.randbytes(40 << number % 6)


TARGETS = {
    "client": client,
    "calibration": calibration,
    "load_image": load_image,
    "parse_tagged": parse_tagged,
    "parse_counted": parse_counted,
    "convert": convert,
    "decoder_process": decoder_process,
    "copy_and_add_header": pictures,
    "differential": differential,
    "jpeg_roads": jpeg_roads,
    "layered": layered,
    "block_list": block_list,
    "encoder_config": encoder_config,
    "mask": mask,
    "motion": motion,
    "triangulation": triangulation,
    "record": record,
}


def main():
    root = pathlib.Path(sys.argv[1])
    for target, seeds in TARGETS.items():
        folder = root / target
        folder.mkdir(parents=True, exist_ok=True)
        for name, data in seeds():
            (folder / name).write_bytes(data)
        # What earlier runs found beyond these seeds.
        kept = pathlib.Path(__file__).parent / "corpus" / f"{target}.zip"
        if kept.exists():
            with zipfile.ZipFile(kept) as archive:
                archive.extractall(folder)


if __name__ == "__main__":
    main()
