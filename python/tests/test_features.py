import pickle
import threading

import numpy as np
import pytest
from arrays import laid_out
from conftest import speech_like

import kivsr


def reference_mfcc(samples, ceps=13, filters=23, low=20.0, high=8000.0, window=400, shift=160, n_fft=512, rate=16000):
    """The preset mfcc by its definition, in double precision; samples in units of a 16-bit integer."""
    emphasised = np.append(samples[0], samples[1:] - 0.97 * samples[:-1])
    emphasised[0] = samples[0] * 1.0
    count = 1 + (samples.size - window) // shift
    frames = emphasised[np.arange(window) + shift * np.arange(count)[:, None]]
    frames = frames * (0.54 - 0.46 * np.cos(2 * np.pi * np.arange(window) / (window - 1)))
    power = np.abs(np.fft.rfft(frames, n_fft)) ** 2
    mel = lambda f: 1126.99402 * np.log1p(f / 700.0)
    edges = np.linspace(mel(low), mel(high), filters + 2)
    bins = mel(np.arange(n_fft // 2 + 1) * rate / n_fft)
    rise = (bins - edges[:-2, None]) / np.diff(edges)[:-1, None]
    fall = (edges[2:, None] - bins) / np.diff(edges)[1:, None]
    energies = power @ np.clip(np.minimum(rise, fall), 0, None).T
    logs = np.log(np.maximum(energies, 1.0))
    k, n = np.arange(ceps)[:, None], np.arange(filters)
    dct = np.sqrt(2.0 / filters) * np.cos(np.pi * k * (n + 0.5) / filters)
    dct[0] /= np.sqrt(2.0)
    return logs @ dct.T * (1 + 11 * np.sin(np.pi * np.arange(ceps) / 22))


def test_mfcc_is_its_definition(y):
    expected = reference_mfcc(y * 32768)
    rows = kivsr.features(y, preset="mfcc")
    assert rows.dtype == np.float32 and rows.shape == expected.shape and rows.flags.c_contiguous
    np.testing.assert_allclose(rows[1:], expected[1:], atol=2e-3)


def test_types_and_scales_give_the_same(y):
    whole = np.round(y * 32767).astype(np.int16)
    rows = kivsr.features(whole)
    for same in (whole / 32768, (whole / 32768).astype(np.float32), whole.astype(">i2")):
        assert np.array_equal(kivsr.features(same), rows)
    for same in (whole.astype(float), whole.astype(np.int32), whole.astype(np.int64)):
        assert np.array_equal(kivsr.features(same, scale=1), rows)
    assert np.array_equal(kivsr.features(whole.astype(np.int32) << 16, scale=1 / 65536), rows)
    assert not np.array_equal(kivsr.features(whole, scale=0.5), rows)
    half = (whole / 32768).astype(np.float16)
    assert np.array_equal(kivsr.features(half), kivsr.features(half.astype(np.float32)))


def test_random_layouts_and_lengths():
    rng = np.random.default_rng(7)
    for _ in range(150):
        size = int(rng.choice([1, 2, 159, 160, 399, 400, 401, 4095, 4096, 4097, rng.integers(1, 20000)]))
        values = (3000 * rng.standard_normal(size)).astype(np.int16)
        typed = values if rng.random() < 0.4 else (values / 32768).astype(rng.choice(["f4", "f8"]))
        preset = str(rng.choice(["mfcc", "sphinx", "etsi-afe", "sphinx-39"]))
        view = laid_out(typed, rng)
        before = view.copy()
        rows = kivsr.features(view, preset=preset)
        assert np.array_equal(rows, kivsr.features(values, preset=preset))
        assert np.array_equal(view, before) and rows.shape[1] == kivsr.Recipe.preset(preset).width


@pytest.mark.parametrize("preset", kivsr.preset_names())
def test_blocks_give_the_rows_of_the_whole(preset):
    rng = np.random.default_rng(3)
    front_end = kivsr.FrontEnd(preset)
    rate = front_end.recipe.sample_rate
    samples = speech_like(1.3, rate)
    expected = kivsr.features(samples, rate, preset)
    for _ in range(5):
        cuts = np.sort(rng.integers(0, samples.size + 1, rng.integers(0, 40)))
        rows = [front_end.push(block) for block in np.split(samples, cuts)]
        rows.append(front_end.finish())
        assert np.array_equal(np.concatenate(rows), expected)
    assert np.array_equal(front_end(samples), expected)


def test_faults_in_a_stream_leave_it_as_it_was(y):
    front_end = kivsr.FrontEnd("mfcc")
    rows = [front_end.push(y[:5000])]
    broken = y[5000:].copy()
    broken[9000] = np.nan
    with pytest.raises(ValueError, match="block: sample 9000 is not a finite number"):
        front_end.push(broken)
    with pytest.raises(ValueError, match="y: an utterance has begun"):
        front_end(y)
    rows += [front_end.push(y[5000:]), front_end.finish()]
    assert np.array_equal(np.concatenate(rows), kivsr.features(y, preset="mfcc"))
    front_end.push(y[:300])
    front_end.reset()
    assert np.array_equal(front_end(y), kivsr.features(y, preset="mfcc"))


@pytest.mark.parametrize("jobs", [0, 1, 2, 7])
def test_batches_come_in_order(jobs):
    recordings = [speech_like(0.1 + 0.1 * (k % 5), seed=k) for k in range(12)]
    results = kivsr.features(recordings, preset="sphinx-39", jobs=jobs)
    for recording, rows in zip(recordings, results, strict=True):
        assert np.array_equal(rows, kivsr.features(recording, preset="sphinx-39"))
    assert kivsr.features([], jobs=jobs) == []


def test_the_first_fault_of_a_batch_is_raised():
    recordings = [speech_like(0.2) for _ in range(20)]
    for bad in (3, 11, 17):
        recordings[bad] = recordings[bad].copy()
        recordings[bad][100] = np.inf
    for _ in range(10):
        with pytest.raises(ValueError, match=r"y\[3\]: sample 100"):
            kivsr.features(recordings, jobs=4)


def test_threads_share_a_front_end(y):
    front_end = kivsr.FrontEnd("mfcc")
    expected = kivsr.features(y, preset="mfcc")
    equal = []
    work = lambda: equal.extend(np.array_equal(front_end(y), expected) for _ in range(30))
    threads = [threading.Thread(target=work) for _ in range(4)]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    assert equal == [True] * 120


@pytest.mark.parametrize(
    "bad, kind, text",
    [
        (np.zeros((2, 100)), ValueError, r"y: one dimension .* \(2, 100\)"),
        (np.float64(1.0), ValueError, "y: one dimension"),
        (np.zeros(0), ValueError, "y: no samples"),
        (np.zeros(9, np.int32), TypeError, "y: dtype int32 .*scale="),
        (np.zeros(9, np.uint8), TypeError, "y: dtype uint8"),
        (np.zeros(9, complex), TypeError, "y: dtype complex128"),
        (np.zeros(9, bool), TypeError, "y: dtype bool"),
        (np.array(["a"]), TypeError, "y: dtype <U1"),
        (None, TypeError, "y: dtype object"),
        ("text", TypeError, "y: dtype"),
        (np.array([0, np.nan]), ValueError, "y: sample 1 is not a finite"),
        (np.array([0, 0, 1e38], np.float32), ValueError, "y: sample 2 is not a finite number in units"),
        ([np.zeros(400), np.zeros((3, 3))], ValueError, r"y\[1\]: one dimension"),
    ],
)
def test_arrays_that_cannot_be_used(bad, kind, text):
    with pytest.raises(kind, match=text):
        kivsr.features(bad)


@pytest.mark.parametrize(
    "options, kind, text",
    [
        ({"n_mfc": 13}, TypeError, "n_mfc: .*n_mfcc"),
        ({"quality": 1}, TypeError, "quality: no option"),
        ({"n_mfcc": 13, "cepstrum_count": 13}, TypeError, "given twice"),
        ({"filter_count": 0}, kivsr.Fault, "^filter_count=0: front end: the filters"),
        ({"shift": 1.5}, TypeError, "shift: 1.5 is not a whole number"),
        ({"shift": 2**40}, ValueError, "shift: .*out of range"),
        ({"energy": 1}, TypeError, "energy: 1 is neither"),
        ({"window": "square"}, ValueError, "window: 'square' is none of hamming"),
        ({"pre_emphasis": float("nan")}, ValueError, "pre_emphasis: nan"),
        ({"pre_emphasis": "a"}, TypeError, "pre_emphasis: 'a' is not a number"),
        ({"reference_cepstrum": 3}, TypeError, "reference_cepstrum: 3 is no sequence"),
        ({"preset": "nothing"}, kivsr.Fault, "no preset 'nothing'"),
        ({"preset": 3}, TypeError, "preset: 3"),
        ({"sample_rate": 0}, ValueError, "sample_rate: 0"),
        ({"sample_rate": 8000.5}, ValueError, "sample_rate: 8000.5"),
        ({"scale": float("inf")}, ValueError, "scale: not a finite"),
        ({"jobs": -1, "y": [np.zeros(400)]}, ValueError, "jobs: not negative"),
    ],
)
def test_options_that_cannot_be_used(options, kind, text):
    with pytest.raises(kind, match=text):
        kivsr.features(**{"y": np.zeros(1000), **options})


def test_recipes_are_values():
    recipe = kivsr.Recipe.preset("mfcc", n_mels=30, energy=np.True_, high_frequency=np.float32(7000))
    assert (recipe.filter_count, recipe.energy, recipe.high_frequency, recipe.window) == (30, True, 7000.0, "hamming")
    assert recipe == kivsr.Recipe.parse(recipe.text) == pickle.loads(pickle.dumps(recipe))
    assert hash(recipe) == hash(recipe.replace()) and recipe != recipe.replace(shift=80)
    assert recipe.differences(recipe.replace(shift=80)) == ["shift: 160, not 80"]
    assert recipe.columns[0] == "c0" and recipe.columns[-1] == "energy" and len(recipe.columns) == recipe.width
    assert set(recipe.as_dict()) == set(kivsr.Recipe.fields()) and "n_mels" not in kivsr.Recipe.fields()
    with pytest.raises(AttributeError, match="no field 'nothing'"):
        recipe.nothing
    with pytest.raises(ValueError, match="sample_rate: 8000, the recipe is for 16000"):
        kivsr.features(np.zeros(1000), 8000, recipe)


def test_lengths_follow_the_rate():
    recipe = kivsr.Recipe.preset("mfcc", 44100)
    assert (recipe.window_length, recipe.shift, recipe.fft_length, recipe.high_frequency) == (1103, 441, 2048, 8000.0)
    narrow = kivsr.Recipe.preset("mfcc", 8000, shift=100)
    assert (narrow.window_length, narrow.shift, narrow.high_frequency) == (200, 100, 4000.0)
    assert kivsr.etsi_afe(speech_like(sample_rate=8000), 8000).shape[1] == 15


def test_rows_through_the_stages_behind():
    rows = kivsr.features(speech_like())
    derived = kivsr.postprocess(rows, normalise="mean", dynamics="win1")
    np.testing.assert_allclose(derived[:, :13].mean(axis=0), 0, atol=1e-4)
    assert derived.shape == (len(rows), 39)
    same = kivsr.features(speech_like(), dynamics="win1", normalise="mean")
    np.testing.assert_allclose(derived, same, atol=1e-5)
    rng = np.random.default_rng(5)
    for _ in range(30):
        view = laid_out(rows[: rng.integers(1, len(rows))].astype(rng.choice(["f4", "f8"])), rng)
        expected = kivsr.postprocess(np.array(view, np.float32, order="C"), dynamics="win2")
        assert np.array_equal(kivsr.postprocess(view, dynamics="win2"), expected)
    for bad in (np.zeros(13), np.zeros((0, 13)), np.zeros((3, 0)), np.full((2, 2), np.nan), np.zeros((2, 2, 2))):
        with pytest.raises(ValueError, match="^rows: "):
            kivsr.postprocess(bad, dynamics="win2")
