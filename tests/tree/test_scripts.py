#!/usr/bin/env python3
"""What scripts/test and what it calls promise, with stand-ins for the programs that they call."""

import canary
import script_tree


class Test(script_tree.ScriptTest):
    def last_line(self, *args, fails):
        done = self.call("scripts/test", *args)
        self.assertEqual(done.returncode != 0, fails, done.stdout + done.stderr)
        return done.stdout.splitlines()[-1]

    def test_sums_the_runs(self):
        self.assertEqual(self.last_line(fails=False), "4 passed, 0 failed")
        self.assertEqual(len(self.calls("ctest")), 2)

    def test_quick_runs_dev_only(self):
        self.assertEqual(self.last_line("--quick", fails=False), "2 passed, 0 failed")
        self.assertIn("--preset dev", self.calls("ctest")[0])
        self.assertEqual(self.calls("clang-tidy"), [])

    def test_failed_tests_fail_and_are_shown(self):
        self.results("run", "fail")
        self.assertEqual(self.last_line("--quick", fails=True), "1 passed, 1 failed")
        self.assertIn("said fail", self.call("scripts/test", "--quick").stderr)

    def test_run_without_tests_fails(self):
        self.results()
        self.assertEqual(self.last_line("--quick", fails=True), "0 passed, 1 failed")

    def test_run_that_leaves_no_results_fails(self):
        self.stand_in("ctest", "exit 0")
        self.assertEqual(self.last_line("--quick", fails=True), "0 passed, 1 failed")

    def test_results_of_an_earlier_run_do_not_count(self):
        self.write("build/logs/dev.xml", "<testsuite><testcase status='run'/></testsuite>")
        self.stand_in("ctest", "exit 0")
        self.assertEqual(self.last_line("--quick", fails=True), "0 passed, 1 failed")

    def test_run_that_breaks_down_after_its_tests_fails(self):
        self.stand_in("ctest", script_tree.STAND_INS["ctest"] + "; exit 8")
        self.assertEqual(self.last_line("--quick", fails=True), "2 passed, 1 failed")

    def test_broken_build_fails_and_the_rest_still_runs(self):
        self.stand_in("cmake", 'case "$*" in *asan*) exit 1 ;; esac')
        self.assertEqual(self.last_line(fails=True), "2 passed, 1 failed")

    def test_failed_installation_fails(self):
        self.write("missing", "cmake\n")
        self.stand_in("apt-get", "exit 100")
        self.assertEqual(self.last_line("--quick", fails=True), "2 passed, 1 failed")

    def test_unknown_option_is_refused(self):
        done = self.call("scripts/test", "--quik")
        self.assertEqual((done.returncode, done.stdout), (1, ""))
        self.assertIn("usage", done.stderr)

    def test_ci_runs_the_same(self):
        done = self.call(".ci/run", "--quick")
        self.assertEqual(done.stdout.splitlines()[-1], "2 passed, 0 failed")


class Lint(script_tree.ScriptTest):
    def test_looks_at_the_sources_that_the_build_compiles(self):
        self.assertEqual(self.call("scripts/lint").returncode, 0)
        self.assertEqual(self.calls("clang-tidy"),
                         [f"clang-tidy -p build/clang --quiet {self.root}/src/a.cpp"])

    def test_seeing_nothing_fails(self):
        self.write("build/clang/compile_commands.json", "[]")
        self.assertEqual(self.call("scripts/lint").returncode, 1)

    def test_findings_are_shown(self):
        self.stand_in("clang-tidy", "echo bad; exit 1")
        done = self.call("scripts/lint")
        self.assertNotEqual(done.returncode, 0)
        self.assertIn("bad", done.stdout)


class Install(script_tree.ScriptTest):
    def setUp(self):
        super().setUp()
        self.write("scripts/packages.txt", "build: g++ cmake\ntest: git\nclang: clang\n")
        self.write("scripts/install", '#!/bin/bash\nset -euo pipefail\n'
                   'source "$(dirname "$0")/lib.sh"\ninstall_packages "$@"\n', 0o755)

    def install(self, *purposes):
        return self.call("scripts/install", *purposes)

    def test_nothing_missing_installs_nothing(self):
        done = self.install("build", "test")
        self.assertEqual(done.stdout, "all 3 packages are there already\n")
        self.assertEqual(self.calls("apt-get") + self.calls("sudo"), [])

    def test_root_installs_what_is_missing(self):
        self.write("missing", "git\nclang\n")
        self.assertEqual(self.install("build", "test").returncode, 0)
        self.assertRegex(self.calls("apt-get")[-1], r"install git$")
        self.assertEqual(self.calls("sudo"), [])

    def test_others_install_through_sudo(self):
        self.stand_in("id", "echo 1000")
        self.write("missing", "git\n")
        self.assertEqual(self.install("test").returncode, 0)
        self.assertRegex(self.calls("sudo")[-1],
                         r"^sudo -n env DEBIAN_FRONTEND=noninteractive apt-get .* install git$")

    def test_refused_sudo_gives_one_clear_line(self):
        self.stand_in("id", "echo 1000")
        self.stand_in("sudo", "exit 1")
        self.write("missing", "git\n")
        done = self.install("test")
        self.assertEqual(done.returncode, 1)
        self.assertEqual(done.stderr, "install: apt-get could not install them; as root, run: "
                                      "apt-get install git\n")

    def test_stale_package_lists_may_do(self):
        self.stand_in("apt-get", 'case "$*" in *update) exit 100 ;; esac')
        self.write("missing", "git\n")
        self.assertEqual(self.install("test").returncode, 0)

    def test_unknown_purpose_fails(self):
        done = self.install("build", "tests")
        self.assertEqual(done.returncode, 1)
        self.assertIn("no packages for 'tests'", done.stderr)


if __name__ == "__main__":
    canary.main()
