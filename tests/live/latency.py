"""How long after a packet its event can be queried, in quiet and under load."""

import socket
import time

import daemon
import scenario
import world

MARKS = 40000  # the first port of the packets that are looked for


def send(port):
    with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as sender:
        sender.sendto(b"mark", ("127.0.0.1", port))
    return time.monotonic()


def seconds_until_seen(running, port):
    """From the sending of a packet until an answer has it, the asking included."""
    begin = send(port)
    while not running.query("all", "--dst-port", str(port), "--limit", "1"):
        if time.monotonic() - begin > daemon.PATIENCE:
            raise TimeoutError(f"the packet to port {port} never came")
    return time.monotonic() - begin


def measure(running, first, count, pause):
    """Milliseconds of each packet, shortest first."""
    taken = []
    for port in range(first, first + count):
        taken.append(seconds_until_seen(running, port) * 1000)
        time.sleep(pause)
    return sorted(taken)


def judge(name, taken, most, findings):
    p99 = taken[min(len(taken) - 1, int(len(taken) * 0.99))]
    findings.within(p99, most, f"{name}, p99")
    print(f"{name}: median {taken[len(taken) // 2]:.1f} ms, p99 {p99:.1f} ms, "
          f"longest {taken[-1]:.1f} ms of {len(taken)}")


def body(options, findings):
    world.set_rules([world.Rule("marks", MARKS, MARKS + 9999), world.Rule("flood", 20000, 20999)])
    with daemon.Daemon(options) as running:
        quiet = measure(running, MARKS, options.marks, options.pause)
        with world.Flood(options.flood, rate=options.rate, seconds=600.0) as flood:
            time.sleep(1)
            loaded = measure(running, MARKS + options.marks, options.marks, 0.0)
            findings.require(flood.is_running(), "the flood ended early")
        judge("one packet at a time", quiet, options.within, findings)
        judge(f"beside {options.rate:.0f} packets a second", loaded, options.within, findings)
        findings.equal(running.source()["lost"], 0, "lost packets")


if __name__ == "__main__":
    scenario.run(body, scenario.arguments(__doc__, marks=100, pause=1.0, rate=100000.0, within=0.0))
