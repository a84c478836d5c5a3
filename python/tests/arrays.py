"""Arrays of the same values that lie differently in memory, with numbers around them that would be noticed."""

import ctypes
import mmap

import numpy as np

PAGE = mmap.PAGESIZE
PAGES = 64
LIBC = ctypes.CDLL(None, use_errno=True)
LIBC.mprotect.argtypes = [ctypes.c_void_p, ctypes.c_size_t, ctypes.c_int]

POISON = {"i": 32767, "f": 1e30}


def laid_out(values, rng):
    """The values in a view of random offset, strides and byte order of a larger poisoned array, aligned or not."""
    values = np.asarray(values)
    kind = values.dtype.kind
    steps = [int(step) for step in rng.integers(1, 4, values.ndim)]
    shape = [2 * 3 + n * step for n, step in zip(values.shape, steps)]
    whole = np.full(shape, POISON[kind], values.dtype)
    if rng.random() < 0.3:
        whole = whole.T.copy().T
    if rng.random() < 0.3:
        raw = np.zeros(whole.nbytes + 1, np.uint8)[1:]
        misaligned = raw.view(values.dtype).reshape(whole.shape)
        misaligned[...] = whole
        whole = misaligned
    if rng.random() < 0.2:
        whole = whole.astype(values.dtype.newbyteorder(">"))
    view = whole[tuple(slice(3, 3 + n * step, step) for n, step in zip(values.shape, steps))]
    view = view[tuple(slice(n) for n in values.shape)]
    for axis in range(values.ndim):
        if rng.random() < 0.3:
            view = np.flip(view, axis)
    view[...] = values
    return view


class Guarded:
    """Memory whose end is followed by a page without access."""

    def __init__(self):
        self.memory = mmap.mmap(-1, (PAGES + 1) * PAGE)
        self.bytes = np.frombuffer(self.memory, np.uint8)
        address = self.bytes.ctypes.data + PAGES * PAGE
        assert LIBC.mprotect(address, PAGE, 0) == 0

    def array(self, count, dtype):
        size = count * np.dtype(dtype).itemsize
        assert size <= PAGES * PAGE
        return self.bytes[PAGES * PAGE - size : PAGES * PAGE].view(dtype)
