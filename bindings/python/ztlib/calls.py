"""Calls of the library: failures become exceptions, on the thread of the call."""
import atexit
import ctypes
import os
import threading
import time
import weakref
from typing import Any, Callable, List, Set

import numpy

from .library import HANDLER, OUTPUT, Blob, lib


class Error(Exception):
    """A call of the library failed; the message is the library's."""


# `failures` is a list while a call runs on this thread.
_state = threading.local()
_inside: Set[int] = set()  # the threads that are in the library
_ended = False


def _end() -> None:
    """Keeps daemon threads out of the library, whose handles and pictures go from here on."""
    global _ended
    _ended = True
    while _inside - {threading.get_ident()}:
        time.sleep(0.001)


if hasattr(os, "register_at_fork"):
    os.register_at_fork(after_in_child=_inside.clear)
# What is registered last runs first, and the first finalizer registers those of all handles.
weakref.finalize(Error, int)
atexit.register(_end)


def call(function: Callable[..., Any], *arguments: Any) -> Any:
    """Calls an export and returns its result.

    Raises `Error` if the call fails, and what a callback has raised if that is all. A callback's
    exception that made the call fail is the cause of the `Error`.
    """
    outer = getattr(_state, "failures", None)
    failures = _state.failures = []
    if outer is None:
        _inside.add(threading.get_ident())
    try:
        # Either this thread sees the end, or the end sees this thread.
        if _ended and threading.current_thread() is not threading.main_thread():
            raise Error("the program ends")
        result = function(*arguments)
    finally:
        _state.failures = outer
        if outer is None:
            _inside.discard(threading.get_ident())
    if failures:
        raise failures[-1] from (failures[0] if len(failures) > 1 else None)
    return result


def callback(prototype: Any) -> Callable[[Callable[..., Any]], Any]:
    """Makes a function a callback: what it raises waits until the call returns.

    The result is null then. A callback outside of `call` reports to `sys.unraisablehook`.
    """
    def decorate(function: Callable[..., Any]) -> Any:
        def guarded(*arguments: Any) -> Any:
            try:
                return function(*arguments)
            except BaseException as failure:  # nothing may cross the frames of the library
                if getattr(_state, "failures", None) is None:
                    raise
                _state.failures.append(failure)
                return None
        return prototype(guarded)
    return decorate


@callback(HANDLER)
def _handle_failure(text: bytes) -> None:
    if getattr(_state, "failures", None) is not None:
        _state.failures.append(Error(text.decode(errors="replace")))


lib.ztlib_registerExceptionHandler(_handle_failure)


@callback(OUTPUT)
def collect(results: List[bytes], data: int, size: int) -> None:
    """Appends a copy of what an export hands out to the list that is its `user`."""
    results.append(ctypes.string_at(data, size))


def one(results: List[bytes]) -> bytes:
    """What an export has handed out once."""
    if len(results) != 1:
        raise Error("no result")
    return results[0]


def bytes_of(data: Any) -> numpy.ndarray:
    """The bytes of a contiguous buffer, without a copy."""
    return numpy.frombuffer(data, numpy.uint8)


def blob(data: Any) -> Blob:
    """A block for an export, which keeps the buffer alive."""
    memory = bytes_of(data)
    block = Blob(memory.ctypes.data, memory.size)
    block.memory = memory
    return block
