"""kill -9 of the whole daemon under a flood, again and again: what was journaled stays, and it is
back at once."""

import time

import daemon
import scenario
import world


def packets_in(running):
    return sum(row["count"] for row in running.query("all"))


def body(options, findings):
    world.set_rules([world.Rule("flood", 20000, 20099)])
    slowest = 0.0
    with daemon.Daemon(options) as running:
        with world.Flood(options.flood, identities=100, rate=options.rate,
                         seconds=600.0) as flood:
            for cycle in range(options.cycles):
                time.sleep(0.2 + 0.01 * (cycle % 7))
                before = packets_in(running)
                running.kill()
                begin = time.monotonic()
                running.start()
                slowest = max(slowest, time.monotonic() - begin)
                findings.require(packets_in(running) >= before, f"cycle {cycle}: packets are gone")
            findings.require(flood.is_running(), "the flood ended early")
        checked = running.check()
        findings.equal(checked, 0, "the status of a check")
        findings.within(slowest * 1000, options.within, "the slowest start")
    print(f"{options.cycles} kills, {before} packets before the last one, "
          f"back within {slowest * 1000:.0f} ms")


if __name__ == "__main__":
    scenario.run(body, scenario.arguments(__doc__, cycles=20, rate=50000.0, within=0.0))
