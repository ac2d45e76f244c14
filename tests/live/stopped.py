"""The daemon stands still for seconds under a flood: it goes on, and knows what it missed."""

import os
import signal
import time

import daemon
import scenario
import world


def body(options, findings):
    world.set_rules([world.Rule("flood", 20000, 20999)])
    with daemon.Daemon(options) as running:
        seconds = options.still + 2
        with world.Flood(options.flood, seconds=seconds, rate=options.rate) as flood:
            time.sleep(1)
            stopped = running.pids()
            for pid in stopped:
                os.kill(pid, signal.SIGSTOP)
            time.sleep(options.still)
            for pid in stopped:
                os.kill(pid, signal.SIGCONT)
            flood.finish()
        with world.Flood(options.flood, packets=1) as last:
            last.finish()
        daemon.wait_for("every packet is accounted for",
                        lambda: running.accounted() >= world.total())
        source = running.source()
        findings.equal(source["received"] + source["lost"], world.total(), "received and lost")
        findings.equal(sum(packets for packets, _ in running.sums().values()), source["received"],
                       "packets in the journal")
        print(f"{world.total()} packets, {options.still:.1f} s still: {source['received']} "
              f"received, {source['lost']} lost, {source['overruns']} overruns")


if __name__ == "__main__":
    scenario.run(body, scenario.arguments(__doc__, still=5.0, rate=100000.0))
