// The page itself: puts the square, its axes, the cursors and the controls together.

const gabarits = facts.names.map((_, index) => new Gabarit(index));
const peaks = facts.sound ? bytesOf(facts.sound.peaks) : new Uint8Array(0);

/** The cell that is chosen, and the one under the pointer. */
let chosen = null;
let pointed = null;

let paintPending = false;
let cursorsPending = false;

function requestPaint() {
    if (!paintPending)
        requestAnimationFrame(() => {
            paintPending = false;
            paint();
        });
    paintPending = true;
}

function requestCursors() {
    if (!cursorsPending && !paintPending)
        requestAnimationFrame(() => {
            cursorsPending = false;
            paintCursors();
        });
    cursorsPending = true;
}

/** Gives a canvas as many pixels as it covers on the screen. */
function sizeCanvas(canvas) {
    const scale = Math.min(window.devicePixelRatio, 2);
    const width = Math.round(canvas.clientWidth * scale),
        height = Math.round(canvas.clientHeight * scale);
    if (canvas.width !== width || canvas.height !== height) Object.assign(canvas, {width, height});
    return scale;
}

function paint() {
    sizeCanvas(square);
    square.height = square.width;
    paintSquare(square, gabarits);
    labelAxis(document.getElementById("axis-x"), "left", view.x, secondsAt);
    labelAxis(
        document.getElementById("axis-y"),
        "bottom",
        view.y,
        view.kind === "lag" ? (place) => (place - 0.5) * stepSeconds : secondsAt
    );
    placeParts();
    paintCursors();
}

/** Labels at round times: so many as have room. */
function labelAxis(axis, side, from, seconds) {
    const begin = seconds(from),
        end = seconds(from + view.span);
    const most = Math.max(square.clientWidth / 80, 2);
    const spacing =
        [0.1, 0.2, 0.5, 1, 2, 5, 10, 15, 30, 60, 120, 300, 600, 900, 1800, 3600, 7200, 14400, 43200, 86400].find(
            (step) => (end - begin) / step <= most
        ) ?? end - begin;
    const labels = [];
    for (let k = Math.ceil(begin / spacing); n > 0 && k * spacing <= end; ++k) {
        const label = document.createElement("span");
        label.textContent = clock(k * spacing, spacing < 1 ? 1 : 0);
        label.style[side] = `${(100 * (k * spacing - begin)) / (end - begin)}%`;
        labels.push(label);
    }
    axis.replaceChildren(...labels);
}

/** Lines through a place, a dot on it, and the waveform: all that moves while something sounds. */
function paintCursors() {
    const scale = sizeCanvas(cursors);
    const context = cursors.getContext("2d");
    const {width, height} = cursors;
    context.clearRect(0, 0, width, height);
    const cross = (x, y, color) => {
        const {across, up} = placeOnCanvas(x, y);
        // Dark below light: seen on white and on black.
        for (const [style, lineWidth] of [
            ["#000c", 3 * scale],
            [color, 1.25 * scale],
        ]) {
            Object.assign(context, {strokeStyle: style, lineWidth});
            context.beginPath();
            context.moveTo(across * width, 0);
            context.lineTo(across * width, height);
            context.moveTo(0, (1 - up) * height);
            context.lineTo(width, (1 - up) * height);
            context.stroke();
            context.beginPath();
            context.arc(across * width, (1 - up) * height, 5 * scale, 0, 2 * Math.PI);
            context.stroke();
        }
    };
    const {what} = playing;
    if (chosen) cross(chosen.i + 0.5, chosen.j + 0.5, "#fff");
    if (what === "moments" || what === "stripe")
        cross(placeOf(left.currentTime), placeOf(right.currentTime), "#ffb14a");
    if (what === "whole" || (sound.currentTime > 0 && what === "nothing"))
        cross(placeOf(sound.currentTime), placeOf(sound.currentTime), "#ffb14a");
    paintWaveform();
    showState();
}

function paintWaveform() {
    if (!facts.sound) return;
    const scale = sizeCanvas(waveform);
    const context = waveform.getContext("2d");
    const {width, height} = waveform;
    const style = getComputedStyle(document.documentElement);
    const x = (seconds) => ((placeOf(seconds) - view.x) / view.span) * width;
    context.clearRect(0, 0, width, height);
    context.fillStyle = style.getPropertyValue("--quiet");
    for (let p = 0; p < width; ++p) {
        const from = Math.floor((secondsAt(view.x + (p / width) * view.span) / facts.sound.seconds) * peaks.length);
        const to = Math.ceil((secondsAt(view.x + ((p + 1) / width) * view.span) / facts.sound.seconds) * peaks.length);
        let peak = 0;
        for (let k = Math.max(from, 0); k < Math.min(to, peaks.length); ++k) peak = Math.max(peak, peaks[k]);
        const half = Math.max(((peak / 255) * height) / 2, peaks.length > 0 ? 0.5 : 0);
        context.fillRect(p, height / 2 - half, 1, 2 * half);
    }
    context.fillStyle = style.getPropertyValue("--accent");
    const marks = playing.what === "moments" || playing.what === "stripe" ? [left, right] : [sound];
    for (const {currentTime} of marks) context.fillRect(x(currentTime) - scale, 0, 2 * scale, height);
}

/** Buttons and texts that say what sounds. */
function showState() {
    const press = (id, on) => document.getElementById(id).setAttribute("aria-pressed", on);
    const whole = playing.what === "whole";
    press("play", whole);
    press("follow", playing.what === "stripe");
    document.getElementById("play").textContent = whole ? "Pause" : "Play";
    document.getElementById("hear").textContent = playing.what === "moments" ? "Stop" : "Hear both";
    if (!facts.sound) return;
    document.getElementById("clock").textContent = `${clock(sound.currentTime, 0)} / ${clock(facts.sound.seconds, 0)}`;
    waveform.setAttribute("aria-valuenow", Math.round(sound.currentTime));
    waveform.setAttribute("aria-valuetext", clock(sound.currentTime, 0));
    markPart(sound.currentTime);
}

/** Shows both times and the level of the cell under the pointer, or else of the chosen one. */
function tell() {
    const cell = pointed ?? chosen;
    if (!cell) return;
    const {i, j} = cell;
    const levels = gabarits.map((gabarit) => gabarit.level(i, j));
    const times = `${clock(facts.times[i])} / ${clock(facts.times[j])}`;
    readout.textContent = [times, ...levels.map((level) => level ?? "…")].join(" · ");
    Object.assign(readout.dataset, {x: facts.times[i], y: facts.times[j], level: levels[0] ?? ""});
    if (levels.length > 1) readout.dataset.other = levels[1] ?? "";
    levels.forEach((level, k) => {
        if (level === undefined) gabarits[k].ask(i, i + 1, j, j + 1);
    });
}

/** Chooses a cell and moves the view so that it is seen. */
function choose(i, j) {
    if (n === 0) return;
    const inside = (k) => Math.min(Math.max(k, 0), n - 1);
    chosen = {i: inside(i), j: inside(j)};
    pointed = null;
    const {across, up} = placeOnCanvas(chosen.i + 0.5, chosen.j + 0.5);
    const away = (place) => (place < 0 || place > 1 ? (place - 0.5) * view.span : 0);
    if (away(across) || away(up)) move(away(across), away(up));
    tell();
    requestCursors();
}

/** Zooms about the chosen cell, which may lie outside what is seen. */
function zoomChosen(factor) {
    const {across, up} = chosen ? placeOnCanvas(chosen.i + 0.5, chosen.j + 0.5) : {across: 0.5, up: 0.5};
    const seen = across >= 0 && across <= 1 && up >= 0 && up <= 1;
    zoom(factor, ...(seen ? [across, up] : [0.5, 0.5]));
}

function hearChosen(what) {
    return chosen ? hear(facts.times[chosen.i], facts.times[chosen.j], what) : undefined;
}

function toggle(what) {
    if (playing.what === what) silence();
    else if (what === "whole") playWhole(sound.ended ? 0 : sound.currentTime);
    else hearChosen(what);
}
