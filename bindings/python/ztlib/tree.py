"""Trees in the tagged form: configurations and results.

| Python | Kind |
|---|---|
| bool, int, float, str (UTF-8), bytes | bool, int (32 bits), double, string, byte array |
| Byte, Short, Long, Time, Wide, Binary, uuid.UUID | byte, short, long long, time, ... GUID |
| numpy.ndarray | short array |
| dict | node whose elements have names |
| list, tuple | node whose elements have no names |
| Elements | node of (name, value), if names repeat or some are missing |

`load` gives these types back, and {} for an empty node. A string that is not UTF-8 has surrogates.
"""
import struct
import uuid
from typing import Any, Dict, Iterable, List, Tuple, Union

import numpy


class Byte(int):
    """A number of 8 bits without sign."""


class Short(int):
    """A number of 16 bits."""


class Long(int):
    """A number of 64 bits."""


class Time(int):
    """Milliseconds since 1601-01-01 UTC."""


class Wide(str):
    """A string of 16-bit units."""


class Binary(bytes):
    """A block of bytes. Its metadata is written empty and skipped."""


class Elements(List[Tuple[str, Any]]):
    """A node as pairs of a name ("" for none) and a value."""


Node = Union[Dict[str, Any], List[Any]]

_TAGS = {"1": (Byte, "<B"), "2": (Short, "<h"), "Q": (Long, "<q"), "T": (Time, "<Q"),
         "B": (bool, "<?"), "I": (int, "<i"), "F": (float, "<d")}
_KINDS = {kind: (tag, layout) for tag, (kind, layout) in _TAGS.items()}


def _element(name: str, value: Any) -> bytes:
    if isinstance(value, numpy.generic):
        value = value.item()
    for kind in type(value).__mro__:
        if kind in _KINDS:
            tag, layout = _KINDS[kind]
            body = struct.pack(layout, value)
            break
    else:
        if isinstance(value, Wide):
            tag, body = "W", value.encode("utf-16-le", "surrogatepass")
        elif isinstance(value, str):
            tag, body = "S", value.encode("utf-8", "surrogateescape")
        elif isinstance(value, Binary):
            tag, body = "X", b"\0" + value
        elif isinstance(value, bytes):
            tag, body = "*", b"1" + value
        elif isinstance(value, numpy.ndarray):
            tag, body = "*", b"2" + value.astype("<i2", casting="safe").tobytes()
        elif isinstance(value, uuid.UUID):
            tag, body = "G", value.bytes
        elif isinstance(value, (dict, list, tuple)):
            tag, body = "@", dump(value)
        else:
            raise TypeError(f"a tree has no {type(value).__name__}")
    title = name.encode("utf-8", "surrogateescape")
    if len(title) > 127:
        raise ValueError(f"a name of {len(title)} bytes cannot be read back")
    return b"%c%c%b%b%b" % (ord(tag), len(title), title, struct.pack("<I", len(body)), body)


def dump(node: Union[Node, Tuple[Any, ...]]) -> bytes:
    """Writes a node as a block. Raises TypeError, ValueError or struct.error for what a tree
    cannot hold, such as an int beyond 32 bits.
    """
    elements: Iterable[Tuple[str, Any]]
    if isinstance(node, dict):
        elements = node.items()
    elif isinstance(node, Elements):
        elements = node
    else:
        elements = (("", value) for value in node)
    return b"".join(_element(name, value) for name, value in elements) + b"\0"


def _split(block: memoryview) -> Tuple[List[Tuple[str, str, memoryview]], memoryview]:
    """The tags, names and values of a node, and what follows its end."""
    elements = []
    while block and block[0]:
        if len(block) < 2 or len(block) < 6 + block[1]:
            raise ValueError("a tree is cut")
        begin = 6 + block[1]
        size = int.from_bytes(block[begin - 4:begin], "little")
        if block[1] > 127 or len(block) < begin + size:
            raise ValueError("a tree is cut or damaged")
        name = str(block[2:begin - 4], "utf-8", "surrogateescape")
        elements.append((chr(block[0]), name, block[begin:begin + size]))
        block = block[begin + size:]
    return elements, block[1:]


def _value(tag: str, body: memoryview) -> Any:
    if tag in _TAGS:
        kind, layout = _TAGS[tag]
        return kind(struct.unpack(layout, body)[0])
    if tag == "S":
        return str(body, "utf-8", "surrogateescape")
    if tag == "W":
        return Wide(str(body, "utf-16-le", "surrogatepass"))
    if tag == "*" and body[:1] == b"1":
        return bytes(body[1:])
    if tag == "*" and body[:1] == b"2":
        return numpy.frombuffer(body, "<i2", offset=1)
    if tag == "G" and len(body) == 16:
        return uuid.UUID(bytes=bytes(body))
    if tag == "X":
        return Binary(_split(body)[1])
    if tag == "@":
        return load(body)
    raise ValueError(f"a tree has no element of tag {tag!r} and {len(body)} bytes")


def load(block: Any) -> Any:
    """Reads a block: a dict, a list if no element has a name, or `Elements`.

    Raises ValueError or struct.error for damage, which the library's own reader skips.
    """
    pairs = [(name, _value(tag, body)) for tag, name, body in _split(memoryview(block))[0]]
    names = {name for name, _ in pairs}
    if pairs and names == {""}:
        return [value for _, value in pairs]
    return Elements(pairs) if "" in names or len(names) < len(pairs) else dict(pairs)
