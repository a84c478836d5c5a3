"""Lists of arrays, or of files, on threads."""

from __future__ import annotations

import os
from concurrent.futures import ThreadPoolExecutor
from typing import Any, Callable, Sequence

import numpy as np

__all__ = ["is_batch", "in_turn"]


def is_batch(y: Any) -> bool:
    """Whether an argument is a list of arrays, not one array."""
    return isinstance(y, (list, tuple)) and not (len(y) > 0 and np.ndim(y[0]) == 0)


def in_turn(act: Callable[[Any, str], Any], items: Sequence[Any], jobs: int, name: str = "y") -> list[Any]:
    """act(item, name of the item) of every item, on threads; the results, or the first fault, in the items' order."""
    if isinstance(jobs, bool) or int(jobs) != jobs or jobs < 0:
        raise ValueError("jobs: not negative, 0 for one a processor")
    names = [f"{name}[{i}]" for i in range(len(items))]
    threads = min(jobs or os.cpu_count() or 1, len(items))
    if threads <= 1:
        return [act(item, of) for item, of in zip(items, names)]
    with ThreadPoolExecutor(threads) as pool:
        results = [pool.submit(act, item, of) for item, of in zip(items, names)]
        try:
            return [result.result() for result in results]
        finally:
            for result in results:
                result.cancel()
