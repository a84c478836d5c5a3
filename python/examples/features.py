"""Features of a signal: whole, in blocks as from a microphone, and of many signals on threads."""

import numpy as np

import kivsr

rate = 16000
t = np.arange(2 * rate) / rate
y = 0.3 * np.sin(2 * np.pi * (300 + 200 * t) * t)

rows = kivsr.features(y, rate, preset="mfcc", dynamics="win2", normalise="mean")
print("MFCC with derivatives:", rows.shape, rows.dtype)

front_end = kivsr.FrontEnd("mfcc", rate)
blocks = [front_end.push(block) for block in np.array_split(y, 50)] + [front_end.finish()]
same = np.array_equal(np.concatenate(blocks), kivsr.features(y, rate, preset="mfcc"))
print("in 50 blocks the same bits:", same)
assert same

batch = kivsr.log_mel([y[: rate // 2], y[::2], y.astype(np.float32)], rate, jobs=0)
print("log mel spectrograms:", *(spectrogram.shape for spectrogram in batch))
