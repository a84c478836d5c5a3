"""Calls the C functions with arrays of exactly the length that kivsr.raw asks for, each before a page that cannot be
touched: guarded_calls.py SEED. Prints each function before it is called; a crash ends the process."""

import sys

import numpy as np
from arrays import Guarded

from kivsr import raw


def checked(name):
    """Whether every pointer of a function is one to elements of a known length."""
    kinds = [(kind, shape) for _, kind, shape in raw.FUNCTIONS[name][1] if "*" in kind]
    return kinds and all(shape is not None for _, shape in kinds)


def fill(array, rng):
    if array.dtype.kind in "fc":
        array[...] = rng.uniform(0.1, 2, array.size)
    elif array.dtype.fields is None:
        array[...] = rng.integers(0, 3, array.size)
    else:
        array[...] = 1


def value_of(name, kind, rng, sizes):
    if kind in ("Kiv32f", "Kiv64f"):
        return float(rng.uniform(0, 2))
    if name.lower().endswith("step"):
        longest = max([size for other, size in sizes.items() if not other.lower().endswith("step")] + [1])
        return int(longest + rng.integers(0, 3)) if rng.random() < 0.8 else int(rng.integers(0, 12))
    if "scale" in name.lower():
        return int(rng.integers(-3, 4))
    least = 0 if "u" in kind or kind == "size_t" else -1
    return int(rng.integers(1, 12) if rng.random() < 0.9 else rng.integers(least, 40))


def call(name, rng, guarded):
    _, parameters, _ = raw.FUNCTIONS[name]
    sizes = {}
    for steps in (False, True):  # steps fit the lengths most of the time
        for parameter, kind, _ in parameters:
            if "*" not in kind and parameter.lower().endswith("step") == steps:
                sizes[parameter] = value_of(parameter, kind, rng, sizes)
    arguments, used = [], iter(guarded)
    for parameter, kind, shape in parameters:
        if "*" not in kind:
            arguments.append(sizes[parameter])
            continue
        pointer = raw._Pointer(name, parameter, kind, shape)
        try:
            counts = [max(0, eval(count, {}, sizes)) for count in pointer.counts]
        except ZeroDivisionError:
            return None
        dtype = raw.DTYPES[pointer.element]
        if len(counts) == 1:
            arguments.append(next(used).array(counts[0], dtype))
            fill(arguments[-1], rng)
        else:
            rows = [next(used).array(counts[1], dtype) for _ in range(min(counts[0], 12))]
            for row in rows:
                fill(row, rng)
            if len(rows) < counts[0]:
                return None
            arguments.append(rows)
    print(name, flush=True)
    try:
        return getattr(raw, name)(*arguments)
    except raw.StatusError as error:
        return error.status


def main(seed):
    rng = np.random.default_rng(seed)
    guarded = [Guarded() for _ in range(60)]
    names = [name for name in raw.functions() if checked(name)]
    succeeded = set()
    for _ in range(25):
        for name in names:
            status = call(name, rng, guarded)
            if status is not None and status >= 0:
                succeeded.add(name)
    print(len(names), len(succeeded))


if __name__ == "__main__":
    main(int(sys.argv[1]))
