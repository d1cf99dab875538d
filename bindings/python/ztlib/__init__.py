"""ztlib for Python: pictures, camera video, motion and estimates between points.

Failures of the library raise `Error`. Objects are closed by `close()`, by `with` or when nothing
refers to them any more. Calls release the interpreter's lock; an object belongs to one thread at a
time, but for `Encoder`, whose calls wait for each other. docs/python.md tells more.
"""
from . import tree
from .calls import Error
from .codec import Decoder, Encoder
from .coded_frame import (FrameInfo, add_header, frame_info, frame_payload, inverse_transform,
                          video_format)
from .context import Context, add_logger
from .coordinates import pixel_x, pixel_y, scale_down, virtual_x, virtual_y
from .formats import PixelFormat, VideoFormat
from .frame_manager import set_pixel_limit
from .image import Image
from .layers import compose_layers, decompose_layers, layer_count, layer_sizes
from .motion import Motion, motion_bitmap
from .recording import frames
from .triangulation import Triangulation

__all__ = [
    "Context", "Decoder", "Encoder", "Error", "FrameInfo", "Image", "Motion", "PixelFormat",
    "Triangulation", "VideoFormat", "add_header", "add_logger", "compose_layers",
    "decompose_layers", "frame_info", "frame_payload", "frames", "inverse_transform",
    "layer_count", "layer_sizes", "motion_bitmap", "pixel_x", "pixel_y", "scale_down",
    "set_pixel_limit", "tree", "video_format", "virtual_x", "virtual_y"]
