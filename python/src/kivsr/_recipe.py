"""Recipes: everything that decides the features of an utterance."""

from __future__ import annotations

import difflib
from typing import Any

from ._backend import native

__all__ = ["Recipe", "make_recipe", "preset_names", "whole_rate"]

Recipe = native.Recipe

# What other packages call a field.
ALIASES = {
    "n_fft": "fft_length",
    "hop_length": "shift",
    "win_length": "window_length",
    "n_mels": "filter_count",
    "n_mfcc": "cepstrum_count",
    "fmin": "low_frequency",
    "fmax": "high_frequency",
    "preemphasis": "pre_emphasis",
}


def named_options(options: dict[str, Any]) -> dict[str, Any]:
    """Options by the names of fields; TypeError for a name that is none."""
    known = Recipe.fields()
    named: dict[str, Any] = {}
    for name, value in options.items():
        field = ALIASES.get(name, name)
        if field not in known:
            close = difflib.get_close_matches(name, [*known, *ALIASES], 3)
            hint = f" (do you mean {' or '.join(close)}?)" if close else " (kivsr.Recipe.fields() lists them)"
            raise TypeError(f"{name}: no option of a recipe{hint}")
        if field in named:
            raise TypeError(f"{name}: given twice, as {field} too")
        named[field] = value
    return named


def make_recipe(preset: Any, sample_rate: int | None, options: dict[str, Any]) -> Recipe:
    """The recipe of a preset's name, or a recipe, at a sampling rate, with options."""
    if isinstance(preset, Recipe):
        if sample_rate is not None and sample_rate != preset.sample_rate:
            raise ValueError(f"sample_rate: {sample_rate}, the recipe is for {preset.sample_rate} Hz")
        return preset._with(named_options(options)) if options else preset
    if not isinstance(preset, str):
        raise TypeError(f"preset: {preset!r} is neither a name nor a Recipe")
    rate = 0 if sample_rate is None else whole_rate(sample_rate)
    return native.Recipe._make(preset, rate, named_options(options) if options else {})


def whole_rate(sample_rate: Any, name: str = "sample_rate") -> int:
    """A sampling rate as an int; ValueError with the argument's name for what is none."""
    try:
        rate = int(sample_rate)
    except (TypeError, ValueError, OverflowError):
        rate = 0
    if isinstance(sample_rate, str) or rate != sample_rate or not 0 < rate < 2**31:
        raise ValueError(f"{name}: {sample_rate!r} is not a whole number of Hz above 0")
    return rate


def _preset(preset: str = "kaldi-mfcc", sample_rate: int | None = None, **options: Any) -> Recipe:
    """The recipe of a preset, at another sampling rate and with options if they are given.

    >>> kivsr.Recipe.preset("mfcc", 8000, filter_count=20).window_length
    200
    """
    return make_recipe(preset, sample_rate, options)


def _replace(self: Recipe, **options: Any) -> Recipe:
    """The same recipe but for the options.

    >>> kivsr.Recipe.preset("mfcc").replace(energy=True).width
    14
    """
    return self._with(named_options(options))


def preset_names() -> list[str]:
    """Names of the recipes that are built in.

    >>> "mfcc" in kivsr.preset_names()
    True
    """
    return native.preset_names()


Recipe.__module__ = "kivsr"
Recipe.__doc__ = """Everything that decides the rows of features that come of an utterance.

A value: compared, hashed, printed, pickled and stored in models. Its fields are attributes; `fields()` explains them.

>>> recipe = kivsr.Recipe.preset("mfcc", cepstrum_count=20)
>>> recipe.window_length, recipe.width
(400, 20)
>>> recipe == kivsr.Recipe.parse(recipe.text)
True
"""
Recipe.preset = staticmethod(_preset)
Recipe.replace = _replace
