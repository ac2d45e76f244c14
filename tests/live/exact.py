"""Of every rule the sums of the journal are those of the packet filter's own counter."""

import daemon
import scenario
import world

RULES = [
    world.Rule("telnet", 20000, 20099, "drop"),
    world.Rule("web", 20100, 20399, "accept"),
    world.Rule("mail", 20400, 20449, "reject"),
    world.Rule("twin", 20450, 20499, "drop", prefix="pdb:input:twin:drop"),
    world.Rule("strange", 20500, 20599, "drop", prefix="some other prefix: "),
]


def body(options, findings):
    world.set_rules(RULES)
    with daemon.Daemon(options) as running:
        for _ in range(options.rounds):
            with world.Flood(options.flood, port=20000, identities=600, packets=options.packets,
                             rate=options.rate) as flood:
                flood.finish()
        daemon.wait_for("every packet arrives", lambda: running.accounted() == world.total())
        findings.equal(running.source()["lost"], 0, "lost packets")
        counters, sums = world.counters(), running.sums()
        for rule in RULES:
            findings.equal(sums.get(rule.prefix), counters[rule.name], rule.prefix)
        findings.equal(running.stop(), 0, "the daemon's exit status")
    print(f"{sum(packets for packets, _ in counters.values())} packets by {len(RULES)} rules")


if __name__ == "__main__":
    scenario.run(body, scenario.arguments(__doc__, packets=3000, rate=20000.0, rounds=2))
