// The square's pixels: which cells lie under them, and their colors.

/** What of the page several parts steer. */
const square = document.getElementById("square");
const cursors = document.getElementById("cursors");
const waveform = document.getElementById("waveform");
const readout = document.getElementById("readout");
const [loop, viewChoice, shownChoice, mapChoice] = ["loop", "view", "shown", "map"].map((id) =>
    document.getElementById(id)
);

/** Color maps as 256 numbers each, in the byte order of image data on a little-endian machine. */
const colorMaps = Object.fromEntries(
    Object.entries(facts.maps).map(([name, base64]) => {
        const rgb = bytesOf(base64);
        return [
            name,
            Uint32Array.from({length: 256}, (_, level) => pixelOf(...rgb.subarray(3 * level, 3 * level + 3))),
        ];
    })
);

function pixelOf(red, green, blue) {
    return (0xff000000 | (blue << 16) | (green << 8) | red) >>> 0;
}

/** From black to a hue. Both hues add up to white, so that the maps of two gabarits may be added. */
function hueMap([red, green, blue], opaque) {
    return Uint32Array.from({length: 256}, (_, level) => {
        const part = (top) => Math.round((top * level) / 255);
        const pixel = (part(blue) << 16) | (part(green) << 8) | part(red);
        return opaque ? pixelOf(part(red), part(green), part(blue)) : pixel;
    });
}

const hues = [
    [255, 136, 0],
    [0, 119, 255],
];
const hueMaps = [hueMap(hues[0], true), hueMap(hues[1], false)];

/** The stretch that is seen: from (x, y) on, `span` cells a side. In the lag view y counts cells of distance. */
const view = {x: 0, y: 0, span: Math.max(n, 1), kind: "square", map: "gray", shown: 0};

function zoom(factor, atX = 0.5, atY = 0.5) {
    const span = Math.min(Math.max(view.span * factor, Math.min(4, n)), Math.max(n, 1));
    move((view.span - span) * atX, (view.span - span) * atY, span);
}

function move(cellsX, cellsY, span = view.span) {
    const clamp = (place) => Math.min(Math.max(place, 0), Math.max(n, 1) - span);
    Object.assign(view, {x: clamp(view.x + cellsX), y: clamp(view.y + cellsY), span});
    requestPaint();
}

function fit() {
    move(-view.x, -view.y, Math.max(n, 1));
}

/** The cell under a place of the canvas, 0 to 1 from its left and from its bottom; null where there is none. */
function cellAt(across, up) {
    const i = Math.floor(view.x + across * view.span);
    const j = Math.floor(view.y + up * view.span) + (view.kind === "lag" ? i : 0);
    return i >= 0 && i < n && j >= 0 && j < n ? {i, j} : null;
}

/** Places of two axis positions on the canvas, 0 to 1 from its left and from its bottom. */
function placeOnCanvas(x, y) {
    return {across: (x - view.x) / view.span, up: ((view.kind === "lag" ? y - x + 0.5 : y) - view.y) / view.span};
}

/** First and last cell of a layer under each pixel of a line; each cell belongs to one pixel if it has room. */
function cellsUnder(pixels, from, {factor, size}) {
    const first = new Int32Array(pixels),
        last = new Int32Array(pixels);
    const cell = (place) => Math.min(Math.max(Math.floor(place / factor), 0), size - 1);
    for (let p = 0; p < pixels; ++p) {
        first[p] = cell(from + (p * view.span) / pixels);
        last[p] = Math.max(first[p], cell(from + ((p + 1) * view.span) / pixels) - 1);
    }
    return {first, last};
}

/** The finest layer of which a pixel covers at most two cells a side; one cell where pieces have to be loaded. */
function layerFor(layers, pixels) {
    return layers.find(({factor, pieces}) => view.span / pixels <= (pieces ? 1 : 2) * factor) ?? layers.at(-1);
}

/** Levels of a rectangle of the square; of several cells under a pixel the brightest counts. */
function squareLevels(layer, pixels, levels) {
    const {size, cells} = layer;
    const columns = cellsUnder(pixels, view.x, layer);
    const rows = cellsUnder(pixels, view.y, layer);
    const single = view.span / pixels <= layer.factor / 2 || columns.first.every((c, p) => c === columns.last[p]);
    for (let p = 0; p < pixels; ++p) {
        const low = rows.first[p] * size,
            high = rows.last[p] * size;
        let out = (pixels - 1 - p) * pixels;
        if (single && low === high) {
            for (let q = 0; q < pixels; ++q) levels[out++] = cells[low + columns.first[q]];
            continue;
        }
        for (let q = 0; q < pixels; ++q) {
            const left = columns.first[q],
                right = columns.last[q];
            let brightest = cells[low + left];
            let other = cells[low + right];
            brightest = other > brightest ? other : brightest;
            other = cells[high + left];
            brightest = other > brightest ? other : brightest;
            other = cells[high + right];
            levels[out++] = other > brightest ? other : brightest;
        }
    }
}

/** The same with time across and distance in time up. `inside` gets 0 beyond the end of the sound. */
function lagLevels({size, cells, factor}, pixels, levels, inside) {
    const moments = {factor: 1, size: n};
    const columns = cellsUnder(pixels, view.x, moments).first;
    const lags = cellsUnder(pixels, view.y, moments).first;
    const places = columns.map((i) => i / factor);
    for (let p = 0; p < pixels; ++p) {
        let out = (pixels - 1 - p) * pixels;
        for (let q = 0; q < pixels; ++q, ++out) {
            const j = columns[q] + lags[p];
            inside[out] = j < n ? 1 : 0;
            if (j < n) levels[out] = cells[((j / factor) | 0) * size + places[q]];
        }
    }
}

/** Overwrites the levels of a coarse layer by those of cells that have been loaded since. */
function addLoadedLevels({size, cells, pieces}, pixels, levels) {
    const {tile, tiles, loaded} = pieces;
    const columns = cellsUnder(pixels, view.x, {factor: 1, size}).first;
    const rows = cellsUnder(pixels, view.y, {factor: 1, size}).first;
    for (let p = 0; p < pixels; ++p) {
        let out = (pixels - 1 - p) * pixels;
        for (let q = 0; q < pixels; ++q, ++out) {
            const i = columns[q],
                j = rows[p] + (view.kind === "lag" ? i : 0);
            if (j < size && loaded[Math.floor(j / tile) * tiles + Math.floor(i / tile)])
                levels[out] = cells[j * size + i];
        }
    }
}

let buffers = {pixels: 0};

/** Levels of one gabarit for the canvas, in buffers that the next frame uses again. */
function levelsOf(gabarit, levels, inside) {
    const {pixels} = buffers;
    let layer = layerFor(gabarit.layers, pixels);
    const detail = layer.pieces;
    if (detail) {
        const end = Math.min(n, view.x + view.span),
            top = Math.min(n, view.y + view.span);
        gabarit.ask(view.x, end, ...(view.kind === "lag" ? [view.x + view.y, Math.min(n, end + top)] : [view.y, top]));
        layer = gabarit.layers[1];
    }
    if (view.kind === "lag") lagLevels(layer, pixels, levels, inside);
    else squareLevels(layer, pixels, levels);
    if (detail) addLoadedLevels(gabarit.layers[0], pixels, levels);
}

/** Draws what is seen on a canvas of square shape. */
function paintSquare(canvas, gabarits) {
    const pixels = canvas.width;
    if (n === 0 || pixels === 0) return;
    if (buffers.pixels !== pixels) {
        const count = pixels * pixels;
        const image = new ImageData(pixels, pixels);
        buffers = {
            pixels,
            image,
            colors: new Uint32Array(image.data.buffer),
            levels: [new Uint8Array(count), new Uint8Array(count)],
            inside: new Uint8Array(count),
        };
    }
    const {colors, levels, inside, image} = buffers;
    const both = view.shown === gabarits.length;
    const shown = both ? gabarits : [gabarits[view.shown]];
    inside.fill(1);
    shown.forEach((gabarit, k) => levelsOf(gabarit, levels[k], inside));
    const [a, b] = levels;
    const map = both && gabarits.length > 1 ? hueMaps[0] : colorMaps[view.map];
    const [, other] = hueMaps;
    if (view.kind === "square" && shown.length === 1) for (let p = 0; p < colors.length; ++p) colors[p] = map[a[p]];
    else
        for (let p = 0; p < colors.length; ++p)
            colors[p] = inside[p] === 0 ? 0 : map[a[p]] + (shown.length > 1 ? other[b[p]] : 0);
    canvas.getContext("2d").putImageData(image, 0, 0);
}
