"""The metrics of `tvq verify` as Prometheus sees them: its own tools take file and rules, and an alert fires on a replaced module.

usage: prometheus_test.py TVQ FOLDER      where FOLDER has Debian's prometheus and prometheus-node-exporter, unpacked

SPDX-License-Identifier: BSD-2-Clause-Patent
"""

import json
import pathlib
import subprocess
import sys
import tempfile
import time
import urllib.error
import urllib.request

from databases import free_port
from machines import ROOT, TWO_SOCKET

RULES = ROOT / "docs" / "examples" / "tvq-alerts.yml"
RULE_TESTS = ROOT / "tests" / "fleet" / "alerts_test.yml"
PATIENCE = 120
CONFIGURATION = """global: {{scrape_interval: 1s, evaluation_interval: 1s}}
rule_files: ['{rules}']
scrape_configs:
  - job_name: node
    static_configs: [{{targets: ['127.0.0.1:{exporter}']}}]
"""


class Machine:
    """One machine, its table, its state and its metrics."""

    def __init__(self, tvq, folder):
        self._tvq, self._folder = tvq, folder
        self._source = TWO_SOCKET.read_text(encoding="utf-8")
        self.metrics = folder / "metrics" / "tvq.prom"
        self.metrics.parent.mkdir()
        self.boot_with("7A2C0003")

    def boot_with(self, serial):
        """With a module of that number in DIMM_A3."""
        self._run("mktable", "-", "-o", self._folder / "table.bin", stdin=self._source.replace("7A2C0003", serial))

    def _run(self, command, *arguments, stdin=None):
        return subprocess.run([self._tvq, command, *arguments, "--quiet"], input=stdin, capture_output=True, text=True, check=False)

    def save(self):
        return self._with_state("save").returncode

    def accept(self, name):
        return self._with_state("accept", name).returncode

    def verify(self, *options):
        return self._with_state("verify", "--metrics", self.metrics, *options).returncode

    def _with_state(self, command, *arguments):
        return self._run(command, self._folder / "state", *arguments, "--from-dump", self._folder / "table.bin")


class Site:
    """A node exporter that reads the metrics, and a Prometheus that reads the node exporter."""

    def __init__(self, packages, folder):
        programs = packages / "usr" / "bin"
        self._port, exporter = free_port(), free_port()
        configuration = folder / "prometheus.yml"
        configuration.write_text(CONFIGURATION.format(rules=RULES, exporter=exporter), encoding="utf-8")
        output = open(folder / "programs.out", "wb")
        self._running = [
            subprocess.Popen(command, stdout=output, stderr=output)
            for command in (
                [programs / "prometheus-node-exporter", "--collector.disable-defaults", "--collector.textfile",
                 f"--collector.textfile.directory={folder / 'metrics'}", f"--web.listen-address=127.0.0.1:{exporter}"],
                [programs / "prometheus", f"--config.file={configuration}", f"--storage.tsdb.path={folder / 'data'}",
                 f"--web.listen-address=127.0.0.1:{self._port}"],
            )
        ]
        self._output = folder / "programs.out"

    def _get(self, path):
        try:
            with urllib.request.urlopen(f"http://127.0.0.1:{self._port}/api/v1/{path}", timeout=10) as answer:
                return json.load(answer)["data"]
        except (urllib.error.URLError, ConnectionError, TimeoutError):
            return None

    def alerts(self):
        """The alerts that fire, by name, each with the label and the verdict of its device."""
        data = self._get("alerts") or {"alerts": []}
        return {(alert["labels"]["alertname"], alert["labels"].get("label"), alert["labels"].get("verdict"))
                for alert in data["alerts"] if alert["state"] == "firing"}

    def value(self, metric):
        data = self._get(f"query?query={metric}")
        return [float(result["value"][1]) for result in data["result"]] if data else []

    def wait(self, what, is_so):
        start = time.monotonic()
        while not is_so():
            if time.monotonic() - start > PATIENCE or any(program.poll() is not None for program in self._running):
                sys.exit(f"{what}: not seen; alerts: {self.alerts()}\n{self._output.read_text(errors='replace')[-3000:]}")
            time.sleep(0.2)
        print(f"  {what}: after {time.monotonic() - start:.1f} s")

    def stop(self):
        for program in self._running:
            program.terminate()
        for program in self._running:
            try:
                program.wait(timeout=30)
            except subprocess.TimeoutExpired:
                program.kill()
                program.wait()


def promtool(packages, *arguments, stdin=None):
    done = subprocess.run([packages / "usr" / "bin" / "promtool", *arguments], input=stdin, capture_output=True, text=True, check=False)
    if done.returncode != 0:
        sys.exit(f"promtool {' '.join(str(one) for one in arguments)}: {done.stdout}{done.stderr}")


def expect(what, found, wanted):
    if found != wanted:
        sys.exit(f"{what}: {found}, not {wanted}")


def check_with_promtool(packages, machine):
    promtool(packages, "check", "rules", RULES)
    promtool(packages, "test", "rules", RULE_TESTS)
    for options in ([], ["--metrics-serials"], ["--as-is"]):
        machine.verify(*options)
        promtool(packages, "check", "metrics", stdin=machine.metrics.read_text(encoding="utf-8"))
    done = subprocess.run([packages / "usr" / "bin" / "promtool", "check", "metrics"], input='a{b="\n', capture_output=True, text=True, check=False)
    expect("promtool refuses what is wrong", done.returncode != 0, True)


def scrape(site, machine):
    expect("a machine that nobody touched", machine.verify(), 0)
    site.wait("the metrics are scraped", lambda: site.value("tvq_verify_success") == [1])
    expect("alerts", site.alerts(), set())
    machine.boot_with("7A2C9999")
    expect("a module was replaced", machine.verify(), 1)
    site.wait("the alert on the replaced module fires", lambda: site.alerts() == {("TvqDeviceReplaced", "DIMM_A3", "replaced")})
    expect("the module is accepted", machine.accept("DIMM_A3"), 0)
    expect("nothing is to be looked at", machine.verify(), 0)
    site.wait("the alert is over", lambda: site.alerts() == set())
    expect("a run with other options is refused", machine.verify("--as-is"), 2)
    site.wait("the alert on the failed run fires", lambda: site.alerts() == {("TvqVerifyFailed", None, None)})
    expect("devices of a run that failed", site.value("tvq_devices"), [])


def main(arguments):
    tvq, packages = arguments[0], pathlib.Path(arguments[1])
    with tempfile.TemporaryDirectory(prefix="tvq-prometheus-") as name:
        folder = pathlib.Path(name)
        machine = Machine(tvq, folder)
        expect("a first run without a state", machine.verify(), 3)
        expect("the state is saved", machine.save(), 0)
        check_with_promtool(packages, machine)
        site = Site(packages, folder)
        try:
            scrape(site, machine)
        finally:
            site.stop()


if __name__ == "__main__":
    main(sys.argv[1:])
