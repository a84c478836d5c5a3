"""A noisy recording made quieter and cut to what is said: files in, files out, in blocks."""

import numpy as np

import kivsr

rate = 16000
rng = np.random.default_rng(1)
t = np.arange(rate) / rate
word = 0.2 * np.sin(2 * np.pi * 150 * t[:6000]) * np.hanning(6000) + 0.1 * np.sin(2 * np.pi * 900 * t[:6000])
silence = np.zeros(rate)
noisy = np.concatenate([silence, word, silence, word, silence])
kivsr.write_audio("noisy.wav", noisy + 0.003 * rng.standard_normal(noisy.size), rate)

reader = kivsr.AudioReader("noisy.wav")
enhancer = kivsr.Enhancer("mcra-wiener", reader.sample_rate)
quiet = np.concatenate([enhancer.push(block) for block in reader] + [enhancer.finish()])
kivsr.write_audio("quiet.flac", quiet, reader.sample_rate)

for number, (start, end) in enumerate(kivsr.vad(quiet, rate)):
    piece = quiet[int(start * rate) : int(end * rate)]
    f0 = kivsr.pitch(piece, rate)[:, 0]
    if not (f0 > 0).any():
        continue  # a noise, not a voice
    kivsr.write_audio(f"word{number}.wav", piece, rate)
    print(f"word{number}.wav: {start:.2f} to {end:.2f} s, pitch {np.median(f0[f0 > 0]):.0f} Hz")
