"""Arrays that end, or begin, where memory does: a read outside them ends the process."""

import numpy as np
import pytest
from arrays import PAGE, PAGES, Guarded

import kivsr

RNG = np.random.default_rng(21)
BEFORE_END = Guarded()
MIXTURE = kivsr.Mixture([0.5, 0.5], RNG.standard_normal((2, 5)), np.ones((2, 5)))
BOOK = kivsr.train_codebook(RNG.standard_normal((300, 5)), "0:3,1-2:5,3-4:4")


def at_the_end(values):
    """The same values in a view of random step and direction whose last byte in memory is the last that there is."""
    step = int(RNG.integers(1, 4))
    rows = [int(n) for n in values.shape]
    rows[0] = (rows[0] - 1) * step + 1 if rows[0] else 0
    whole = BEFORE_END.array(int(np.prod(rows)), values.dtype).reshape(rows)
    view = whole[::step]
    if RNG.random() < 0.5:
        view = view[::-1]
    view[...] = values
    return view


def random_samples():
    size = int(RNG.choice([1, 2, 79, 80, 400, 401, 4096, 4097, RNG.integers(1, 8000)]))
    values = (3000 * RNG.standard_normal(size)).astype(np.int16)
    return values if RNG.random() < 0.5 else (values / 32768).astype(RNG.choice(["f4", "f8"]))


FUNCTIONS = {
    **{preset: lambda y, recipe=kivsr.Recipe.preset(preset): kivsr.features(y, recipe.sample_rate, recipe)
       for preset in kivsr.preset_names()},
    "enhance": kivsr.enhance,
    "aurora": lambda y: kivsr.enhance(y, 8000, "aurora"),
    "resample": lambda y: kivsr.resample(y, 16000, int(RNG.choice([8000, 11025, 44100]))),
    "pitch": kivsr.pitch,
    "vad": kivsr.vad,
    "push": lambda y: kivsr.FrontEnd("sphinx-39").push(y),
}


@pytest.mark.parametrize("name", FUNCTIONS)
def test_samples(name):
    for _ in range(12):
        y = random_samples()
        expected = FUNCTIONS[name](y) if name != "resample" else None
        result = FUNCTIONS[name](at_the_end(y))
        assert expected is None or np.array_equal(result, expected)


def test_rows():
    for _ in range(200):
        rows = RNG.standard_normal((int(RNG.integers(1, 60)), 5)).astype(RNG.choice(["f4", "f8"]))
        view = at_the_end(rows)
        assert np.array_equal(MIXTURE.score_samples(view), MIXTURE.score_samples(rows))
        bits = BOOK.encode(view)
        assert np.array_equal(bits, BOOK.encode(rows))
        assert BOOK.decode(at_the_end(bits), len(rows)).shape == rows.shape
        assert kivsr.postprocess(at_the_end(rows), dynamics="win2").shape == (len(rows), 15)


def test_results_stay_when_what_made_them_is_gone():
    y = 0.1 * RNG.standard_normal(16000)
    expected = kivsr.features(y)
    kept = [kivsr.FrontEnd()(y) for _ in range(50)]
    mixture = kivsr.train_mixture(expected, 2)
    means = mixture.means
    del mixture
    assert all(np.array_equal(rows, expected) for rows in kept) and np.isfinite(means).all()
    kept[0][...] = 0
    assert np.array_equal(kept[1], expected) and kept[0].flags.owndata is False and kept[0].flags.writeable


def test_the_guard_is_there():
    assert BEFORE_END.array(4, np.int16).ctypes.data + 8 == BEFORE_END.bytes.ctypes.data + PAGES * PAGE
