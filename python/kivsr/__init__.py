"""Features, noise suppression, models and codebooks of speech, on NumPy arrays.

Samples are one-dimensional arrays: int16 as it is, floats of -1 .. 1, which count times 32768. Features are float32
arrays [frames, width]. Work is done without the interpreter's lock.

>>> import kivsr, numpy as np
>>> y = 0.5 * np.sin(2 * np.pi * 440 * np.arange(16000) / 16000)
>>> kivsr.features(y, preset="mfcc").shape
(98, 13)
"""

from ._version import __version__
from ._backend import backend, native as _native
from ._features import FrontEnd, etsi_afe, fbank, features, log_mel, mfcc, postprocess
from ._recipe import Recipe, preset_names

Fault = _native.Fault
StatusError = _native.StatusError


__all__ = [
    "Fault", "FrontEnd", "Recipe", "StatusError", "backend", "etsi_afe", "fbank", "features", "log_mel", "mfcc",
    "postprocess", "preset_names",
]
