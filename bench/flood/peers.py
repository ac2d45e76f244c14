#!/usr/bin/env python3
"""The same flood for packetdbd and for ulogd2, one after the other: what each received, lost and
wrote, and what an event cost it."""

import contextlib
import pathlib
import shutil
import sqlite3
import subprocess
import sys
import tempfile
import time

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[2] / "tests" / "live"))

import daemon
import scenario
import world

RULE = world.Rule("flood", 20000, 20999)

PLUGINS = "/usr/lib/x86_64-linux-gnu/ulogd"

# As the packages' example has it, but for what is said here: one group, a buffer as large as ours,
# and nothing that waits for the disk.
COMMON = """[global]
logfile="{place}/log"
loglevel=5
plugin="{plugins}/ulogd_inppkt_NFLOG.so"
plugin="{plugins}/ulogd_raw2packet_BASE.so"
plugin="{plugins}/ulogd_filter_IFINDEX.so"
plugin="{plugins}/ulogd_filter_IP2STR.so"
plugin="{plugins}/ulogd_output_{output}.so"
stack=log1:NFLOG,base1:BASE,ifi1:IFINDEX,{filters}out1:{output}
[log1]
group=5
netlink_socket_buffer_size=33554432
netlink_socket_buffer_maxsize=33554432
netlink_qthreshold=400
netlink_qtimeout=1
"""
JSON = "[out1]\nfile=\"{place}/events.json\"\nsync=0\n"
SQLITE = "[out1]\ntable=\"ulog\"\ndb=\"{place}/events.sqlite3\"\n"
TABLE = """CREATE TABLE ulog (oob_time_sec, oob_time_usec,
  oob_prefix, oob_mark, oob_in, oob_out, ip_saddr, ip_daddr, ip_totlen, ip_protocol,
  udp_sport, udp_dport)"""


class Result:
    """What a reader made of a flood."""

    def __init__(self, name, sent, kept, told_lost, on_disk, cpu, complete):
        self.name, self.sent, self.kept, self.told_lost = name, sent, kept, told_lost
        self.on_disk, self.cpu, self.complete = on_disk, cpu, complete

    def row(self):
        lost = self.sent - self.kept
        told = "no" if self.told_lost is None else f"{self.told_lost}"
        return (f"| {self.name} | {self.sent} | {self.kept} | {lost} ({lost / self.sent:.1%}) | "
                f"{told} | {self.on_disk / 1e6:.1f} MB | {self.cpu / self.sent * 1e9:.0f} ns |")


HEADER = """| Reader | Packets logged | Kept | Lost | Loss told | On disk | CPU a packet |
|---|---|---|---|---|---|---|"""


def size_of(folder):
    """Bytes that the files of a folder take on the disk."""
    return sum(path.stat().st_blocks * 512 for path in pathlib.Path(folder).rglob("*"))


def send(options):
    with world.Flood(options.flood, rate=options.rate, seconds=options.seconds) as flood:
        flood.finish()


def wait_until_idle(cpu):
    """Until a reader has stopped working on what it got."""
    last = -1.0
    while cpu() - last > 0.01:
        last = cpu()
        time.sleep(1.0)


def flood_ours(options):
    world.set_rules([RULE])
    with daemon.Daemon(options) as running:
        before = running.cpu()
        send(options)
        wait_until_idle(running.cpu)
        cpu = running.cpu() - before
        kept = sum(packets for packets, _ in running.sums().values())
        lost = running.source()["lost"]
        running.stop()
        return Result("packetdbd", world.total(), kept, lost, size_of(running.directory), cpu, True)


@contextlib.contextmanager
def ulogd(place, text):
    """A ulogd2 with this configuration."""
    configuration = pathlib.Path(place) / "ulogd.conf"
    configuration.write_text(text)
    process = subprocess.Popen(["ulogd", "-c", str(configuration)], stderr=subprocess.DEVNULL)
    try:
        time.sleep(1.0)
        if process.poll() is not None:
            log = pathlib.Path(place) / "log"
            raise RuntimeError(f"ulogd ended: {log.read_text() if log.exists() else ''}")
        yield process
    finally:
        process.terminate()
        process.wait()


def flood_ulogd(options, output, configuration, prepare, count, filters=""):
    with tempfile.TemporaryDirectory(prefix="packetdb-peer-") as place:
        prepare(place)
        text = (COMMON + configuration).format(place=place, plugins=PLUGINS, output=output,
                                               filters=filters)
        world.set_rules([RULE])
        with ulogd(place, text) as process:
            before = daemon.cpu_seconds(process.pid)
            send(options)
            wait_until_idle(lambda: daemon.cpu_seconds(process.pid))
            cpu = daemon.cpu_seconds(process.pid) - before
        return Result(f"ulogd2, {output}", world.total(), count(place), None, size_of(place), cpu,
                      False)


def make_table(place):
    with contextlib.closing(sqlite3.connect(f"{place}/events.sqlite3")) as base:
        base.execute(TABLE)
        base.commit()


def rows_of_table(place):
    with contextlib.closing(sqlite3.connect(f"{place}/events.sqlite3")) as base:
        return base.execute("SELECT count(*) FROM ulog").fetchone()[0]


def lines_of_json(place):
    with open(f"{place}/events.json", "rb") as lines:
        return sum(1 for _ in lines)


def body(options, findings):
    if shutil.which("ulogd") is None:
        world.skip("ulogd2 is not installed")
    results = []
    for _ in range(options.rounds):
        results += [
            flood_ours(options),
            flood_ulogd(options, "JSON", JSON, lambda place: None, lines_of_json,
                        "ip2str1:IP2STR,"),
            flood_ulogd(options, "SQLITE3", SQLITE, make_table, rows_of_table),
        ]
    print(HEADER)
    for result in sorted(results, key=lambda one: one.name):
        print(result.row())
    ours = [result for result in results if result.complete]
    findings.require(all(result.kept + result.told_lost == result.sent for result in ours),
                     "packetdbd accounts for every packet")


if __name__ == "__main__":
    scenario.run(body, scenario.arguments(__doc__, seconds=5.0, rate=100000.0, rounds=1))
