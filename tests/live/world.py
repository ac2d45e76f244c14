"""A network namespace of one's own: the packet filter's rules, its counters, and traffic."""

import json
import os
import shutil
import subprocess
import sys

SKIPPED = 77
_ENTERED = "PACKETDB_LIVE_NAMESPACE"


def skip(reason):
    """Ends the program as one that cannot run here."""
    print(f"skipped: {reason}")
    sys.exit(SKIPPED)


def enter():
    """Goes on in a new network namespace, by starting this program again in one. An ordinary user
    becomes root of a user namespace, who may do there what root may but raise a buffer's limit."""
    for tool in ("unshare", "nft", "ip"):
        if shutil.which(tool, path="/usr/sbin:/sbin:/usr/bin:/bin") is None:
            skip(f"{tool} is not installed")
    os.environ["PATH"] = "/usr/sbin:/sbin:/usr/bin:/bin:" + os.environ.get("PATH", "")
    if os.environ.get(_ENTERED):
        subprocess.run(["ip", "link", "set", "lo", "up"], check=True)
        return
    namespaces = ["-n"] if os.geteuid() == 0 else ["-U", "-r", "-n"]
    tried = subprocess.run(["unshare", *namespaces, "true"], capture_output=True, text=True)
    if tried.returncode != 0:
        skip(f"no network namespace: {tried.stderr.strip()}")
    os.environ[_ENTERED] = "1"
    os.execvp("unshare", ["unshare", *namespaces, sys.executable, "-B", *sys.argv])


class Rule:
    """One rule that counts, logs and decides what comes to a range of ports."""

    def __init__(self, name, first, last, verdict="drop", group=5, prefix=None):
        self.name, self.first, self.last = name, first, last
        self.verdict, self.group = verdict, group
        self.prefix = prefix or f"pdb:input:{name}:{verdict}"

    def text(self, also=()):
        """In nft's words; `also` are further log groups that get the same packets."""
        logs = " ".join(f'log prefix "{self.prefix}" group {group} snaplen 64'
                        for group in (self.group, *also))
        return (f"udp dport {self.first}-{self.last} counter name {self.name} {logs} "
                f"{self.verdict}")


def set_rules(rules, also=()):
    """Makes these the packet filter's whole ruleset, with counters that begin at 0."""
    counters = "\n".join(f"  counter {rule.name} {{ }}" for rule in rules)
    lines = "\n".join(f"    {rule.text(also)}" for rule in rules)
    ruleset = (f"flush ruleset\ntable inet live {{\n{counters}\n  chain input {{\n"
               f"    type filter hook input priority 0; policy accept;\n{lines}\n  }}\n}}\n")
    subprocess.run(["nft", "-f", "-"], input=ruleset, text=True, check=True)


def counters():
    """Packets and bytes by the name of each counter."""
    out = subprocess.run(["nft", "-j", "list", "counters"], capture_output=True, text=True,
                         check=True).stdout
    found = (entry["counter"] for entry in json.loads(out)["nftables"] if "counter" in entry)
    return {counter["name"]: (counter["packets"], counter["bytes"]) for counter in found}


def total():
    """Packets of all counters."""
    return sum(packets for packets, _ in counters().values())


class Flood:
    """Traffic that runs until it is done or this is left."""

    def __init__(self, program, **options):
        words = [word for name, value in options.items() for word in (f"--{name}", str(value))]
        self._process = subprocess.Popen([program, *words], stdout=subprocess.PIPE, text=True)

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self._process.kill()
        self._process.wait()
        self._process.stdout.close()

    def is_running(self):
        return self._process.poll() is None

    def finish(self):
        """Waits for its end; gives the packets that were sent, and in how many seconds."""
        out, _ = self._process.communicate(timeout=600)
        if self._process.returncode != 0:
            raise RuntimeError("the sender failed")
        told = json.loads(out)
        return told["sent"], told["seconds"]
