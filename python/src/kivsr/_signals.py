"""Signals to signals, and what there is in them: enhancement, resampling, voice activity, pitch."""

from __future__ import annotations

from typing import Any

import numpy as np
from numpy.typing import ArrayLike

from ._backend import native
from ._batch import in_turn, is_batch
from ._recipe import whole_rate

__all__ = ["Enhancer", "PitchTracker", "Resampler", "VoiceDetector", "enhance", "enhancement_methods", "pitch",
           "resample", "speech_frames", "vad"]


def enhancement_methods() -> list[str]:
    """Names of the ways to suppress noise.

    >>> kivsr.enhancement_methods()
    ['mcra-wiener', 'mcra-emns', 'aurora']
    """
    return native.enhancement_methods()


class _Stream:
    """Blocks to results: `push`, `finish`, or a whole signal by a call. Threads may share one; calls take turns."""

    def __init__(self, stream: Any) -> None:
        self._stream = stream
        # Bound here so that a call goes to the native method straight.
        self.push = stream.push
        self.finish = stream.finish

    def __call__(self, y: ArrayLike) -> Any:
        """The result of a whole signal; none must have begun."""
        return self._stream.whole(y)


class Enhancer(_Stream):
    """Noise suppression of a signal in blocks, as it comes: as many samples out as in, up to `delay` later.

    >>> y = np.random.default_rng(1).standard_normal(16000) / 100
    >>> enhancer = kivsr.Enhancer("mcra-wiener", 16000)
    >>> blocks = [enhancer.push(block) for block in np.split(y, 10)] + [enhancer.finish()]
    >>> np.array_equal(np.concatenate(blocks), kivsr.enhance(y))
    True
    """

    def __init__(self, method: str = "mcra-wiener", sample_rate: int = 16000, *, scale: float | None = None) -> None:
        super().__init__(native.Enhancer(method, whole_rate(sample_rate), scale))

    @property
    def delay(self) -> int:
        """Samples that may be outstanding after a push."""
        return self._stream.delay


class Resampler(_Stream):
    """Another sampling rate for a signal in blocks, as it comes.

    >>> resampler = kivsr.Resampler(44100, 16000)
    >>> sum(len(resampler.push(np.zeros(441))) for _ in range(100)) + len(resampler.finish())
    16000
    """

    def __init__(self, from_rate: int, to_rate: int, *, scale: float | None = None) -> None:
        rates = whole_rate(from_rate, "from_rate"), whole_rate(to_rate, "to_rate")
        super().__init__(native.Resampler(*rates, scale))


class VoiceDetector(_Stream):
    """Voice activity of a signal in blocks, as it comes: push and finish give (segments, frames) that are complete.

    >>> detector = kivsr.VoiceDetector(16000)
    >>> segments, frames = detector(np.zeros(16000))
    >>> segments.shape, frames.shape, frames.any()
    ((0, 2), (100,), False)
    """

    def __init__(
        self,
        sample_rate: int = 16000,
        *,
        arithmetic: str = "float",
        minimum_pause: float = 0.2,
        minimum_speech: float = 0.1,
        trim: float = 30.0,
        margin: float = 0.1,
        scale: float | None = None,
    ) -> None:
        if arithmetic not in ("float", "16s"):
            raise ValueError(f"arithmetic: {arithmetic!r} is none of float, 16s")
        rules = native.SegmentRules()
        given = dict(minimum_pause=minimum_pause, minimum_speech=minimum_speech, trim=trim, margin=margin)
        for name, value in given.items():
            setattr(rules, name, _number(name, value, 0.0, 1e9))
        super().__init__(native.VoiceDetector(whole_rate(sample_rate), arithmetic == "16s", rules, scale))


class PitchTracker(_Stream):
    """Pitch of a signal in blocks, as it comes; rows of `pitch`, up to 0.6 s later.

    >>> t = np.arange(16000) / 16000
    >>> tracker = kivsr.PitchTracker(16000)
    >>> rows = np.concatenate([tracker.push(np.sin(2 * np.pi * 200 * t)), tracker.finish()])
    >>> rows.shape, round(float(rows[50, 0]))
    ((100, 3), 200)
    """

    def __init__(
        self,
        sample_rate: int = 16000,
        *,
        shift: float = 0.01,
        low: float = 60.0,
        high: float = 500.0,
        scale: float | None = None,
        **costs: float,
    ) -> None:
        parameters = native.PitchParameters()
        parameters.low_frequency = _number("low", low, 0.0, 1e9)
        parameters.high_frequency = _number("high", high, 0.0, 1e9)
        known = ["voicing_threshold", "silence_threshold", "octave_cost", "jump_cost", "transition_cost"]
        for name, value in costs.items():
            if name not in known:
                raise TypeError(f"{name}: no option of the pitch tracker (there are {', '.join(known)})")
            setattr(parameters, name, _number(name, value, 0.0, 10.0))
        seconds = _number("shift", shift, 0.0, 10.0)
        super().__init__(native.PitchTracker(parameters, whole_rate(sample_rate), seconds, scale))


def _number(name: str, value: Any, least: float, most: float) -> float:
    try:
        number = float(value)
    except (TypeError, ValueError):
        raise TypeError(f"{name}: {value!r} is not a number") from None
    if not least <= number <= most:
        raise ValueError(f"{name}: {value!r} is not between {least:g} and {most:g}")
    return number


def _apply(make: Any, y: Any, jobs: int) -> Any:
    """A stream of its own for every signal of a list; of one signal its result."""
    if is_batch(y):
        return in_turn(lambda signal, name: make()._stream.whole(signal, name), y, jobs)
    return make()(y)


def enhance(
    y: Any, sample_rate: int = 16000, method: str = "mcra-wiener", *, scale: float | None = None, jobs: int = 1
) -> Any:
    """Speech with less noise, in the type and the unit of the samples (float64 gives float32).

    Parameters
    ----------
    y : array of samples, or list of arrays
        int16 or floats of -1 .. 1.
    method : str
        One of `enhancement_methods()`; aurora works at 8000 Hz.
    jobs : int
        Threads for a list; 0 for one a processor.

    Examples
    --------
    >>> y = np.random.default_rng(1).standard_normal(16000) / 100
    >>> quiet = kivsr.enhance(y)
    >>> quiet.shape, bool(quiet.std() < 0.3 * y.std())
    ((16000,), True)
    >>> kivsr.enhance(np.zeros(800, np.int16), 8000, "aurora").dtype
    dtype('int16')
    """
    return _apply(lambda: Enhancer(method, sample_rate, scale=scale), y, jobs)


def resample(y: Any, from_rate: int, to_rate: int, *, scale: float | None = None, jobs: int = 1) -> Any:
    """The signal at another sampling rate, in the type and the unit of the samples (float64 gives float32).

    Sample n stands at n / to_rate seconds; there are ceil(len(y) to_rate / from_rate) of them.

    >>> t = np.arange(4410) / 44100
    >>> slow = kivsr.resample(np.sin(2 * np.pi * 440 * t), 44100, 16000)
    >>> bool(abs(slow[800] - np.sin(2 * np.pi * 440 * 0.05)) < 1e-5)
    True
    """
    return _apply(lambda: Resampler(from_rate, to_rate, scale=scale), y, jobs)


def vad(y: Any, sample_rate: int = 16000, *, jobs: int = 1, **rules: Any) -> Any:
    """Where somebody speaks: float64 [segments, 2], start and end in seconds.

    Parameters
    ----------
    arithmetic : {'float', '16s'}
        Form of the detector.
    minimum_pause, minimum_speech : float
        Shorter pauses are closed, shorter segments dropped; 0.2 and 0.1 s.
    trim, margin : float
        Frames this far (30 dB) below the loudest of their segment are cut but for those so close (0.1 s) to a louder
        one; 0: none are.

    Examples
    --------
    >>> kivsr.vad(np.zeros(16000)).shape
    (0, 2)
    """
    return _vad(y, sample_rate, jobs, rules, 0)


def speech_frames(y: Any, sample_rate: int = 16000, *, jobs: int = 1, **rules: Any) -> Any:
    """The detector's decisions that `vad` makes segments from: bool, one for each 10 ms.

    >>> kivsr.speech_frames(np.zeros(16000)).shape
    (100,)
    """
    return _vad(y, sample_rate, jobs, rules, 1)


def _vad(y: Any, sample_rate: int, jobs: int, rules: dict[str, Any], which: int) -> Any:
    result = _apply(lambda: VoiceDetector(sample_rate, **rules), y, jobs)
    return [pair[which] for pair in result] if isinstance(result, list) else result[which]


def pitch(y: Any, sample_rate: int = 16000, *, jobs: int = 1, **options: Any) -> Any:
    """Fundamental frequency and voicing: float32 [frames, 3], a row each 10 ms.

    The columns are f0 in Hz (0: unvoiced), the correlation of the frame with itself a period away, and the probability
    that it is voiced.

    Parameters
    ----------
    shift : float
        Seconds from frame to frame; frame t stands at t times it.
    low, high : float
        Hz, range of f0; 60 to 500.
    voicing_threshold, silence_threshold, octave_cost, jump_cost, transition_cost : float
        The guide of the command says what they are.

    Examples
    --------
    >>> t = np.arange(8000) / 16000
    >>> f0, correlation, probability = kivsr.pitch(np.sin(2 * np.pi * 150 * t), low=100).T
    >>> round(float(np.median(f0)))
    150
    """
    return _apply(lambda: PitchTracker(sample_rate, **options), y, jobs)
