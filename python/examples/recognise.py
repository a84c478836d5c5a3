"""Words of a recording, as it comes and whole: needs the packages pocketsphinx-en-us and pocketsphinx-testdata."""

import numpy as np

import kivsr

y, rate = kivsr.read_audio("/usr/share/pocketsphinx/test/data/goforward.raw")
recogniser = kivsr.Recogniser("en-us", words=["go", "forward", "backward", "ten", "meters"])
assert rate == recogniser.recipe.sample_rate

for block in np.array_split(y, 20):
    for word in recogniser.push(block):
        if not word.filler:
            print(f"{word.start:5.2f} s  {word.text}")
heard = recogniser.finish()
print(heard.text, "(complete)" if heard.complete else "")
