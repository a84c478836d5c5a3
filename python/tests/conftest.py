import numpy as np
import pytest


def speech_like(seconds=1.0, sample_rate=16000, seed=1):
    """Harmonics whose pitch and loudness change, pauses, noise; floats of -1 .. 1."""
    rng = np.random.default_rng(seed)
    t = np.arange(int(seconds * sample_rate)) / sample_rate
    phase = 2 * np.pi * np.cumsum(140 + 40 * np.sin(2 * np.pi * 0.7 * t)) / sample_rate
    voice = sum(np.sin(k * phase) / k for k in range(1, 20))
    loudness = np.clip(np.sin(2 * np.pi * 1.1 * t), 0, None)
    return 0.1 * voice * loudness + 0.001 * rng.standard_normal(t.size)


@pytest.fixture
def y():
    return speech_like()


