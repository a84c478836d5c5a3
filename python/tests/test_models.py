import numpy as np
import pytest
from arrays import laid_out

import kivsr

RNG = np.random.default_rng(11)
CENTRES = np.array([[-4.0, 0, 1], [4, 1, -1], [0, 6, 3]])
ROWS = np.concatenate([RNG.normal(centre, [1, 0.5, 2], (400 * (k + 1), 3)) for k, centre in enumerate(CENTRES)])


def log_likelihood(mixture, rows):
    """The definition, in double precision."""
    w, m, v = (a.astype(float) for a in (mixture.weights, mixture.means, mixture.variances))
    each = -0.5 * (((rows[:, None] - m) ** 2 / v) + np.log(2 * np.pi * v)).sum(axis=2) + np.log(w)
    top = each.max(axis=1, keepdims=True)
    total = top[:, 0] + np.log(np.exp(each - top).sum(axis=1))
    return total, np.exp(each - total[:, None])


def test_training_finds_the_clusters():
    mixture = kivsr.train_mixture(ROWS, 3, start_components=3)
    order = np.argsort(mixture.weights)
    np.testing.assert_allclose(mixture.weights[order], [1 / 6, 1 / 3, 1 / 2], atol=0.02)
    np.testing.assert_allclose(mixture.means[order], CENTRES, atol=0.3)
    np.testing.assert_allclose(mixture.variances[order], np.broadcast_to([1, 0.25, 4], (3, 3)), rtol=0.25)
    assert np.all(np.diff(mixture.history) > -1e-6) and len(mixture.history) == 6
    same = kivsr.train_mixture([ROWS[:700], ROWS[700:]], 3, start_components=3)
    np.testing.assert_allclose(same.means, mixture.means, atol=1e-4)


def test_scores_are_the_definition():
    mixture = kivsr.train_mixture(ROWS, 4)
    rng = np.random.default_rng(2)
    for _ in range(40):
        rows = 5 * rng.standard_normal((int(rng.integers(1, 50)), 3))
        view = laid_out(rows.astype(rng.choice(["f4", "f8"])), rng)
        expected, shares = log_likelihood(mixture, np.float32(rows).astype(float))
        np.testing.assert_allclose(mixture.score_samples(view), expected, rtol=2e-6, atol=1e-5)
        np.testing.assert_allclose(mixture.predict_proba(view), shares, atol=1e-5)
        assert mixture.score(view) == pytest.approx(expected.mean(), abs=1e-5)


def test_mixtures_in_files(tmp_path):
    mixture = kivsr.train_mixture(ROWS, 2)
    mixture.write(tmp_path / "m")
    back = kivsr.Mixture.read(tmp_path / "m")
    assert np.array_equal(back.means, mixture.means) and back.recipe == mixture.recipe
    assert np.array_equal(back.score_samples(ROWS), mixture.score_samples(ROWS))
    given = kivsr.Mixture(mixture.weights, mixture.means, mixture.variances)
    given.write(tmp_path / "given")
    assert np.array_equal(kivsr.Mixture.read(tmp_path / "given").score_samples(ROWS), mixture.score_samples(ROWS))


def test_codebooks_code():
    book = kivsr.train_codebook(ROWS, "1:5,0+2:7", weights="variance")
    assert (book.width, book.row_bits, [group[0] for group in book.groups]) == (3, 12, [[1], [0, 2]])
    rng = np.random.default_rng(3)
    for frames in (0, 1, 2, 3, 7, 500):
        rows = ROWS[rng.integers(0, len(ROWS), frames)].astype(np.float32)
        bits = book.encode(laid_out(rows, rng))
        assert bits.dtype == np.uint8 and bits.size == (frames * 12 + 7) // 8
        decoded = book.decode(bits, frames)
        for columns, codewords in book.groups:
            nearest = ((rows[:, None, columns] - codewords) ** 2 / ROWS.var(axis=0)[columns]).sum(axis=2).argmin(axis=1)
            np.testing.assert_allclose(decoded[:, columns], codewords[nearest], atol=1e-5)


def test_codebooks_in_files(tmp_path):
    book = kivsr.train_codebook(ROWS)
    bits = book.encode(ROWS[:100])
    book.write(tmp_path / "book")
    book.write_stream(tmp_path / "stream", bits, 100)
    back = kivsr.Codebook.read(tmp_path / "book")
    stored, frames = back.read_stream(tmp_path / "stream")
    assert frames == 100 and np.array_equal(stored, bits)
    assert np.array_equal(back.decode(stored, frames), book.decode(bits, 100))
    other = kivsr.train_codebook(ROWS[:600])
    with pytest.raises(kivsr.Fault, match="stream"):
        other.read_stream(tmp_path / "stream")


ONE = np.ones((1, 2))


@pytest.mark.parametrize(
    "call, kind, text",
    [
        (lambda: kivsr.train_mixture(ROWS[:0]), ValueError, "rows: no rows"),
        (lambda: kivsr.train_mixture(ROWS[:, 0]), ValueError, "rows: rows are wanted"),
        (lambda: kivsr.train_mixture([ROWS, ROWS[:, :2]]), ValueError, r"rows\[1\]: rows of 3 values"),
        (lambda: kivsr.train_mixture(ROWS * np.nan), ValueError, r"rows: the value at \[0, 0\]"),
        (lambda: kivsr.train_mixture(ROWS.astype(complex)), TypeError, "rows: dtype complex128"),
        (lambda: kivsr.train_mixture(ROWS, 0), kivsr.Fault, "training: "),
        (lambda: kivsr.train_mixture(ROWS, 2.5), TypeError, "components: 2.5"),
        (lambda: kivsr.train_mixture(ROWS, states=3), TypeError, "states: no setting"),
        (lambda: kivsr.Mixture([1], ONE, 0 * ONE), ValueError, "variances: not above 0"),
        (lambda: kivsr.Mixture([0.5], ONE, ONE), ValueError, "weights: their sum"),
        (lambda: kivsr.Mixture([2, -1], np.ones((2, 2)), np.ones((2, 2))), ValueError, "weights: negative"),
        (lambda: kivsr.Mixture([0.5, 0.5], ONE, ONE), ValueError, "weights: not one for each"),
        (lambda: kivsr.Mixture([1], ONE, np.ones((2, 2))), ValueError, "variances: not of the shape"),
        (lambda: kivsr.Mixture([1], ONE, ONE).score(np.ones((3, 5))), ValueError, "rows: rows of 2 values"),
        (lambda: kivsr.Mixture([1], ONE, ONE).score(np.ones((0, 2))), ValueError, "rows: no rows"),
        (lambda: kivsr.train_codebook(ROWS, "0:5"), kivsr.Fault, "^split: column 1"),
        (lambda: kivsr.train_codebook(ROWS[:10], "0-2:5"), kivsr.Fault, "10 frames are fewer"),
        (lambda: kivsr.train_codebook(ROWS, weights=[1, 2]), ValueError, "weights: a number for each of the 3"),
        (lambda: kivsr.train_codebook(ROWS, weights=[1, 2, -1]), ValueError, "weights: negative"),
        (lambda: kivsr.train_codebook(ROWS, weights="best"), ValueError, "weights: neither"),
        (lambda: kivsr.train_codebook(ROWS, rule="first"), ValueError, "rule: 'first'"),
        (lambda: kivsr.train_codebook(ROWS).decode(np.zeros(3, np.uint8), 50), ValueError, "bits: 3 bytes"),
        (lambda: kivsr.train_codebook(ROWS).decode(np.zeros(3), 1), TypeError, "bits: an array of bytes"),
        (lambda: kivsr.train_codebook(ROWS).decode(np.zeros(0, np.uint8), -1), ValueError, "frames: negative"),
        (lambda: kivsr.train_codebook(ROWS).encode(ROWS[:, :2]), ValueError, "rows: rows of 3 values"),
    ],
)
def test_arguments_that_cannot_be_used(call, kind, text):
    with pytest.raises(kind, match=text):
        call()


def test_damaged_bits_are_a_fault():
    book = kivsr.train_codebook(np.repeat(np.arange(3.0), 100)[:, None] * 10, "0:1")
    for _ in range(50):
        bits = RNG.integers(0, 256, 40, dtype=np.uint8)
        try:
            assert np.isfinite(book.decode(bits, 320 // book.row_bits)).all()
        except kivsr.Fault:
            pass
