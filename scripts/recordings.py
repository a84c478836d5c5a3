"""Recordings with their words, and the commands that recognise them, for the scripts of this folder."""
import array
import os
import random
import re
import shutil
import subprocess
import sys
import tempfile
import wave
from pathlib import Path

DATA = Path("/usr/share/pocketsphinx/test/data")
MODEL = Path("/usr/share/pocketsphinx/model/en-us")
COMMANDS = Path(__file__).resolve().parent.parent / "examples" / "commands"
FLITE = ("slt", "rms", "awb")  # its voices of 16 kHz that were made of much speech
DIGITS = "zero one two three four five six seven eight nine".split()


def run(arguments):
    """Output, processor seconds and peak memory in megabytes of a command."""
    with tempfile.TemporaryFile() as output:
        child = subprocess.Popen([str(a) for a in arguments], stdout=output, stderr=subprocess.DEVNULL)
        _, status, usage = os.wait4(child.pid, 0)
        if status != 0:
            sys.exit(f"recognisers: failed: {' '.join(str(a) for a in arguments)}")
        output.seek(0)
        return output.read().decode(), usage.ru_utime + usage.ru_stime, usage.ru_maxrss / 1024


def errors(said, heard):
    """Substitutions, insertions and deletions of the best alignment."""
    row = list(range(len(heard) + 1))
    for i, word in enumerate(said, 1):
        last, row[0] = row[0], i
        for j, other in enumerate(heard, 1):
            last, row[j] = row[j], min(row[j] + 1, row[j - 1] + 1, last + (word != other))
    return row[-1]


def transcription(file):
    """Words of each utterance of a file of lines "words (utterance)"."""
    lines = re.findall(r"^(.*)\((\S+)\)\s*$", Path(file).read_text(), re.M)
    return {name: words.replace("<s>", "").replace("</s>", "").split() for words, name in lines}


def to_wave(source, target):
    """16 kHz, 16 bits, one channel, which both programs read."""
    with wave.open(str(target), "wb") as sound:
        sound.setparams((1, 2, 16000, 0, "NONE", ""))
        sound.writeframes(source)
    return target


def samples_of(file):
    with wave.open(str(file)) as sound:
        return array.array("h", sound.readframes(sound.getnframes()))


def speak(voice, text, target):
    """Synthetic speech; espeak-ng speaks at 22,050 Hz."""
    if voice == "festival":
        subprocess.run(["text2wave", "-eval", "(voice_kal_diphone)", "-F", "16000", "-o", target], input=text.encode(), check=True)
        return target
    if voice in FLITE:
        subprocess.run(["flite", "-voice", voice, "-t", text, "-o", target], check=True)
        return target
    rough = target.with_suffix(".rough")
    subprocess.run(["espeak-ng", "-v", voice, "-s", "150", "-w", rough, text], check=True)
    with wave.open(str(rough)) as sound:
        rate, data = sound.getframerate(), memoryview(sound.readframes(sound.getnframes())).cast("h")
    samples = bytearray()
    for i in range(int((len(data) - 1) * 16000 / rate)):
        place, part = divmod(i * rate, 16000)
        value = data[place] + (data[place + 1] - data[place]) * part // 16000
        samples += int(value).to_bytes(2, "little", signed=True)
    return to_wave(bytes(samples), target)


def peer(arguments, files, work):
    """pocketsphinx_batch with the model and the dictionary on WAV files; processor seconds and memory."""
    return peer_batch(["-hmm", MODEL / "en-us", "-dict", MODEL / "cmudict-en-us.dict", "-adcin", "yes", "-adchdr", "44", "-cepext",
                       ".wav", *arguments], files, work)


def peer_batch(arguments, files, work):
    Path(work, "list").write_text("".join(f"{Path(file).with_suffix('')}\n" for file in files))
    return run(["pocketsphinx_batch", "-cepdir", "/", "-ctl", f"{work}/list", *arguments])[1:]


def voices():
    return ((["en-us", "en-gb"] if shutil.which("espeak-ng") else []) +
            (["festival"] if shutil.which("text2wave") else []))


def flite_voices():
    return list(FLITE) if shutil.which("flite") else []


def read_books():
    return {DATA / "librivox" / f"{name}.wav": words for name, words in transcription(DATA / "librivox" / "transcription").items()}


def cards():
    return {DATA / "cards" / f"{name}.wav": words for name, words in transcription(DATA / "cards" / "cards.transcription").items()}


def raw_command(name, file, work):
    words = transcription(COMMANDS / "commands.transcription")[name]
    return {to_wave((DATA / file).read_bytes(), work / f"{Path(file).name}.wav"): words}


def digit_strings():
    generator = random.Random(1)
    return [[generator.choice(DIGITS) for _ in range(7)] for _ in range(10)]


def harvard_sentences():
    """The first three lists of phonetically balanced sentences of IEEE Trans. Audio and Electroacoustics 17(3), 1969."""
    return [line.split() for line in Path(__file__).with_name("harvard-sentences.txt").read_text().splitlines()]


def vocabulary(own, size):
    """The words of the sentences and others of the dictionary."""
    entries = {line.split()[0] for line in (MODEL / "cmudict-en-us.dict").read_text().splitlines() if line.strip()}
    others = sorted(word for word in entries if word.isalpha() and word not in own)
    return sorted(own) + random.Random(3).sample(others, size - len(own))


def card_sentences():
    """What the grammar of cards allows."""
    generator = random.Random(4)
    ranks = "ace two three four five six seven eight nine ten jack queen king lady".split()
    suits = "clubs hearts diamonds spades".split()
    cards_of = [" ".join(f"{generator.choice(ranks)} of {generator.choice(suits)}" for _ in range(1 + i % 3)) for i in range(8)]
    return [words.split() for words in cards_of] + [[generator.choice(ranks), generator.choice(ranks)] for _ in range(4)]


def turtle_sentences():
    """What the grammar goforward allows."""
    generator = random.Random(4)
    numbers = "one two three four five six seven eight nine ten".split()
    return ["go forward ten meters".split()] + [["go", generator.choice(["forward", "backward"]), generator.choice(numbers),
                                                "meters"] for _ in range(7)]


def spoken(voice, sentences, name, work):
    """A recording of each sentence."""
    return {speak(voice, " ".join(words), work / f"{voice}-{name}{i}.wav"): words for i, words in enumerate(sentences)}
