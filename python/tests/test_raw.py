import pickle
import subprocess
import sys
import threading
from pathlib import Path

import numpy as np
import pytest

import kivsr

raw = pytest.importorskip("kivsr.raw", reason="cffi is not installed")


def test_all_functions_are_there():
    assert len(raw.functions()) > 700
    for name in raw.functions():
        assert callable(getattr(raw, name)) and name in getattr(raw, name).__doc__
    assert np.isinf(raw.lib.kivConstantOfINF_32f) and raw.kivStatusText(0).startswith("kivStatusOk")
    with pytest.raises(AttributeError, match="kivsNothing"):
        raw.kivsNothing


def test_most_lengths_are_known():
    shapes = [shape for _, parameters, _ in raw.FUNCTIONS.values() for _, kind, shape in parameters
              if "*" in kind and raw._element(kind) in raw.DTYPES]
    assert sum(shape is not None for shape in shapes) > 0.75 * len(shapes)


def test_arrays_go_in_and_come_out():
    rng = np.random.default_rng(1)
    x = rng.standard_normal((7, 9)).astype(np.float32)
    mean, precision = rng.standard_normal(9).astype(np.float32), rng.uniform(1, 2, 9).astype(np.float32)
    expected = -0.5 * ((x.astype(float) - mean) ** 2 * precision).sum(axis=1) - 2
    scores = np.empty(7, np.float32)
    assert raw.kivsLogGauss_32f_D2(x, 9, mean, precision, 9, scores, 7, -2.0) == 0
    np.testing.assert_allclose(scores, expected, rtol=1e-5)
    for rows in (x, list(x)):
        scores[:] = 0
        raw.kivsLogGauss_32f_D2L(rows, mean, precision, 9, scores, 7, -2.0)
        np.testing.assert_allclose(scores, expected, rtol=1e-5)
    total = raw.ffi.new("float *")
    raw.kivsLogGaussSingle_32f(x[0], mean, precision, 9, total, -2.0)
    assert total[0] == pytest.approx(expected[0], rel=1e-5)
    raw.kivsLogGaussSingle_32f(x[0], mean, precision, 9, scores, -2.0)
    assert scores[0] == total[0]


def test_state_objects():
    state = raw.ffi.new("KivsFFTSpec_R_32f **")
    assert raw.kivsFFTInitAlloc_R_32f(state, 4, raw.lib.kivFftScaleNone, 0) == 0
    x, spectrum = np.arange(16, dtype=np.float32), np.zeros(18, np.float32)
    with pytest.raises(TypeError, match="kivsFFTFwd_RToCCS_32f: pSrc: no length is known"):
        raw.kivsFFTFwd_RToCCS_32f(x, spectrum, state[0], None)
    assert {"pSrc", "pDst"} <= set(raw.unchecked("kivsFFTFwd_RToCCS_32f"))
    pointer = lambda array: raw.ffi.from_buffer("float[]", array)
    assert raw.kivsFFTFwd_RToCCS_32f(pointer(x), pointer(spectrum), state[0], None) == 0
    np.testing.assert_allclose(spectrum.view(np.complex64), np.fft.rfft(x), atol=1e-4)
    raw.kivsFFTFree_R_32f(state[0])


A = np.zeros(8, np.float32)


@pytest.mark.parametrize(
    "arguments, kind, text",
    [
        ((A, A[:7], A, 8), ValueError, "kivsMul_32f: pSrc2: 7 elements, len = 8 says 8 are"),
        ((A, A, A[:7], 8), ValueError, "pDst: 7 elements"),
        ((A.astype(float), A, A, 8), TypeError, "pSrc1: dtype float64, float32 is wanted"),
        ((A[::2], A, A, 4), ValueError, "pSrc1: the array is not contiguous"),
        ((A, A, np.broadcast_to(A, (8,)), 8), ValueError, "pDst: the array is read-only"),
        (([0.0] * 8, A, A, 8), TypeError, "pSrc1: an array of float32 is wanted, not list"),
        ((A, A, 8), TypeError, r"4 arguments \(pSrc1, pSrc2, pDst, len\), 3 are"),
        ((A, A, A, 2.5), TypeError, "len is not an integer"),
        ((A, A, A, 2**31), ValueError, "pSrc1: 8 elements"),
        ((A, A, A, -(2**31) - 1), OverflowError, ""),
        ((raw.ffi.new("float[7]"), A, A, 8), ValueError, "pSrc1: 7 elements"),
        ((None, A, A, 8), raw.StatusError, "kivsMul_32f: kivStatusNullPointer"),
        ((A, A, A, 0), raw.StatusError, "kivStatusBadSize"),
    ],
)
def test_arguments_that_cannot_be_used(arguments, kind, text):
    with pytest.raises(kind, match=text):
        raw.kivsMul_32f(*arguments)


def test_rows_are_checked_each():
    x, mean = np.zeros((3, 4), np.float32), np.zeros(4, np.float32)
    call = lambda rows: raw.kivsLogGauss_32f_D2L(rows, mean, mean, 4, np.zeros(3, np.float32), 3, 0.0)
    assert call(x) == 0
    for rows, kind, text in [
        (x[:2], ValueError, "ppSrc: 2 rows, height = 3"), ([x[0], x[1], x[2, :3]], ValueError, r"ppSrc\[2\]: 3 elements"),
        (x[0], TypeError, "ppSrc: a list of rows"), ([x[0], x[1], None], TypeError, r"ppSrc\[2\]: an array of float32"),
        (x[:, ::2], ValueError, "not contiguous"),
    ]:
        with pytest.raises(kind, match=text):
            call(rows)


def test_statuses_are_exceptions_and_warnings_are_results():
    with pytest.raises(kivsr.StatusError) as caught:
        raw.kivsMul_32f(A, A, A.copy(), -1)
    assert caught.value.status == raw.lib.kivStatusBadSize and caught.value.function == "kivsMul_32f"
    assert isinstance(caught.value, RuntimeError) and str(pickle.loads(pickle.dumps(caught.value))) == str(caught.value)
    assert raw.kivsLn_32f_I(np.zeros(2, np.float32), 2) > 0


def test_threads_call_at_once():
    x = np.random.default_rng(1).standard_normal(1 << 16).astype(np.float32)
    wrong = []

    def work():
        result = np.empty_like(x)
        for _ in range(50):
            raw.kivsMul_32f(x, x, result, x.size)
            wrong.extend([] if np.array_equal(result, x * x) else [1])

    threads = [threading.Thread(target=work) for _ in range(4)]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    assert not wrong


@pytest.mark.parametrize("seed", [1, 2])
def test_no_function_leaves_its_arrays(seed):
    script = Path(__file__).with_name("guarded_calls.py")
    done = subprocess.run([sys.executable, script, str(seed)], capture_output=True, text=True, timeout=300)
    lines = done.stdout.splitlines()
    assert done.returncode == 0, f"{lines[-1:]} {done.stderr[-1000:]}"
    called, succeeded = map(int, lines[-1].split())
    assert called > 350 and succeeded > 0.8 * called
