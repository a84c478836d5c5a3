"""Chooses the build of the native code that this machine can run.

The environment variable KIVSR_BACKEND, ``baseline`` or ``avx2``, chooses instead.
"""

import importlib
import os
from pathlib import Path

from . import _processor

__all__ = ["backend", "native"]


def _choice() -> str:
    wanted = os.environ.get("KIVSR_BACKEND", "")
    if wanted not in ("", "baseline", "avx2"):
        raise ImportError(f"KIVSR_BACKEND: {wanted!r} is neither baseline nor avx2")
    if wanted == "avx2" and not _processor.has_avx2():
        raise ImportError("KIVSR_BACKEND: this processor cannot run avx2")
    if wanted:
        return wanted
    built = (Path(__file__).parent / "avx2").is_dir()
    return "avx2" if built and _processor.has_avx2() else "baseline"


backend: str = _choice()
native = importlib.import_module(f"kivsr.{backend}._native")
