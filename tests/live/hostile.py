"""Clients that are slow, greedy or broken, beside a flood: intake loses nothing, and an honest
client gets its answer."""

import os
import signal
import socket
import subprocess
import threading
import time

import daemon
import scenario
import world


class Crowd:
    """So many clients of five kinds; each begins again when it is thrown out."""

    def __init__(self, running, command, size):
        self._running, self._command = running, command
        self._stops = threading.Event()
        kinds = (self._drip, self._vanish, self._oversize, self._idle, self._never_read)
        self._threads = [threading.Thread(target=self._repeat, args=(kinds[i % len(kinds)],))
                         for i in range(size)]

    def __enter__(self):
        for thread in self._threads:
            thread.start()
        return self

    def __exit__(self, *_):
        self._stops.set()
        for thread in self._threads:
            thread.join()

    def _repeat(self, kind):
        while not self._stops.is_set():
            try:
                kind()
            except OSError:  # thrown out, or not let in
                self._stops.wait(0.05)

    def _connect(self):
        client = socket.socket(socket.AF_UNIX, socket.SOCK_STREAM)
        client.settimeout(1)
        client.connect(str(self._running.socket))
        return client

    def _drip(self):
        with self._connect() as client:
            while not self._stops.wait(0.2):
                client.send(b"\0")

    def _vanish(self):
        self._connect().close()
        self._stops.wait(0.02)

    def _oversize(self):
        with self._connect() as client:
            client.sendall(b"\xff" * 65536)
            client.recv(1)
        self._stops.wait(0.02)

    def _idle(self):
        with self._connect() as client:
            while not self._stops.wait(0.5):
                client.getpeername()

    # Everything there is, and then nobody takes the answer.
    def _never_read(self):
        greedy = subprocess.Popen([self._command, "query", "all", "--socket",
                                   str(self._running.socket)], stdout=subprocess.PIPE,
                                  stderr=subprocess.DEVNULL)
        time.sleep(0.05)
        os.kill(greedy.pid, signal.SIGSTOP)
        self._stops.wait(5)
        greedy.kill()
        greedy.communicate()


def honest_answers(running, seconds):
    """Milliseconds that each of an honest client's queries took, shortest first."""
    taken, end = [], time.monotonic() + seconds
    while time.monotonic() < end:
        begin = time.monotonic()
        running.query("all", "--limit", "20")
        taken.append((time.monotonic() - begin) * 1000)
        time.sleep(0.05)
    return sorted(taken)


def body(options, findings):
    world.set_rules([world.Rule("flood", 20000, 20999)])
    # Room for the honest one beside them.
    limits = f"[limits]\nconnections = {options.clients + 8}\n"
    with daemon.Daemon(options, limits) as running:
        with world.Flood(options.flood, rate=options.rate, seconds=options.seconds) as flood:
            with Crowd(running, options.command, options.clients):
                time.sleep(1)
                taken = honest_answers(running, options.seconds - 2)
            flood.finish()
        daemon.wait_for("every packet arrives", lambda: running.accounted() >= world.total())
        source = running.source()
        findings.equal(source["lost"], 0, "lost packets")
        findings.equal(source["received"], world.total(), "received packets")
        findings.within(taken[-1], options.within, "an honest answer took")
        print(f"{options.clients} clients beside {options.rate:.0f} packets a second: "
              f"{source['lost']} lost, {len(taken)} honest answers, median "
              f"{taken[len(taken) // 2]:.1f} ms, longest {taken[-1]:.1f} ms")


if __name__ == "__main__":
    scenario.run(body, scenario.arguments(__doc__, clients=64, seconds=10.0, rate=100000.0,
                                          within=0.0))
