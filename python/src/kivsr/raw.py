"""The functions of the C library, as they are, for tests and teaching; the package itself is what programs need.

All functions of ``kivsr.h``, by name, with C's arguments in C's order. Generated from the headers.

- NumPy arrays stand for pointers: contiguous, of exactly the element type (float32 for Kiv32f, complex64 for Kiv32fc,
  ...), writable where the function writes. For pointers to rows a list of arrays, or an array of two dimensions.
- An array that is shorter than the other arguments say raises ValueError before the call. Where the documentation of a
  parameter does not tell a length (`unchecked` lists them), an array is refused: ``ffi.from_buffer("float[]", array)``
  passes it all the same, and then nothing watches its end.
- A negative status raises `StatusError`, whose ``status`` has it; a warning, above 0, is returned, as is 0.
- ``ffi`` and ``lib`` are cffi's: ``ffi.new("int *")``, ``lib.kivStatusBadSize``.

>>> from kivsr import raw
>>> a, squares = np.arange(4, dtype=np.float32), np.zeros(4, np.float32)
>>> raw.kivsMul_32f(a, a, squares, 4)
0
>>> squares
array([0., 1., 4., 9.], dtype=float32)
>>> raw.kivsMul_32f(a, a, squares, 5)
Traceback (most recent call last):
ValueError: kivsMul_32f: pSrc1: 4 elements, len = 5 says 5 are read or written
>>> raw.kivsMul_32f(a, a, squares, 0)
Traceback (most recent call last):
kivsr.StatusError: kivsMul_32f: kivStatusBadSize: a length, width, height, count or order outside its range
"""

from __future__ import annotations

import importlib.machinery
import importlib.util
from typing import Any, Callable

import numpy as np

from ._backend import backend, native
from ._errors import StatusError
from ._raw_table import FUNCTIONS

__all__ = ["StatusError", "ffi", "functions", "lib", "unchecked"]


def _load() -> Any:
    """The module of cffi, which lies in the same file as the native half of the package."""
    name = f"kivsr.{backend}._raw"
    loader = importlib.machinery.ExtensionFileLoader(name, native.__file__)
    module = importlib.util.module_from_spec(importlib.machinery.ModuleSpec(name, loader, origin=native.__file__))
    loader.exec_module(module)
    return module


_raw = _load()
ffi, lib = _raw.ffi, _raw.lib

DTYPES: dict[str, Any] = {
    "Kiv8u": np.uint8, "Kiv16s": np.int16, "Kiv16u": np.uint16, "Kiv32s": np.int32, "Kiv32u": np.uint32,
    "Kiv64s": np.int64, "Kiv32f": np.float32, "Kiv64f": np.float64, "Kiv32fc": np.complex64, "int": np.intc,
    "Kiv32sc": np.dtype([("re", np.int32), ("im", np.int32)]),
}


NOTHING: dict[str, Any] = {"__builtins__": {}}  # what the lengths' expressions see beside the arguments


def functions() -> list[str]:
    """Names of all functions.

    >>> len(kivsr.raw.functions()) > 700
    True
    """
    return list(FUNCTIONS)


def unchecked(function: str) -> list[str]:
    """Parameters of a function whose length the documentation does not tell: arrays are refused there.

    >>> kivsr.raw.unchecked("kivsMul_32f")
    []
    """
    return [name for name, kind, shape in FUNCTIONS[function][1] if _element(kind) in DTYPES and shape is None]


def _element(kind: str) -> str | None:
    """The element type of a pointer to elements or to rows of them."""
    return kind.replace("const", "").replace("*", "").strip() if "*" in kind else None


class _Pointer:
    """How an array becomes the pointer of a parameter."""

    def __init__(self, function: str, name: str, kind: str, shape: Any) -> None:
        self.where = f"{function}: {name}"
        self.kind, self.shape = kind, shape
        self.element = _element(kind)
        self.dtype = np.dtype(DTYPES[self.element]) if self.element in DTYPES else None
        self.array = ffi.typeof(f"{self.element}[]") if self.dtype else None
        self.writes = not kind.startswith("const") if kind.count("*") == 1 else "const" not in kind
        expressions = shape if isinstance(shape, tuple) else (shape,)
        self.counts = [compile(text, self.where, "eval") for text in expressions if text is not None]

    def convert(self, value: Any, sizes: dict[str, int], keep: list[Any]) -> Any:
        if value is None:
            return ffi.NULL
        if isinstance(value, ffi.CData):
            return self.checked_cdata(value, sizes)
        if self.element not in DTYPES or self.shape is None:
            raise TypeError(f"{self.where}: no length is known to check an array by, pass a pointer of kivsr.raw.ffi")
        counts = [eval(count, NOTHING, sizes) for count in self.counts]
        if self.kind.count("*") == 1:
            return self.buffer(value, counts[0], self.where, self.shape, sizes)
        if isinstance(value, np.ndarray) and value.ndim != 2 or not isinstance(value, (np.ndarray, list, tuple)):
            raise TypeError(f"{self.where}: a list of rows, or an array of two dimensions, is wanted")
        self.require(len(value), counts[0], self.where, "rows", self.shape[0], sizes)
        rows = [self.buffer(row, counts[1], f"{self.where}[{i}]", self.shape[1], sizes) for i, row in enumerate(value)]
        keep += rows
        pointers = ffi.new(f"{self.element} *[]", [ffi.cast(f"{self.element} *", row) for row in rows])
        keep.append(pointers)
        return ffi.cast(self.kind, pointers)

    def checked_cdata(self, value: Any, sizes: dict[str, int]) -> Any:
        """Pointers are the caller's business, arrays of cffi have a length."""
        kind = ffi.typeof(value)
        if kind.kind == "array" and isinstance(self.shape, str):
            self.require(len(value), eval(self.counts[0], NOTHING, sizes), self.where, "elements",
                         self.shape, sizes)
        return value

    def buffer(self, value: Any, count: int, where: str, text: str, sizes: dict[str, int]) -> Any:
        if not isinstance(value, np.ndarray):
            raise TypeError(f"{where}: an array of {self.dtype} is wanted, not {type(value).__name__}")
        if value.dtype is not self.dtype and value.dtype != self.dtype:
            raise TypeError(f"{where}: dtype {value.dtype}, {self.dtype} is wanted")
        if not value.flags.c_contiguous:
            raise ValueError(f"{where}: the array is not contiguous")
        if self.writes and not value.flags.writeable:
            raise ValueError(f"{where}: the array is read-only")
        if value.size < count:
            self.require(value.size, count, where, "elements", text, sizes)
        return ffi.from_buffer(self.array, value, require_writable=self.writes)

    @staticmethod
    def require(there: int, wanted: int, where: str, what: str, text: str, sizes: dict[str, int]) -> None:
        if there < wanted:
            given = ", ".join(f"{name} = {size}" for name, size in sizes.items() if name in text)
            raise ValueError(f"{where}: {there} {what}, {given or text} says {wanted} are read or written")


def _wrapper(name: str) -> Callable[..., Any]:
    result, parameters, text = FUNCTIONS[name]
    function = getattr(lib, name)
    kinds = [(parameter, _Pointer(name, parameter, kind, shape) if "*" in kind else None)
             for parameter, kind, shape in parameters]

    def call(*arguments: Any) -> Any:
        if len(arguments) != len(kinds):
            raise TypeError(f"{name}: {len(kinds)} arguments ({', '.join(one for one, _ in kinds)}), "
                            f"{len(arguments)} are given")
        sizes = {parameter: int(value) for (parameter, pointer), value in zip(kinds, arguments)
                 if pointer is None and isinstance(value, (int, np.integer))}
        keep: list[Any] = []
        try:
            converted = [value if pointer is None else pointer.convert(value, sizes, keep)
                         for (_, pointer), value in zip(kinds, arguments)]
        except NameError as error:
            raise TypeError(f"{name}: {error.name} is not an integer") from None
        status = function(*converted)
        if result == "KivStatus" and status < 0:
            raise native.status_error(name, status)
        return ffi.string(status).decode() if result == "const char*" else status

    call.__name__ = call.__qualname__ = name
    call.__module__ = "kivsr.raw"
    arguments = ", ".join(f"{kind} {parameter}" for parameter, kind, _ in parameters)
    call.__doc__ = f"{result} {name}({arguments})\n\n{text}\n"
    return call


def __getattr__(name: str) -> Any:
    if name in FUNCTIONS:
        return globals().setdefault(name, _wrapper(name))
    raise AttributeError(f"module 'kivsr.raw' has no attribute {name!r}")


def __dir__() -> list[str]:
    return sorted([*__all__, *FUNCTIONS])
