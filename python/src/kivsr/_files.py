"""Files of audio and of features."""

from __future__ import annotations

import os
from typing import Any, Iterable, Iterator, Mapping, Sequence, Union

import numpy as np
from numpy.typing import ArrayLike

from ._backend import native
from ._batch import in_turn
from ._recipe import Recipe, make_recipe, whole_rate

__all__ = ["AudioReader", "load_features", "read_archive", "read_audio", "read_features", "read_recipe",
           "write_archive", "write_audio", "write_features"]

Path = Union[str, "os.PathLike[str]"]


def readable(file: Path) -> str:
    """The name; OSError for a file that is not there."""
    name = os.fspath(file)
    os.stat(name)
    return name


def _raw(raw_rate: int | None, big_endian: bool) -> Any:
    return native.RawFormat(0 if raw_rate is None else whole_rate(raw_rate, "raw_rate"), bool(big_endian))


def read_audio(
    file: Path,
    sample_rate: int | None = None,
    *,
    mono: bool = True,
    raw_rate: int | None = None,
    big_endian: bool = False,
) -> tuple[np.ndarray, int]:
    """Samples and sampling rate of an audio file: WAV, FLAC, whatever libsndfile reads, or 16-bit raw.

    Parameters
    ----------
    sample_rate : int, optional
        Resample to it; without it the rate is the file's.
    mono : bool
        The mean of the channels; False: float32 [channels, samples], at the file's rate.
    raw_rate, big_endian
        Of files without a header; names that end in .raw count as 16000 Hz.

    Returns
    -------
    (numpy.ndarray, int)
        float32 of -1 .. 1 and Hz.

    Examples
    --------
    >>> kivsr.write_audio("tone.wav", np.zeros(1600, np.int16), 16000)
    >>> y, rate = kivsr.read_audio("tone.wav")
    >>> y.shape, y.dtype, rate
    ((1600,), dtype('float32'), 16000)
    """
    raw = _raw(raw_rate, big_endian)
    if not mono:
        if sample_rate is not None:
            raise ValueError("sample_rate: channels that are kept apart are not resampled")
        return native.read_audio_channels(readable(file), raw)
    return native.read_audio(readable(file), 0 if sample_rate is None else whole_rate(sample_rate), raw)


class AudioReader:
    """The samples of an audio file in blocks, whose memory does not grow with the file; arguments of `read_audio`.

    >>> kivsr.write_audio("tone.wav", np.zeros(50000, np.int16), 16000)
    >>> sum(len(block) for block in kivsr.AudioReader("tone.wav", 8000))
    25000
    """

    def __init__(
        self, file: Path, sample_rate: int | None = None, *, raw_rate: int | None = None, big_endian: bool = False
    ) -> None:
        rate = 0 if sample_rate is None else whole_rate(sample_rate)
        self._blocks = native.AudioBlocks(readable(file), rate, _raw(raw_rate, big_endian))

    @property
    def sample_rate(self) -> int:
        """Of the blocks, Hz."""
        return self._blocks.sample_rate

    def __iter__(self) -> Iterator[np.ndarray]:
        return self._blocks


def write_audio(
    file: Path, y: ArrayLike, sample_rate: int, *, sample_format: str = "pcm16", scale: float | None = None
) -> None:
    """Writes samples, [samples] or [channels, samples], to a name that ends in .wav or .flac.

    sample_format is pcm16, pcm24 or float. Samples beyond the range are clipped. The file appears when it is complete.

    >>> kivsr.write_audio("two.flac", np.zeros((2, 800)), 8000)
    >>> kivsr.read_audio("two.flac", mono=False)[0].shape
    (2, 800)
    """
    array = np.asarray(y)
    if array.ndim not in (1, 2) or array.size == 0:
        raise ValueError(f"y: [samples] or [channels, samples] is wanted, the shape is {array.shape}")
    channels = [array] if array.ndim == 1 else list(array)
    native.write_audio(os.fspath(file), channels, whole_rate(sample_rate), sample_format, scale)


def read_features(file: Path, width: int = 13) -> np.ndarray:
    """Rows of a feature file, float32 [frames, width]: .npy, .htk, .mfc, .csv, .arff or .mat (Kaldi's).

    "FILE:BYTE" is a place in an archive, as its list names it, and "[FIRST:LAST]" behind a name of either some of its
    rows. width is that of .mfc files, which do not tell theirs.

    >>> kivsr.write_features("rows.htk", np.ones((5, 3)))
    >>> kivsr.read_features("rows.htk").shape
    (5, 3)
    """
    os.stat(native.file_of(os.fspath(file)))
    return native.read_features(os.fspath(file), width)


def write_features(
    file: Path,
    rows: ArrayLike,
    recipe: Recipe | None = None,
    *,
    format: str | None = None,
    checksum: bool = False,
) -> None:
    """Writes rows to a feature file of the format that the name ends in: .npy, .htk, .mfc, .csv, .arff or .mat.

    Parameters
    ----------
    recipe : Recipe, optional
        What the rows are, for the formats that say so; without it unnamed columns every 10 ms.
    format : str, optional
        npy, htk, mfc, csv, opensmile (a .csv with semicolons), arff or mat, whatever the name ends in.
    checksum : bool
        Behind the values of an HTK file.

    Examples
    --------
    >>> recipe = kivsr.Recipe.preset("mfcc")
    >>> kivsr.write_features("rows.csv", kivsr.features(np.zeros(16000), preset=recipe), recipe)
    >>> open("rows.csv").readline()[:16]
    'time_s,c0,c1,c2,'
    """
    native.write_features(os.fspath(file), rows, recipe, format, bool(checksum))


def read_archive(archive: Path) -> Iterator[tuple[str, Any]]:
    """The entries of a Kaldi archive in turn, (key, array); "ark:FILE", "scp:FILE", or a name in .ark or .scp.

    Matrices are [frames, width], vectors of one dimension; float64 where doubles are kept, else float32, compressed
    ones too. An entry that is sound is (samples, sampling rate), as of `read_audio`. Commands in a list are not run.

    >>> kivsr.write_archive("ark,scp:a.ark,a.scp", {"one": np.ones((5, 3), np.float32), "two": np.zeros((4, 3))})
    >>> for key, rows in kivsr.read_archive("a.scp"):
    ...     print(key, rows.shape, rows.dtype)
    one (5, 3) float32
    two (4, 3) float64
    """
    places = native.archive_places(os.fspath(archive))
    return ((key, native.read_entry(name)) for key, name in places)


def write_archive(archive: Path, entries: Mapping[str, ArrayLike] | Iterable[tuple[str, ArrayLike]]) -> None:
    """Writes arrays [frames, width] to a Kaldi archive, and its list: "ark:FILE", "ark,t:FILE" (text), "ark,scp:FILE,LIST".

    entries: a mapping or pairs, which are taken one at a time. float64 stays so, other types become float32. The
    files appear when all is written.

    >>> kivsr.write_archive("ark,t:text.ark", [("key", [[1, 2], [3, 4]])])
    >>> print(open("text.ark").read(), end="")
    key  [
      1 2
      3 4 ]
    """
    output = native.ArchiveOutput(os.fspath(archive))
    for key, rows in entries.items() if isinstance(entries, Mapping) else entries:
        output.append(key, rows)
    output.commit()


def load_features(
    files: Path | Sequence[Path],
    preset: str | Recipe = "kaldi-mfcc",
    *,
    jobs: int = 1,
    raw_rate: int | None = None,
    big_endian: bool = False,
    **options: Any,
) -> Any:
    """Features of an audio file, or of a list of files on threads, resampled to the recipe's rate.

    Memory is that of the rows, whatever the length of the audio. A feature file holds rows of the recipe's front end.

    >>> kivsr.write_audio("tone.wav", np.zeros(16000, np.int16), 16000)
    >>> kivsr.load_features("tone.wav", "mfcc", dynamics="win2").shape
    (98, 39)
    """
    raw = _raw(raw_rate, big_endian)
    recipe = make_recipe(preset, options.pop("sample_rate", None), options)
    if isinstance(files, (str, os.PathLike)):
        return native.load_features(readable(files), recipe, raw)
    return in_turn(lambda file, _: native.load_features(readable(file), recipe, raw), list(files), jobs, "files")


def read_recipe(file: Path) -> Recipe:
    """The recipe of a file: its text, or the feat.params of a Sphinx model.

    >>> _ = open("mine.recipe", "w").write(kivsr.Recipe.preset("mfcc").text)
    >>> kivsr.read_recipe("mine.recipe") == kivsr.Recipe.preset("mfcc")
    True
    """
    name = readable(file)
    with open(name, encoding="utf-8", errors="replace") as stream:
        text = stream.read()
    return Recipe.parse(text) if text.startswith("kivsr-recipe") else native.model_recipe(name)
