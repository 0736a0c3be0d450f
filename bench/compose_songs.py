"""Composes songs of known form and renders them: what sections.py scores segmentations on.

A song is a row of parts. A part has a key, chords, a melody, instruments and a pattern for each; when it comes again,
all of that comes again, played by a player who is never twice the same. Timing is humanized throughout, reverb stands
on half of the songs, and some have a fade-in, tempo changes, a transposed or varied repeat, speech or applause.

Kinds: `both`: parts differ in harmony and instrumentation; `harmony`, `instruments`: in one of the two alone.
"""
import struct
import subprocess
from dataclasses import dataclass, field
from pathlib import Path

import numpy as np
import scipy.io.wavfile
import scipy.signal

RATE_HZ = 44100
SOUNDFONT = "/usr/share/sounds/sf2/FluidR3_GM.sf2"
KINDS = ("both", "harmony", "instruments")

# Programs of General MIDI, in families that nobody takes for each other.
CHORD_FAMILIES = [[0, 1, 2], [4, 5, 11], [6, 7], [16, 19, 20], [21, 22, 23], [24, 25], [26, 27, 28], [29, 30],
                  [40, 48, 49], [52, 53, 54], [56, 61, 62], [64, 65, 66], [68, 70, 71], [88, 89, 91], [12, 13, 108], [46, 104, 107]]
BASSES = [32, 33, 34, 35, 36, 38, 39, 43, 58]
LEADS = [0, 11, 22, 26, 40, 42, 56, 57, 60, 65, 66, 68, 71, 73, 75, 79, 80, 81, 105, 110]
SCALES = {"major": [0, 2, 4, 5, 7, 9, 11], "minor": [0, 2, 3, 5, 7, 8, 10], "dorian": [0, 2, 3, 5, 7, 9, 10]}
PROGRESSIONS = [[0, 4, 5, 3], [0, 5, 3, 4], [0, 3, 4, 0], [5, 3, 0, 4], [0, 3, 0, 4], [1, 4, 0, 0], [0, 2, 3, 4],
                [0, 6, 3, 0], [0, 0, 3, 4], [0, 5, 1, 4], [0, 3], [0, 4], [0, 1, 2], [0, 2, 5, 3, 4], [3, 0, 4, 5],
                [0, 4, 5, 2, 3, 0, 3, 4]]
FORMS = ["AABABA", "ABABCB", "ABACABA", "AABBCC", "ABCABC", "AABBAABB", "ABCBA", "ABABCABB", "ABCDABCD", "AABACA",
         "ABBCBB", "ABAABA", "ABCADBC", "IABABCBBO", "IAABABO", "ABCDE", "AABBACCA", "IABCABCCO", "AAABAAAB"]
DRUMS = {"kick": 36, "snare": 38, "hat": 42, "open": 46, "ride": 51, "shaker": 70, "conga": 63, "tom": 45, "crash": 49}


@dataclass
class Part:
    """What makes a letter: everything that is equal each time it comes."""
    root: int
    scale: str
    chords: list
    beats_per_chord: int
    beats: int
    beat_seconds: float
    chord_program: int
    chord_style: str
    bass_program: int | None
    bass_style: str
    lead_program: int | None
    melody: list  # (beat, beats, scale degree)
    drums: list  # (beat within 4, instrument, velocity)
    level: float
    sound: str = "music"  # or speech, applause


@dataclass
class Song:
    """A composed song: its events in seconds and its truth."""
    seed: int
    kind: str
    form: str = ""
    edges: list = field(default_factory=list)  # seconds, one more than letters
    notes: list = field(default_factory=list)  # (start, end, channel, key, velocity)
    programs: list = field(default_factory=list)  # (time, channel, program)
    spoken: list = field(default_factory=list)  # (start, end, speech or applause)
    traits: list = field(default_factory=list)
    fade_in: float = 0.0


def melody_of(random, beats):
    """A walk on the scale that doesn't repeat within the part."""
    melody, beat, degree = [], 0.0, int(random.integers(0, 7))
    while beat < beats:
        length = float(random.choice([0.5, 0.5, 1, 1, 1, 1.5, 2, 3]))
        length = min(length, beats - beat)
        if random.random() > 0.15:
            melody.append((beat, length * 0.95, degree))
        degree = int(np.clip(degree + random.integers(-3, 4), -3, 11))
        beat += length
    return melody


def drums_of(random):
    """A pattern of four beats, or none."""
    if random.random() < 0.3:
        return []
    time_keeper = str(random.choice(["hat", "ride", "shaker", "open"]))
    pattern = [(b / 2, time_keeper, 60 if b % 2 else 80) for b in range(8)] if random.random() < 0.7 else [
        (float(b), time_keeper, 75) for b in range(4)]
    for beat in np.arange(0, 4, 0.5):
        if random.random() < (0.8 if beat in (0, 2) else 0.15):
            pattern.append((float(beat), str(random.choice(["kick", "tom"], p=[0.9, 0.1])), 100))
        if random.random() < (0.8 if beat in (1, 3) else 0.08):
            pattern.append((float(beat), str(random.choice(["snare", "conga"], p=[0.8, 0.2])), 95))
    return pattern


def harmony_of(random, taken):
    """A key and chords that no other part has: a root at least two fifths away from the others where there is room."""
    fifths = lambda a, b: min(7 * (a - b) % 12, 7 * (b - a) % 12)
    roots = [r for r in range(12) if all(fifths(r, t) >= 2 for t, _ in taken)] or list(range(12))
    progressions = [p for p in PROGRESSIONS if p not in [t for _, t in taken]]
    return int(random.choice(roots)), list(progressions[random.integers(len(progressions))])


def compose_part(random, kind, parts, tempo):
    """A part that differs from those before it as the kind says."""
    first = parts[0] if parts else None
    root, chords = harmony_of(random, [(p.root, p.chords) for p in parts])
    scale = str(random.choice(list(SCALES)))
    beats_per_chord = int(random.choice([2, 3, 4, 4, 4, 8] if tempo < 0.55 else [2, 4, 4]))
    if first and kind == "instruments":
        root, chords, scale, beats_per_chord = first.root, first.chords, first.scale, first.beats_per_chord
    target = random.uniform(4, 25)
    cycle = len(chords) * beats_per_chord
    beats = max(1, round(target / (tempo * cycle))) * cycle
    if beats * tempo < 4 or beats * tempo > 25:
        beats = int(np.clip(round(target / tempo / beats_per_chord), 1, 60)) * beats_per_chord
    used = [next(f for f in CHORD_FAMILIES if p.chord_program in f) for p in parts]
    families = [f for f in CHORD_FAMILIES if f not in used] or CHORD_FAMILIES
    family = families[random.integers(len(families))]
    leads = [p for p in LEADS if p not in [q.lead_program for q in parts]]
    part = Part(root, scale, chords, beats_per_chord, beats, tempo, int(random.choice(family)),
                str(random.choice(["block", "arpeggio", "held", "offbeat", "strum"])),
                int(random.choice(BASSES)) if random.random() < 0.8 else None,
                str(random.choice(["held", "beats", "octaves", "walk"])),
                int(random.choice(leads)) if random.random() < 0.75 else None,
                melody_of(random, beats), drums_of(random), random.uniform(0.7, 1.0))
    if first and kind == "harmony":
        for name in ("chord_program", "chord_style", "bass_program", "bass_style", "lead_program", "drums", "level"):
            setattr(part, name, getattr(first, name))
    if first and kind == "instruments" and random.random() < 0.5:
        part.melody, part.beats = first.melody, first.beats
    return part


def scale_key(part, degree):
    octave, step = divmod(degree, 7)
    return part.root + SCALES[part.scale][step] + 12 * octave


def chord_notes(random, part, start_beat, beats, chord):
    """(beat, beats, key, velocity) of the accompaniment over one chord."""
    keys = [60 - 12 * (part.root > 6) + scale_key(part, chord + third) for third in (0, 2, 4)]
    if part.chord_style == "held":
        return [(start_beat, beats * 0.98, key, 70) for key in keys + [keys[0] + 12]]
    if part.chord_style == "arpeggio":
        return [(start_beat + b / 2, 0.6, (keys + [keys[0] + 12])[[0, 1, 2, 3, 2, 1][b % 6]], 75)
                for b in range(2 * beats)]
    if part.chord_style == "offbeat":
        return [(start_beat + b + 0.5, 0.4, key, 78) for b in range(beats) for key in keys]
    if part.chord_style == "strum":
        return [(start_beat + b / 2 + 0.02 * i, 0.45, key, 80 - 15 * (b % 2))
                for b in range(2 * beats) if b % 4 != 3 for i, key in enumerate(keys)]
    return [(start_beat + b, 0.9, key, 75) for b in range(beats) for key in keys]


def bass_notes(part, start_beat, beats, chord):
    root = 36 - 12 * (part.root > 7) + scale_key(part, chord)
    if part.bass_style == "held":
        return [(start_beat, beats * 0.95, root, 90)]
    if part.bass_style == "octaves":
        return [(start_beat + b / 2, 0.45, root + 12 * (b % 2), 85) for b in range(2 * beats)]
    if part.bass_style == "walk":
        return [(start_beat + b, 0.9, root + [0, 4, 7, 5][b % 4], 88) for b in range(beats)]
    return [(start_beat + b, 0.8, root, 90) for b in range(beats)]


def play(random, song, part, start, beat_seconds, shift, varied, beats):
    """Adds one pass of a part to the song, from `start` seconds on; a pass is never played twice alike."""
    if part.sound != "music":
        song.spoken.append((start, start + beats * beat_seconds, part.sound))
        return
    sway = song.humanize
    lead = part.lead_program
    song.programs += [(start - 0.02, 0, part.chord_program)]
    song.programs += [(start - 0.02, 1, part.bass_program)] if part.bass_program is not None else []
    song.programs += [(start - 0.02, 2, lead)] if lead is not None else []
    events = []
    for beat in range(0, beats, part.beats_per_chord):
        chord = part.chords[beat // part.beats_per_chord % len(part.chords)]
        room = min(part.beats_per_chord, beats - beat)
        events += [(0, *note) for note in chord_notes(random, part, beat, room, chord)]
        if part.bass_program is not None:
            events += [(1, *note) for note in bass_notes(part, beat, room, chord)]
    if lead is not None:
        for beat, length, degree in part.melody:
            if beat >= beats:
                break
            degree += int(varied and random.random() < 0.25) * int(random.integers(-2, 3))
            events.append((2, beat, length, 72 - 12 * (part.root > 6) + scale_key(part, degree), 92))
    drums = part.drums if not (varied and random.random() < 0.3) else []
    for bar in range(0, beats, 4):
        events += [(9, bar + beat, 0.2, DRUMS[name], velocity) for beat, name, velocity in drums if bar + beat < beats]
    if drums and song.fills and random.random() < 0.5:  # the drummer leads over into what comes
        events += [(9, beats - 1 + q / 4, 0.2, int(random.choice([38, 45, 47, 50])), 85 + 5 * q) for q in range(4)]
    for channel, beat, length, key, velocity in events:
        begin = max(start, start + beat * beat_seconds + random.normal(0, sway))
        end = begin + max(0.05, length * beat_seconds * random.uniform(0.9, 1.05))
        loudness = int(np.clip(velocity * part.level + random.normal(0, 5), 20, 127))
        song.notes.append((begin, end, channel, int(key) + (shift if channel != 9 else 0), loudness))


def form_of(random):
    """A form of some six to twelve parts: one that is common, or a row of letters drawn at random."""
    if random.random() < 0.6:
        return str(random.choice(FORMS))
    letters, form = int(random.integers(2, 6)), "A"
    while len(form) < int(random.integers(6, 12)):
        known = sorted(set(form))
        fresh = [chr(65 + len(known))] if len(known) < letters else []
        others = [k for k in known if k != form[-1]] + 2 * fresh
        form += form[-1] if random.random() < 0.15 else str(random.choice(others or known))
    return form


def by_appearance(form):
    names = {}
    return "".join(names.setdefault(letter, chr(65 + len(names))) for letter in form)


def compose(seed, kind="both", form=None):
    """The song of that seed, in a form of its own if none is given."""
    random = np.random.default_rng([seed, KINDS.index(kind)])
    song = Song(seed, kind)
    song.humanize = random.uniform(0.004, 0.02)
    song.fills = random.random() < 0.4
    song.reverb = seed % 2 == 0
    form = by_appearance(form or form_of(random))
    tempo = 60.0 / random.uniform(70, 150)
    tempo_changes = random.random() < 0.2
    parts = []
    for letter in sorted(set(form)):
        part = compose_part(random, kind, parts, tempo * (random.uniform(0.8, 1.25) if tempo_changes else 1.0))
        parts.append(part)
    if kind == "both" and len(parts) > 2 and random.random() < 0.2:
        parts[int(random.integers(1, len(parts)))].sound = str(random.choice(["speech", "applause"]))
        song.traits.append("speech or applause")
    drift = random.random() < 0.2
    transposes = random.random() < 0.12
    varies = random.random() < 0.5
    song.fade_in = float(random.uniform(2, 6)) if random.random() < 0.2 else 0.0
    song.traits += [name for name, holds in (("tempo", tempo_changes), ("drift", drift), ("transposed", transposes),
                                             ("varied", varies), ("fade", song.fade_in), ("reverb", song.reverb),
                                             ("fills", song.fills)) if holds]
    seen, time = {}, 0.0
    for place, letter in enumerate(form):
        part = parts[ord(letter) - 65]
        again = seen.get(letter, 0)
        seen[letter] = again + 1
        beat_seconds = part.beat_seconds * (random.uniform(0.94, 1.06) if drift and again else 1.0)
        shift = int(random.choice([1, 2, -2])) if transposes and again and place == len(form) - 1 - form[::-1].find(
            letter) and letter == "A" else 0
        beats = part.beats
        if again and varies and random.random() < 0.12 and beats * beat_seconds > 9 and beats % 8 == 0:
            beats //= 2
        song.edges.append(time)
        play(random, song, part, time, beat_seconds, shift, again and varies and random.random() < 0.5, beats)
        time += beats * beat_seconds
    song.edges.append(time)
    song.form = form
    return song


def midi_bytes(song):
    """A file of format 0 in which a tick is a millisecond."""
    events = [(0, b"\xff\x51\x03\x07\xa1\x20")]
    for channel, level, place in ((0, 90, 40), (1, 105, 64), (2, 100, 84), (3, 90, 30), (4, 90, 98), (9, 95, 64)):
        events.append((0, bytes([0xB0 + channel, 7, level])))
        events.append((0, bytes([0xB0 + channel, 91, 70 if song.reverb else 0])))
        events.append((0, bytes([0xB0 + channel, 10, place])))
    for time, channel, program in song.programs:
        events.append((max(0, round(1000 * time)), bytes([0xC0 + channel, program])))
    for begin, end, channel, key, velocity in song.notes:
        events.append((round(1000 * begin), bytes([0x90 + channel, key, velocity])))
        events.append((round(1000 * end), bytes([0x80 + channel, key, 0])))
    # An end before a beginning of the same tick, so that a repeated key sounds.
    events.sort(key=lambda event: (event[0], event[1][0] & 0xF0 == 0x90))
    track, now = b"", 0
    for tick, message in events:
        delta, digits = tick - now, [(tick - now) & 0x7F]
        while delta := delta >> 7:
            digits.insert(0, delta & 0x7F | 0x80)
        track += bytes(digits) + message
        now = tick
    track += b"\x00\xff\x2f\x00"
    return b"MThd" + struct.pack(">IHHH", 6, 0, 1, 500) + b"MTrk" + struct.pack(">I", len(track)) + track


TEXTS = ["Good evening, and welcome to the second half of our program. What you hear now was written on a journey "
         "through the mountains, and nobody has played it here before. ",
         "The river was high that spring, and the bridge had been closed for a week. We waited on the other side with "
         "the horses, and somebody began to sing. "]


def speech(random, seconds, folder):
    path = folder / "speech.wav"
    text = TEXTS[int(random.integers(len(TEXTS)))] * (1 + int(seconds / 8))
    subprocess.run(["espeak-ng", "-v", str(random.choice(["en-us", "en-gb", "en-us+f3"])), "-s",
                    str(random.integers(140, 180)), "-w", str(path), text], check=True)
    rate, samples = scipy.io.wavfile.read(path)
    samples = scipy.signal.resample_poly(samples / 32768.0, RATE_HZ // 50, rate // 50)
    return samples[: int(seconds * RATE_HZ)]


def applause(random, seconds):
    """Many hands, each clap a short burst of colored noise."""
    count = int(seconds * RATE_HZ)
    claps = np.zeros(count)
    hits = random.integers(0, count, int(seconds * 180))
    np.add.at(claps, hits, random.normal(0, 1, len(hits)))
    burst = random.normal(0, 1, 900) * np.exp(-np.arange(900) / 180)
    b, a = scipy.signal.butter(2, [700 / (RATE_HZ / 2), 4000 / (RATE_HZ / 2)], "band")
    sound = scipy.signal.lfilter(b, a, scipy.signal.fftconvolve(claps, burst)[:count])
    swell = np.minimum(1.0, np.minimum(np.arange(count), np.arange(count)[::-1]) / (0.4 * RATE_HZ))
    return 0.15 * swell * sound / (np.std(sound) + 1e-9)


def render(song, path):
    """Writes the song as a 16-bit WAV file."""
    folder = Path(path).parent
    random = np.random.default_rng([song.seed, 77])
    midi, raw = Path(f"{path}.mid"), Path(f"{path}.raw.wav")
    midi.write_bytes(midi_bytes(song))
    room = ["-o", "synth.reverb.room-size=0.7", "-o", "synth.reverb.level=0.8"] if song.reverb else []
    subprocess.run(["fluidsynth", "-ni", "-q", "-g", "0.5", "-r", str(RATE_HZ), "-R", str(int(song.reverb)), "-C", "0",
                    *room, "-F", str(raw), "-T", "wav", SOUNDFONT, str(midi)], check=True,
                   stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    _, samples = scipy.io.wavfile.read(raw)
    end = int((song.edges[-1] + 1.5) * RATE_HZ)
    samples = np.pad(samples[:end] / 32768.0, ((0, max(0, end - len(samples))), (0, 0)))
    for begin, finish, what in song.spoken:
        sound = speech(random, finish - begin, folder) if what == "speech" else applause(random, finish - begin)
        first = int(begin * RATE_HZ)
        samples[first : first + len(sound)] += 0.5 * sound[: len(samples) - first, None]
    if song.fade_in:
        count = int(song.fade_in * RATE_HZ)
        samples[:count] *= (np.arange(count) / count)[:, None] ** 2
    samples *= 0.9 / max(0.9, np.max(np.abs(samples)))
    scipy.io.wavfile.write(path, RATE_HZ, np.round(samples * 32767).astype(np.int16))
    midi.unlink()
    raw.unlink()
