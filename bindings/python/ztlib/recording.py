"""Recordings: .zts files, which are coded frames back to back."""
import os
from typing import Iterator, Union

_SHORTEST = 64  # bytes of the oldest header


def frames(path: Union[str, "os.PathLike[str]"]) -> Iterator[bytearray]:
    """Reads the frames of a recording. Raises ValueError where it is cut or damaged."""
    with open(path, "rb") as file:
        rest = os.fstat(file.fileno()).st_size
        while rest:
            head = file.read(8)
            size = int.from_bytes(head[4:], "little")
            if not _SHORTEST <= size <= rest:
                raise ValueError(f"{path}: cut or damaged, {rest} bytes before its end")
            frame = bytearray(head + file.read(size - len(head)))
            rest -= size
            yield frame
