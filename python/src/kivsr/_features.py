"""Features of arrays, whole and in blocks."""

from __future__ import annotations

from typing import Any

import numpy as np
from numpy.typing import ArrayLike

from ._backend import native
from ._batch import is_batch
from ._recipe import Recipe, make_recipe

__all__ = ["FrontEnd", "etsi_afe", "fbank", "features", "log_mel", "mfcc", "postprocess"]

Rows = np.ndarray


def features(
    y: ArrayLike | list[np.ndarray],
    sample_rate: int = 16000,
    preset: str | Recipe = "kaldi-mfcc",
    *,
    scale: float | None = None,
    jobs: int = 1,
    **options: Any,
) -> Rows | list[Rows]:
    """Rows of features of a recording.

    Parameters
    ----------
    y : array of samples, or list of arrays
        One dimension, int16 or floats of -1 .. 1, of any strides. A list gives a list of results in its order.
    sample_rate : int
        Of the samples, Hz. Lengths of the preset that are counted in samples follow it.
    preset : str or Recipe
        The recipe to start from; `kivsr.preset_names()`.
    scale : float, optional
        Factor to units of a 16-bit integer: 1 for int16 and 32768 for floats where it is not given.
    jobs : int
        Threads for a list; 0 for one a processor. The results are the same bits for any number.
    **options
        Fields of the recipe by name (`kivsr.Recipe.fields()`), also as n_fft, hop_length, win_length, n_mels, n_mfcc,
        fmin, fmax.

    Returns
    -------
    numpy.ndarray
        float32, [frames, width]; of a list, a list of them.

    Raises
    ------
    TypeError, ValueError
        For an argument that cannot be used, which the text names; `kivsr.Fault` is a ValueError.

    Examples
    --------
    >>> y = np.random.default_rng(1).standard_normal(16000) / 10
    >>> kivsr.features(y, preset="mfcc", cepstrum_count=20).shape
    (98, 20)
    >>> [rows.shape for rows in kivsr.features([y, y[:8000]], jobs=2)]
    [(98, 13), (48, 13)]
    >>> kivsr.features(y, filter_count=0)
    Traceback (most recent call last):
    kivsr.Fault: filter_count=0: front end: the filters must be at least one and at most half the FFT length, or 4096
    """
    recipe = make_recipe(preset, sample_rate, options)
    if is_batch(y):
        return native.features_batch(y, recipe, scale, jobs)
    return native.features(y, recipe, scale)


def mfcc(
    y: Any, sample_rate: int = 16000, n_mfcc: int = 13, preset: str | Recipe = "kaldi-mfcc", **options: Any
) -> Any:
    """Mel-frequency cepstra: `features` with the number of cepstra, c0 counted.

    >>> kivsr.mfcc(np.zeros(16000, np.int16), n_mfcc=20).shape
    (98, 20)
    """
    return features(y, sample_rate, preset, n_mfcc=n_mfcc, **options)


def fbank(
    y: Any, sample_rate: int = 16000, n_mels: int = 23, preset: str | Recipe = "kaldi-fbank", **options: Any
) -> Any:
    """Log energies of a mel filter bank: `features` without the cosine transform.

    >>> kivsr.fbank(np.zeros(16000, np.int16), n_mels=40).shape
    (98, 40)
    """
    return features(y, sample_rate, preset, n_mels=n_mels, output_kind="log-mel", **options)


def log_mel(
    y: Any, sample_rate: int = 16000, n_mels: int = 80, preset: str | Recipe = "kaldi-fbank", **options: Any
) -> Any:
    """Log mel spectrogram: `fbank` with the 80 bands that neural networks are usually given.

    >>> kivsr.log_mel(np.zeros(16000, np.int16)).shape
    (98, 80)
    >>> kivsr.log_mel(np.zeros(16000, np.int16), preset="whisper").shape
    (100, 80)
    """
    return fbank(y, sample_rate, n_mels, preset, **options)


def etsi_afe(y: Any, sample_rate: int = 16000, *, scale: float | None = None, jobs: int = 1, **options: Any) -> Any:
    """The advanced front end of ETSI ES 202 050, at 8000 or 16000 Hz: c1 .. c12, c0, log energy, speech or not.

    >>> kivsr.etsi_afe(np.random.default_rng(1).standard_normal(16000) / 10).shape
    (94, 15)
    """
    return features(y, sample_rate, "etsi-afe", scale=scale, jobs=jobs, **options)


def postprocess(rows: ArrayLike, **options: Any) -> Rows:
    """What follows the front end, on rows that are there already: normalisation, derivatives, equalisation.

    >>> rows = np.arange(40, dtype=np.float32).reshape(10, 4)
    >>> kivsr.postprocess(rows, normalise="mean", dynamics="win2").shape
    (10, 12)
    """
    width = np.shape(rows)[-1] if np.ndim(rows) == 2 else 1
    recipe = Recipe.of_features(max(int(width), 1)).replace(**options)
    return native.FrontEnd(recipe, None).whole_rows(rows)


class FrontEnd:
    """Features of a signal in blocks, as it comes.

    Parameters are those of `features`. The rows are the same bits however the signal is cut. What the recipe defines
    over the whole utterance comes with `finish` (`recipe.needs_whole_utterance` says what). Threads may share one;
    their calls take turns.

    >>> front_end = kivsr.FrontEnd("mfcc")
    >>> y = np.random.default_rng(1).standard_normal(16000) / 10
    >>> rows = [front_end.push(block) for block in np.split(y, 10)] + [front_end.finish()]
    >>> np.array_equal(np.concatenate(rows), front_end(y))
    True
    """

    def __init__(
        self,
        preset: str | Recipe = "kaldi-mfcc",
        sample_rate: int | None = None,
        *,
        scale: float | None = None,
        **options: Any,
    ) -> None:
        self._chain = native.FrontEnd(make_recipe(preset, sample_rate, options), scale)
        # Bound here so that a call goes to the native method straight.
        self.push = self._chain.push
        self.finish = self._chain.finish
        self.reset = self._chain.reset

    @property
    def recipe(self) -> Recipe:
        """What is computed."""
        return self._chain.recipe

    def __call__(self, y: ArrayLike) -> Rows:
        """The rows of a whole utterance; none must have begun."""
        return self._chain.whole(y)

    def push_rows(self, rows: ArrayLike) -> Rows:
        """The same from rows as the front end itself gives them."""
        return self._chain.push_rows(rows)

    def __repr__(self) -> str:
        return f"kivsr.FrontEnd({self.recipe!r})"
