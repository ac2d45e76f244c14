"""A packetdbd of one's own, what it tells of itself, and what it costs."""

import json
import os
import pathlib
import signal
import subprocess
import tempfile
import time

RULE_SHIFT, RULE_MASK = 9, 0x3FFF
PATIENCE = 30.0


def wait_for(what, condition, seconds=PATIENCE):
    """Waits until the condition holds; its value."""
    end = time.monotonic() + seconds
    while True:
        value = condition()
        if value:
            return value
        if time.monotonic() > end:
            raise TimeoutError(f"{what} did not happen within {seconds} s")
        time.sleep(0.01)


def processes_of(parent):
    """A process and those below it."""
    found = [parent]
    try:
        children = pathlib.Path(f"/proc/{parent}/task/{parent}/children").read_text().split()
    except OSError:
        return []
    for child in children:
        found += processes_of(int(child))
    return found


def cpu_seconds(pid):
    """What a process has used, user and system."""
    fields = pathlib.Path(f"/proc/{pid}/stat").read_text().rpartition(")")[2].split()
    return (int(fields[11]) + int(fields[12])) / os.sysconf("SC_CLK_TCK")


class Daemon:
    """packetdbd with a configuration of its own; killed with all its processes at the end."""

    def __init__(self, programs, configuration="", directory=None):
        self._programs = programs
        self._place = tempfile.TemporaryDirectory(prefix="packetdb-live-")
        place = pathlib.Path(self._place.name)
        self.directory = pathlib.Path(directory or place / "journals")
        self.socket = place / "socket"
        self._log_path = place / "log"
        (place / "packetdb.toml").write_text(
            f'directory = "{self.directory}"\n{configuration}\n'
            f'[socket]\npath = "{self.socket}"\n[metrics]\nsocket = "{place}/metrics"\n')
        self._arguments = [programs.daemon, "--config", str(place / "packetdb.toml"),
                           "--max-memory", str(programs.max_memory)]
        self._process = None

    def __enter__(self):
        self.start()
        return self

    def __exit__(self, *_):
        self.kill()
        self._place.cleanup()

    def start(self):
        """Starts it and waits until it answers."""
        with open(self._log_path, "ab") as log:
            self._process = subprocess.Popen(self._arguments, stderr=log, stdout=log,
                                             start_new_session=True)
        wait_for("packetdbd answers", self._answers)

    def _answers(self):
        if self._process.poll() is not None:
            raise RuntimeError(f"packetdbd ended with {self._process.returncode}:\n{self.log()}")
        return self._run("status", "-o", "json").returncode == 0

    def log(self):
        return self._log_path.read_text(errors="replace")

    def pids(self):
        return processes_of(self._process.pid)

    def signal(self, number):
        self._process.send_signal(number)

    def stop(self):
        """Asks it to end and waits; its exit status."""
        self._process.send_signal(signal.SIGTERM)
        return self._process.wait(timeout=PATIENCE)

    def kill(self):
        """Ends all its processes at once, as a machine without mercy would."""
        if self._process is None or self._process.poll() is not None:
            return
        os.killpg(self._process.pid, signal.SIGKILL)
        self._process.wait()

    def cpu(self):
        """Seconds that its living processes have used."""
        return sum(cpu_seconds(pid) for pid in self.pids())

    def _run(self, command, *words):
        return subprocess.run([self._programs.command, command, *words, "--socket",
                               str(self.socket)], capture_output=True, text=True, timeout=120)

    def status(self):
        done = self._run("status", "-o", "json")
        if done.returncode != 0:
            raise RuntimeError(f"packetdb status: {done.stderr}")
        return json.loads(done.stdout)

    def query(self, *words):
        """The rows that match."""
        done = self._run("query", *words, "-o", "ndjson")
        if done.returncode != 0:
            raise RuntimeError(f"packetdb query: {done.stderr}")
        return [json.loads(line) for line in done.stdout.splitlines()]

    def check(self, journal="all"):
        """The exit status of a check of a journal's file, of which a writer may be at work."""
        path = self.directory / f"{journal}.journal"
        done = subprocess.run([self._programs.command, "check", str(path)], capture_output=True,
                              text=True, timeout=120)
        print(done.stdout + done.stderr, end="" if done.returncode == 8 else "\n")
        return 0 if done.returncode == 8 else done.returncode  # 8: no damage, but in use

    def source(self, name="nflog:5"):
        """What it tells of one source."""
        return next(row for row in self.status()["sources"] if row["name"] == name)

    def accounted(self, name="nflog:5"):
        """Packets that it received or knows to be lost."""
        source = self.source(name)
        return source["received"] + source["lost"]

    def prefixes(self):
        """The prefix of each rule that its dictionary numbers."""
        lines = (self.directory / "rules.dictionary").read_text().splitlines()
        rules = (line.split(" ", 6) for line in lines if line.startswith("rule "))
        return {int(fields[1]): fields[6].split('"')[1] for fields in rules}

    def sums(self, journal="all"):
        """Packets and bytes in a journal, by the prefix of the rule."""
        prefixes, sums = self.prefixes(), {}
        for row in self.query(journal):
            prefix = prefixes.get((row["flags_value"] >> RULE_SHIFT) & RULE_MASK, "")
            packets, size = sums.get(prefix, (0, 0))
            sums[prefix] = (packets + row["count"], size + row["bytes"])
        return sums
