#!/usr/bin/env python3
"""motion_areas.py RECORDING.zts PICTURE.ppm [FRAME] [FPS]: draws the motion areas of a frame.

The left and the right half of the picture are an area each. Moving pixels are red and green, and
areas in which more than 0.2 % moves have a frame in their colour. Nothing is found for 3.1 s.
The last picture is drawn unless FRAME, counted from 0, tells another one.
"""
import sys

import numpy
import ztlib

AREA_COLOURS = (255, 0, 0), (0, 255, 0)


def configuration(width, height):
    bottom = 16384 * height // width  # virtual units are the same on both axes
    halves = [numpy.array([x, 0, x + 8192, 0, x + 8192, bottom, x, bottom], numpy.int16)
              for x in (0, 8192)]
    return {"Configs": [{"Masks": [half], "Sensitivity": 30.0} for half in halves]}


def watch(path, frame_number, fps):
    """The luma and the result of the frame."""
    motion = decoder = luma = result = None
    for index, frame in enumerate(ztlib.frames(path)):
        decoder = decoder or ztlib.Decoder(ztlib.video_format(frame), ztlib.PixelFormat.YUV)
        luma = decoder.process(frame).pixels[..., 0].copy()
        if motion is None:
            motion = ztlib.Motion()
            motion.configure(configuration(*luma.shape[::-1]), *luma.shape[::-1])
        image = ztlib.Image(luma, ztlib.PixelFormat.GRAY)
        _, result = motion.detect(image, index * 1000 // fps)
        if index == frame_number:
            break
    return luma, result


def draw(luma, result):
    picture = numpy.repeat(luma[..., None], 3, axis=2)
    halves = numpy.array_split(picture, 2, axis=1)
    for number, area in enumerate(result["Motions"]):
        half, colour = halves[number], AREA_COLOURS[number]
        # The bitmap has all of the picture, whatever the mask is.
        moving = numpy.array_split(ztlib.motion_bitmap(area["Motion"]), 2, axis=1)[number]
        half[moving == 1] = colour
        if area["DetectPercent"] > 0.2:
            half[:2] = half[-2:] = half[:, :2] = half[:, -2:] = colour
    return picture


recording, output, *numbers = sys.argv[1:]
last, rate = [int(number) for number in numbers] + [-1, 25][len(numbers):]
gray, found = watch(recording, last, rate)
if found is None:
    sys.exit(f"{recording}: no frame")
pixels = draw(gray, found)
with open(output, "wb") as file:
    file.write(b"P6 %d %d 255\n" % (pixels.shape[1], pixels.shape[0]) + pixels.tobytes())
