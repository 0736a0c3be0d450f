// Sections: bars along both axes, a table, and labels to save.

const parts = facts.sections ?? [];

/** A label file may leave a name out. */
const nameOf = ({label}) => label || "unnamed";

/** One color a letter, all light enough for dark text. */
const partColors = new Map();
for (const {label} of parts)
    if (!partColors.has(label)) partColors.set(label, `hsl(${Math.round(35 + partColors.size * 137.5) % 360} 62% 74%)`);

function partButton(part) {
    const button = document.createElement("button");
    button.type = "button";
    button.className = "part";
    button.disabled = !facts.sound;
    button.textContent = nameOf(part);
    button.style.background = partColors.get(part.label);
    button.title = `${nameOf(part)} ${clock(part.start)} – ${clock(part.end)}`;
    // A label of no length is a place to begin at.
    button.addEventListener("click", () => playWhole(part.start, part.end > part.start ? part.end : Infinity));
    return button;
}

function fillParts() {
    document.getElementById("parts").hidden = parts.length === 0;
    const body = document.querySelector("#sections tbody");
    for (const part of parts) {
        const row = body.insertRow();
        Object.assign(row.dataset, {start: part.start, end: part.end, label: part.label});
        const button = partButton(part);
        if (facts.sound) button.setAttribute("aria-label", `Play ${nameOf(part)}`);
        row.insertCell().append(button);
        row.insertCell().textContent = clock(part.start);
        row.insertCell().textContent = clock(part.end);
    }
    for (const axis of ["x", "y"])
        document.getElementById(`bars-${axis}`).append(
            ...parts.map((part) => {
                const bar = partButton(part);
                bar.tabIndex = -1;
                bar.classList.toggle("long", part.label.length > 2);
                return bar;
            })
        );
    document.getElementById("labels").addEventListener("click", saveLabels);
}

/** Lays the bars beside what is seen of the axes. */
function placeParts() {
    const layAlong = (bars, from, start, size) =>
        parts.forEach((part, k) => {
            const begin = Math.max((placeOf(part.start) - from) / view.span, 0);
            const end = Math.min((placeOf(part.end) - from) / view.span, 1);
            const bar = bars.children[k];
            bar.hidden = end <= begin;
            bar.style[start] = `${100 * begin}%`;
            bar.style[size] = `${100 * Math.max(end - begin, 0)}%`;
            bar.textContent = (end - begin) * square.clientWidth > 10 ? nameOf(part) : "";
        });
    layAlong(document.getElementById("bars-x"), view.x, "left", "width");
    layAlong(document.getElementById("bars-y"), view.y, "bottom", "height");
    document.getElementById("bars-y").style.visibility = view.kind === "lag" ? "hidden" : "visible";
}

let marked = null;

/** Marks the row of the part that the player stands in, once it was used. */
function markPart(seconds) {
    const {rows} = document.querySelector("#sections tbody");
    const used = seconds > 0 || playing.what === "whole";
    const row = used ? rows[parts.findIndex(({start, end}) => seconds >= start && seconds < end)] : undefined;
    if (row === marked) return;
    marked?.removeAttribute("aria-current");
    row?.setAttribute("aria-current", "true");
    marked = row;
}

/** Audacity's label track: start, end and text, with tabs between them. */
function saveLabels() {
    const text = parts.map(({start, end, label}) => `${start.toFixed(6)}\t${end.toFixed(6)}\t${label}\n`).join("");
    const link = document.createElement("a");
    link.href = URL.createObjectURL(new Blob([text], {type: "text/plain"}));
    link.download = `${facts.title.replace(/\.[^.]*$/, "")}.txt`;
    link.click();
    setTimeout(() => URL.revokeObjectURL(link.href), 1000);
}
