// What the page carries, and the square as it is asked for: level by level and, for the picture, in layers of
// smaller and smaller squares.

const facts = JSON.parse(document.getElementById("facts").textContent);
const n = facts.times.length;

/** A page that was moved alone has lost its folder. */
const lostFolder = `The folder "${facts.folder}" must lie beside this page; a file of it can't be read.`;

/** Says what the page lacks. */
function reportMissing(text) {
    const missing = document.getElementById("missing");
    missing.hidden = false;
    missing.textContent = text;
}

/** Bytes of a base64 text. */
function bytesOf(base64) {
    const text = atob(base64);
    const bytes = new Uint8Array(text.length);
    for (let k = 0; k < text.length; ++k) bytes[k] = text.charCodeAt(k);
    return bytes;
}

/** Inflates zlib's format. */
async function inflate(bytes) {
    const stream = new Blob([bytes]).stream().pipeThrough(new DecompressionStream("deflate"));
    return new Uint8Array(await new Response(stream).arrayBuffer());
}

/**
 * A square of size by size bytes that arrives in tiles of its upper half, each as differences from its neighbors:
 * d(i, j) = a(i, j) - a(i - 1, j) - a(i, j - 1) + a(i - 1, j - 1) modulo 256, a being 0 outside the tile.
 */
class TiledSquare {
    constructor(size, tile) {
        this.size = size;
        this.tile = tile;
        this.tiles = Math.ceil(size / tile);
        this.cells = new Uint8Array(size * size);
        this.loaded = new Uint8Array(this.tiles * this.tiles);
    }

    /** Takes the tile of columns from ti and rows from tj on, tj >= ti, and its mirror image. */
    async add(ti, tj, base64) {
        const differences = await inflate(bytesOf(base64));
        const {size, tile, cells} = this;
        const iEnd = Math.min(size, (ti + 1) * tile);
        const jEnd = Math.min(size, (tj + 1) * tile);
        const height = jEnd - tj * tile;
        const column = new Uint8Array(height);
        for (let i = ti * tile, d = 0; i < iEnd; ++i) {
            let rise = 0;
            for (let j = tj * tile, k = 0; k < height; ++j, ++k) {
                rise += differences[d++];
                column[k] += rise;
                cells[i * size + j] = column[k];
                cells[j * size + i] = column[k];
            }
        }
        this.loaded[ti * this.tiles + tj] = this.loaded[tj * this.tiles + ti] = 1;
    }

    isLoaded(i, j) {
        return this.loaded[Math.floor(i / this.tile) * this.tiles + Math.floor(j / this.tile)] === 1;
    }
}

/**
 * Half as many cells a side: each is midway between the mean and the maximum of four, so that a repeat of one bright
 * cell in the dark stays visible.
 */
function halved({size, cells, factor}) {
    const half = Math.ceil(size / 2);
    const pooled = new Uint8Array(half * half);
    for (let i = 0; i < half; ++i) {
        const left = 2 * i * size;
        const right = Math.min(2 * i + 1, size - 1) * size;
        for (let j = 0; j < half; ++j) {
            const low = 2 * j;
            const high = Math.min(low + 1, size - 1);
            const a = cells[left + low],
                b = cells[left + high],
                c = cells[right + low],
                d = cells[right + high];
            pooled[i * half + j] = (a + b + c + d + 4 * Math.max(a, b, c, d)) / 8;
        }
    }
    return {size: half, cells: pooled, factor: 2 * factor};
}

/** One gabarit of the page. */
class Gabarit {
    constructor(index) {
        this.index = index;
        this.square = new TiledSquare(n, facts.tile);
        this.asked = new Set();
    }

    /** Layers from fine to coarse: {size, cells, factor, and pieces where not all cells are there}. */
    async open(lines) {
        const {overview} = facts;
        const inside = overview ? new TiledSquare(overview.size, facts.tile) : this.square;
        const pending = [];
        for (let ti = 0; ti < inside.tiles; ++ti)
            for (let tj = ti; tj < inside.tiles; ++tj) pending.push(inside.add(ti, tj, lines.shift()));
        await Promise.all(pending);
        this.layers = [{size: n, cells: this.square.cells, factor: 1}];
        if (overview) {
            this.layers[0].pieces = this.square;
            this.layers.push({size: overview.size, cells: inside.cells, factor: overview.factor});
        }
        while (this.layers.at(-1).size > 256) this.layers.push(halved(this.layers.at(-1)));
    }

    /** The byte of a cell; undefined outside, and where its piece isn't there yet. */
    level(i, j) {
        if (!(i >= 0 && i < n && j >= 0 && j < n) || !this.square.isLoaded(i, j)) return undefined;
        return this.square.cells[i * n + j];
    }

    /** Loads the pieces of some cells from the folder beside the page. They arrive as scripts: a page that is opened
     *  from a disk may read no other way. */
    ask(iFrom, iTo, jFrom, jTo) {
        const {tile} = facts;
        for (let ti = Math.floor(iFrom / tile); ti * tile < iTo; ++ti)
            for (let tj = Math.floor(jFrom / tile); tj * tile < jTo; ++tj) {
                const name = `${this.index}-${Math.min(ti, tj)}-${Math.max(ti, tj)}.js`;
                if (this.asked.has(name) || this.square.isLoaded(ti * tile, tj * tile)) continue;
                this.asked.add(name);
                const script = document.createElement("script");
                script.src = besidePage(name);
                script.onerror = () => {
                    this.asked.delete(name);
                    reportMissing(lostFolder);
                };
                document.head.append(script);
            }
    }
}

/** Where a file of the folder beside the page is. */
function besidePage(name) {
    return `${encodeURIComponent(facts.folder)}/${name}`;
}

/** The moment nearest to a time. */
function momentAt(seconds) {
    const {times} = facts;
    let low = 0,
        high = n - 1;
    while (high - low > 1) {
        const middle = (low + high) >> 1;
        if (times[middle] <= seconds) low = middle;
        else high = middle;
    }
    return n > 1 && seconds - times[low] > times[high] - seconds ? high : low;
}

// Along an axis, moment i fills the stretch from i to i + 1.
const firstSeconds = n > 0 ? facts.times[0] : 0;
const stepSeconds = n > 1 ? (facts.times[n - 1] - firstSeconds) / (n - 1) : facts.step;
const placeOf = (seconds) => (seconds - firstSeconds) / stepSeconds + 0.5;
const secondsAt = (place) => (place - 0.5) * stepSeconds + firstSeconds;

/** m:ss, with hours from one on, and so many decimals. */
function clock(seconds, decimals = 1) {
    const units = Math.round(Math.abs(seconds) * 10 ** decimals);
    const whole = Math.floor(units / 10 ** decimals);
    const hours = Math.floor(whole / 3600),
        minutes = Math.floor(whole / 60) % 60;
    const pad = (number, width) => String(number).padStart(width, "0");
    return (
        (seconds < 0 && units > 0 ? "-" : "") +
        (hours > 0 ? `${hours}:${pad(minutes, 2)}` : String(minutes)) +
        `:${pad(whole % 60, 2)}` +
        (decimals > 0 ? `.${pad(units % 10 ** decimals, decimals)}` : "")
    );
}
