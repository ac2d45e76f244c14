"""Clients that ask for everything there is in a large journal, beside a flood and as somebody else
than root: each is refused for a reason or answered within its limit, their processes stay small,
intake loses nothing, and an honest client gets its answer."""

import os
import pathlib
import socket
import struct
import subprocess
import tempfile
import threading
import time

import daemon
import scenario
import world

STRANGER = 65534
QUERY, EXPLAIN = 100, 200
NOTHING_OR_FAILED = -3
HEADER, RECORD, MARKER = 1, 2, 3
INTEGER = 0x80000000


def capture(path, records):
    """A capture of that many packets from different addresses, years ago."""
    with open(path, "wb") as file:
        file.write(struct.pack("<IHHiIII", 0xA1B2C3D4, 2, 4, 0, 0, 65535, 101))
        udp = struct.pack(">HHHH", 1024, 53, 8, 0)
        for begin in range(0, records, 10000):
            packets = []
            for number in range(begin, min(begin + 10000, records)):
                packets.append(struct.pack("<IIII", 1600000000 + number // 1000, 0, 28, 28))
                packets.append(struct.pack(">BBHHHBBHII", 0x45, 0, 28, 0, 0, 64, 17, 0,
                                           0x0A000000 + number, 0x7F000001) + udp)
            file.write(b"".join(packets))


def fill(command, directory, records):
    """A journal "all" of that many records."""
    with tempfile.TemporaryDirectory(prefix="packetdb-live-") as place:
        file = os.path.join(place, "many.pcap")
        capture(file, records)
        subprocess.run([command, "import", file, "-d", directory, "-g", "all", "--capacity",
                        str(2 * records)], check=True, stdout=subprocess.DEVNULL)


def frame(kind, payload):
    return struct.pack(">IBB", 2 + len(payload), 1, kind) + payload


def request(columns):
    """A request of columns of (declared number, value)."""
    header = struct.pack(">IiBB", 1, 1, 0, len(columns))
    header += b"".join(struct.pack(">II", number, len(value)) for number, value in columns)
    return frame(HEADER, header) + frame(RECORD, b"".join(value for _, value in columns))


def command(number):
    return (INTEGER, struct.pack(">i", number))


def everything(limit=0):
    """A query for all of the journal, or for its newest records."""
    columns = [command(QUERY), (30, b"all".ljust(32, b"\0")), (31, b"\1"),
               (INTEGER | 3, struct.pack(">q", 0x7FFFFFFF))]
    if limit:
        columns.append((INTEGER | 8, struct.pack(">I", limit)))
    return request(columns)


def can_be_two():
    """Whether there is another user than root here; root of a user namespace is alone in it."""
    return os.geteuid() == 0 and pathlib.Path("/proc/self/uid_map").read_text().split()[2] != "1"


class Stranger:
    """A client that is not root, as far as anybody can tell."""

    def __init__(self, path):
        self._socket = socket.socket(socket.AF_UNIX, socket.SOCK_STREAM)
        self._socket.settimeout(120)
        os.seteuid(STRANGER)
        try:
            self._socket.connect(str(path))
        finally:
            os.seteuid(0)
        self._stream = self._socket.makefile("rb", buffering=1 << 20)

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self._stream.close()
        self._socket.close()

    def _frame(self):
        (length,) = struct.unpack(">I", self._stream.read(4))
        body = self._stream.read(length)
        return body[1], body[2:]

    def ask(self, asked):
        """The answer's code, how many records came with it, and the last of them."""
        self._socket.sendall(asked)
        (code,) = struct.unpack(">i", self._frame()[1])
        rows, last = 0, b""
        if code == 0:
            kind, payload = self._frame()
            while kind != MARKER:
                rows, last = rows + (kind == RECORD), payload
                kind, payload = self._frame()
        return code, rows, last


class Watch:
    """The most memory that a process of a connection has at a time, in MiB."""

    def __init__(self, running):
        self._running, self.most = running, 0.0
        self._stops = threading.Event()
        self._thread = threading.Thread(target=self._watch)

    def __enter__(self):
        self._thread.start()
        return self

    def __exit__(self, *_):
        self._stops.set()
        self._thread.join()

    def _watch(self):
        while not self._stops.wait(0.02):
            for pid in self._running.pids():
                self.most = max(self.most, self._private(pid))

    # Without the pages of the journal, which are the system's cache.
    @staticmethod
    def _private(pid):
        try:
            lines = pathlib.Path(f"/proc/{pid}/status").read_text().splitlines()
        except OSError:
            return 0.0
        return sum(int(line.split()[1]) for line in lines if line.startswith("RssAnon:")) / 1024


def ask_for_everything(client, options, end, findings):
    """Asks again and again; how often."""
    asked = 0
    with client:
        while asked == 0 or time.monotonic() < end:
            code, rows, _ = client.ask(everything())
            findings.equal((code, rows), (NOTHING_OR_FAILED, 0), "answer to everything")
            code, _, reason = client.ask(request([command(EXPLAIN)]))
            findings.require(b"the answer has more than" in reason, f"a reason, not {reason}")
            code, rows, _ = client.ask(everything(options.rows))
            findings.equal((code, rows), (0, options.rows), "answer to as much as one may have")
            asked += 1
    return asked


def body(options, findings):
    if not can_be_two():
        world.skip("needs root, to be two users")
    world.set_rules([world.Rule("flood", 20000, 20999)])
    with tempfile.TemporaryDirectory(prefix="packetdb-live-") as directory:
        fill(options.command, directory, options.records)
        with daemon.Daemon(options, f"[limits]\nrows = {options.rows}\n", directory) as running:
            os.chmod(running.socket, 0o666)
            os.chmod(running.socket.parent, 0o755)
            ask_beside_flood(running, options, findings)


def ask_beside_flood(running, options, findings):
    # Before there are threads, all of which would be somebody else for a moment.
    clients = [Stranger(running.socket) for _ in range(options.clients)]
    taken, end = [], time.monotonic() + options.seconds
    with world.Flood(options.flood, rate=options.rate, seconds=options.seconds) as flood, \
            Watch(running) as watch:
        asked = []
        greedy = [threading.Thread(target=lambda client=client: asked.append(
            ask_for_everything(client, options, end, findings))) for client in clients]
        for thread in greedy:
            thread.start()
        while any(thread.is_alive() for thread in greedy):
            begin = time.monotonic()
            running.query("all", "--limit", "20")
            taken.append((time.monotonic() - begin) * 1000)
            time.sleep(0.05)
        flood.finish()
    findings.equal(len(asked), options.clients, "greedy clients that came to their end")
    findings.require(watch.most <= options.most, f"a process had {watch.most:.0f} MiB")
    daemon.wait_for("every packet arrives", lambda: running.accounted() >= world.total())
    source = running.source()
    findings.equal(source["lost"], 0, "lost packets")
    findings.equal(source["received"], world.total(), "received packets")
    taken.sort()
    print(f"{sum(asked)} times everything of {options.records} records: at most {watch.most:.0f} "
          f"MiB in a process, {source['lost']} lost, {len(taken)} honest answers, median "
          f"{taken[len(taken) // 2]:.1f} ms, longest {taken[-1]:.1f} ms")


if __name__ == "__main__":
    scenario.run(body, scenario.arguments(__doc__, clients=1, records=5000000, rows=1000000,
                                          most=512, seconds=10.0, rate=100000.0))
