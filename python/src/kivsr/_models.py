"""Mixtures of Gaussians and codebooks: trained from rows of features."""

from __future__ import annotations

import os
from typing import Any, Sequence

import numpy as np
from numpy.typing import ArrayLike

from ._backend import native
from ._batch import is_batch
from ._files import Path, readable
from ._recipe import Recipe

__all__ = ["Codebook", "Mixture", "train_codebook", "train_mixture"]


def _recipe_of(rows: Any, recipe: Recipe | None, name: str = "rows") -> Recipe:
    """The recipe of rows, which without one are features as they are."""
    if recipe is not None:
        return recipe
    if np.ndim(rows) != 2 or np.shape(rows)[1] < 1:
        raise ValueError(f"{name}: rows are wanted, [frames, width], the shape is {np.shape(rows)}")
    return Recipe.of_features(int(np.shape(rows)[1]))


class Mixture:
    """A mixture of Gaussians of diagonal covariance.

    Parameters
    ----------
    weights : array, [components]
        Probabilities.
    means, variances : array, [components, width]

    Examples
    --------
    >>> mixture = kivsr.Mixture([1.0], [[0.0, 0.0]], [[1.0, 1.0]])
    >>> mixture.score_samples([[0.0, 0.0]])
    array([-1.83787707])
    """

    history: list[float]
    """Mean log likelihood of a frame before each pass of the training."""

    def __init__(self, weights: ArrayLike, means: ArrayLike, variances: ArrayLike) -> None:
        self._mixture = native.Mixture(np.asarray(weights), means, variances)
        self.history = []

    @classmethod
    def _of(cls, mixture: Any, history: Sequence[float] = ()) -> Mixture:
        result = cls.__new__(cls)
        result._mixture, result.history = mixture, list(history)
        return result

    @classmethod
    def read(cls, file: Path) -> Mixture:
        """A mixture that `write`, or the command `kivsr train --mixture`, has written."""
        return cls._of(native.Mixture.read(readable(file)))

    def write(self, file: Path) -> None:
        """Writes a file that `read` and the commands read."""
        self._mixture.write(os.fspath(file))

    def score_samples(self, rows: ArrayLike) -> np.ndarray:
        """Log likelihood of each frame, float64 [frames], computed in double precision."""
        return self._mixture.score_samples(rows)

    def score(self, rows: ArrayLike) -> float:
        """Their mean."""
        return float(self._mixture.score_samples(rows).mean())

    def predict_proba(self, rows: ArrayLike) -> np.ndarray:
        """Shares of the components in each frame, float64 [frames, components], which add up to 1."""
        return self._mixture.shares(rows)

    weights = property(lambda self: self._mixture.weights, doc="float32 [components]")
    means = property(lambda self: self._mixture.means, doc="float32 [components, width]")
    variances = property(lambda self: self._mixture.variances, doc="float32 [components, width]")
    recipe = property(lambda self: self._mixture.recipe, doc="Of the rows that it was trained from.")
    width = property(lambda self: self._mixture.width, doc="Values of a row.")

    def __repr__(self) -> str:
        return f"<kivsr.Mixture of {len(self.weights)} components, {self.width} values>"


def train_mixture(
    rows: Any,
    components: int = 16,
    *,
    iterations: int = 6,
    recipe: Recipe | None = None,
    **settings: Any,
) -> Mixture:
    """A mixture of Gaussians of greatest likelihood, by splitting and re-estimation.

    Parameters
    ----------
    rows : array, [frames, width], or list of arrays
    components : int
        Gaussians; fewer where the frames do not give so many.
    iterations : int
        Passes for each number of components, which doubles from `start_components` on.
    recipe : Recipe, optional
        Of the rows, kept in the mixture.
    **settings
        start_components, variance_floor, variance_floor_share, weight_floor, least_occupation, split_distance,
        random_start, seed.

    Examples
    --------
    >>> rng = np.random.default_rng(1)
    >>> rows = np.concatenate([rng.normal(-3, 1, (500, 2)), rng.normal(3, 1, (500, 2))])
    >>> mixture = kivsr.train_mixture(rows, 2)
    >>> np.abs(np.sort(mixture.means[:, 0]).round()).tolist()
    [3.0, 3.0]
    """
    known = ("start_components", "random_start", "seed", "variance_floor", "variance_floor_share", "variance_prior",
             "weight_floor", "least_occupation", "split_distance")
    for name in settings:
        if name not in known:
            raise TypeError(f"{name}: no setting of the training (there are {', '.join(known)})")
    batch = list(rows) if is_batch(rows) and np.ndim(rows[0]) == 2 else [rows]
    given = native.TrainingSettings({**settings, "components": components, "iterations": iterations})
    return Mixture._of(*native.train_mixture(batch, _recipe_of(batch[0], recipe), given))


class Codebook:
    """Codebooks of groups of columns, which turn rows of features into a few bits and back.

    >>> rows = np.random.default_rng(1).standard_normal((2000, 3))
    >>> book = kivsr.train_codebook(rows, "0:4,1-2:6")
    >>> bits = book.encode(rows)
    >>> book.row_bits, bits.nbytes, book.decode(bits, 2000).shape
    (10, 2500, (2000, 3))
    """

    def __init__(self, book: Any) -> None:
        self._book = book

    @classmethod
    def read(cls, file: Path) -> Codebook:
        """Codebooks that `write`, or the command `kivsr quantise train`, has written."""
        return cls(native.Codebook.read(readable(file)))

    def write(self, file: Path) -> None:
        """Writes a file that `read` and the commands read."""
        self._book.write(os.fspath(file))

    def encode(self, rows: ArrayLike) -> np.ndarray:
        """Packed bits, uint8: row r from bit r row_bits on, the most significant bit of a byte first."""
        return self._book.encode(rows)

    def decode(self, bits: ArrayLike, frames: int) -> np.ndarray:
        """Rows of packed bits, float32 [frames, width]."""
        return self._book.decode(bits, frames)

    def write_stream(self, file: Path, bits: ArrayLike, frames: int) -> None:
        """Writes packed bits to a file that names these codebooks."""
        self._book.write_stream(os.fspath(file), bits, frames)

    def read_stream(self, file: Path) -> tuple[np.ndarray, int]:
        """Packed bits and frames of a file that was written with these codebooks."""
        return self._book.read_stream(readable(file))

    groups = property(lambda self: self._book.groups, doc="(columns, codewords [count, columns]) of each group.")
    recipe = property(lambda self: self._book.recipe, doc="Of the rows that they were trained from.")
    width = property(lambda self: self._book.width, doc="Values of a row.")
    row_bits = property(lambda self: self._book.row_bits, doc="Bits of a row.")
    bits_per_second = property(lambda self: self._book.bits_per_second, doc="Bits of a second's rows.")

    def __repr__(self) -> str:
        return f"<kivsr.Codebook of {len(self.groups)} groups, {self.width} values in {self.row_bits} bits>"


def train_codebook(
    rows: ArrayLike,
    split: str = "",
    *,
    weights: ArrayLike | str | None = None,
    rule: str = "widest",
    recipe: Recipe | None = None,
) -> Codebook:
    """Codebooks for rows of features.

    Parameters
    ----------
    rows : array, [frames, width]
    split : str
        Groups of columns and the bits of each: "0:6,1-2:7,3+5:7". Without it pairs of 7 bits, of an odd number the
        first column alone with 6.
    weights : array [width] or 'variance', optional
        Of the columns in the distance; 'variance': its inverse.
    rule : {'widest', 'largest', 'k-means'}
        The cluster that is split next, or one k-means of all codewords.
    recipe : Recipe, optional
        Of the rows, kept in the codebooks.

    Examples
    --------
    >>> rows = np.random.default_rng(1).standard_normal((500, 2))
    >>> book = kivsr.train_codebook(rows, "0-1:5")
    >>> error = rows - book.decode(book.encode(rows), 500)
    >>> bool((error ** 2).mean() < 0.1)
    True
    """
    return Codebook(native.train_codebook(rows, split, weights, rule, _recipe_of(rows, recipe)))
