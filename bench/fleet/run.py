#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""What a fleet costs: a process that plays machines (bench_fleet), one Prometheus that scrapes each of them every 15 s,
and beside them, scraped by the same engine, "sentrel serve" and Debian's node_exporter on this machine: both as they
come, the first at the engine's pace, and the second with the collectors alone whose facts both tell. Prints tables.

usage: run.py BENCH_FLEET SENTREL [--machines 10,100,1000,3000] [--settle SECONDS] [--measure SECONDS]
"""
import argparse
import contextlib
import json
import os
import pathlib
import platform
import socket
import subprocess
import tempfile
import time
import urllib.parse
import urllib.request

INTERVAL = 15  # seconds between two scrapes
FIRST_PORT = 20000


def free_ports(count):
    """Of loopback, which nobody uses at the moment."""
    with contextlib.ExitStack() as stack:
        sockets = [stack.enter_context(socket.socket()) for _ in range(count)]
        for each in sockets:
            each.bind(("127.0.0.1", 0))
        return [each.getsockname()[1] for each in sockets]


# What both tell of, out of those that are on by themselves.
COMMON = "cpu diskstats filesystem hwmon loadavg meminfo netclass netdev powersupplyclass pressure stat vmstat".split()


class Exporter:
    """One that measures this machine."""

    def __init__(self, name, port, *command):
        self.name, self.port, self.command = name, port, command
        self.url = f"http://127.0.0.1:{port}/metrics"


def exporters(options, place):
    """Those that are scraped beside the fleet."""
    (place / "sentrel.conf").write_text(f"[sampling]\nseconds={INTERVAL}\n")
    ports = free_ports(4)
    serve = [(options.sentrel, "serve", "--listen", f"127.0.0.1:{port}") for port in ports[:2]]
    node = [(options.node_exporter, f"--web.listen-address=127.0.0.1:{port}") for port in ports[2:]]
    common = ("--collector.disable-defaults", *(f"--collector.{name}" for name in COMMON))
    return [
        Exporter("serve", ports[0], *serve[0]),
        Exporter(f"serve, a sample each {INTERVAL} s", ports[1], *serve[1], "--config", place / "sentrel.conf"),
        Exporter("node_exporter", ports[2], *node[0]),
        Exporter("node_exporter, common facts", ports[3], *node[1], *common, "--web.disable-exporter-metrics"),
    ]


ENGINE = free_ports(1)[0]


class Cost:
    """Processor time and memory of a process."""

    def __init__(self, process):
        self.pid = process.pid
        self.begin()

    def begin(self):
        self.time, self.seconds = time.monotonic(), self._seconds()

    def _seconds(self):
        # The clock of another process (clock_getcpuclockid(3)): to the nanosecond, where /proc counts whole ticks.
        return time.clock_gettime(~self.pid << 3 | 2)

    def share(self):
        """Of one processor, since the beginning."""
        return (self._seconds() - self.seconds) / (time.monotonic() - self.time)

    def _memory(self, name):
        lines = pathlib.Path(f"/proc/{self.pid}/status").read_text().splitlines()
        return next(int(line.split()[1]) * 1024 for line in lines if line.startswith(name))

    def resident(self):
        return self._memory("VmRSS:")

    def threads(self):
        return len(os.listdir(f"/proc/{self.pid}/task"))


def get(url):
    with urllib.request.urlopen(url, timeout=60) as answer:
        return answer.read()


def own_metrics():
    """Those that the engine tells of itself."""
    values = {}
    for line in get(f"http://127.0.0.1:{ENGINE}/metrics").decode().splitlines():
        if not line.startswith("#"):
            name, value = line.rsplit(" ", 1)
            values[name] = float(value)
    return values


def query(expression):
    parameters = urllib.parse.urlencode({"query": expression})
    return json.loads(get(f"http://127.0.0.1:{ENGINE}/api/v1/query?{parameters}"))["data"]["result"]


def figure(expression):
    result = query(expression)
    return float(result[0]["value"][1]) if result else float("nan")


@contextlib.contextmanager
def running(*command, **options):
    process = subprocess.Popen([str(each) for each in command], **options)
    try:
        yield process
    finally:
        if process.stdin:
            process.stdin.close()
        process.terminate()
        process.wait()


def until_it_answers(url):
    for _ in range(600):
        with contextlib.suppress(OSError):
            return get(url)
        time.sleep(0.1)
    raise SystemExit(f"{url} does not answer")


def configuration(machines, beside):
    def job(name, targets):
        return {"job_name": name, "static_configs": [{"targets": targets}]}

    return {
        "global": {"scrape_interval": f"{INTERVAL}s", "scrape_timeout": "10s"},
        "scrape_configs": [
            job("fleet", [f"127.0.0.1:{FIRST_PORT + i}" for i in range(machines)]),
            *(job(each.name, [f"127.0.0.1:{each.port}"]) for each in beside),
        ],
    }


def bytes_of_a_scrape(machines):
    """On the mean of the first machines of each kind."""
    sizes = [len(get(f"http://127.0.0.1:{FIRST_PORT + i}/metrics")) for i in range(min(machines, 40))]
    return sum(sizes) / len(sizes)


def mebibytes(count):
    return f"{count / 2**20:.1f} MiB"


def percent(share):
    return f"{share * 100:.1f} %"


def measure(options, machines, place):
    beside = exporters(options, place)
    (place / "prometheus.yml").write_text(json.dumps(configuration(machines, beside)))
    quiet = {"stdout": subprocess.DEVNULL, "stderr": subprocess.DEVNULL}
    fleet = running(
        options.fleet, machines, FIRST_PORT, stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL
    )
    engine = running(
        options.prometheus,
        f"--config.file={place}/prometheus.yml",
        f"--storage.tsdb.path={place}/data",
        f"--web.listen-address=127.0.0.1:{ENGINE}",
        "--web.enable-admin-api",
        **quiet,
    )
    with fleet as fleet, contextlib.ExitStack() as stack:
        others = {each.name: stack.enter_context(running(*each.command, **quiet)) for each in beside}
        begin = time.monotonic()
        if not fleet.stdout.readline():
            raise SystemExit("the fleet does not start")
        start = time.monotonic() - begin
        for each in beside:
            until_it_answers(each.url)
        with engine as engine:
            until_it_answers(f"http://127.0.0.1:{ENGINE}/-/ready")
            time.sleep(options.settle)
            processes = {"fleet": fleet, "engine": engine, **others}
            costs = {name: Cost(process) for name, process in processes.items()}
            before = own_metrics()
            time.sleep(options.measure)
            for process in processes.values():
                if process.poll() is not None:
                    raise SystemExit(f"{process.args[0]} ended with {process.returncode}")
            shares = {name: cost.share() for name, cost in costs.items()}
            after = own_metrics()
            row = report(machines, start, costs, shares, before, after, options, place)
            return row, [report_beside(each, costs[each.name], shares[each.name], options) for each in beside]


def report(machines, start, costs, shares, before, after, options, place):
    appended = 'prometheus_tsdb_head_samples_appended_total{type="float"}'
    appended = appended if appended in after else "prometheus_tsdb_head_samples_appended_total"
    samples = (after[appended] - before[appended]) / options.measure
    window = f"{options.measure:.0f}s"
    get_all = urllib.request.Request(f"http://127.0.0.1:{ENGINE}/api/v1/admin/tsdb/snapshot", method="POST")
    with urllib.request.urlopen(get_all, timeout=300) as answer:
        name = json.load(answer)["data"]["name"]
    stored = sum(each.stat().st_size for each in (place / "data/snapshots" / name).rglob("*") if each.is_file())
    return {
        "machines": machines,
        "answer": f"{figure(UP):.0f}",
        "series a machine": f"{figure(SERIES):.0f}",
        "bytes a scrape": f"{bytes_of_a_scrape(machines):.0f}",
        "samples a second": f"{samples:.0f}",
        "fleet: processor": percent(shares["fleet"]),
        "a machine": f"{shares['fleet'] / machines * 1000:.2f} ms/s",
        "memory": mebibytes(costs["fleet"].resident()),
        "a machine ": f"{costs['fleet'].resident() / machines / 1024:.0f} KiB",
        "engine: processor": percent(shares["engine"]),
        "memory ": mebibytes(costs["engine"].resident()),
        "scrape, mean": f"{figure(MEAN.replace('WINDOW', window)) * 1000:.1f} ms",
        "scrape, longest": f"{figure(LONGEST.replace('WINDOW', window)) * 1000:.0f} ms",
        "between scrapes, 99 %": f"{after.get(LENGTH, float('nan')):.2f} s",
        "missed": f"{figure(MISSED.replace('WINDOW', window)):.0f}",
        "age when scraped": f"{figure(AGE):.2f} s",
        "stored a sample": f"{stored / after[appended]:.2f} bytes",
        "start": f"{start:.1f} s",
    }


def report_beside(exporter, cost, share, options):
    took = TOOK.replace("JOB", exporter.name).replace("WINDOW", f"{options.measure:.0f}s")
    return {
        "exporter": exporter.name,
        "processor time a minute": f"{share * 60 * 1000:.1f} ms",
        "resident": mebibytes(cost.resident()),
        "threads": cost.threads(),
        "bytes a scrape": len(get(exporter.url)),
        "series": f"{figure(OF_JOB.replace('JOB', exporter.name)):.0f}",
        "scrape": f"{figure(took) * 1000:.1f} ms",
    }


UP = 'sum(up{job="fleet"})'
SERIES = 'avg(scrape_samples_scraped{job="fleet"})'
MEAN = 'avg(avg_over_time(scrape_duration_seconds{job="fleet"}[WINDOW]))'
LONGEST = 'max(max_over_time(scrape_duration_seconds{job="fleet"}[WINDOW]))'
MISSED = 'sum(count_over_time(up{job="fleet"}[WINDOW])) - sum(sum_over_time(up{job="fleet"}[WINDOW]))'
AGE = 'avg(timestamp(sentrel_cpu_last_sample_timestamp_seconds{job="fleet"}) - sentrel_cpu_last_sample_timestamp_seconds)'
OF_JOB = 'scrape_samples_scraped{job="JOB"}'
TOOK = 'avg_over_time(scrape_duration_seconds{job="JOB"}[WINDOW])'
LENGTH = f'prometheus_target_interval_length_seconds{{interval="{INTERVAL}s",quantile="0.99"}}'


def table(rows):
    print("| " + " | ".join(key.strip() for key in rows[0]) + " |")
    print("|" + " ---: |" * len(rows[0]))
    for row in rows:
        print("| " + " | ".join(str(value) for value in row.values()) + " |")
    print(flush=True)


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    parser.add_argument("fleet", type=pathlib.Path)
    parser.add_argument("sentrel", type=pathlib.Path)
    parser.add_argument("--machines", default="10,100,1000,3000")
    parser.add_argument("--settle", type=float, default=60, help="seconds before the measurement")
    parser.add_argument("--measure", type=float, default=180, help="seconds of it")
    parser.add_argument("--prometheus", default="prometheus")
    parser.add_argument("--node-exporter", default="prometheus-node-exporter")
    options = parser.parse_args()
    rows, beside = [], []
    for machines in [int(each) for each in options.machines.split(",")]:
        with tempfile.TemporaryDirectory() as place:
            load = os.getloadavg()[0]
            row, pair = measure(options, machines, pathlib.Path(place))
            rows.append({**row, "load before": f"{load:.1f}"})
            beside += [{"beside": machines, **each} for each in pair]
            table(rows[-1:])
    print(f"{platform.platform()}, {os.cpu_count()} processors, {time.strftime('%Y-%m-%d')}\n")
    table(rows)
    table(beside)


main()
