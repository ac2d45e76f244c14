"""A tree that holds our scripts and stand-ins for the programs that they call."""

import json
import pathlib
import shutil
import subprocess

import canary

ROOT = pathlib.Path(__file__).resolve().parents[2]

# Each writes how it was called to the file `calls` of the tree, then does what its lines say.
STAND_INS = {
    "cmake": "",
    "ctest": 'for last; do :; done; cp "$HOME/results.xml" "$last"',
    "clang-tidy": "",
    "id": "echo 0",
    "dpkg-query": 'grep -qxF "${@: -1}" "$HOME/missing" || printf "installed "',
    "apt-get": "",
    "sudo": "",
}


class ScriptTest(canary.TreeTest):
    """Runs scripts in an otherwise empty environment, without a terminal, in another folder."""

    def setUp(self):
        super().setUp()
        for folder in ("scripts", ".ci"):
            shutil.copytree(ROOT / folder, self.root / folder)
        for program, lines in STAND_INS.items():
            self.stand_in(program, lines)
        self.write("missing", "")
        self.write("calls", "")
        self.results("run", "run")
        self.write("src/a.cpp")
        database = [{"file": str(self.root / name)} for name in ("src/a.cpp", "tests/b.cpp")]
        self.write("build/clang/compile_commands.json", json.dumps(database))

    def stand_in(self, program, lines):
        text = f'#!/bin/bash\necho "{program} $*" >>"$HOME/calls"\n{lines}\n'
        self.write(f"bin/{program}", text, 0o755)

    def results(self, *states):
        cases = "".join(f'<testcase name="t{number}" status="{state}"><system-out>said {state}'
                        "</system-out></testcase>" for number, state in enumerate(states))
        self.write("results.xml", f"<testsuite>{cases}</testsuite>")

    def call(self, script, *args):
        return subprocess.run(
            [self.root / script, *args], cwd="/", capture_output=True, text=True, check=False,
            stdin=subprocess.DEVNULL,
            env={"PATH": f"{self.root}/bin:/usr/bin:/bin", "HOME": str(self.root)})

    def calls(self, program=""):
        lines = (self.root / "calls").read_text().splitlines()
        return [line for line in lines if line.startswith(program)]
