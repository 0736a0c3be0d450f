"""Reads what `gabarit sections` writes as other programs do: mir_eval, a JAMS schema, the grammar of Audacity's labels.

Wants marquen, gabarit and compose on the PATH.
"""

import csv
import json
import re
import subprocess
import tempfile
import unittest
from pathlib import Path

import jsonschema
import mir_eval

# What JAMS 0.3 asks of a file with segments (E. J. Humphrey et al., Proc. ISMIR 2014): its schema with the namespace
# segment_open put in.
TEXT, SECONDS, ANYTHING = {"type": "string"}, {"type": "number", "minimum": 0}, {"type": "object"}
FIELDS = {"corpus": TEXT, "version": TEXT, "annotation_tools": TEXT, "annotation_rules": TEXT, "validation": TEXT,
          "data_source": TEXT, "annotator": ANYTHING,
          "curator": {"type": "object", "properties": {"name": TEXT, "email": TEXT}, "required": ["name", "email"],
                      "additionalProperties": False}}  # fmt: skip


def record(properties):
    return {"type": "object", "properties": properties, "required": list(properties), "additionalProperties": False}


JAMS = record({
    "file_metadata": record({"title": TEXT, "artist": TEXT, "release": TEXT, "duration": SECONDS,
                             "identifiers": ANYTHING, "jams_version": TEXT}),
    "annotations": {"type": "array", "items": record({
        "annotation_metadata": record(FIELDS), "namespace": {"enum": ["segment_open"]},
        "data": {"type": "array", "items": record({"time": SECONDS, "duration": SECONDS, "value": TEXT,
                                                   "confidence": {"type": ["number", "null"]}})},
        "sandbox": ANYTHING, "time": SECONDS, "duration": SECONDS})},
    "sandbox": ANYTHING})  # fmt: skip


class FormFiles(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.folder = tempfile.TemporaryDirectory()
        cls.run_in(["compose", "demo.wav"])
        Path(cls.folder.name, "results").mkdir()
        cls.run_in(["marquen", "--input", "demo.wav", "--similarity", "demo.sdif", "--quiet"])
        cls.form = json.loads(cls.run_in(["gabarit", "sections", "demo.sdif", "--json"]))
        cls.expected = [(part["start"], part["end"], part["label"]) for part in cls.form["sections"]]

    @classmethod
    def tearDownClass(cls):
        cls.folder.cleanup()

    @classmethod
    def run_in(cls, command):
        return subprocess.run(command, cwd=cls.folder.name, check=True, stdout=subprocess.PIPE, text=True).stdout

    def written(self, ending):
        self.run_in(["gabarit", "sections", "--force", "demo.sdif", f"demo{ending}"])
        return Path(self.folder.name, f"demo{ending}")

    def check(self, sections):
        self.assertEqual(len(sections), len(self.expected))
        for (start, end, label), (expected_start, expected_end, expected_label) in zip(sections, self.expected):
            self.assertAlmostEqual(start, expected_start, delta=0.002)
            self.assertAlmostEqual(end, expected_end, delta=0.002)
            self.assertEqual(label, expected_label)

    def test_the_demo_reads_a_a_b_a(self):
        self.assertEqual(self.form["form"], "A A B A")
        for (start, _, _), truth in zip(self.expected, (0, 12, 24, 36)):
            self.assertAlmostEqual(start, truth, delta=0.5)

    def test_marquen_writes_them_in_the_same_run(self):
        said = self.run_in(["marquen", "demo.wav", "--out", "results", "--sections", "--quiet", "--json"])
        self.assertEqual(json.loads(said)["form"], "A A B A")
        labels = Path(self.folder.name, "results/demo.txt").read_bytes()
        self.assertEqual(labels, self.written(".txt").read_bytes())

    def test_lab_by_mir_eval(self):
        intervals, labels = mir_eval.io.load_labeled_intervals(str(self.written(".lab")))
        mir_eval.segment.validate_structure(intervals, labels, intervals, labels)
        self.check([(*interval, label) for interval, label in zip(intervals, labels)])

    def test_txt_by_its_grammar(self):
        text = self.written(".txt").read_bytes().decode("ascii")
        self.assertRegex(text, r"\A(\d+\.\d+\t\d+\.\d+\t[A-Z]+\n)+\Z")
        rows = [line.split("\t") for line in text.splitlines()]
        self.check([(float(start), float(end), label) for start, end, label in rows])

    def test_jams_by_its_schema(self):
        jams = json.loads(self.written(".jams").read_text())
        jsonschema.validate(jams, JAMS)
        (annotation,) = jams["annotations"]
        self.assertEqual(annotation["duration"], jams["file_metadata"]["duration"])
        self.check([(s["time"], s["time"] + s["duration"], s["value"]) for s in annotation["data"]])

    def test_csv_by_its_columns(self):
        with open(self.written(".csv"), newline="") as file:
            rows = list(csv.DictReader(file))
        self.assertEqual([row["value"] for row in rows], ["1", "1", "2", "1"])
        self.check([(float(r["time"]), float(r["time"]) + float(r["duration"]), r["label"]) for r in rows])


if __name__ == "__main__":
    unittest.main()
