#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Whether the rules and the dashboard ask only for what the exporter tells, by its name and its labels.

usage: metrics_exist.py SENTREL FOLDER     the folder with the rules and the dashboard
"""
import json
import pathlib
import re
import subprocess
import sys
import unittest

program, folder = sys.argv.pop(1), pathlib.Path(sys.argv.pop(1))
METRIC = r"\b(?:\w+:)?sentrel_\w+(?::\w+)?"
ENGINES_LABELS = {"job", "instance"}


class Metrics:
    def __init__(self, text, rules):
        self.kinds, self.labels = {}, {}
        for line in text.splitlines():
            name, kind, labels, _ = line.split("\t")
            self.kinds[name] = kind
            self.labels[name] = set(filter(None, labels.split(",")))
        for name in re.findall(r"record: (\S+)", rules):
            # What is recorded has the labels of what it is made of.
            source = re.search(rf"record: {re.escape(name)}\n +expr:((?:.|\n)*?)(?=\n +- |\Z)", rules).group(1)
            self.kinds[name] = "gauge"
            self.labels[name] = set().union(*(self.labels.get(each, set()) for each in re.findall(METRIC, source)))

    def faults(self, expression):
        """What is wrong with an expression."""
        for name in re.findall(METRIC, expression):
            if name not in self.kinds:
                yield f"there is no {name}"
        for name, selector in re.findall(rf"({METRIC})\{{([^}}]*)\}}", expression):
            for label in re.findall(r"(\w+)\s*[=!]~?", selector):
                if label not in self.labels.get(name, set()) | ENGINES_LABELS:
                    yield f"{name} has no {label}"
        for name in re.findall(rf"\brate\(({METRIC})", expression):
            if self.kinds.get(name) != "counter":
                yield f"{name} is no counter, and has no rate"
        for name in re.findall(rf"\b(?:predict_linear|deriv|delta)\(({METRIC})", expression):
            if self.kinds.get(name) != "gauge":
                yield f"{name} is no gauge, and has no line"

    def unknown_labels(self, expression, text):
        """The labels that a text shows and that none of the metrics of an expression has."""
        known = set(ENGINES_LABELS)
        for name in re.findall(METRIC, expression):
            known |= self.labels.get(name, set())
        return [label for label in re.findall(r"\{\{(\w+)\}\}", text) if label not in known]


def without_comments(text):
    return "\n".join(line for line in text.splitlines() if not line.lstrip().startswith("#"))


rules = without_comments((folder / "sentrel.rules.yml").read_text())
dashboard = json.loads((folder / "dashboard.json").read_text())
metrics = Metrics(subprocess.run([program, "serve", "--list"], capture_output=True, text=True, check=True).stdout, rules)
targets = [target for panel in dashboard["panels"] for target in panel["targets"]]


class MetricsExist(unittest.TestCase):
    def test_the_rules_ask_for_what_there_is(self):
        expressions = re.findall(r"expr:((?:.|\n)*?)(?=\n +(?:- |for:|labels:|annotations:)|\Z)", rules)
        self.assertEqual(len(expressions), len(re.findall(r"- (?:record|alert):", rules)))
        for expression in expressions:
            self.assertEqual(list(metrics.faults(expression)), [], expression)
        self.assertEqual(list(metrics.faults(rules)), [])

    def test_the_dashboard_asks_for_what_there_is(self):
        self.assertGreater(len(targets), 15)
        for target in targets:
            self.assertEqual(list(metrics.faults(target["expr"])), [], target["expr"])
            self.assertEqual(metrics.unknown_labels(target["expr"], target["legendFormat"]), [], target["expr"])
        for variable in dashboard["templating"]["list"]:
            for name in re.findall(METRIC, json.dumps(variable)):
                self.assertIn(name, metrics.kinds)

    def test_every_alert_names_only_labels_that_it_has(self):
        for alert in re.split(r"\n +- alert:", rules)[1:]:
            expression, texts = alert.split("annotations:")
            shown = re.sub(r"\$labels\.", "", texts.replace("{{ ", "{{").replace(" }}", "}}"))
            self.assertEqual(metrics.unknown_labels(expression, shown), [], alert)

    def test_panels_do_not_cover_each_other(self):
        taken = set()
        for panel in dashboard["panels"]:
            place = panel["gridPos"]
            cells = {
                (x, y)
                for x in range(place["x"], place["x"] + place["w"])
                for y in range(place["y"], place["y"] + place["h"])
            }
            self.assertFalse(taken & cells, panel["title"])
            self.assertLessEqual(place["x"] + place["w"], 24, panel["title"])
            taken |= cells
        self.assertEqual(len({panel["id"] for panel in dashboard["panels"]}), len(dashboard["panels"]))

    def test_what_is_wrong_is_found(self):
        for wrong in (
            "sentrel_cpu_usage_percent",
            'sentrel_volume_up{mount="/"}',
            "rate(sentrel_volume_free_bytes[5m])",
            "predict_linear(sentrel_volume_read_bytes_total[6h], 1)",
            "instance:sentrel_coffee:ratio",
        ):
            self.assertNotEqual(list(metrics.faults(wrong)), [], wrong)
        self.assertEqual(metrics.unknown_labels("sentrel_cpu_usage_ratio", "{{instance}} {{mountpoint}}"), ["mountpoint"])


unittest.main()
