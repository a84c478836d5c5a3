import numpy as np
import pytest
from arrays import laid_out
from conftest import speech_like

import kivsr

STREAMS = {
    "enhance": (lambda: kivsr.Enhancer("mcra-wiener", 16000), kivsr.enhance),
    "resample": (lambda: kivsr.Resampler(16000, 11025), lambda y, **o: kivsr.resample(y, 16000, 11025, **o)),
    "pitch": (lambda: kivsr.PitchTracker(16000), kivsr.pitch),
    "vad": (lambda: kivsr.VoiceDetector(16000), None),
}


def joined(parts):
    if isinstance(parts[0], tuple):
        return [np.concatenate(column) for column in zip(*parts)]
    return [np.concatenate(parts)]


@pytest.mark.parametrize("name", STREAMS)
def test_blocks_give_the_result_of_the_whole(name):
    rng = np.random.default_rng(4)
    y = speech_like(1.5)
    make, whole = STREAMS[name]
    stream = make()
    expected = stream(y)
    expected = list(expected) if isinstance(expected, tuple) else [expected]
    for _ in range(4):
        cuts = np.sort(rng.integers(0, y.size + 1, rng.integers(0, 30)))
        parts = [stream.push(block) for block in np.split(y, cuts)] + [stream.finish()]
        for got, wanted in zip(joined(parts), expected, strict=True):
            assert np.array_equal(got, wanted)
    with pytest.raises(ValueError, match="block: sample 5 "):
        stream.push(np.where(np.arange(9) == 5, np.nan, 0))
    if whole:
        assert np.array_equal(whole(y), expected[0])
        for one in whole([y, y], jobs=2):
            assert np.array_equal(one, expected[0])
        with pytest.raises(ValueError, match=r"y\[1\]: no samples"):
            whole([y, y[:0]], jobs=2)


def test_random_layouts():
    rng = np.random.default_rng(8)
    for _ in range(80):
        values = (3000 * rng.standard_normal(int(rng.integers(1, 3000)))).astype(np.int16)
        typed = values if rng.random() < 0.5 else (values / 32768).astype(rng.choice(["f4", "f8"]))
        view = laid_out(typed, rng)
        to_rate = int(rng.choice([8000, 11025, 16000, 44100]))
        slow = kivsr.resample(view, 16000, to_rate)
        assert slow.size == -(-values.size * to_rate // 16000)
        assert np.array_equal(slow, kivsr.resample(typed, 16000, to_rate))
        assert np.array_equal(kivsr.enhance(view), kivsr.enhance(typed))
        assert np.array_equal(kivsr.pitch(view), kivsr.pitch(typed))
        assert kivsr.speech_frames(view, 8000).shape == (values.size // 80,)


def test_resampling_keeps_a_tone_and_the_type():
    t = np.arange(48000) / 48000
    tone = 0.5 * np.sin(2 * np.pi * 1000 * t)
    slow = kivsr.resample(tone, 48000, 16000)
    expected = 0.5 * np.sin(2 * np.pi * 1000 * np.arange(16000) / 16000)
    assert slow.dtype == np.float32
    np.testing.assert_allclose(slow[200:-200], expected[200:-200], atol=2e-6)
    whole = np.round(tone * 32768).astype(np.int16)
    as_int = kivsr.resample(whole, 48000, 16000)
    assert as_int.dtype == np.int16
    np.testing.assert_allclose(as_int[200:-200], 32768 * expected[200:-200], atol=1.0)
    loud = np.where(np.arange(4000) // 40 % 2, 32767, -32768).astype(np.int16)
    assert kivsr.resample(loud, 16000, 44100).max() == 32767


def test_enhancement_lowers_noise_and_keeps_speech():
    rng = np.random.default_rng(2)
    clean = speech_like(3)
    noisy = clean + 0.01 * rng.standard_normal(clean.size)
    for method in ("mcra-wiener", "mcra-emns"):
        left = kivsr.enhance(noisy, method=method) - clean
        assert np.mean(left**2) < 0.7 * np.mean((noisy - clean) ** 2)
    assert kivsr.enhance(noisy * 32768, scale=1).std() > 100


def test_pitch_follows_a_voice():
    y = speech_like(2)
    f0, correlation, probability = kivsr.pitch(y).T
    t = 0.01 * np.arange(f0.size)
    voiced = f0 > 0
    expected = 140 + 40 * np.sin(2 * np.pi * 0.7 * t)
    assert 0.4 < voiced.mean() < 0.95
    assert np.median(np.abs(f0[voiced] / expected[voiced] - 1)) < 0.01
    assert correlation[voiced].mean() > 0.9 and probability[voiced].mean() > probability[~voiced].mean()
    assert kivsr.pitch(y, shift=0.005).shape[0] in (2 * f0.size - 1, 2 * f0.size)
    assert kivsr.pitch(kivsr.resample(y, 16000, 6000), 6000).shape[1] == 3


def test_speech_is_where_it_was_put():
    y = np.concatenate([np.zeros(16000), speech_like(1.0)[2000:6000], np.zeros(16000)])
    y += 1e-4 * np.random.default_rng(1).standard_normal(y.size)
    segments = kivsr.vad(y)
    assert len(segments) == 1 and segments.dtype == np.float64
    assert abs(segments[0, 0] - 1.0) < 0.2 and abs(segments[0, 1] - 1.25) < 0.3
    assert kivsr.speech_frames(y).sum() > 15
    assert len(kivsr.vad(y, minimum_speech=5.0)) == 0
    assert kivsr.vad(y, arithmetic="16s").shape[1] == 2


@pytest.mark.parametrize(
    "call, kind, text",
    [
        (lambda y: kivsr.enhance(y, method="magic"), kivsr.Fault, "no method 'magic'"),
        (lambda y: kivsr.enhance(y, method="aurora"), kivsr.Fault, "aurora works at 8000 Hz, not at 16000"),
        (lambda y: kivsr.enhance(y, 0), ValueError, "sample_rate: 0"),
        (lambda y: kivsr.enhance(y[:0]), ValueError, "y: no samples"),
        (lambda y: kivsr.enhance(y, scale=0), ValueError, "scale: 0"),
        (lambda y: kivsr.resample(y, 16000, 0), ValueError, "to_rate: 0"),
        (lambda y: kivsr.resample(y, "8000", 16000), ValueError, "from_rate: '8000'"),
        (lambda y: kivsr.resample(y, 999983, 999979), kivsr.Fault, "999983"),
        (lambda y: kivsr.resample(y.reshape(2, -1), 2, 1), ValueError, "y: one dimension"),
        (lambda y: kivsr.pitch(y, low=400, high=100), kivsr.Fault, "pitch: frequencies"),
        (lambda y: kivsr.pitch(y, shift=0), ValueError, "shift: "),
        (lambda y: kivsr.pitch(y, octave=1), TypeError, "octave: no option"),
        (lambda y: kivsr.pitch(y, octave_cost="a"), TypeError, "octave_cost: 'a'"),
        (lambda y: kivsr.vad(y, margin=-1), ValueError, "margin: -1"),
        (lambda y: kivsr.vad(y, arithmetic="8u"), ValueError, "arithmetic: '8u'"),
        (lambda y: kivsr.vad([y], jobs=-1), ValueError, "jobs: "),
        (lambda y: kivsr.vad([y, y.astype(complex)], jobs=2), TypeError, r"y\[1\]: dtype complex128"),
    ],
)
def test_arguments_that_cannot_be_used(call, kind, text):
    with pytest.raises(kind, match=text):
        call(speech_like(0.1))
