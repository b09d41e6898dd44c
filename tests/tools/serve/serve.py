#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""The command "serve" as engines and their enemies use it: Prometheus scrapes it, promtool reads it, the established
exporter runs beside it, and nobody who is slow, silent or wrong keeps the others waiting.

usage: serve.py SENTREL
"""
import base64
import concurrent.futures
import contextlib
import json
import os
import pathlib
import re
import resource
import signal
import socket
import ssl
import subprocess
import sys
import tempfile
import time
import unittest
import urllib.error
import urllib.parse
import urllib.request

sentrel = sys.argv.pop(1)


def wait_until(condition, what, seconds=60):
    """What the condition gives once it is true."""
    end = time.monotonic() + seconds
    while time.monotonic() < end:
        value = condition()
        if value:
            return value
        time.sleep(0.05)
    raise AssertionError(f"waited in vain for {what}")


def get(address, timeout=10, **options):
    with urllib.request.urlopen(address, timeout=timeout, **options) as answer:
        return answer.read().decode()


def try_get(address):
    with contextlib.suppress(OSError):
        return get(address)
    return None


def free_port():
    with socket.socket() as one:
        one.bind(("127.0.0.1", 0))
        return one.getsockname()[1]


@contextlib.contextmanager
def ended(child):
    """A program that is ended with the scope."""
    try:
        yield child
    finally:
        child.terminate()
        child.wait(20)


class Served:
    """`sentrel serve` on a port of its own."""

    def __init__(self, *arguments):
        self.child = subprocess.Popen([sentrel, "serve", *arguments], stderr=subprocess.PIPE, text=True)
        self.line = self.child.stderr.readline()
        self.address = self.line.removeprefix("sentrel: ").rstrip("\n")

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.child.terminate()
        self.child.wait(20)
        self.child.stderr.close()

    @property
    def port(self):
        return urllib.parse.urlsplit(self.address).port

    def scrape(self):
        return get(self.address)

    def connect(self):
        return socket.create_connection(("127.0.0.1", self.port), timeout=20)

    def descriptors(self):
        return len(os.listdir(f"/proc/{self.child.pid}/fd"))

    def threads(self):
        return len(os.listdir(f"/proc/{self.child.pid}/task"))


SERIES = re.compile(r'(\w+)(?:\{(.*)\})? (\S+)$')
LABEL = re.compile(r'(\w+)="((?:\\.|[^"\\])*)"')


def series(text):
    """From name and sorted labels to value."""
    values = {}
    for line in text.splitlines():
        if line.startswith("#"):
            continue
        name, labels, value = SERIES.match(line).groups()
        values[name, tuple(sorted(LABEL.findall(labels or "")))] = float(value)
    return values


def show():
    return json.loads(subprocess.run([sentrel, "show", "--json"], check=True, capture_output=True).stdout)


class Answers(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.served = cls.enterClassContext(Served("--listen", "127.0.0.1:0"))

    def test_promtool_finds_nothing_to_say(self):
        wait_until(lambda: "sentrel_cpu_usage_ratio " in self.served.scrape(), "a second sample of the processor")
        result = subprocess.run(
            ["promtool", "check", "metrics"], input=self.served.scrape(), capture_output=True, text=True, timeout=60
        )
        self.assertEqual((result.returncode, result.stdout, result.stderr), (0, "", ""))

    def test_there_is_a_page_and_nothing_else(self):
        root = self.served.address.removesuffix("metrics")
        self.assertIn('href="/metrics"', get(root))
        for path, status in (("secrets", 404), ("../../etc/passwd", 404), ("metrics/", 404)):
            with self.assertRaises(urllib.error.HTTPError) as refused:
                get(root + path)
            self.assertEqual(refused.exception.code, status)
            refused.exception.close()
        with self.assertRaises(urllib.error.HTTPError) as refused:
            get(urllib.request.Request(self.served.address, data=b"figures", method="POST"))
        self.assertEqual(refused.exception.code, 405)
        refused.exception.close()

    def test_a_thousand_scrapes_at_once_leave_no_trace(self):
        self.served.scrape()
        descriptors, threads = self.served.descriptors(), self.served.threads()
        with concurrent.futures.ThreadPoolExecutor(16) as pool:
            texts = list(pool.map(lambda _: self.served.scrape(), range(1000)))
        self.assertTrue(all("sentrel_build_info" in text for text in texts))
        wait_until(lambda: self.served.descriptors() <= descriptors, "the connections to be closed")
        self.assertLessEqual(self.served.threads(), threads)

    def test_one_connection_serves_many_requests(self):
        with self.served.connect() as one:
            for _ in range(3):
                one.sendall(b"GET /metrics HTTP/1.1\r\nHost: x\r\n\r\n")
                head, _, body = one.recv(1 << 16, socket.MSG_PEEK).partition(b"\r\n\r\n")
                self.assertIn(b" 200 ", head.splitlines()[0])
                length = int(re.search(rb"Content-Length: (\d+)", head)[1])
                self.assertEqual(len(one.recv(len(head) + 4 + length, socket.MSG_WAITALL)), len(head) + 4 + length)


class Enemies(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.served = cls.enterClassContext(Served("--listen", "127.0.0.1:0"))

    def assert_answers_at_once(self):
        begin = time.monotonic()
        self.assertIn("sentrel_build_info", self.served.scrape())
        self.assertLess(time.monotonic() - begin, 2)

    def test_half_a_request_waits_alone_and_not_for_ever(self):
        with self.served.connect() as half:
            half.sendall(b"GET /metr")
            self.assert_answers_at_once()
            half.settimeout(60)
            self.assertEqual(half.recv(100), b"", "closed by the other side")

    def test_a_header_without_end_is_cut_off(self):
        with self.served.connect() as endless:
            endless.sendall(b"GET /metrics HTTP/1.1\r\nHost: x\r\n")
            sent = 0
            with contextlib.suppress(ConnectionError):
                while sent < 100_000_000:
                    sent += endless.send(b"X-More: " + b"y" * 1000 + b"\r\n")
            self.assertLess(sent, 100_000_000)
            self.assert_answers_at_once()

    def test_what_is_no_request_is_refused(self):
        for rubbish in (b"\0" * 100, b"\xff\xfe\n\n", b"GET\r\n\r\n", b"GET /metrics HTTP/9.9\r\n\r\n", b"\r\n" * 5000):
            with self.subTest(rubbish=rubbish[:20]), self.served.connect() as one:
                with contextlib.suppress(ConnectionError):
                    one.sendall(rubbish)
                    one.shutdown(socket.SHUT_WR)
                    while one.recv(4096):
                        pass
                self.assert_answers_at_once()

    def test_ten_thousand_silent_connections_keep_nobody_waiting(self):
        count = 10_000
        _, hard = resource.getrlimit(resource.RLIMIT_NOFILE)
        wanted = count + 200
        resource.setrlimit(resource.RLIMIT_NOFILE, (wanted, max(hard, wanted)))
        threads = self.served.threads()
        silent = []
        try:
            for _ in range(count):
                one = socket.socket()
                one.setblocking(False)
                one.connect_ex(("127.0.0.1", self.served.port))
                silent.append(one)
            self.assert_answers_at_once()
            self.assertLess(self.served.descriptors(), 300)
            self.assertEqual(self.served.threads(), threads)
        finally:
            for one in silent:
                one.close()
        self.assert_answers_at_once()


class Beginnings(unittest.TestCase):
    def setUp(self):
        self.folder = pathlib.Path(self.enterContext(tempfile.TemporaryDirectory()))

    def configuration(self, text):
        path = self.folder / "sentrel.conf"
        path.write_text(text)
        path.chmod(0o600)
        return str(path)

    def assert_refused(self, status, *arguments):
        result = subprocess.run([sentrel, "serve", *arguments], capture_output=True, text=True, timeout=60)
        self.assertEqual(result.returncode, status, result.stderr)
        self.assertEqual(result.stdout, "")
        self.assertEqual(len(result.stderr.splitlines()), 1, result.stderr)
        return result.stderr

    def test_a_port_in_use_is_told(self):
        with Served("--listen", "127.0.0.1:0") as served:
            self.assertIn("Address already in use", self.assert_refused(1, "--listen", f"127.0.0.1:{served.port}"))

    def test_an_address_of_another_machine_is_told(self):
        self.assertIn("cannot listen", self.assert_refused(1, "--listen", "192.0.2.1:9866"))

    def test_a_bad_option_or_configuration_is_told_in_one_line(self):
        for arguments in (
            ["--listen", "everywhere"],
            ["--listen", "127.0.0.1:99999"],
            ["--listen"],
            ["--lisen", "127.0.0.1:0"],
            ["--config", str(self.folder / "none")],
            ["--config", str(self.folder)],
            ["--config", self.configuration("[server]\nlisen=127.0.0.1:0\n")],
            ["surprise"],
        ):
            with self.subTest(arguments=arguments):
                self.assert_refused(2, *arguments)
        self.assertIn("sentrel.conf:2: ", self.assert_refused(
            2, "--config", self.configuration("[server]\nlisen=127.0.0.1:0\n")))

    def test_a_signal_ends_it_cleanly(self):
        for number in (signal.SIGTERM, signal.SIGINT):
            with self.subTest(signal=number), Served("--listen", "127.0.0.1:0") as served:
                served.scrape()
                served.child.send_signal(number)
                self.assertEqual(served.child.wait(20), 0)
                self.assertEqual(served.child.stderr.read(), "")

    def test_it_listens_on_ipv6_too(self):
        with Served("--listen", "[::1]:0") as served:
            self.assertIn("sentrel_build_info", served.scrape())

    def test_who_does_not_know_the_password_is_told_nothing(self):
        configuration = self.configuration(
            "[server]\nlisten=127.0.0.1:0\n[authentication]\nuser=engine\npassword=open \\sesame\n")
        with Served("--config", configuration) as served:
            for words in (None, "engine:", "engine:open", "Engine:open \\sesame", ":", "engine:open \\sesamee"):
                request = urllib.request.Request(served.address)
                if words is not None:
                    request.add_header("Authorization", "Basic " + base64.b64encode(words.encode()).decode())
                with self.subTest(words=words), self.assertRaises(urllib.error.HTTPError) as refused:
                    get(request)
                self.assertEqual(refused.exception.code, 401)
                self.assertEqual(refused.exception.read(), b"")
                refused.exception.close()
            request = urllib.request.Request(served.address)
            request.add_header("Authorization", "Basic " + base64.b64encode(b"engine:open \\sesame").decode())
            self.assertIn("sentrel_build_info", get(request))

    def test_connections_can_be_encrypted(self):
        certificate, key = self.folder / "chain.pem", self.folder / "key.pem"
        subprocess.run(
            ["openssl", "req", "-x509", "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:prime256v1", "-nodes", "-days",
             "1", "-subj", "/CN=localhost", "-addext", "subjectAltName=IP:127.0.0.1", "-keyout", key, "-out",
             certificate],
            check=True, capture_output=True, timeout=60)
        key.chmod(0o600)
        text = f"[server]\nlisten=127.0.0.1:0\n[tls]\ncertificate={certificate}\nkey={key}\n"
        with Served("--config", self.configuration(text)) as served:
            self.assertTrue(served.address.startswith("https://"), served.line)
            trust = ssl.create_default_context(cafile=certificate)
            self.assertIn("sentrel_build_info", get(served.address, context=trust))
            with self.assertRaises(OSError):
                get(f"http://127.0.0.1:{served.port}/metrics")
        certificate.write_text("no certificate\n")
        self.assertIn("certificate", self.assert_refused(1, "--config", self.configuration(text)))

    def test_applications_are_told_once_the_configuration_says_so(self):
        text = "[server]\nlisten=127.0.0.1:0\n[applications]\nenabled={}\n"
        for enabled in ("true", "false"):
            with self.subTest(enabled=enabled), Served("--config", self.configuration(text.format(enabled))) as served:
                self.assertEqual("sentrel_apps_tracked" in served.scrape(), enabled == "true")


class Engine(unittest.TestCase):
    """Prometheus itself."""

    # So many seconds of samples are enough for a rate.
    WINDOW = 10

    @classmethod
    def setUpClass(cls):
        folder = pathlib.Path(cls.enterClassContext(tempfile.TemporaryDirectory()))
        cls.before = show()
        cls.served = cls.enterClassContext(Served("--listen", "127.0.0.1:0"))
        settings = folder / "prometheus.yml"
        settings.write_text(
            "global: {scrape_interval: 1s, scrape_timeout: 1s}\n"
            f"scrape_configs: [{{job_name: sentrel, static_configs: [{{targets: ['127.0.0.1:{cls.served.port}']}}]}}]\n"
        )
        cls.address = f"http://127.0.0.1:{free_port()}"
        log = cls.enterClassContext(open(folder / "log", "w"))
        cls.enterClassContext(ended(subprocess.Popen(
            ["prometheus", f"--config.file={settings}", f"--storage.tsdb.path={folder / 'data'}",
             "--web.listen-address=" + cls.address.removeprefix("http://")],
            stdout=log, stderr=log)))
        wait_until(lambda: try_get(cls.address + "/-/ready"), "Prometheus")
        wait_until(lambda: cls.query(f"count_over_time(sentrel_cpu_usage_ratio[{2 * cls.WINDOW}s]) >= {cls.WINDOW + 2}"),
                   "enough samples")

    @classmethod
    def query(cls, expression):
        """The values of an expression, by labels without those that the engine adds."""
        words = urllib.parse.urlencode({"query": expression})
        answer = json.loads(get(f"{cls.address}/api/v1/query?{words}"))
        return {
            tuple(sorted((name, value) for name, value in one["metric"].items()
                         if name not in ("__name__", "job", "instance"))): float(one["value"][1])
            for one in answer["data"]["result"]
        }

    def one(self, expression):
        (value,) = self.query(expression).values()
        return value

    def test_every_scrape_succeeds(self):
        self.assertEqual(self.one(f"min_over_time(up[{self.WINDOW}s])"), 1)
        self.assertEqual(self.one("scrape_samples_post_metric_relabeling - scrape_samples_scraped"), 0)

    def test_the_figures_are_those_that_the_library_shows(self):
        line = show()
        self.assertEqual(self.one("sentrel_mem_physical_bytes"), line["mem"]["physical_bytes"])
        self.assertEqual(self.one("sentrel_cpu_logical_cores"), line["cpu"]["logical_cores"])
        self.assertEqual(self.one("sentrel_cpu_boot_time_seconds"), line["cpu"]["boot_time_seconds"])
        sizes = self.query("sentrel_volume_size_bytes")
        for volume in line["disk"]["volumes"]:
            if "size_bytes" in volume:
                labels = (("device", volume["device"]), ("mountpoint", volume["mountpoint"]))
                self.assertEqual(sizes[labels], volume["size_bytes"], labels)

    # A counter lies between what the library showed before the first sample and what it shows after the last.
    def test_the_counters_are_those_that_the_library_shows(self):
        told = {name: self.query(name) for name in (
            "sentrel_mem_pages_in_total", "sentrel_mem_pages_out_total", "sentrel_mem_page_faults_total",
            "sentrel_volume_read_bytes_total", "sentrel_volume_written_bytes_total",
            "sentrel_interface_received_bytes_total", "sentrel_interface_sent_bytes_total")}
        after = show()
        checked = 0
        for name, values in told.items():
            _, subject, figure = name.split("_", 2)
            for labels, value in values.items():
                before, later = (self.counter(line, subject, dict(labels), figure) for line in (self.before, after))
                if before is not None and later is not None:
                    self.assertLessEqual(before, value, (name, labels))
                    self.assertLessEqual(value, later, (name, labels))
                    checked += 1
        self.assertGreaterEqual(checked, 3)

    @staticmethod
    def counter(line, subject, labels, figure):
        if subject == "mem":
            return line["mem"][figure]
        items = line["disk"]["volumes"] if subject == "volume" else line["net"]["interfaces"]
        for item in items:
            if all(item[name] == value for name, value in labels.items()):
                return item[figure]
        return None

    # A scrape hands on what was sampled up to 1.1 seconds ago: over a few seconds that would show. Over the time
    # between the samples it does not. Each second of a processor is spent in one mode or another.
    def test_rates_are_true(self):
        window = f"[{self.WINDOW}s]"
        processors = os.sysconf("SC_NPROCESSORS_ONLN")

        # A kernel that does not run for a moment counts that moment for nothing: another window has none.
        def are_within_a_hundredth():
            rates = self.query(f"sum by (cpu) (increase(sentrel_cpu_seconds_total{window})) / on () group_left "
                               f"increase(sentrel_cpu_last_sample_timestamp_seconds{window})")
            return len(rates) == processors and all(abs(rate - 1) < 0.01 for rate in rates.values())

        wait_until(are_within_a_hundredth, "rates within 1 % of the time")

    def test_nothing_steps_back(self):
        for name in ("sentrel_cpu_seconds_total", "sentrel_disk_reads_total", "sentrel_disk_busy_seconds_total",
                     "sentrel_interface_received_bytes_total", "sentrel_volume_read_bytes_total"):
            self.assertEqual(sum(self.query(f"resets({name}[1m])").values()), 0, name)


class Peer(unittest.TestCase):
    """The established exporter on the same machine (docs/serve.md has the table)."""

    # Ours, theirs, and how their labels are named.
    COUNTERS = (
        ("sentrel_cpu_context_switches_total", "node_context_switches_total", {}),
        ("sentrel_cpu_interrupts_total", "node_intr_total", {}),
        ("sentrel_cpu_forks_total", "node_forks_total", {}),
        ("sentrel_mem_page_faults_total", "node_vmstat_pgfault", {}),
        ("sentrel_disk_reads_total", "node_disk_reads_completed_total", {}),
        ("sentrel_disk_writes_total", "node_disk_writes_completed_total", {}),
        ("sentrel_disk_read_seconds_total", "node_disk_read_time_seconds_total", {}),
        ("sentrel_disk_write_seconds_total", "node_disk_write_time_seconds_total", {}),
        ("sentrel_disk_busy_seconds_total", "node_disk_io_time_seconds_total", {}),
        ("sentrel_interface_received_bytes_total", "node_network_receive_bytes_total", {"interface": "device"}),
        ("sentrel_interface_sent_bytes_total", "node_network_transmit_bytes_total", {"interface": "device"}),
        ("sentrel_interface_received_packets_total", "node_network_receive_packets_total", {"interface": "device"}),
        ("sentrel_interface_sent_packets_total", "node_network_transmit_packets_total", {"interface": "device"}),
        ("sentrel_interface_received_errors_total", "node_network_receive_errs_total", {"interface": "device"}),
    )
    CONSTANTS = (
        ("sentrel_mem_physical_bytes", "node_memory_MemTotal_bytes", 0),
        ("sentrel_mem_swap_bytes", "node_memory_SwapTotal_bytes", 0),
        ("sentrel_cpu_boot_time_seconds", "node_boot_time_seconds", 1),
    )

    @classmethod
    def setUpClass(cls):
        cls.served = cls.enterClassContext(Served("--listen", "127.0.0.1:0"))
        cls.peer = f"http://127.0.0.1:{free_port()}/metrics"
        cls.enterClassContext(ended(subprocess.Popen(
            ["prometheus-node-exporter", "--web.listen-address=" + urllib.parse.urlsplit(cls.peer).netloc],
            stderr=subprocess.DEVNULL)))
        wait_until(lambda: try_get(cls.peer), "the peer")
        cls.theirs_before = cls.theirs()
        begin = time.time()
        wait_until(lambda: cls.sampled_since(begin), "a sample of everything")
        cls.ours = series(cls.served.scrape())
        cls.theirs_after = cls.theirs()

    @classmethod
    def theirs(cls):
        return series("\n".join(line for line in get(cls.peer).splitlines() if not line.startswith("go_")))

    @classmethod
    def sampled_since(cls, moment):
        return all(value > moment for (name, _), value in series(cls.served.scrape()).items()
                   if name.endswith("_last_sample_timestamp_seconds") and "battery" not in name)

    def assert_between(self, ours, theirs, labels, value, slack=0.0):
        their_labels = tuple(sorted(labels))
        before, after = self.theirs_before.get((theirs, their_labels)), self.theirs_after.get((theirs, their_labels))
        if before is None or after is None:
            return 0
        self.assertLessEqual(min(before, after) - slack, value, (ours, labels))
        self.assertLessEqual(value, max(before, after) + slack, (ours, labels))
        return 1

    # The slack is what a text may round away, and a tick of the kernel's.
    def test_counters_lie_between_two_looks_of_the_peer(self):
        for ours, theirs, names in self.COUNTERS:
            checked = 0
            for (name, labels), value in self.ours.items():
                if name == ours:
                    renamed = [(names.get(label, label), text) for label, text in labels]
                    checked += self.assert_between(ours, theirs, renamed, value, slack=0.011 + value * 1e-12)
            self.assertGreater(checked, 0, f"nothing to compare {ours} with")

    # What the peer tells of interrupts apart is "system" here.
    def test_processor_time_lies_between_two_looks_of_the_peer(self):
        parts = {"system": ("system", "irq", "softirq")}
        checked = 0
        for (name, labels), value in self.ours.items():
            if name == "sentrel_cpu_seconds_total":
                processor, mode = dict(labels)["cpu"], dict(labels)["mode"]
                before, after = (
                    sum(values["node_cpu_seconds_total", (("cpu", processor), ("mode", part))]
                        for part in parts.get(mode, (mode,)))
                    for values in (self.theirs_before, self.theirs_after))
                self.assertLessEqual(before - 0.05, value, labels)
                self.assertLessEqual(value, after + 0.05, labels)
                checked += 1
        self.assertGreaterEqual(checked, 6)

    def test_waiting_lies_between_two_looks_of_the_peer(self):
        for resource, kind in (("cpu", "cpu"), ("mem", "memory"), ("disk", "io")):
            for threads, word in (("some", "waiting"), ("all", "stalled")):
                value = self.ours.get((f"sentrel_{resource}_pressure_seconds_total", (("threads", threads),)))
                if value is not None:
                    self.assert_between(threads, f"node_pressure_{kind}_{word}_seconds_total", (), value, 0.001)

    def test_what_does_not_change_is_the_same(self):
        for ours, theirs, slack in self.CONSTANTS:
            self.assertAlmostEqual(self.ours[ours, ()], self.theirs_after[theirs, ()], delta=slack, msg=ours)

    def test_gauges_are_close(self):
        for ours, theirs in (("sentrel_mem_free_bytes", "node_memory_MemAvailable_bytes"),):
            slack = self.ours["sentrel_mem_physical_bytes", ()] * 0.05
            self.assertTrue(self.assert_between(ours, theirs, (), self.ours[ours, ()], slack))
        for load in ("load1", "load5", "load15"):
            self.assertTrue(self.assert_between(load, f"node_{load}", (), self.ours[f"sentrel_cpu_{load}", ()], 0.5))

    def test_the_root_has_the_same_room(self):
        def root(values, name):
            return next(value for (one, labels), value in values.items()
                        if one == name and ("mountpoint", "/") in labels)

        size = root(self.ours, "sentrel_volume_size_bytes")
        self.assertEqual(size, root(self.theirs_after, "node_filesystem_size_bytes"))
        self.assertAlmostEqual(root(self.ours, "sentrel_volume_free_bytes"),
                               root(self.theirs_after, "node_filesystem_free_bytes"), delta=0.02 * size)


if __name__ == "__main__":
    unittest.main()
