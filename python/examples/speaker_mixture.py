"""Which of two voices says a sentence: a mixture of each, trained from its cepstra; then the cepstra in a few bits."""

import numpy as np

import kivsr

rate = 16000


def voice(f0, formant, seed, seconds=2.0):
    """Pulses at a wandering pitch through one resonance, and a little noise."""
    rng = np.random.default_rng(seed)
    t = np.arange(int(rate * seconds)) / rate
    phase = np.cumsum(f0 * (1 + 0.1 * np.sin(2 * np.pi * 3 * t))) / rate
    harmonics = [np.exp(-(((k * f0 - formant) / 600) ** 2)) * np.sin(2 * np.pi * k * phase) for k in range(1, 30)]
    return 0.1 * sum(harmonics) + 0.002 * rng.standard_normal(t.size)


def cepstra(y):
    return kivsr.mfcc(y, rate, normalise="none")


mixtures = {name: kivsr.train_mixture(cepstra(voice(*of, seed=1)), 4)
            for name, of in {"low": (110, 700), "high": (210, 1500)}.items()}
for said, of in {"low": (115, 720), "high": (200, 1450)}.items():
    rows = cepstra(voice(*of, seed=2))
    scores = {name: mixture.score(rows) for name, mixture in mixtures.items()}
    heard = max(scores, key=scores.get)
    print(f"{said:5} heard as {heard:5}", {name: round(score, 1) for name, score in scores.items()})
    assert heard == said

rows = np.concatenate([cepstra(voice(110, 700, seed)) for seed in range(5)])
book = kivsr.train_codebook(rows, weights="variance")
left = rows - book.decode(book.encode(rows), len(rows))
print(f"{book.row_bits} bits a frame, rms error {np.sqrt((left**2).mean()):.2f} of {rows.std():.2f}")
