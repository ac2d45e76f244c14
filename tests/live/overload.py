"""More than the daemon can take, because it stands still: what it did not get is counted."""

import os
import signal
import time

import daemon
import scenario
import world

SMALL_BUFFER = "[[log_group]]\ngroup = 5\nreceive_buffer = \"{}KiB\"\n"


def body(options, findings):
    world.set_rules([world.Rule("flood", 20000, 20999)])
    with daemon.Daemon(options, SMALL_BUFFER.format(options.buffer)) as running:
        with world.Flood(options.flood, seconds=options.seconds, rate=options.rate) as flood:
            while flood.is_running():
                stopped = running.pids()
                for pid in stopped:
                    os.kill(pid, signal.SIGSTOP)
                time.sleep(options.still)
                for pid in stopped:
                    os.kill(pid, signal.SIGCONT)
                time.sleep(options.still)
            flood.finish()
        # What was lost at the end shows when the next packet comes.
        with world.Flood(options.flood, packets=1) as last:
            last.finish()
        daemon.wait_for("every packet is accounted for",
                        lambda: running.accounted() >= world.total())
        source = running.source()
        findings.equal(source["received"] + source["lost"], world.total(), "received and lost")
        findings.require(source["lost"] > 0, "nothing was lost: this was no overload")
        findings.equal(sum(packets for packets, _ in running.sums().values()), source["received"],
                       "packets in the journal")
        print(f"{world.total()} packets: {source['received']} received, {source['lost']} lost, "
              f"{source['overruns']} overruns")


if __name__ == "__main__":
    scenario.run(body, scenario.arguments(
        __doc__, seconds=6.0, rate=100000.0, still=0.5, buffer=256))
