// What is heard: the two moments by #left and #right, the whole by #sound.

const left = document.getElementById("left");
const right = document.getElementById("right");
const sound = document.getElementById("sound");
const momentSeconds = 2;

/** A file beside a page that was opened from a disk is silent through Web Audio. */
const canPan = !(facts.sound?.beside && location.protocol === "file:");
let panned = null;

/** What sounds now: nothing, both moments, both followed, or the whole up to a time. */
const playing = {what: "nothing", x: 0, y: 0, until: Infinity, mode: "together"};

/** Gives the elements their source. */
function openRecording(base64) {
    if (!facts.sound) return;
    const {beside} = facts.sound;
    const carried = () => URL.createObjectURL(new Blob([bytesOf(base64)], {type: "audio/ogg"}));
    const lost = beside ? lostFolder : "This browser can't play the sound that the page carries, which is Ogg Opus.";
    sound.addEventListener("error", () => reportMissing(lost));
    const source = beside ? besidePage("sound.opus") : carried();
    // Of a long file each element reads some megabytes in advance.
    for (const element of [left, right]) Object.assign(element, {preload: beside ? "none" : "auto", src: source});
    Object.assign(sound, {preload: beside ? "metadata" : "auto", src: source});
}

/** One moment to the left ear, one to the right. Browsers let it sound after a gesture of the user. */
function panEars() {
    if (panned) panned.resume();
    if (!canPan || panned) return;
    panned = new AudioContext();
    for (const [element, pan] of [
        [left, -1],
        [right, 1],
    ]) {
        const panner = new StereoPannerNode(panned, {pan, channelCount: 1, channelCountMode: "explicit"});
        panned.createMediaElementSource(element).connect(panner).connect(panned.destination);
    }
}

/** Resolves once the element stands there, or can't. */
function seek(element, seconds) {
    return new Promise((resolve) => {
        const set = () => (element.currentTime = seconds);
        element.addEventListener("seeked", resolve, {once: true});
        element.addEventListener("error", resolve, {once: true});
        if (element.error) resolve();
        else if (element.readyState > 0) set();
        else {
            element.addEventListener("loadedmetadata", set, {once: true});
            element.preload = "auto";
        }
    });
}

function silence() {
    for (const element of [left, right, sound]) element.pause();
    playing.what = "nothing";
    clearInterval(playing.timer);
    requestCursors();
}

/** Begins something new: whatever is still about to begin then stops by itself. */
function beginPlaying(what, details = {}) {
    silence();
    Object.assign(playing, {what, until: Infinity, begun: (playing.begun ?? 0) + 1}, details);
    playing.timer = setInterval(followTime, 25);
    return playing.begun;
}

/** Makes two moments heard, given by their seconds, as #loop says, or both on and on. */
async function hear(x, y, what = "moments") {
    if (!facts.sound) return;
    const mine = beginPlaying(what, {x, y, mode: what === "moments" ? loop.value : "together"});
    panEars();
    await Promise.all([seek(left, x), seek(right, y)]);
    if (playing.begun !== mine || playing.what !== what) return;
    await playOrStop(mine, ...(playing.mode === "turns" ? [left] : [left, right]));
}

/** Starts elements together. Browsers refuse before the first gesture of the user. */
async function playOrStop(mine, ...elements) {
    const starts = await Promise.allSettled(elements.map((element) => element.play()));
    if (starts.some(({status}) => status === "rejected") && playing.begun === mine) silence();
}

/** Plays the whole sound from there. */
async function playWhole(from, until = Infinity) {
    if (!facts.sound) return;
    const mine = beginPlaying("whole", {until});
    await seek(sound, from);
    if (playing.begun === mine && playing.what === "whole") await playOrStop(mine, sound);
}

const isOver = (element, end) => element.ended || element.currentTime >= end;

/** Ends, turns or repeats what plays. */
function followTime() {
    const {what, mode, x, y} = playing;
    if ((what === "whole" && isOver(sound, playing.until)) || (what === "stripe" && (left.ended || right.ended)))
        silence();
    if (what === "moments") followMoments(mode, x, y);
    requestCursors();
}

function followMoments(mode, x, y) {
    const leftOver = isOver(left, x + momentSeconds),
        rightOver = isOver(right, y + momentSeconds);
    if (mode === "turns") {
        if ((leftOver && !left.paused) || (left.ended && right.paused && !rightOver)) {
            left.pause();
            right.play();
        }
        if (rightOver) silence();
    } else if ((leftOver && rightOver) || (mode === "loop" && (leftOver || rightOver))) {
        if (mode === "loop") hear(x, y);
        else silence();
    }
}
