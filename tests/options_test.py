#!/usr/bin/env python3
"""What the programs take, what the manual documents and what the shell completes are the same, and the bytes that
gabarit(5) shows are those that its commands make.

usage: options_test.py ROOT MARQUEN GABARIT
"""
import os
import re
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

ROOT, MARQUEN, GABARIT = (Path(argument).resolve() for argument in sys.argv[1:4])
PROGRAMS = {"marquen": MARQUEN, "gabarit": GABARIT}
# Each option after what stands ahead of it on the command line.
SUBCOMMANDS = ("info", "verify", "picture", "export", "sections", "page", "diff", "repro")
COMMANDS = [["marquen"], ["gabarit"], *(["gabarit", name] for name in SUBCOMMANDS)]


def run(command):
    return subprocess.run([PROGRAMS[command[0]], *command[1:]], capture_output=True, text=True)


def options_of_program(command):
    """Option to the words it takes: None for a flag, empty for any."""
    options = {}
    for names, value in re.findall(r"^  (-\S+)( [A-Z]\S*)?", run([*command, "--help"]).stdout, re.MULTILINE):
        for name in names.split(","):
            options[name] = words_of_program(command, name) if value else None
    return options


def words_of_program(command, option):
    operands = ["a", "b.png"] if command == ["gabarit", "picture"] else []
    refusal = run([*command, *operands, option, "?"]).stderr
    found = re.search(r"not in \{([^}]*)\}", refusal)
    return set(found[1].split(",")) if found else set()


def manual_of(command):
    """The part of the manual page that is about the program, or about its subcommand."""
    page = (ROOT / "man" / (command[0] + ".1.scd")).read_text()
    parts = dict(re.findall(r"^##? (.*)\n((?:(?!#).*\n)*)", page, re.MULTILINE))
    return parts[command[1] if len(command) > 1 else "OPTIONS"]


def options_of_manual(command):
    options = {}
    for line in re.findall(r"^\*-.*", manual_of(command), re.MULTILINE):
        words = set(re.findall(r"\*(\w[^*]*)\*", line))
        for name in re.findall(r"\*(-[^*]*)\*", line):
            options[name] = words if words or "_" in re.sub(r"\*[^*]*\*", "", line) else None
    return options


def completions(words, folder="."):
    """What the shell offers for the last word. `words` are split as the shell splits them."""
    script = 'source "$0" || exit; program=$1; COMP_WORDS=("$@"); COMP_CWORD=$(($# - 1)); "_$program"; ' \
             'printf "%s\\n" "${COMPREPLY[@]}"'
    source = ROOT / "completion" / words[0]
    path = f"{MARQUEN.parent}:{os.environ['PATH']}" # it asks the program for the endings of sounds
    answer = subprocess.run(["bash", "-c", script, source, *words], cwd=folder, env={**os.environ, "PATH": path},
                            capture_output=True, text=True)
    assert answer.stderr == "", answer.stderr
    return set(answer.stdout.split("\n")) - {""}


class Options(unittest.TestCase):
    def test_all_subcommands_are_known(self):
        help_text = run(["gabarit", "--help"]).stdout
        told = set(re.findall(r"^  (\w+)", help_text.split("Subcommands:")[1], re.MULTILINE))
        self.assertEqual(told, set(SUBCOMMANDS))
        commands = (ROOT / "man/gabarit.1.scd").read_text()
        self.assertEqual(told, set(re.findall(r"^## (\w+)", commands, re.MULTILINE)))
        self.assertEqual(told, {word for word in completions(["gabarit", ""]) if word[0] != "-"})

    def test_help_fits_a_terminal(self):
        for command in COMMANDS:
            lines = run([*command, "--help"]).stdout.splitlines()
            self.assertEqual([line for line in lines if len(line) > 80], [], command)

    def test_manual_and_completion_have_the_programs_options(self):
        for command in COMMANDS:
            with self.subTest(command=command):
                options = options_of_program(command)
                self.assertIn("--help", options)
                self.assertEqual(completions([*command, "-"]), set(options))
                for name, words in options.items():
                    if words:
                        for typed in ([name, ""], [name, "="], [name, "=", ""]):
                            self.assertEqual(completions([*command, *typed]), words)
                if len(command) > 1: # --help is documented once, for all
                    options = {name: words for name, words in options.items() if name not in ("-h", "--help")}
                self.assertEqual(options_of_manual(command), options)

    def test_enumerations_are_found(self): # the comparison above would pass if none was
        found = [name for command in COMMANDS for name, words in options_of_program(command).items() if words]
        self.assertEqual(sorted(found), ["--features", "--features_modeling", "--features_type", "--map",
                                         "--modeling", "--origin", "--progress", "--window_centering"])


class Files(unittest.TestCase):
    def test_those_that_fit_are_offered(self):
        names = {"a b.WAV", "a.flac", "a.sdif", "a.png", "a.svg", "a.pdf", "a.npy", "a.csv", "a.txt", "a.html", "folder"}
        sounds, pictures = {"a b.WAV", "a.flac"}, {"a.png", "a.svg", "a.pdf"}
        cases = [
            (["marquen", ""], sounds),
            (["marquen", "--quiet", ""], sounds),
            (["marquen", "--input", ""], sounds),
            (["marquen", "--input", "a.flac", ""], sounds),
            (["marquen", "--input", "=", ""], sounds),
            (["marquen", "--similarity", ""], {"a.sdif"}),
            (["marquen", "--picture", ""], pictures),
            (["gabarit", "info", ""], {"a.sdif"}),
            (["gabarit", "verify", "a.sdif", ""], {"a.sdif"}),
            (["gabarit", "picture", "--size", "500", "--map", "=", "gray", ""], {"a.sdif"}),
            (["gabarit", "picture", "--plain", "a.sdif", ""], pictures),
            (["gabarit", "export", "a.sdif", ""], {"a.npy", "a.csv"}),
            (["gabarit", "sections", "--with", "=", "a.sdif", "a.sdif", ""], {"a.txt", "a.csv"}),
            (["gabarit", "page", "--title", "a.sdif", "a.sdif", ""], {"a.html"}),
            (["gabarit", "page", "--sections", ""], {"a.txt"}),
            (["gabarit", "page", "--with", ""], {"a.sdif"}),
        ]
        with tempfile.TemporaryDirectory() as folder:
            for name in names - {"folder"}:
                Path(folder, name).touch()
            Path(folder, "folder").mkdir()
            for words, expected in cases:
                with self.subTest(words=words):
                    self.assertEqual(completions(words, folder), expected | {"folder"})
            self.assertEqual(completions(["gabarit", "info", "a.sdif", ""], folder), set())


class Release(unittest.TestCase):
    def test_version_and_date_are_the_same_everywhere(self):
        version = re.search(r"^marquen (\S+)\n", run(["marquen", "--version"]).stdout)[1]
        citation = (ROOT / "CITATION.cff").read_text()
        date = re.search(r"^date-released: (\S+)$", citation, re.MULTILINE)[1]
        self.assertIn(f"\nversion: {version}\n", citation)
        self.assertIn(f"\n## [{version}] - {date}\n", (ROOT / "CHANGELOG.md").read_text())

    def test_every_change_names_its_kind(self):
        changes = re.findall(r"^- (.*)", (ROOT / "CHANGELOG.md").read_text(), re.MULTILINE)
        kinds = "Interface Binary.interface File.layout Command.line Results Speed Packages Examples Docs Tests".split()
        self.assertEqual([line for line in changes if not re.match("|".join(kinds), line)], [])


class Dump(unittest.TestCase):
    def test_is_what_the_commands_make(self):
        page = (ROOT / "man/gabarit.5.scd").read_text()
        commands, dump = re.findall(r"^```\n(.*?)^```", page, re.MULTILINE | re.DOTALL)
        told = re.findall(r"^([0-9a-f]{3})  ((?:[0-9a-f]{2}){1,2}(?: [0-9a-f]{2,4})*)", dump, re.MULTILINE)
        told = [(int(offset, 16), bytes.fromhex(digits)) for offset, digits in told]
        with tempfile.TemporaryDirectory() as folder:
            path = f"{MARQUEN.parent}:{os.environ['PATH']}"
            commands = commands.replace("xxd two.sdif\n", "")
            subprocess.run(["bash", "-ec", commands], cwd=folder, env={**os.environ, "PATH": path}, check=True)
            made = Path(folder, "two.sdif").read_bytes()
        self.assertEqual([offset for offset, _ in told], [sum(len(b) for _, b in told[:i]) for i in range(len(told))])
        self.assertEqual(b"".join(digits for _, digits in told), made)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
