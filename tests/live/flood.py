"""A flood that the machine can bear: nothing is lost, and what an event costs."""

import daemon
import scenario
import world


def body(options, findings):
    rule = world.Rule("flood", 20000, 20000 + options.identities - 1)
    world.set_rules([rule])
    with daemon.Daemon(options) as running:
        before = running.cpu()
        with world.Flood(options.flood, identities=options.identities, rate=options.rate,
                         seconds=options.seconds) as flood:
            sent, seconds = flood.finish()
        daemon.wait_for("every packet arrives", lambda: running.accounted() >= world.total())
        spent = running.cpu() - before
        source, (packets, size) = running.source(), world.counters()["flood"]
        findings.equal(source["lost"], 0, "lost packets")
        findings.equal(source["received"], packets, "received packets")
        findings.equal(running.sums(), {rule.prefix: (packets, size)}, "sums")
        findings.require(sent / seconds >= options.least, f"{sent / seconds:.0f} packets a second")
        print(f"{sent} packets in {seconds:.2f} s: {sent / seconds:.0f} a second, "
              f"{source['lost']} lost, {spent / max(sent, 1) * 1e9:.0f} ns of CPU an event, "
              f"kernel buffer {source['buffer_bytes']} bytes")


if __name__ == "__main__":
    scenario.run(body, scenario.arguments(
        __doc__, seconds=10.0, rate=0.0, identities=1000, least=0.0))
