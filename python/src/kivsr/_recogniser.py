"""Speech to words."""

from __future__ import annotations

import os
from typing import Any, NamedTuple, Sequence

import numpy as np
from numpy.typing import ArrayLike

from ._backend import native
from ._batch import in_turn, is_batch
from ._files import Path, readable
from ._recipe import Recipe

__all__ = ["Ngram", "Recogniser", "Recognition", "StreamingRecogniser", "Word", "recognise"]


class Word(NamedTuple):
    """A word and when it was said, in seconds; filler: silence or a noise."""

    text: str
    start: float
    end: float
    filler: bool


class Recognition(NamedTuple):
    """What was heard: `text`, or `words` with times; complete: whether the utterance ended where a sentence may."""

    words: list[Word]
    score: float
    complete: bool

    @property
    def text(self) -> str:
        """The words without silence and noises."""
        return " ".join(word.text for word in self.words if not word.filler)


class Ngram(NamedTuple):
    """Any words of an n-gram model.

    `second` is a model whose probabilities, times 1 - `share`, are added to those of `model`, times `share`. `classes`
    is a file of words that are said where the model has their class, "class probability word" a line.
    """

    model: Path
    second: Path | None = None
    share: float = 0.5
    classes: Path | None = None


NUMBERS = ("language_weight", "insertion_penalty", "word_cost", "silence_penalty", "noise_penalty", "beam",
           "phone_beam", "word_beam")


class Recogniser:
    """The words of a signal, whole or in blocks as it comes; one utterance after the other.

    Parameters
    ----------
    model : path or str
        Folder of an acoustic model, name of one that Debian installs, or a file of word models of `kivsr train`.
    words : sequence of str, optional
        Words that may follow each other in any order.
    grammar : str or path, optional
        A grammar in JSGF: its text, or its file.
    ngram : path, str or Ngram, optional
        An n-gram model: ARPA text, packed, or the name of one that Debian installs; an `Ngram` for two of them, or for
        classes of words. Of words, grammar and ngram one is
        given; a file of word models needs none, its words may then follow each other.
    rule : str
        Rule of the grammar to start with; without it all that are public.
    dictionary : path, optional
        Of pronunciations; without it the one beside the model.
    **numbers
        language_weight, insertion_penalty, word_cost, silence_penalty, noise_penalty, beam, phone_beam, word_beam of
        `kivsr recognise`, at its defaults.

    A call takes a whole utterance at the rate of `recipe.sample_rate`. `push` gives the words that are settled, `finish`
    the whole. Threads may share one; their calls take turns.
    """

    def __init__(
        self,
        model: Path = "en-us",
        *,
        words: Sequence[str] | None = None,
        grammar: Path | None = None,
        ngram: Path | Ngram | None = None,
        rule: str = "",
        dictionary: Path | None = None,
        scale: float | None = None,
        **numbers: float,
    ) -> None:
        self._recogniser = native.Recogniser(*_task(model, words, grammar, ngram, rule, dictionary, numbers), scale)

    @property
    def recipe(self) -> Recipe:
        """Of the features that the model was trained from."""
        return self._recogniser.recipe

    def push(self, block: ArrayLike) -> list[Word]:
        """Words that no more sound can change."""
        return [Word(*word) for word in self._recogniser.push(block)]

    def finish(self) -> Recognition:
        """The whole utterance; the next push begins another."""
        return _recognition(self._recogniser.finish())

    def __call__(self, y: ArrayLike) -> Recognition:
        """A whole utterance; none must have begun."""
        return _recognition(self._recogniser.whole(y))

    def of_rows(self, rows: ArrayLike) -> Recognition:
        """The same from features of the recipe."""
        return _recognition(self._recogniser.whole_rows(rows))


class StreamingRecogniser:
    """The words of a signal while it comes, without end: speech is found, and its words become final at the next pause.

    Parameters
    ----------
    pause : float
        Seconds of silence behind words that make them final, where the sentence may end; longest_pause: where it may not.
    longest : float
        Seconds of speech without such a pause, behind which it is cut.
    model, words, grammar, ngram, rule, dictionary, scale, **numbers
        As of `Recogniser`.

    `push` gives what became final, `partial` the best guess about what was said since. Memory does not grow with the
    signal, and the results do not depend on how it is cut into blocks. Threads may share one; the interpreter is free
    while it works.

    Examples
    --------
    >>> import numpy as np
    >>> import kivsr
    >>> recogniser = kivsr.StreamingRecogniser("en-us", words=["yes", "no"])
    >>> recogniser.push(np.zeros(16000))
    []
    >>> recogniser.partial.text, recogniser.heard
    ('', 1.0)
    >>> recogniser.finish()
    []
    """

    def __init__(
        self,
        model: Path = "en-us",
        *,
        words: Sequence[str] | None = None,
        grammar: Path | None = None,
        ngram: Path | Ngram | None = None,
        rule: str = "",
        dictionary: Path | None = None,
        scale: float | None = None,
        pause: float = 0.15,
        longest_pause: float = 1.0,
        longest: float = 30.0,
        **numbers: float,
    ) -> None:
        for name, value in (("pause", pause), ("longest_pause", longest_pause), ("longest", longest)):
            if not 0 < value <= 3600:
                raise ValueError(f"{name}: {value!r} is not above 0 s and at most an hour")
        self._recogniser = native.StreamingRecogniser(
            *_task(model, words, grammar, ngram, rule, dictionary, numbers), scale, pause, longest_pause, longest)

    @property
    def recipe(self) -> Recipe:
        """Of the features that the model was trained from."""
        return self._recogniser.recipe

    @property
    def heard(self) -> float:
        """Seconds of the signal that were listened to."""
        return self._recogniser.heard

    @property
    def partial(self) -> Recognition:
        """The best guess about what was said since the last final words."""
        return Recognition([Word(*word) for word in self._recogniser.partial()], 0.0, False)

    def push(self, block: ArrayLike) -> list[Recognition]:
        """What became final, a Recognition for each stretch of speech."""
        return [_recognition(result) for result in self._recogniser.push(block)]

    def finish(self) -> list[Recognition]:
        """The rest; the next push begins another signal."""
        return [_recognition(result) for result in self._recogniser.finish()]

    def reset(self) -> None:
        """Forgets the signal, and what it told about the channel."""
        self._recogniser.reset()


def _task(model: Path, words: Sequence[str] | None, grammar: Path | None, ngram: Path | Ngram | None, rule: str,
          dictionary: Path | None, numbers: dict[str, float]) -> tuple[Any, ...]:
    """Arguments that both recognisers begin with."""
    if isinstance(words, str):
        raise TypeError("words: a sequence of words, not one text")
    for name, value in numbers.items():
        if name not in NUMBERS:
            raise TypeError(f"{name}: no option of the recogniser (there are {', '.join(NUMBERS)})")
        if not isinstance(value, (int, float)) or not np.isfinite(value):
            raise ValueError(f"{name}: {value!r} is not a finite number")
    text = "" if grammar is None else _grammar_text(grammar)
    return (os.fspath(model), None if words is None else list(words), text, rule,
            _ngram_files(ngram), "" if dictionary is None else readable(dictionary), numbers)


def _ngram_files(ngram: Path | Ngram | None) -> tuple[str, str, float, str]:
    wanted = ngram if isinstance(ngram, Ngram) else Ngram("" if ngram is None else ngram)
    if not 0 < wanted.share < 1:
        raise ValueError(f"share: {wanted.share!r} is not between 0 and 1")
    second = "" if wanted.second is None else os.fspath(wanted.second)
    return os.fspath(wanted.model), second, wanted.share, "" if wanted.classes is None else readable(wanted.classes)


def _grammar_text(grammar: Path) -> str:
    if isinstance(grammar, str) and grammar.lstrip().startswith("#JSGF"):
        return grammar
    with open(readable(grammar), encoding="utf-8") as stream:
        return stream.read()


def _recognition(result: Any) -> Recognition:
    words, score, complete = result
    return Recognition([Word(*word) for word in words], score, complete)


def recognise(y: Any, model: Path = "en-us", *, jobs: int = 1, **options: Any) -> Any:
    """The words of a recording, or of a list of them on threads; options of `Recogniser`, which is made once a thread.

    Returns
    -------
    Recognition
        `text`, `words` with times, `score`, `complete`; of a list, a list of them.
    """
    if not is_batch(y):
        return Recogniser(model, **options)(y)
    idle: list[Recogniser] = []

    def one(signal: Any, name: str) -> Recognition:
        recogniser = idle.pop() if idle else Recogniser(model, **options)
        result = _recognition(recogniser._recogniser.whole(signal, name))
        idle.append(recogniser)
        return result

    return in_turn(one, y, jobs)
