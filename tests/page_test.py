#!/usr/bin/env python3
"""What `gabarit page` writes, in a real browser: Chromium, steered as a hand would steer it.

marquen, gabarit and compose must be on the PATH.
"""
import base64
import json
import math
import os
import random
import struct
import subprocess
import tempfile
import time
import unittest
import wave
from pathlib import Path

from selenium import webdriver
from selenium.webdriver.chrome.service import Service
from selenium.webdriver.common.actions.wheel_input import ScrollOrigin
from selenium.webdriver.common.action_chains import ActionChains
from selenium.webdriver.common.by import By
from selenium.webdriver.common.keys import Keys
from selenium.webdriver.support.ui import Select, WebDriverWait

FLAGS = """--headless --no-sandbox --disable-gpu --disable-quic --no-first-run --disable-background-networking
           --disable-component-update --disable-sync --window-size=1200,1000""".split()


def run(*command):
    return subprocess.run([str(word) for word in command], capture_output=True, text=True)


def must(*command):
    done = run(*command)
    assert done.returncode == 0, f"{command}: {done.stderr}"


def write_tones(path, seconds, rate=8000):
    """Half seconds of two tones in turn."""
    second = b"".join(
        struct.pack("<h", int(9000 * math.sin(2 * math.pi * (330 if k * 2 // rate % 2 else 550) * k / rate)))
        for k in range(rate))
    with wave.open(str(path), "wb") as file:
        file.setparams((1, 2, rate, 0, "NONE", ""))
        file.writeframes((second * math.ceil(seconds))[:2 * int(seconds * rate)])


def bytes_of(sdif):
    """Rows of the square, and the times."""
    must("gabarit", "export", sdif, sdif.with_suffix(".npy"))

    def data(ending):
        file = sdif.with_suffix(ending).read_bytes()
        return file[10 + int.from_bytes(file[8:10], "little"):]

    times = [time for time, in struct.iter_unpack("<d", data(".times.npy"))]
    levels = data(".npy")
    return [list(levels[k:k + len(times)]) for k in range(0, len(levels), len(times))], times


class PageTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        scratch = tempfile.TemporaryDirectory()
        cls.addClassCleanup(scratch.cleanup)
        cls.folder = Path(scratch.name)
        options = webdriver.ChromeOptions()
        for flag in FLAGS + [f"--user-data-dir={cls.folder / 'profile'}"]:
            options.add_argument(flag)
        options.set_capability("goog:loggingPrefs", {"performance": "ALL", "browser": "ALL"})
        options.add_experimental_option("prefs", {"download.default_directory": str(cls.folder)})
        cls.browser = webdriver.Chrome(options=options, service=Service("/usr/bin/chromedriver"))
        cls.addClassCleanup(cls.browser.quit)
        cls.song = cls.folder / "song.sdif"
        must("compose", cls.folder / "song.wav")
        must("marquen", "--quiet", "--input", cls.folder / "song.wav", "--similarity", cls.song)
        cls.levels, cls.times = bytes_of(cls.song)
        cls.labels = cls.folder / "parts.txt"
        cls.labels.write_text("0\t12\tA\n12\t24\tA\n24\t36\tB & <b>\n36\t48.25\tA\n")
        cls.page = cls.folder / "song.html"
        must("gabarit", "page", cls.song, cls.page, "--sections", cls.labels)

    # Steering

    def open(self, page=None):
        self.browser.get((page or self.page).as_uri())
        WebDriverWait(self.browser, 20).until(lambda browser: browser.execute_script("return !!window.gabarit"))

    def find(self, selector):
        return self.browser.find_element(By.CSS_SELECTOR, selector)

    def js(self, script, *arguments):
        return self.browser.execute_script("return " + script, *arguments)

    def settle(self):
        """Two frames, after which all that was asked for is drawn."""
        self.browser.execute_async_script("requestAnimationFrame(() => requestAnimationFrame(arguments[0]))")

    def point(self, across, up, click=False):
        """Moves to a place of the square, both 0 to 1 from its lower left corner."""
        box = self.js("document.getElementById('square').getBoundingClientRect()")
        actions = ActionChains(self.browser, duration=0)
        actions.w3c_actions.pointer_action.move_to_location(round(box["left"] + across * box["width"] - 0.5),
                                                            round(box["bottom"] - up * box["height"] - 0.5))
        if click:
            actions.w3c_actions.pointer_action.click()
        actions.perform()

    def cell_told(self):
        """The cell that the readout is about, and its level."""
        data = self.js("({...document.getElementById('readout').dataset})")
        return self.times.index(float(data["x"])), self.times.index(float(data["y"])), int(data["level"])

    def pixels(self):
        """Red, green, blue and opacity of each, row by row from the top; as base64, which is quick to hand over."""
        return base64.b64decode(self.js("""(() => {
            const {width, height} = square, {data} = square.getContext('2d').getImageData(0, 0, width, height);
            let text = '';
            for (let k = 0; k < data.length; k += 8192) text += String.fromCharCode(...data.subarray(k, k + 8192));
            return btoa(text);
        })()""".replace("square", "document.getElementById('square')")))

    def sounding(self, element):
        return self.js("(e => !e.paused && !e.ended && e.readyState > 2)(document.getElementById(arguments[0]))",
                       element)

    def seconds_of(self, element):
        return self.js("document.getElementById(arguments[0]).currentTime", element)

    def key(self, *keys):
        ActionChains(self.browser, duration=0).send_keys(*keys).perform()

    def wait(self, condition, seconds=5):
        WebDriverWait(self.browser, seconds, poll_frequency=0.02).until(lambda _: condition())

    # What it must do

    def test_asks_for_nothing_from_outside(self):
        self.browser.get_log("performance")
        self.browser.get_log("browser")
        self.open()
        self.point(0.3, 0.6, click=True)
        time.sleep(0.3)
        messages = [json.loads(entry["message"])["message"] for entry in self.browser.get_log("performance")]
        asked = [m["params"]["request"]["url"] for m in messages if m["method"] == "Network.requestWillBeSent"]
        self.assertEqual({url for url in asked if not url.startswith(("blob:", "data:"))}, {self.page.as_uri()})
        self.assertEqual([entry for entry in self.browser.get_log("browser")], [])
        blocked = self.browser.execute_async_script("""
            const done = arguments[0];
            document.addEventListener('securitypolicyviolation', (event) => done(event.violatedDirective));
            document.body.append(Object.assign(new Image(), {src: 'http://127.0.0.1:9/x.png'}));""")
        self.assertEqual(blocked, "img-src")

    def test_tells_the_bytes_of_the_gabarit(self):
        self.open()
        n = len(self.times)
        self.assertEqual(self.js("window.gabarit.n"), n)
        self.assertEqual(self.js("window.gabarit.times"), self.times)
        self.assertEqual(self.js("gabarit.times.map((_, i) => gabarit.times.map((_, j) => gabarit.level(i, j)))"),
                         self.levels)
        dice = random.Random(1)
        seen = set()
        for k in range(200):
            if k % 20 == 10:
                ActionChains(self.browser).scroll_from_origin(
                    ScrollOrigin.from_element(self.find("#square")), 0,
                    dice.choice([-300, -150, 200])).perform()
            if k % 20 == 15:
                ActionChains(self.browser).drag_and_drop_by_offset(self.find("#square"), dice.randint(-150, 150),
                                                                   dice.randint(-150, 150)).perform()
            self.point(dice.uniform(0.01, 0.99), dice.uniform(0.01, 0.99))
            i, j, level = self.cell_told()
            self.assertEqual(level, self.levels[i][j])
            seen.add((i, j))
        self.assertGreater(len(seen), 100)
        i, j, level = self.cell_told()
        tenths = lambda seconds: f"{int(seconds / 60)}:{seconds % 60:04.1f}"
        self.assertEqual(self.find("#readout").text, f"{tenths(self.times[i])} / {tenths(self.times[j])} · {level}")

    def test_points_at_the_cell_under_the_pointer(self):
        self.open()
        n = len(self.times)
        for i, j in [(0, 0), (n - 1, 0), (0, n - 1), (n - 1, n - 1), (20, 60)]:
            self.point((i + 0.5) / n, (j + 0.5) / n)
            self.assertEqual(self.cell_told()[:2], (i, j))
        gray = self.pixels()
        side = math.isqrt(len(gray) // 4)
        for i, j in [(0, 0), (20, 60), (60, 20), (94, 3)]:
            pixel = 4 * (round(side - 0.5 - (j + 0.5) / n * side) * side + int((i + 0.5) / n * side))
            self.assertEqual([*gray[pixel:pixel + 4]], [self.levels[i][j]] * 3 + [255])
        self.key("+", "+", "+")
        self.settle()
        self.assertNotEqual(self.pixels(), gray)
        ActionChains(self.browser).double_click(self.find("#square")).perform()
        self.settle()
        self.assertEqual(self.pixels(), gray)

    def test_makes_both_moments_heard(self):
        self.open()
        n = len(self.times)
        for i, j in [(10, 34), (70, 22)]:
            self.js("['left', 'right'].forEach(id => document.getElementById(id).addEventListener("
                    "'play', e => e.target.began = e.target.currentTime, {once: true}))")
            self.point((i + 0.5) / n, (j + 0.5) / n, click=True)
            time.sleep(0.5)
            for element, moment in [("left", i), ("right", j)]:
                began = self.js("document.getElementById(arguments[0]).began", element)
                self.assertAlmostEqual(began, self.times[moment], delta=0.02)
                self.assertTrue(self.sounding(element))
                self.assertGreater(self.seconds_of(element), self.times[moment] + 0.1)
        self.wait(lambda: not self.sounding("left") and not self.sounding("right"))
        self.assertLess(self.seconds_of("left"), self.times[70] + 2.5)

    def test_plays_in_turn_looped_and_on_and_on(self):
        self.open()
        loop = Select(self.find("#loop"))
        self.assertEqual(len(loop.options), 3)
        loop.select_by_index(1)
        self.point(0.2, 0.6, click=True)
        x, y = (self.times[k] for k in self.cell_told()[:2])
        self.wait(lambda: self.sounding("left"))
        self.assertFalse(self.sounding("right"))
        self.wait(lambda: self.sounding("right"))
        self.assertFalse(self.sounding("left"))
        loop.select_by_index(2)
        self.wait(lambda: self.seconds_of("left") > x + 1.5)
        self.wait(lambda: self.seconds_of("left") < x + 1)
        self.wait(lambda: self.sounding("left") and self.sounding("right"))
        self.find("#follow").click()
        self.wait(lambda: self.seconds_of("right") > y + 2.5)
        self.assertTrue(self.sounding("left") and self.sounding("right"))
        self.key(Keys.ESCAPE)
        self.assertFalse(self.sounding("left") or self.sounding("right"))

    def test_plays_the_whole_and_its_sections(self):
        self.open()
        self.find("#play").click()
        self.wait(lambda: self.sounding("sound"))
        self.find("#play").click()
        self.assertFalse(self.sounding("sound"))
        rows = self.js("[...document.querySelectorAll('#sections tbody tr')].map(row => ({...row.dataset}))")
        self.assertEqual([row["label"] for row in rows], ["A", "A", "B & <b>", "A"])
        self.assertEqual([float(row["start"]) for row in rows], [0, 12, 24, 36])
        self.assertEqual(float(rows[-1]["end"]), 48.25)
        colors = self.js("[...document.querySelectorAll('#bars-x button')].map(bar => bar.style.background)")
        self.assertEqual(len(set(colors)), 2)
        self.assertEqual(colors[0], colors[3])
        self.find("#sections tbody tr:nth-child(3) button").click()
        self.wait(lambda: self.sounding("sound"))
        self.assertAlmostEqual(self.seconds_of("sound"), 24, delta=1)
        self.find("#labels").click()
        saved = self.folder / "song.txt"
        self.wait(saved.exists)
        lines = [line.split("\t") for line in saved.read_text().splitlines()]
        self.assertEqual([(float(a), float(b), label) for a, b, label in lines],
                         [(0, 12, "A"), (12, 24, "A"), (24, 36, "B & <b>"), (36, 48.25, "A")])

    def test_is_reached_by_keys_alone(self):
        self.open()
        reached = []
        for _ in range(30):
            self.key(Keys.TAB)
            reached.append(self.js("document.activeElement.id || document.activeElement.tagName"))
            self.assertTrue(self.js("document.activeElement.matches(':focus-visible')"))
            if reached[-1] == "labels":
                break
        controls = {"square", "waveform", "hear", "follow", "play", "loop", "view", "map", "SUMMARY", "labels"}
        self.assertLessEqual(controls, set(reached))
        unnamed = self.js("""[...document.querySelectorAll('button, select, canvas:not([aria-hidden])')]
            .filter(e => !(e.textContent.trim() || e.ariaLabel || e.labels?.length)).map(e => e.outerHTML)""")
        self.assertEqual(unnamed, [])
        self.js("document.getElementById('square').focus()")
        self.key(Keys.ARROW_RIGHT)
        i, j, _ = self.cell_told()
        self.key(Keys.ARROW_UP)
        ActionChains(self.browser).key_down(Keys.SHIFT).send_keys(Keys.ARROW_RIGHT).key_up(Keys.SHIFT).perform()
        self.assertEqual(self.cell_told()[:2], (i + 10, j + 1))
        self.key(Keys.ENTER)
        self.wait(lambda: self.sounding("left") and self.sounding("right"))
        self.key("f")
        self.key("p")
        self.wait(lambda: self.sounding("sound") and not self.sounding("left"))

    def test_changes_view_and_colors(self):
        self.open()
        gray = self.pixels()
        Select(self.find("#map")).select_by_visible_text("inverted")
        self.settle()
        self.assertEqual(bytes(255 - level if k % 4 < 3 else level for k, level in enumerate(self.pixels())), gray)
        Select(self.find("#map")).select_by_visible_text("gray")
        self.js("document.getElementById('square').focus()")
        self.key("v")
        self.settle()
        lag = self.pixels()
        n, side = len(self.times), math.isqrt(len(gray) // 4)
        for i, distance in [(0, 0), (50, 0), (10, 24), (10, 84), (10, 85), (80, 40)]:
            pixel = 4 * (int(side - (distance + 0.5) / n * side) * side + int((i + 0.5) / n * side))
            expected = [self.levels[i][i + distance]] * 3 + [255] if i + distance < n else [0, 0, 0, 0]
            self.assertEqual([*lag[pixel:pixel + 4]], expected, (i, distance))
        self.point(10.5 / n, 24.5 / n)
        self.assertEqual(self.cell_told(), (10, 34, self.levels[10][34]))

    def test_goes_where_a_script_says(self):
        self.open()
        for x, y in [(12.5, 36.5), (-3, 1000)]:
            self.js("window.gabarit.goto(arguments[0], arguments[1])", x, y)
            nearest = [min(range(len(self.times)), key=lambda k: abs(self.times[k] - t)) for t in (x, y)]
            self.assertEqual(list(self.cell_told()[:2]), nearest)

    def test_shows_two_gabarits_in_two_colors(self):
        harmony = self.folder / "harmony.sdif"
        must("marquen", "--quiet", "--input", self.folder / "song.wav", "--similarity", harmony,
             "--features_type", "harmo")
        page = self.folder / "two.html"
        must("gabarit", "page", self.song, page, "--no-sound", "--with", harmony)
        self.open(page)
        others, _ = bytes_of(harmony)
        n = len(self.times)
        both = self.pixels()
        side = math.isqrt(len(both) // 4)
        for i, j in [(10, 10), (10, 60), (80, 30)]:
            pixel = 4 * (int(side - (j + 0.5) / n * side) * side + int((i + 0.5) / n * side))
            a, b = self.levels[i][j], others[i][j]
            expected = [a, round(136 * a / 255) + round(119 * b / 255), b, 255]
            for told, right in zip(both[pixel:pixel + 4], expected):
                self.assertAlmostEqual(told, right, delta=1)
        self.key("g")
        self.settle()
        self.point(0.11, 0.63)
        i, j, level = self.cell_told()
        self.assertEqual(level, self.levels[i][j])
        self.assertEqual(int(self.js("document.getElementById('readout').dataset.other")), others[i][j])

    def test_takes_few_moments_and_no_sound(self):
        for seconds, n in [(0.4, 0), (0.8, 1), (1.6, 2)]:
            with self.subTest(n=n):
                sound, sdif, page = (self.folder / f"short{n}{end}" for end in (".wav", ".sdif", ".html"))
                write_tones(sound, seconds)
                must("marquen", "--quiet", "--input", sound, "--similarity", sdif)
                must("gabarit", "page", sdif, page)
                self.browser.get_log("browser")
                self.open(page)
                self.assertEqual(self.js("window.gabarit.n"), n)
                if n:
                    self.assertEqual(self.js("window.gabarit.level(0, 0)"), 255)
                    self.point(0.2, 0.2, click=True)
                    self.assertTrue(self.find("#readout").text.endswith("· 255"))
                self.js("window.gabarit.goto(0, 0)")
                self.assertEqual(self.find("#hear").is_displayed(), n > 0)
                for key in "+-0fpovc" + Keys.ARROW_UP + Keys.ENTER:
                    self.key(key)
                self.settle()
                self.assertEqual(self.browser.get_log("browser"), [])
        mute = self.folder / "mute.html"
        must("gabarit", "page", self.song, mute, "--no-sound")
        self.open(mute)
        form = self.js("[...document.querySelectorAll('#sections tbody tr')].map(row => row.dataset.label).join(' ')")
        self.assertEqual(form, "A A B A") # nobody gave it: the square shows it
        self.point(0.5, 0.2, click=True)
        self.assertFalse(self.find("#play").is_displayed())
        self.assertEqual(self.browser.get_log("browser"), [])

    def test_finds_what_lies_beside_a_long_page(self):
        fine, page = self.folder / "fine.sdif", self.folder / "fine #1.html"
        must("marquen", "--quiet", "--input", self.folder / "song.wav", "--similarity", fine,
             "--window_grid_hop", "0.018")
        levels, times = bytes_of(fine)
        must("gabarit", "page", fine, page)
        self.open(page)
        n = len(times)
        self.assertEqual(self.js("window.gabarit.n"), n)
        self.assertIsNone(self.js("window.gabarit.level(3, 2000)"))
        self.point(0.3, 0.8)
        for keys in ("", "+" * 9, "v"):
            self.key(*keys)
            for across, up in ((0.3, 0.2), (0.2, 0.45)):
                self.point(across, up)
                self.wait(lambda: "…" not in self.find("#readout").text)
                x, y, level = (self.find("#readout").get_attribute(f"data-{name}") for name in ("x", "y", "level"))
                i, j = times.index(float(x)), times.index(float(y))
                self.assertEqual(int(level), levels[i][j])
                self.assertEqual(self.js(f"window.gabarit.level({i}, {j})"), levels[i][j])
        long, page = self.folder / "long.wav", self.folder / "long.html"
        write_tones(long, 1210)
        must("marquen", "--quiet", "--input", long, "--similarity", self.folder / "long.sdif",
             "--window_grid_hop", "400")
        must("gabarit", "page", self.folder / "long.sdif", page)
        self.assertLess(page.stat().st_size, 200000)
        alone = self.folder / "elsewhere" / "long.html"
        alone.parent.mkdir()
        alone.write_bytes(page.read_bytes())
        self.open(alone)
        self.wait(lambda: "long_files" in self.find("#missing").text)
        self.open(page)
        self.assertFalse(self.find("#missing").is_displayed())
        self.point(0.7, 0.3, click=True)
        self.wait(lambda: self.sounding("left"))
        self.wait(lambda: self.sounding("right") and not self.sounding("left"))
        self.assertAlmostEqual(self.seconds_of("right"), 400, delta=1)
        before = {path: path.read_bytes() for path in self.folder.glob("long*_files/*")}
        self.assertEqual([path.name for path in before], ["sound.opus"])
        (self.folder / "long_files" / "mine").write_text("kept")
        for options in ([], ["--force"]):
            self.assertEqual(run("gabarit", "page", self.folder / "long.sdif", page, *options).returncode, 1)
        (self.folder / "long_files" / "mine").unlink()
        must("gabarit", "page", self.folder / "long.sdif", page, "--force", "--quality", "16")
        self.assertLess((self.folder / "long_files" / "sound.opus").stat().st_size, len(*before.values()))
        self.assertEqual([path.name for path in self.folder.glob("long_files*")], ["long_files"])

    def test_shows_hostile_texts_as_texts(self):
        title = '</script><script>alert(1)</script><!--{{script}}"\''
        page = self.folder / "hostile.html"
        self.labels.with_name("bad.txt").write_text(f"0\t12\t{title}\n")
        must("gabarit", "page", self.song, page, "--no-sound", "--title", title, "--sections", self.folder / "bad.txt")
        self.open(page)
        self.assertEqual(self.browser.title, title)
        self.assertEqual(self.find("h1").text, title)
        self.assertEqual(self.find("#sections tbody tr").get_attribute("data-label"), title)
        odd = self.folder / "<img src=x onerror=alert(1)> #%3F&amp.wav"
        write_tones(odd, 5)
        must("marquen", "--quiet", "--input", odd, "--similarity", self.folder / "odd.sdif")
        must("gabarit", "page", self.folder / "odd.sdif", self.folder / "odd #%41.html")
        self.open(self.folder / "odd #%41.html")
        self.assertEqual(self.find("h1").text, odd.name)
        self.point(0.5, 0.5, click=True)
        self.wait(lambda: self.sounding("left"))

    def test_can_be_read_in_light_and_dark(self):
        """Contrast of 4.5 : 1 and more; with AXE, the path of an axe.js, all that axe-core looks for besides."""
        page = self.folder / "readable.html"
        must("gabarit", "page", self.song, page, "--with", self.song, "--sections", self.labels)
        axe = os.environ.get("AXE")
        for scheme in ("light", "dark"):
            with self.subTest(scheme=scheme):
                self.browser.execute_cdp_cmd("Emulation.setEmulatedMedia", {
                    "features": [{"name": "prefers-color-scheme", "value": scheme}]})
                self.open(page)
                self.js("document.querySelector('details').open = true")
                self.point(0.2, 0.3, click=True)
                self.assertEqual(self.browser.execute_script("""
                    const numbers = (color) => color.match(/[\\d.]+/g).map(Number);
                    const light = ([r, g, b]) => [r, g, b].map((c) => c / 255)
                        .map((c) => (c <= 0.04045 ? c / 12.92 : ((c + 0.055) / 1.055) ** 2.4))
                        .reduce((sum, c, k) => sum + c * [0.2126, 0.7152, 0.0722][k], 0);
                    const ground = (e) => {
                        const color = numbers(getComputedStyle(e).backgroundColor);
                        return color[3] === 0 ? ground(e.parentElement) : color;
                    };
                    const texts = [...document.querySelectorAll('body *')].filter((e) => e.checkVisibility() &&
                        [...e.childNodes].some((node) => node.nodeType === 3 && node.data.trim()));
                    const contrast = (e) => {
                        const [a, b] = [numbers(getComputedStyle(e).color), ground(e)].map(light);
                        return (Math.max(a, b) + 0.05) / (Math.min(a, b) + 0.05);
                    };
                    return texts.length > 40 ? texts.filter((e) => contrast(e) < 4.5).map((e) => e.outerHTML) : texts;
                    """), [])
                if axe:
                    self.browser.execute_script(Path(axe).read_text())
                    found = self.browser.execute_async_script("axe.run(document).then(arguments[0])")
                    self.assertEqual([(v["id"], v["nodes"][0]["html"]) for v in found["violations"]], [])
        self.browser.execute_cdp_cmd("Emulation.setEmulatedMedia", {"features": []})

    def test_fits_a_phone(self):
        self.browser.set_window_size(500, 900)
        try:
            self.open()
            self.assertLessEqual(self.js("document.documentElement.scrollWidth - innerWidth"), 0)
        finally:
            self.browser.set_window_size(1200, 1000)

    def test_comes_from_marquen_too(self):
        out = self.folder / "from marquen"
        out.mkdir()
        command = ["marquen", "--quiet", "--no-picture", "--out", out, self.folder / "song.wav", "--page"]
        must(*command)
        self.assertEqual({path.name for path in out.iterdir()}, {"song.sdif", "song.html"})
        (out / "song.sdif").unlink()
        self.assertIn("song.html", run(*command).stderr) # exists
        self.open(out / "song.html")
        self.point(0.5, 0.5, click=True)
        self.wait(lambda: self.sounding("left"))

    def test_refuses_what_it_cannot_write(self):
        lost = self.folder / "lost.sdif"
        lost.write_bytes(self.song.read_bytes().replace(b"song.wav", b"gone.wav"))
        damaged = self.folder / "damaged.sdif"
        damaged.write_bytes(self.song.read_bytes()[:-40])
        write_tones(self.folder / "other.wav", 20)
        (self.folder / "odd.json").write_text('{"sections": [{"start": "0", "end": 1, "label": "A"}]}')
        cases = [
            ([lost], 1, ["--sound FILE", "--no-sound"]),
            ([self.song, "--sound", self.folder / "other.wav"], 1, ["other.wav", "--no-sound"]),
            ([self.song, "--sound", self.labels], 1, ["parts.txt"]),
            ([self.song, "--sections", self.song], 1, ["line 1"]),
            ([self.song, "--sections", self.folder], 1, ["no file of text"]),
            ([self.song, "--sections", self.folder / "odd.json"], 1, ['no array "sections"']),
            ([damaged], 1, ["damaged.sdif"]),
            ([self.song, "--with", self.folder / "short.sdif"], 1, ["short.sdif"]),
            ([self.song, "--quality", "1"], 2, ["16"]),
            ([self.song, "--sound", "x", "--no-sound"], 2, ["--sound"]),
            ([self.song, "--no-sound"], 1, ["exists", "--force"]),
        ]
        write_tones(self.folder / "short.wav", 5)
        must("marquen", "--quiet", "--input", self.folder / "short.wav", "--similarity", self.folder / "short.sdif")
        for (sdif, *options), status, texts in cases:
            with self.subTest(options=options):
                page = self.folder / ("there.html" if "exists" in texts else "none.html")
                (self.folder / "there.html").write_text("kept")
                done = run("gabarit", "page", sdif, page, *options)
                self.assertEqual(done.returncode, status)
                self.assertEqual(done.stderr.count("\n"), 1)
                for text in texts:
                    self.assertIn(text, done.stderr)
                self.assertEqual(list(self.folder.glob("none*")), [])
                self.assertEqual((self.folder / "there.html").read_text(), "kept")
        must("gabarit", "page", self.song, self.folder / "there.html", "--no-sound", "--force")
        self.assertGreater((self.folder / "there.html").stat().st_size, 1000)


if __name__ == "__main__":
    unittest.main()
