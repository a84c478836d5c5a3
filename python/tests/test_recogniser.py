from pathlib import Path

import numpy as np
import pytest

import kivsr

DATA = Path("/usr/share/pocketsphinx/test/data")
GRAMMAR = """#JSGF V1.0;
grammar move;
public <move> = go (forward | backward) (one | two | three | ten) (meter | meters);
"""
pytestmark = pytest.mark.skipif(not DATA.is_dir(), reason="pocketsphinx-testdata is not installed")


@pytest.fixture(scope="module")
def y():
    return kivsr.read_audio(DATA / "goforward.raw")[0]


@pytest.fixture(scope="module")
def recogniser():
    return kivsr.Recogniser("en-us", grammar=GRAMMAR)


def test_a_sentence(recogniser, y):
    heard = recogniser(y)
    assert heard.text == "go forward ten meters" and heard.complete
    words = [word for word in heard.words if not word.filler]
    assert [word.text for word in words] == heard.text.split()
    assert all(a.end <= b.start + 1e-9 and a.start < a.end for a, b in zip(words, words[1:]))
    assert 0 < words[0].start and words[-1].end <= len(y) / 16000 + 0.05
    rows = kivsr.features(y, preset=recogniser.recipe)
    assert recogniser.of_rows(rows) == heard
    assert kivsr.Recogniser(grammar=DATA / "goforward.gram")(y).text == "go forward ten meters"


def test_blocks_and_settled_words(recogniser, y):
    settled = [word for block in np.array_split(y, 60) for word in recogniser.push(block)]
    with pytest.raises(ValueError, match="y: an utterance has begun"):
        recogniser(y)
    with pytest.raises(ValueError, match="block: sample 0 is not"):
        recogniser.push(np.array([np.nan]))
    heard = recogniser.finish()
    assert heard.text == "go forward ten meters"
    assert settled == heard.words[: len(settled)]


def test_a_signal_without_end(y):
    words = ["go", "forward", "backward", "ten", "meters"]
    recogniser = kivsr.StreamingRecogniser(words=words)
    pause = np.random.default_rng(1).normal(0, 1e-4, 16000).astype(np.float32)
    signal = np.concatenate([pause, y, pause, y, pause])
    finals, guesses = [], []
    for block in np.array_split(signal, 800):
        for heard in recogniser.push(block):
            finals.append(heard)
            spoken = [word for word in heard.words if not word.filler]
            assert 0 < recogniser.heard - spoken[-1].end < 0.31
        guesses.append(recogniser.partial.text)
    finals += recogniser.finish()
    assert " ".join(heard.text for heard in finals) == "go forward ten meters go forward ten meters"
    assert "go forward" in guesses and recogniser.partial.text == ""
    with pytest.raises(ValueError, match="block: sample 0 is not"):
        recogniser.push(np.array([np.nan]))
    whole = kivsr.StreamingRecogniser(words=words)
    assert whole.push(signal) + whole.finish() == finals
    recogniser.reset()
    assert recogniser.push(signal) + recogniser.finish() == finals
    with pytest.raises(ValueError, match="pause: 0 is not"):
        kivsr.StreamingRecogniser(words=words, pause=0)


def test_words_in_any_order_and_batches(y):
    results = kivsr.recognise([y, y[: len(y) // 2], y], words=["go", "forward", "ten", "meters"], jobs=2)
    assert results[0].text == "go forward ten meters" and results[2] == results[0]


def test_two_models_and_classes(y, tmp_path):
    (tmp_path / "classes").write_text("[number] ten\n[number] two\n")
    lines = ["<s>", "</s>", "go", "forward", "meters", "[number]"]
    text = "\\data\\\nngram 1=6\n\n\\1-grams:\n" + "".join(f"-1 {word}\n" for word in lines) + "\n\\end\\\n"
    (tmp_path / "lm.arpa").write_text(text)
    ngram = kivsr.Ngram(tmp_path / "lm.arpa", second=tmp_path / "lm.arpa", classes=tmp_path / "classes")
    assert kivsr.recognise(y, ngram=ngram).text == "go forward ten meters"


@pytest.mark.parametrize(
    "options, kind, text",
    [
        ({}, kivsr.Fault, "one of words, grammar and ngram"),
        ({"words": ["go"], "ngram": "en-us"}, kivsr.Fault, "one of words, grammar and ngram"),
        ({"ngram": kivsr.Ngram("en-us", share=1.0)}, ValueError, "share: 1.0"),
        ({"ngram": kivsr.Ngram("en-us", classes="missing.classes")}, FileNotFoundError, "missing.classes"),
        ({"words": "go"}, TypeError, "words: a sequence"),
        ({"words": ["qqxyzzy"]}, kivsr.Fault, "qqxyzzy"),
        ({"grammar": "#JSGF V1.0; grammar a; public <a> = ("}, kivsr.Fault, "grammar:1:"),
        ({"grammar": "missing.gram"}, FileNotFoundError, "missing.gram"),
        ({"words": ["go"], "dictionary": "missing.dic"}, FileNotFoundError, "missing.dic"),
        ({"words": ["go"], "speed": 3}, TypeError, "speed: no option"),
        ({"words": ["go"], "beam": float("nan")}, ValueError, "beam: nan"),
        ({"model": "missing", "words": ["go"]}, kivsr.Fault, "missing"),
    ],
)
def test_options_that_cannot_be_used(options, kind, text):
    with pytest.raises(kind, match=text):
        kivsr.Recogniser(**options)


def test_signals_that_cannot_be_used(recogniser):
    for bad in (np.zeros(0), np.zeros((2, 2)), np.array([np.inf])):
        with pytest.raises(ValueError, match="^y: "):
            recogniser(bad)
    with pytest.raises(ValueError, match="rows: rows of"):
        recogniser.of_rows(np.zeros((3, 2)))
