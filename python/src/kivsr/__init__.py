"""Features, noise suppression, models and codebooks of speech, on NumPy arrays.

Samples are one-dimensional arrays: int16 as it is, floats of -1 .. 1, which count times 32768. Features are float32
arrays [frames, width]. Work is done without the interpreter's lock.

>>> import kivsr, numpy as np
>>> y = 0.5 * np.sin(2 * np.pi * 440 * np.arange(16000) / 16000)
>>> kivsr.features(y, preset="mfcc").shape
(98, 13)
"""

from . import _features, _files, _models, _recogniser, _signals
from ._backend import backend
from ._errors import Fault, StatusError
from ._features import *  # noqa: F403
from ._files import *  # noqa: F403
from ._models import *  # noqa: F403
from ._recipe import Recipe, preset_names
from ._recogniser import *  # noqa: F403
from ._signals import *  # noqa: F403
from ._version import __version__

__all__ = ["Fault", "Recipe", "StatusError", "__version__", "backend", "preset_names"]
__all__ += _features.__all__
__all__ += _files.__all__
__all__ += _models.__all__
__all__ += _recogniser.__all__
__all__ += _signals.__all__
for _module in (_features, _files, _models, _recogniser, _signals):
    for _name in _module.__all__:
        getattr(_module, _name).__module__ = "kivsr"
