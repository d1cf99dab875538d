#!/usr/bin/env python3
"""layers.py RECORDING.zts: prints the bytes of each frame's layers, and the picture of each count.

The last columns are the mean differences in luma between the whole picture and those of the first
one, two and three layers.
"""
import sys

import numpy
import ztlib


def luma(decoder, frame):
    return decoder.process(frame).pixels[..., 0].astype(int)


with ztlib.Decoder(ztlib.VideoFormat.LAYERED, ztlib.PixelFormat.YUV) as decoder:
    for index, frame in enumerate(ztlib.frames(sys.argv[1])):
        if ztlib.layer_count(frame) == 0:
            sys.exit(f"frame {index} has no layers")
        print(index, *ztlib.layer_sizes(frame), end="")
        if ztlib.video_format(frame) == ztlib.VideoFormat.LAYERED:
            whole, records = luma(decoder, frame), ztlib.decompose_layers(frame)
            for count in 1, 2, 3:
                part = luma(decoder, ztlib.compose_layers(records[:count]))
                print(f" {numpy.abs(whole - part).mean():.2f}", end="")
        print()
