"""Composes songs of known form by other rules than compose_songs.py, to show whether the sections were tuned to those:
meters of 3 to 7 beats, rhythms of evenly spread strokes, chords that wander by common tones, up to five voices of any
program but the effects. Shares the rendering alone.
"""
import numpy as np

from compose_songs import KINDS, Song, by_appearance

MODES = [[0, 2, 4, 5, 7, 9, 11], [0, 2, 3, 5, 7, 8, 10], [0, 2, 4, 5, 7, 9, 10], [0, 1, 3, 5, 7, 8, 10],
         [0, 2, 3, 5, 7, 8, 11]]
DRUMS = [[36], [38, 40, 37], [42, 44, 46], [51, 59, 53], [41, 45, 48], [54, 69, 70, 82], [60, 61, 64], [76, 77]]
CHANNELS = [0, 1, 2, 3, 4]


def spread(strokes, places, turn):
    """Strokes spread evenly over the places of a bar (E. D. Demaine et al., Comput. Geom. 42(5), 2009)."""
    return sorted((turn + places * k // strokes) % places for k in range(strokes))


def chords_of(random, count):
    """Degrees of the roots; each chord shares a tone or two with the last."""
    chords = [int(random.choice([0, 0, 0, 3, 4, 5]))]
    while len(chords) < count:
        chords.append(int((chords[-1] + random.choice([2, 3, 4, 5, 1], p=[0.2, 0.3, 0.3, 0.1, 0.1])) % 7))
    return chords


def harmony_of(random, meter, bars):
    """Key, mode, chords by bar, and a tune of (bar, place, places, degree) that goes through the whole part."""
    chords = chords_of(random, int(random.choice([2, 3, 4, 4, 6, 8])))
    tune, degree = [], int(random.integers(0, 8))
    for bar in range(bars):
        for place in range(0, 2 * meter, int(random.choice([1, 2, 2, 3]))):
            if random.random() < 0.6:
                tune.append((bar, place, int(random.integers(1, 4)), degree))
                degree = int(np.clip(degree + random.choice([-2, -1, -1, 1, 1, 2, 4, -4]), -2, 10))
    return {"key": int(random.integers(12)), "mode": MODES[random.integers(len(MODES))], "chords": chords, "tune": tune}


def band_of(random, meter):
    """Voices of (role, program, strokes of a bar, octave, velocity), and drums of (key, strokes, velocity)."""
    roles = ["chord", *random.permutation(["bass", "tune", "broken", "drone"])[: random.integers(1, 5)]]
    voices = []
    for role in roles:
        program = int(random.integers(32, 40) if role == "bass" and random.random() < 0.7 else random.integers(0, 96))
        strokes = spread(int(random.integers(1, 2 * meter if role in ("bass", "broken") else 5)), 2 * meter,
                         int(random.choice([0, 0, 1, 2])))
        voices.append((str(role), program, strokes, int(random.integers(-1, 2)), int(random.integers(60, 110))))
    drums = []
    if random.random() < 0.6:
        for place in random.permutation(len(DRUMS))[: random.integers(1, 5)]:
            drums.append((int(random.choice(DRUMS[place])), spread(int(random.integers(1, meter + 3)), 2 * meter,
                                                                   int(random.integers(4))), int(random.integers(50, 110))))
    return {"voices": voices, "drums": drums}


def form_of(random):
    letters, count = int(random.integers(2, 6)), int(random.integers(5, 12))
    while True:
        form = by_appearance([chr(65 + int(random.integers(letters))) for _ in range(count)])
        if 1 < len(set(form)) < len(form) and not any(letter * 3 in form for letter in form):
            return form


def pitch(part, degree, octave):
    return 48 + part["key"] + part["mode"][degree % 7] + 12 * (degree // 7 + octave)


def play(random, song, part, start):
    """One pass of a part; two are alike but for the hands that play them."""
    place_seconds, places = part["place_seconds"], 2 * part["meter"]
    notes = []
    for bar in range(part["bars"]):
        chord = part["chords"][bar % len(part["chords"])]
        for channel, (role, _, strokes, octave, velocity) in zip(CHANNELS, part["voices"]):
            for turn, place in enumerate(strokes):
                till = strokes[turn + 1] if turn + 1 < len(strokes) else places
                degrees = {"chord": [0, 2, 4], "bass": [-7], "drone": [-7 - chord], "tune": [],
                           "broken": [[0, 2, 4, 7, 4, 2][turn % 6]]}[role]
                notes += [(bar, place, till - place, channel, pitch(part, chord + d, octave * (role != "bass") + 1),
                           velocity) for d in degrees]
        notes += [(bar, place, 1, 9, key, velocity) for key, strokes, velocity in part["drums"] for place in strokes]
    for channel, (role, _, _, octave, velocity) in zip(CHANNELS, part["voices"]):
        if role == "tune":
            notes += [(b, p, length, channel, pitch(part, d, octave + 2), velocity) for b, p, length, d in part["tune"]]
    for channel, voice in zip(CHANNELS, part["voices"]):
        song.programs.append((start - 0.02, channel, voice[1]))
    for bar, place, length, channel, key, velocity in notes:
        begin = max(start, start + (bar * places + place) * place_seconds + random.normal(0, song.humanize))
        loudness = int(np.clip(random.normal(velocity, 6), 20, 127))
        song.notes.append((begin, begin + length * place_seconds * random.uniform(0.8, 1.0), channel, key, loudness))


def compose(seed, kind="both", form=None):
    """The song of that seed, in a form of its own if none is given."""
    random = np.random.default_rng([seed, KINDS.index(kind), 5])
    song = Song(seed, kind)
    song.humanize = random.uniform(0.003, 0.025)
    song.reverb = seed % 2 == 1
    song.form = form or form_of(random)
    meter, place_seconds = int(random.choice([3, 4, 4, 4, 5, 6, 7])), 30 / random.uniform(60, 180)
    parts = {}
    for letter in sorted(set(song.form)):
        bar_seconds = 2 * meter * place_seconds
        bars = int(random.integers(int(np.ceil(4 / bar_seconds)), int(25 / bar_seconds) + 1))
        part = {"meter": meter, "place_seconds": place_seconds, "bars": bars, **harmony_of(random, meter, bars),
                **band_of(random, meter)}
        if parts:
            same = {"harmony": ("voices", "drums"), "instruments": ("key", "mode", "chords", "tune", "bars")}
            part.update({name: parts["A"][name] for name in same.get(kind, ())})
        parts[letter] = part
    time = 0.0
    for letter in song.form:
        song.edges.append(time)
        play(random, song, parts[letter], time)
        time += parts[letter]["bars"] * 2 * meter * place_seconds
    song.edges.append(time)
    song.traits = [f"meter {meter}", f"{60 / (2 * place_seconds):.0f} per minute"] + ["reverb"] * song.reverb
    return song
