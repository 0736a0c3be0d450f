// Mouse, fingers, wheel and keys; then the start.

const fingers = new Map();
let dragged = false;

function placeOfPointer({clientX, clientY}) {
    const box = square.getBoundingClientRect();
    return [(clientX - box.left) / box.width, (box.bottom - clientY) / box.height];
}

/** Middle of all fingers, and how far they are apart. */
function grip() {
    const places = [...fingers.values()].map(placeOfPointer);
    const middle = [0, 1].map((axis) => places.reduce((sum, place) => sum + place[axis], 0) / places.length);
    const [a, b] = places;
    return {middle, apart: b ? Math.hypot(a[0] - b[0], a[1] - b[1]) : 1};
}

function dragTo(event) {
    const before = grip();
    const {clientX: fromX, clientY: fromY} = fingers.get(event.pointerId);
    // A hand that clicks trembles.
    if (!dragged && fingers.size === 1 && Math.hypot(event.clientX - fromX, event.clientY - fromY) < 5) return;
    dragged = true;
    square.setPointerCapture(event.pointerId);
    fingers.set(event.pointerId, event);
    const after = grip();
    zoom(before.apart / Math.max(after.apart, 0.01), ...before.middle);
    move((before.middle[0] - after.middle[0]) * view.span, (before.middle[1] - after.middle[1]) * view.span);
}

square.addEventListener("pointerdown", (event) => {
    if (fingers.size === 0) dragged = false;
    fingers.set(event.pointerId, event);
});
square.addEventListener("pointermove", (event) => {
    if (fingers.has(event.pointerId)) dragTo(event);
    pointed = cellAt(...placeOfPointer(event));
    tell();
});
for (const end of ["pointerup", "pointercancel"])
    window.addEventListener(end, (event) => fingers.delete(event.pointerId));
square.addEventListener("pointerleave", () => {
    pointed = null;
    tell();
});
square.addEventListener("click", (event) => {
    const cell = cellAt(...placeOfPointer(event));
    if (dragged || !cell) return;
    choose(cell.i, cell.j);
    hearChosen("moments");
});
square.addEventListener("dblclick", () => {
    silence();
    fit();
});
square.addEventListener(
    "wheel",
    (event) => {
        event.preventDefault();
        const lines = event.deltaMode === WheelEvent.DOM_DELTA_LINE ? 16 : 1;
        zoom(Math.exp(event.deltaY * lines * 0.002), ...placeOfPointer(event));
    },
    {passive: false}
);

/** The next choice of a list. */
function turn(list) {
    list.selectedIndex = (list.selectedIndex + 1) % list.options.length;
    list.dispatchEvent(new Event("change"));
}

/** Moves the chosen cell, which begins in the middle of what is seen. */
function moveChosen(columns, rows) {
    const {i, j} = chosen ?? cellAt(0.5, 0.5) ?? {i: 0, j: 0};
    choose(i + columns, j + rows + (view.kind === "lag" ? columns : 0));
}

const steps = {ArrowLeft: [-1, 0], ArrowRight: [1, 0], ArrowUp: [0, 1], ArrowDown: [0, -1]};

const keys = {
    "f": () => toggle("stripe"),
    "p": () => toggle("whole"),
    "o": () => turn(loop),
    "v": () => turn(viewChoice),
    "g": () => gabarits.length > 1 && turn(shownChoice),
    "c": () => mapChoice.disabled || turn(mapChoice),
    "+": () => zoomChosen(0.8),
    "=": () => zoomChosen(0.8),
    "-": () => zoomChosen(1.25),
    "0": fit,
    "escape": silence,
};

document.addEventListener("keydown", (event) => {
    const {key, target} = event;
    const typing = target instanceof HTMLSelectElement;
    if (event.ctrlKey || event.metaKey || event.altKey || typing || n === 0) return;
    const inSquare = target === square || target === document.body;
    let action = keys[key.toLowerCase()];
    if (inSquare && key in steps) {
        const far = event.shiftKey ? 10 : 1;
        action = () => moveChosen(...steps[key].map((cells) => far * cells));
    } else if (inSquare && (key === "Enter" || key === " "))
        action = () => (chosen ? toggle("moments") : moveChosen(0, 0));
    if (!action) return;
    event.preventDefault();
    action();
});

/** The waveform as a slider of the whole sound. */
function seekWhole(seconds) {
    const place = Math.min(Math.max(seconds, 0), facts.sound.seconds);
    if (playing.what === "whole") playWhole(place);
    else sound.currentTime = place;
}

waveform.addEventListener("pointerdown", (event) => {
    const box = waveform.getBoundingClientRect();
    seekWhole(secondsAt(view.x + ((event.clientX - box.left) / box.width) * view.span));
});
waveform.addEventListener("keydown", (event) => {
    const places = {
        ArrowLeft: sound.currentTime - 5,
        ArrowRight: sound.currentTime + 5,
        Home: 0,
        End: facts.sound.seconds,
    };
    if (!(event.key in places)) return;
    event.preventDefault();
    seekWhole(places[event.key]);
});
sound.addEventListener("seeked", requestCursors);

document.getElementById("hear").addEventListener("click", () => chosen || moveChosen(0, 0) || toggle("moments"));
document.getElementById("follow").addEventListener("click", () => toggle("stripe"));
document.getElementById("play").addEventListener("click", () => toggle("whole"));

function choices(list, names) {
    list.replaceChildren(...names.map((name, k) => new Option(name, k)));
}

/** Which color is which gabarit. */
function fillLegend() {
    const legend = document.getElementById("legend");
    legend.append(
        ...facts.names.map((name, k) => {
            const entry = document.createElement("span");
            entry.textContent = `${name} alone`;
            entry.style.setProperty("--hue", `rgb(${hues[k]})`);
            return entry;
        })
    );
    const both = document.createElement("span");
    both.textContent = "both";
    both.style.setProperty("--hue", "#fff");
    legend.append(both);
}

/** Explains the colors that are shown: those of the levels, or those of two gabarits. */
function showColors() {
    const both = view.shown === gabarits.length;
    document.getElementById("legend").hidden = !both;
    document.getElementById("scale").hidden = both || n === 0;
    mapChoice.disabled = both;
    const stops = [0, 51, 102, 153, 204, 255].map((level) => {
        const pixel = colorMaps[view.map][level];
        return `rgb(${pixel & 255} ${(pixel >> 8) & 255} ${(pixel >> 16) & 255})`;
    });
    document.getElementById("ramp").style.background = `linear-gradient(to right, ${stops})`;
}

/** Lets a list steer one thing of the view. */
function bind(list, change) {
    list.addEventListener("change", () => {
        change(list.value);
        showColors();
        requestPaint();
    });
}

async function openPage() {
    choices(shownChoice, [...facts.names, "both"].slice(0, gabarits.length > 1 ? 3 : 1));
    choices(mapChoice, Object.keys(facts.maps));
    for (const option of mapChoice.options) option.value = option.text;
    document.getElementById("shown-label").hidden = gabarits.length < 2;
    fillLegend();
    view.shown = gabarits.length > 1 ? gabarits.length : 0;
    shownChoice.selectedIndex = view.shown;
    bind(viewChoice, (kind) => {
        Object.assign(view, {kind});
        fit();
    });
    bind(mapChoice, (map) => Object.assign(view, {map}));
    bind(shownChoice, (shown) => Object.assign(view, {shown: Number(shown)}));
    bind(loop, () => playing.what === "moments" && hearChosen("moments"));

    showColors();

    for (const element of document.querySelectorAll(".sounding, #waveform")) element.hidden = !facts.sound;
    if (!facts.sound) readout.dataset.hint = "Point at the square.";
    if (n === 0) {
        const notice = document.getElementById("notice");
        notice.hidden = false;
        notice.textContent = "The sound is shorter than a step: there are no moments to compare.";
        for (const id of ["readout", "hear", "follow"]) document.getElementById(id).hidden = true;
    }
    waveform.setAttribute("aria-valuemax", Math.floor(facts.sound?.seconds ?? 0));
    const recording = document.getElementById("recording");
    openRecording(recording.textContent.trim());
    recording.remove();
    if (!canPan) loop.value = "turns";
    fillParts();

    const lines = document.getElementById("cells").textContent.trim().split("\n");
    for (const gabarit of gabarits) await gabarit.open(lines);
    document.getElementById("cells").remove();
    new ResizeObserver(requestPaint).observe(square);
    paint();

    window.gabarit = {
        n,
        times: facts.times,
        /** Level of the cell of moments i and j; undefined where its piece hasn't been loaded. */
        level: (i, j) => gabarits[0].level(i, j),
        /** As a click at the cell of the moments nearest to these times. */
        goto: (x, y) => {
            choose(momentAt(x), momentAt(y));
            return hearChosen("moments");
        },
        /** Takes a piece from the folder beside the page. */
        piece: async (index, ti, tj, base64) => {
            await gabarits[index].square.add(ti, tj, base64);
            requestPaint();
            tell();
        },
    };
}

openPage();
