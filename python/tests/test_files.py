import wave

import numpy as np
import pytest
from arrays import laid_out
from conftest import speech_like

import kivsr


def test_audio_comes_back(tmp_path):
    rng = np.random.default_rng(6)
    for extension, sample_format, error in [
        ("wav", "pcm16", 0.5 / 32768), ("flac", "pcm16", 0.5 / 32768), ("wav", "pcm24", 0.5 / 2**23),
        ("flac", "pcm24", 0.5 / 2**23), ("wav", "float", 1e-9),
    ]:
        file = tmp_path / f"a.{extension}"
        y = laid_out(speech_like(0.3).astype(np.float32), rng)
        kivsr.write_audio(file, y, 22050, sample_format=sample_format)
        back, rate = kivsr.read_audio(file)
        assert rate == 22050 and back.dtype == np.float32
        np.testing.assert_allclose(back, y, atol=1.001 * error)
    two = np.stack([speech_like(0.1), speech_like(0.1, seed=2)])
    kivsr.write_audio(tmp_path / "two.wav", two, 16000, sample_format="float")
    apart, _ = kivsr.read_audio(tmp_path / "two.wav", mono=False)
    np.testing.assert_allclose(apart, two, atol=1e-7)
    np.testing.assert_allclose(kivsr.read_audio(tmp_path / "two.wav")[0], two.mean(axis=0), atol=1e-7)


def test_int16_files_are_what_other_readers_see(tmp_path):
    samples = np.array([-32768, -1, 0, 1, 32767], np.int16)
    kivsr.write_audio(tmp_path / "a.wav", samples, 8000)
    with wave.open(str(tmp_path / "a.wav")) as other:
        assert np.array_equal(np.frombuffer(other.readframes(9), "<i2"), samples)
    assert np.array_equal(kivsr.read_audio(str(tmp_path / "a.wav"))[0] * 32768, samples)
    kivsr.write_audio(tmp_path / "b.wav", np.array([-2.0, 2.0]), 8000)
    assert np.array_equal(kivsr.read_audio(tmp_path / "b.wav")[0] * 32768, [-32768, 32767])
    (tmp_path / "c.raw").write_bytes(samples.astype(">i2").tobytes())
    y, rate = kivsr.read_audio(tmp_path / "c.raw", raw_rate=11025, big_endian=True)
    assert rate == 11025 and np.array_equal(y * 32768, samples)


def test_audio_in_blocks(tmp_path):
    kivsr.write_audio(tmp_path / "a.wav", speech_like(3), 16000)
    for rate in (None, 8000):
        reader = kivsr.AudioReader(tmp_path / "a.wav", rate)
        assert reader.sample_rate == (rate or 16000)
        assert np.array_equal(np.concatenate(list(reader)), kivsr.read_audio(tmp_path / "a.wav", rate)[0])
        assert list(reader) == []


@pytest.mark.parametrize("extension", ["npy", "htk", "mfc", "csv", "arff", "mat"])
def test_features_come_back(tmp_path, extension):
    rng = np.random.default_rng(9)
    recipe = kivsr.Recipe.preset("mfcc", dynamics="win2")
    rows = kivsr.features(speech_like(), preset=recipe)
    file = tmp_path / f"a.{extension}"
    kivsr.write_features(file, laid_out(rows, rng), recipe)
    back = kivsr.read_features(file, width=39)
    assert back.shape == rows.shape
    if extension != "htk":  # which has c0 behind the other cepstra
        np.testing.assert_allclose(back, rows, rtol=2e-6 if extension in ("csv", "arff") else 0)
    else:
        np.testing.assert_array_equal(np.sort(back, axis=1), np.sort(rows, axis=1))
    kivsr.write_features(file, np.arange(12).reshape(4, 3))
    assert np.array_equal(kivsr.read_features(file, width=3), np.arange(12).reshape(4, 3))
    if extension == "npy":
        assert np.array_equal(np.load(file), np.arange(12).reshape(4, 3))


def test_archives_come_back(tmp_path):
    entries = {f"u{i}": np.random.default_rng(i).standard_normal((7 * i, 5)).astype(t)
               for i, t in enumerate((np.float32, np.float64, np.float32, np.float64)) if i > 0}
    for form in ("ark,scp", "ark,t,scp"):
        kivsr.write_archive(f"{form}:{tmp_path}/a.ark,{tmp_path}/a.scp", entries.items())
        for name in ("a.ark", "a.scp"):
            back = dict(kivsr.read_archive(tmp_path / name))
            assert list(back) == list(entries)
            for key, rows in back.items():
                np.testing.assert_array_equal(rows, entries[key].astype(rows.dtype))
                assert rows.dtype == (entries[key].dtype if form == "ark,scp" else np.float32)
    place = (tmp_path / "a.scp").read_text().splitlines()[1].split()[1]
    np.testing.assert_array_equal(kivsr.read_features(place + "[2:4]"), entries["u2"][2:5].astype(np.float32))
    (tmp_path / "v.ark").write_bytes(b"v \0BDV \4\2\0\0\0" + np.array([1.5, -2.0]).tobytes())
    (key, vector), = kivsr.read_archive(f"ark:{tmp_path}/v.ark")
    assert key == "v" and vector.tolist() == [1.5, -2.0] and vector.dtype == np.float64
    with pytest.raises(ValueError, match="archive: "):
        kivsr.read_archive(tmp_path / "a.npy")
    with pytest.raises(ValueError, match="u: "):
        kivsr.write_archive(tmp_path / "b.ark", {"u": np.zeros(3)})
    with pytest.raises(FileNotFoundError):
        kivsr.read_features(tmp_path / "none.ark:12")
    (tmp_path / "c.scp").write_text("one cat a.wav |\n")
    with pytest.raises(kivsr.Fault, match="is a command"):
        kivsr.read_archive(tmp_path / "c.scp")


def test_arff_is_read_by_others(tmp_path):
    arff = pytest.importorskip("arff")
    recipe = kivsr.Recipe.preset("mfcc")
    rows = kivsr.features(speech_like(), preset=recipe)
    kivsr.write_features(tmp_path / "it's.arff", rows, recipe)
    with open(tmp_path / "it's.arff", encoding="ascii") as stream:
        table = arff.load(stream)
    assert [name for name, _ in table["attributes"]] == ["name", "frameTime", *recipe.columns]
    np.testing.assert_allclose(np.array([row[2:] for row in table["data"]]), rows, rtol=2e-6)
    np.testing.assert_allclose([row[1] for row in table["data"]], 0.01 * np.arange(len(rows)), atol=1e-9)


def test_features_of_files(tmp_path):
    files = []
    for seed in range(6):
        files.append(tmp_path / f"{seed}.wav")
        kivsr.write_audio(files[-1], speech_like(0.3 + 0.1 * seed, seed=seed), 16000, sample_format="float")
    expected = [kivsr.features(kivsr.read_audio(file)[0], preset="sphinx-39") for file in files]
    for jobs in (1, 3):
        for rows, wanted in zip(kivsr.load_features(files, "sphinx-39", jobs=jobs), expected, strict=True):
            assert np.array_equal(rows, wanted)
    assert kivsr.load_features(files[0], "mfcc", sample_rate=8000).shape == (28, 13)


def test_faults_name_the_file_and_leave_nothing(tmp_path):
    missing = tmp_path / "missing.wav"
    for call in (kivsr.read_audio, kivsr.read_features, kivsr.load_features, kivsr.AudioReader, kivsr.read_recipe,
                 kivsr.Mixture.read, kivsr.Codebook.read):
        with pytest.raises(FileNotFoundError, match="missing.wav"):
            call(missing)
    noise = tmp_path / "noise.wav"
    noise.write_bytes(bytes(range(256)))
    for call in (kivsr.read_audio, kivsr.load_features, kivsr.read_features, kivsr.Mixture.read, kivsr.Codebook.read):
        with pytest.raises(kivsr.Fault, match="noise.wav"):
            call(noise)
    (tmp_path / "bad.npy").write_bytes(b"\x93NUMPY nothing")
    with pytest.raises(kivsr.Fault, match="bad.npy"):
        kivsr.read_features(tmp_path / "bad.npy")
    left = sorted(tmp_path.iterdir())
    with pytest.raises(kivsr.Fault, match="wav, .flac or .raw"):
        kivsr.write_audio(tmp_path / "a.mp3", np.zeros(5), 8000)
    with pytest.raises(ValueError, match="y: sample 3"):
        kivsr.write_audio(tmp_path / "a.wav", np.array([0, 0, 0, np.nan]), 8000)
    with pytest.raises(ValueError, match="sample_format: 'mp3'"):
        kivsr.write_audio(tmp_path / "a.wav", np.zeros(5), 8000, sample_format="mp3")
    for shape in ((0,), (2, 0), (1, 2, 3)):
        with pytest.raises(ValueError, match="y: .samples. or"):
            kivsr.write_audio(tmp_path / "a.wav", np.zeros(shape), 8000)
    with pytest.raises(ValueError, match=r"rows: rows of 13 values .*\(4, 3\)"):
        kivsr.write_features(tmp_path / "a.npy", np.zeros((4, 3)), kivsr.Recipe.preset("mfcc"))
    with pytest.raises(kivsr.Fault, match="a.txt"):
        kivsr.write_features(tmp_path / "a.txt", np.zeros((4, 3)))
    with pytest.raises(kivsr.Fault, match="nowhere"):
        kivsr.write_features(tmp_path / "nowhere" / "a.npy", np.zeros((4, 3)))
    with pytest.raises(ValueError, match="width: "):
        kivsr.read_features(noise, width=0)
    assert sorted(tmp_path.iterdir()) == left
