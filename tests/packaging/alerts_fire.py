#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""A real engine with the shipped rules beside two machines that are played: of the one whose disk fills, whose drive
fails and whose battery is worn out it tells, of the other one nothing; and it has an answer to all that the dashboard
asks. Hours are seconds here: the rules are the shipped ones with their times divided.

usage: alerts_fire.py PLAY_MACHINE PROMETHEUS FOLDER     the folder with the rules and the dashboard
"""
import json
import pathlib
import re
import socket
import subprocess
import sys
import tempfile
import time
import unittest
import urllib.parse
import urllib.request

play, prometheus, folder = sys.argv.pop(1), sys.argv.pop(1), pathlib.Path(sys.argv.pop(1))
SECONDS = {"s": 1, "m": 60, "h": 3600, "d": 86400}
FASTER = 3600
PATIENCE = 60  # seconds, for a machine that has much else to do


def faster(rules):
    """The rules with their times divided, but none shorter than two samples are apart."""

    def shorter(match, least):
        return f"{max(int(match[1]) * SECONDS[match[2]] // FASTER, least)}s"

    rules = re.sub(r"(?<=for: )(\d+)([smhd])\b", lambda match: shorter(match, 2), rules)
    rules = re.sub(r"(?<=\[)(\d+)([smhd])(?=\])", lambda match: shorter(match, 3), rules)
    rules, changed = re.subn(r"24 \* 3600", f"24 * 3600 / {FASTER}", rules)
    assert changed == 1
    return rules


class Machine:
    def __init__(self, state):
        self.process = subprocess.Popen([play, state], stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True)
        self.target = urllib.parse.urlparse(self.process.stdout.readline().strip()).netloc

    def end(self):
        self.process.stdin.close()
        self.process.wait(PATIENCE)
        self.process.stdout.close()


class Engine:
    def __init__(self, place, targets):
        (place / "rules.yml").write_text(faster((folder / "sentrel.rules.yml").read_text()))
        (place / "prometheus.yml").write_text(
            json.dumps(
                {
                    "global": {"scrape_interval": "500ms", "scrape_timeout": "500ms", "evaluation_interval": "500ms"},
                    "rule_files": ["rules.yml"],
                    "scrape_configs": [{"job_name": "sentrel", "static_configs": [{"targets": targets}]}],
                }
            )
        )
        with socket.socket() as free:
            free.bind(("127.0.0.1", 0))
            self.address = f"127.0.0.1:{free.getsockname()[1]}"
        self.log = open(place / "log", "w+")
        self.process = subprocess.Popen(
            [
                prometheus,
                f"--config.file={place}/prometheus.yml",
                f"--storage.tsdb.path={place}/data",
                f"--web.listen-address={self.address}",
            ],
            stdout=self.log,
            stderr=self.log,
        )

    def ask(self, path, **parameters):
        url = f"http://{self.address}/api/v1/{path}?{urllib.parse.urlencode(parameters)}"
        with urllib.request.urlopen(url, timeout=10) as answer:
            return json.load(answer)["data"]

    def query(self, expression):
        return self.ask("query", query=expression)["result"]

    def firing(self):
        """Pairs of a machine and the name of an alert."""
        alerts = self.ask("alerts")["alerts"]
        return {(each["labels"]["instance"], each["labels"]["alertname"]) for each in alerts if each["state"] == "firing"}

    def end(self):
        self.process.terminate()
        self.process.wait(PATIENCE)
        self.log.close()


def wait_until(happened):
    end = time.monotonic() + PATIENCE
    while time.monotonic() < end:
        try:
            result = happened()
        except OSError:  # the engine does not answer yet
            result = None
        if result:
            return result
        time.sleep(0.1)
    return happened()


class Alerts(unittest.TestCase):
    def setUp(self):
        place = tempfile.TemporaryDirectory()
        self.addCleanup(place.cleanup)
        self.well, self.ill = Machine("well"), Machine("ill")
        self.addCleanup(self.well.end)
        self.addCleanup(self.ill.end)
        self.engine = Engine(pathlib.Path(place.name), [self.well.target, self.ill.target])
        self.addCleanup(self.engine.end)

    def of(self, machine):
        return {name for instance, name in self.engine.firing() if instance == machine.target}

    def test_an_ill_machine_is_told_and_a_healthy_one_left_alone(self):
        expected = {"SentrelVolumeFullWithinADay", "SentrelDriveFailing", "SentrelBatteryWorn"}
        wait_until(lambda: self.of(self.ill) >= expected)
        self.assertEqual(self.of(self.ill), expected)
        full = self.engine.query('ALERTS{alertname="SentrelVolumeFullWithinADay", alertstate="firing"}')
        self.assertEqual([each["metric"]["mountpoint"] for each in full], ["/"])

        self.ask_all_of_the_dashboard()

        self.ill.process.kill()
        wait_until(lambda: "SentrelExporterGone" in self.of(self.ill))
        self.assertIn("SentrelExporterGone", self.of(self.ill))
        self.assertEqual(self.engine.query(f'count_over_time(ALERTS{{alertstate="firing", instance="{self.well.target}"}}[1h])'), [])

    def ask_all_of_the_dashboard(self):
        dashboard = json.loads((folder / "dashboard.json").read_text())
        for panel in dashboard["panels"]:
            for target in panel["targets"]:
                expression = target["expr"].replace("$instance", ".*").replace("$__rate_interval", "5s")
                result = wait_until(lambda: self.engine.query(expression))
                self.assertTrue(result, f"{panel['title']}: {expression}")


unittest.main()
