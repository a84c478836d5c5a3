"""Arrays of the same values that lie differently in memory, with numbers around them that would be noticed."""

import numpy as np

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
