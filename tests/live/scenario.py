"""What the programs of this folder have in common: options, findings, and how one ends."""

import argparse
import sys
import traceback

import world


class Findings:
    """What did not hold."""

    def __init__(self):
        self.count = 0

    def require(self, holds, text):
        if not holds:
            self.count += 1
            print(f"violated: {text}")

    def within(self, milliseconds, most, what):
        """`most` is 0 where it is only to be printed."""
        self.require(not most or milliseconds <= most, f"{what}: {milliseconds:.1f} ms")

    def equal(self, got, wanted, what):
        self.require(got == wanted, f"{what}: {got}, not {wanted}")


def arguments(description, **defaults):
    """The options of a program: those that all have, and numbers with these defaults."""
    parser = argparse.ArgumentParser(description=description)
    parser.add_argument("--daemon", required=True, help="packetdbd")
    parser.add_argument("--command", required=True, help="packetdb")
    parser.add_argument("--flood", required=True, help="udp_flood")
    parser.add_argument("--max-memory", type=int, default=1024,
                        help="of a connection, in MiB; 0: no limit. Default: 1024")
    for name, value in defaults.items():
        parser.add_argument(f"--{name}", type=type(value), default=value,
                            help=f"default: {value}")
    return parser.parse_args()


def run(body, options):
    """Runs the body in a network of its own. Ends with 0, 1 when something did not hold, or 77."""
    world.enter()
    findings = Findings()
    try:
        body(options, findings)
    except Exception:  # whatever it was, the program has not shown what it is for
        traceback.print_exc()
        findings.count += 1
    print(f"{findings.count} violations")
    sys.exit(1 if findings.count else 0)
