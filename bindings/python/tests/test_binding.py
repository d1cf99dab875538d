"""Goes through every export; the library is that of ZTLIB_LIBRARY."""
import ctypes
import gc
import pathlib
import re
import subprocess
import sys
import threading
import time
import unittest
import uuid

import numpy
import ztlib
from ztlib import Decoder, Encoder, Error, Image, Motion, PixelFormat, Triangulation, VideoFormat
from ztlib import calls, frame_manager, library, tree

PYTHON = pathlib.Path(__file__).resolve().parents[1]
called, log = set(), []


def record(name):
    function = getattr(library.lib, name)

    def recorded(*arguments):
        called.add(name)
        return function(*arguments)
    setattr(library.lib, name, recorded)


def setUpModule():
    for name in library.NAMES:
        record(name)
    library.lib.ztlib_registerExceptionHandler(calls._handle_failure)
    library.lib.ztlib_registerAVFrameMgr(frame_manager._allocate, frame_manager._release,
                                         library.THIRD(), 0)
    ztlib.add_logger(lambda level, text: log.append((level, text)))


def tearDownModule():
    missing = set(library.NAMES) - called
    assert not missing, f"not called: {missing}"
    gc.collect()
    assert not frame_manager._held, "frames that the library has not released"


def picture(width=64, height=48, shift=0):
    luma = (numpy.add.outer(numpy.arange(height), numpy.arange(width) * 2) + shift) % 200
    pixels = numpy.full((height, width, 4), 128, numpy.uint8)
    pixels[..., 0] = luma
    return pixels


def jpeg_frame(**settings):
    return Encoder(VideoFormat.MJPEG, 64, 48, **settings).process(
        Image(picture(), PixelFormat.YUV))


class Declarations(unittest.TestCase):
    def test_declarations_and_version_are_those_of_the_header(self):
        header = (PYTHON.parents[1] / "include/ztlib.h").read_text()
        kinds = {"void": None, "bool": ctypes.c_bool, "int32_t": ctypes.c_int32,
                 "int64_t": ctypes.c_int64, "uint32_t": ctypes.c_uint32, "uint8_t": ctypes.c_uint8,
                 "ztlib_output": library.OUTPUT, "ztlib_logger": library.LOGGER,
                 "ztlib_exception_handler": library.HANDLER, "ztlib_frame_allocate":
                 library.ALLOCATE, "ztlib_frame_release": library.RELEASE,
                 "ztlib_frame_third": library.THIRD}
        pointers = {"const ztlib_blob*": library.BLOB, "const float*": None, "void**": None}
        found = re.findall(r"^ZTLIB_API ([^;]*?)(\w+)\(([^;]*)\);", header, re.M)
        self.assertEqual([name for _, name, _ in found if name not in library.NAMES], [])
        self.assertEqual(len(found), 45)
        fresh = ctypes.CDLL(library.lib._name)
        for (result, *arguments), name in zip(library._EXPORTS.values(), library.NAMES):
            declared = next((r, a) for r, n, a in found if n == name)
            self.assertTrue(hasattr(fresh, name))
            texts = [] if declared[1] == "void" else re.split(r",\s*", declared[1])
            self.assertEqual(len(texts), len(arguments), name)
            for text, kind in zip([declared[0] + "x"] + texts, [result] + arguments):
                text = re.sub(r"\s*\b\w+$", "", text).strip()
                if text in kinds and "[" not in text:
                    self.assertIs(kind, kinds[text], name)
                else:
                    self.assertEqual(ctypes.sizeof(kind), 8, name)
                    self.assertIs(kind, pointers.get(text) or kind, name)
        version = ".".join(re.findall(r"ZTLIB_VERSION_\w+ (\d+)", header))
        self.assertIn(f'version = "{version}"', (PYTHON / "pyproject.toml").read_text())


class Pictures(unittest.TestCase):
    def test_pixels_are_shared_and_outlive_the_image(self):
        for format in PixelFormat:
            array = numpy.zeros(ztlib.formats.shape_of(format, 64, 48), numpy.uint8)
            with Image(array, format) as image:
                self.assertEqual((image.size, image.format), ((64, 48), format))
                array[-1, -1] = 1
                copy = Image()
                copy.load(image.save())
            self.assertRaises(ValueError, lambda: image.size)
            numpy.testing.assert_array_equal(copy.pixels, array)
            pixels = copy.pixels
            del copy
            pixels[:] = 9
        with self.assertRaises(ValueError):
            Image(numpy.zeros((4, 4), numpy.uint8), PixelFormat.RGB)
        with self.assertRaises(TypeError):
            Image(numpy.zeros((4, 4, 4)))

    def test_failures(self):
        empty = Image()
        self.assertIsNone(empty.pixels)
        with self.assertRaisesRegex(Error, "empty|null|Null|assigned"):
            empty.save()
        with self.assertRaisesRegex(Error, "Invalid or nullptr memory!"):
            empty.load(b"short")
        block = Image(picture()).save()
        ztlib.set_pixel_limit(64 * 48 - 1)
        self.addCleanup(ztlib.set_pixel_limit, 1 << 26)
        with self.assertRaises(Error) as failure:
            empty.load(block)
        self.assertIsInstance(failure.exception.__cause__, MemoryError)

    def test_coordinates(self):
        self.assertEqual((ztlib.pixel_x(8192, 640), ztlib.pixel_y(4096, 480)), (320, 120))
        self.assertEqual((ztlib.virtual_x(320, 640), ztlib.virtual_y(120, 480)), (8192, 4096))
        self.assertEqual(ztlib.scale_down(320, 1280, 960), 4)
        self.assertEqual(ztlib.scale_down(320, 1280, 960, PixelFormat.YUV420BLOCK), 4)
        with self.assertRaisesRegex(Error, "Invalid range"):
            ztlib.scale_down(320, 1280, 960, 99)


class Video(unittest.TestCase):
    def test_there_and_back_again(self):
        for video in VideoFormat.MJPEG, VideoFormat.MJPEGDIFF:
            with Encoder(video, 64, 48, JPEGQuality=95) as encoder:
                frame = encoder.process(Image(picture(), PixelFormat.YUV), key=True)
                info = ztlib.frame_info(frame)
                self.assertEqual(info[:4], (64, 48, video, 0))
                self.assertEqual(info.payload, frame[112:])
                self.assertEqual(ztlib.frame_payload(frame), frame[112:])
                decoder = Decoder(video, PixelFormat.YUV)
                image = Image()
                self.assertIs(decoder.process(frame, image), image)
                difference = image.pixels[..., 0].astype(int) - picture()[..., 0]
                self.assertLess(abs(difference).mean(), 4)
                decoder.set_base_image(image)
                decoder.process(encoder.process(image))
                with self.assertRaises((Error, ValueError)):
                    encoder.process(Image(picture(32, 16), PixelFormat.YUV))
        with self.assertRaises(ValueError):
            Encoder(VideoFormat.MJPEGDIFF, 36, 36).process(Image(picture(36, 36)))
        self.assertEqual(Decoder(scale=2).process(jpeg_frame()).size, (32, 24))
        wrapped = ztlib.add_header(ztlib.frame_payload(jpeg_frame()))
        self.assertEqual(ztlib.video_format(wrapped), VideoFormat.MJPEG)
        self.assertEqual(Decoder().process(wrapped).size, (64, 48))

    def test_a_frame_in_memory_that_is_read_only_is_copied(self):
        # A frame that names no type gets one.
        frame = bytearray(Encoder(VideoFormat.MJPEGDIFF, 64, 48).process(Image(picture())))
        frame[26] = 1
        for memory, written in (bytes(frame), False), (frame, True):
            before = bytes(memory)
            Decoder(VideoFormat.MJPEGDIFF).process(memory)
            self.assertEqual(memory != before, written)

    def test_failures(self):
        for create in Decoder, lambda video: Encoder(video, 64, 48):
            with self.assertRaisesRegex(Error, "makes no such"):
                create(99)
        with self.assertRaisesRegex(Error, "Unknown exception!"):
            Decoder().process(jpeg_frame()[:300])
        with self.assertRaises(Error):
            ztlib.frame_info(b"short")
        self.assertTrue(any(level == 1 for level, _ in log))
        self.assertEqual(ztlib.video_format(b""), -1)

    def test_layers(self):
        frame = jpeg_frame()
        self.assertEqual((ztlib.layer_count(frame), ztlib.layer_sizes(frame)), (0, (0,) * 4))
        self.assertEqual(ztlib.decompose_layers(frame), [])
        with self.assertRaises(Error):
            ztlib.compose_layers([b"short"])
        block = numpy.zeros((8, 8), numpy.int16)
        block[0, 0] = 64
        ztlib.inverse_transform(block)
        self.assertTrue((block == block[0, 0]).all() and block[0, 0])


class Analysis(unittest.TestCase):
    def test_motion(self):
        motion = Motion()
        left = numpy.array([0, 0, 8192, 0, 8192, 16384, 0, 16384], numpy.int16)
        config = {"ViolationTimeMs": tree.Long(0), "Configs": [{"Masks": [left]}, {}]}
        motion.configure(config, 66, 48)  # rows without padding
        pixels = numpy.full((48, 66), 50, numpy.uint8)
        image = Image(pixels, PixelFormat.GRAY)
        for index in range(120):
            pixels[:] = 50 + index % 2
            signal, _ = motion.detect(image, index * 100)
        self.assertFalse(signal)
        pixels[10:30, 5:25] = 200
        signal, result = motion.detect(image, 12000)
        areas = [ztlib.motion_bitmap(area["Motion"]) for area in result["Motions"]]
        self.assertTrue(signal and areas[0][12:28, 7:23].all() and not areas[0][:, 40:].any())
        numpy.testing.assert_array_equal(result["Motions"][0]["Masks"][0], left)
        self.assertEqual(result["Resolution"], {"Width": 66, "Height": 48})
        self.assertIsInstance(result["TimestampMs"], tree.Time)
        with self.assertRaisesRegex(Error, "."):
            motion.detect(Image(), 0)

    def test_triangulation(self):
        points = Triangulation(0, 0, 12, 12, 2)
        for y, x in (divmod(i, 12) for i in range(0, 144, 3)):
            points.add_point(x, y, [2 * x - y, 7])
        points.finalize()
        self.assertEqual(list(points.estimate(4, 5)), [3, 7])
        points.close()
        points.close()
        with self.assertRaises(ValueError):
            points.estimate(0, 0)
        with self.assertRaisesRegex(Error, "Using null-pointer"):
            calls.call(library.lib.ztlib_triangulation_finalize, None)

    def test_trees(self):
        values = {"bool": True, "int": -3, "float": 0.5, "text": "a\xe9\udc80", "bytes": b"\0\1",
                  "byte": tree.Byte(200), "short": tree.Short(-2), "long": tree.Long(2**40),
                  "time": tree.Time(2**64 - 1), "wide": tree.Wide("w"), "id": uuid.UUID(int=5),
                  "binary": tree.Binary(b"xy"), "node": {}, "list": [1, {"own": False}],
                  "mixed": tree.Elements([("a", 1), ("a", 2), ("", 3)])}
        block = tree.dump(values)
        loaded = tree.load(block)
        self.assertEqual(loaded, values)
        self.assertEqual({k: type(v) for k, v in loaded.items()},
                         {k: type(v) for k, v in values.items()})
        self.assertEqual(tree.load(tree.dump([numpy.zeros(0, numpy.int16)]))[0].size, 0)
        self.assertEqual(tree.load(tree.dump({"n": numpy.float32(0.5)})), {"n": 0.5})
        for cut in range(len(block) - 1):
            try:
                tree.load(block[:cut])
            except ValueError:
                pass
        for wrong in {"n": 2**31}, {"n": None}, {"n" * 128: 1}:
            self.assertRaises((TypeError, ValueError, tree.struct.error), tree.dump, wrong)


class Process(unittest.TestCase):
    def test_what_a_callback_raises_comes_out_of_the_call(self):
        answers = [KeyError("from the logger")]

        def fail_once(level, text):
            if answers:
                raise answers.pop()
        ztlib.add_logger(fail_once)
        with self.assertRaises(Error) as failure:
            Decoder().process(jpeg_frame()[:300])
        self.assertIsInstance(failure.exception.__cause__, KeyError)

    def test_each_thread_has_its_own_failures(self):
        inside, texts = threading.Event(), []

        def fail():
            with self.assertRaises(Error) as failure:
                Decoder().process(frame)
            texts.append(str(failure.exception))

        # The first thread fails while the second is inside a call, which waits for the logger.
        def linger(level, text):
            if threading.current_thread() is thread and level == 1:
                inside.set()
                time.sleep(0.05)
        frame, thread = jpeg_frame()[:300], threading.Thread(target=fail)
        ztlib.add_logger(linger)
        thread.start()
        inside.wait()
        with self.assertRaisesRegex(Error, "Invalid or nullptr memory!$"):
            Image().load(b"short")
        thread.join()
        self.assertEqual(texts, ["Unknown exception!"])

    def test_a_program_ends_while_daemon_threads_decode(self):
        subprocess.run([sys.executable, "-c", """if True:
            import threading, time, numpy, ztlib
            with ztlib.Encoder(ztlib.VideoFormat.MJPEG, 640, 480) as encoder:
                frame = encoder.process(ztlib.Image(numpy.zeros((480, 640, 4), numpy.uint8)))
            def work(decoder):
                try:
                    while True:
                        decoder.process(frame)
                except ztlib.Error:
                    pass
            for decoder in [ztlib.Decoder() for _ in range(4)]:
                threading.Thread(target=work, args=[decoder], daemon=True).start()
            time.sleep(0.1)"""], check=True, timeout=60)

    def test_zz_a_context_ends_the_loggers(self):
        with ztlib.Context():
            pass
        count = len(log)
        self.assertRaises(Error, Image().save)
        self.assertEqual(len(log), count)


if __name__ == "__main__":
    unittest.main()
