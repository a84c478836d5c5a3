"""What the package costs, and what others cost on the same array: python3 benchmark.py [SECONDS]

Calls and functions are timed in turns, and the least of many repetitions is printed, on one thread. torchaudio is
measured where it is installed (Debian: python3-torchaudio).
"""

import ctypes
import sys
import time

import numpy as np

import kivsr


def least(functions, repetitions=25, least_seconds=2e-3):
    """Seconds of each function of a dictionary, the least of repetitions that are taken in turns."""
    counts = {}
    for name, function in functions.items():
        function()
        start = time.perf_counter()
        function()
        counts[name] = max(1, int(least_seconds / max(time.perf_counter() - start, 1e-7)))
    best = dict.fromkeys(functions, float("inf"))
    for _ in range(repetitions):
        for name, function in functions.items():
            count = counts[name]
            start = time.perf_counter()
            for _ in range(count):
                function()
            best[name] = min(best[name], (time.perf_counter() - start) / count)
    return best


def numpy_mfcc(rate=16000, window=400, shift=160, n_fft=512, filters=23, ceps=13):
    """Kaldi's MFCC in vectorised NumPy, single precision, tables made once."""
    shape = (0.5 - 0.5 * np.cos(2 * np.pi * np.arange(window) / (window - 1))) ** 0.85
    mel = lambda f: 1127 * np.log1p(f / 700.0)
    edges = np.linspace(mel(20), mel(rate / 2), filters + 2)
    bins = mel(np.arange(n_fft // 2 + 1) * rate / n_fft)
    rise = (bins - edges[:-2, None]) / np.diff(edges)[:-1, None]
    fall = (edges[2:, None] - bins) / np.diff(edges)[1:, None]
    bank = np.clip(np.minimum(rise, fall), 0, None).T.astype(np.float32)
    k, n = np.arange(ceps)[:, None], np.arange(filters)
    dct = np.sqrt(2 / filters) * np.cos(np.pi * k * (n + 0.5) / filters) * (1 + 11 * np.sin(np.pi * k / 22))
    dct, shape = dct.T.astype(np.float32), shape.astype(np.float32)
    tiny = np.float32(np.finfo(np.float32).eps)

    def compute(y):
        samples = y * np.float32(32768)
        frames = np.lib.stride_tricks.sliding_window_view(samples, window)[::shift]
        frames = frames - frames.mean(axis=1, keepdims=True)
        energy = np.log(np.maximum((frames**2).sum(axis=1), tiny))
        frames[:, 1:] -= np.float32(0.97) * frames[:, :-1]
        frames[:, 0] *= np.float32(1 - 0.97)
        power = np.abs(np.fft.rfft(frames * shape, n_fft)).astype(np.float32) ** 2
        rows = np.log(np.maximum(power @ bank, tiny)) @ dct
        rows[:, 0] = energy
        return rows

    return compute


def torchaudio_mfcc():
    try:
        import torch
        from torchaudio.compliance import kaldi
    except ImportError:
        return None
    torch.set_num_threads(1)
    options = {"dither": 0.0, "use_energy": True, "energy_floor": 0.0}  # Kaldi's own, but for the dither
    return lambda y: kaldi.mfcc(torch.from_numpy(y)[None] * 32768, **options).numpy()


def recording(seconds):
    """Harmonics that come and go, and noise."""
    rng = np.random.default_rng(1)
    t = np.arange(int(16000 * seconds)) / 16000
    phase = 2 * np.pi * np.cumsum(140 + 40 * np.sin(2 * np.pi * 0.7 * t)) / 16000
    voice = sum(np.sin(k * phase) / k for k in range(1, 20)) * np.clip(np.sin(2 * np.pi * 1.1 * t), 0, None)
    return (0.1 * voice + 0.001 * rng.standard_normal(t.size)).astype(np.float32)


def features(y):
    front_end = kivsr.FrontEnd("kaldi-mfcc")
    whole = np.round(y * 32767).astype(np.int16)
    others = {"NumPy": numpy_mfcc(), "torchaudio": torchaudio_mfcc()}
    functions = {"kivsr, float32": lambda: front_end(y), "kivsr, int16": lambda: front_end(whole)}
    functions |= {name: lambda compute=compute: compute(y) for name, compute in others.items() if compute}
    seconds = least(functions)
    reference = front_end(y)
    print(f"\nMFCC of {len(y) / 16000:.1f} s at 16 kHz, Kaldi's convention (kivsr.backend {kivsr.backend})\n")
    print(f"{'':16} {'ms':>8} {'times kivsr':>12} {'largest difference':>20}")
    for name, compute in functions.items():
        rows = compute()
        difference = np.abs(rows - reference).max() if rows.shape == reference.shape else np.nan
        print(f"{name:16} {1e3 * seconds[name]:8.2f} {seconds[name] / seconds['kivsr, float32']:12.1f} {difference:20.2g}")


def calls():
    front_end = kivsr.FrontEnd("kaldi-mfcc")
    nothing, block = np.zeros(0, np.int16), np.zeros(160, np.int16)
    resampler = kivsr.Resampler(16000, 8000)
    mixture = kivsr.Mixture([1.0], np.zeros((1, 13)), np.ones((1, 13)))
    row = np.zeros((1, 13), np.float32)
    seconds = least({
        "FrontEnd.push, no samples": lambda: front_end.push(nothing),
        "FrontEnd.push, 10 ms": lambda: front_end.push(block),
        "Resampler.push, no samples": lambda: resampler.push(nothing),
        "Mixture.score_samples, a frame": lambda: mixture.score_samples(row),
        "features, 10 ms": lambda: kivsr.features(block),
    })
    print(f"{'call':44} {'us':>8}")
    for name, each in seconds.items():
        print(f"{name:44} {1e6 * each:8.2f}")


def raw_calls():
    try:
        from kivsr import raw
    except ImportError:
        return
    a, b, c = (np.ones(16, np.float32) for _ in range(3))
    pointers = [raw.ffi.from_buffer("float[]", array) for array in (a, b, c)]
    direct = raw.lib.kivsMul_32f
    by_ctypes = ctypes.CDLL(None).abs
    seconds = least({
        "raw.kivsMul_32f of 16, NumPy, checked": lambda: raw.kivsMul_32f(a, b, c, 16),
        "raw.lib.kivsMul_32f of 16, pointers": lambda: direct(*pointers, 16),
        "numpy.multiply of 16 (out=)": lambda: np.multiply(a, b, out=c),
        "ctypes, abs(1)": lambda: by_ctypes(1),
    })
    for name, each in seconds.items():
        print(f"{name:44} {1e6 * each:8.2f}")


if __name__ == "__main__":
    calls()
    raw_calls()
    features(recording(float(sys.argv[1]) if len(sys.argv) > 1 else 24.7))
