#!/usr/bin/env python3
"""Canaries for the include picture."""

import canary
import check_includes
import tree


class Includes(canary.TreeTest):
    def setUp(self):
        super().setUp()
        self.write("platform/log.h", "#include <string>\n")
        self.write("include/packetdb/query.h", '#include "platform/log.h"\n')
        self.write("include/packetdb/storage.h")
        self.write("src/log.h", '#include "packetdb/query.h"\n#include "platform/log.h"\n')
        self.write("host/log/log.h", '#include "platform/log.h"\n')
        self.write("host/bus/frame.h", "#include <vector>\n")
        self.write("host/record_file/file.h")

    def findings(self):
        return check_includes.check(self.root)[0]

    def refuses(self, name, line, *parts):
        self.write(name, line + "\n")
        self.assert_one(self.findings(), f"{name}:1:", *parts)

    def allows(self, name, *lines):
        self.write(name, "\n".join(lines) + "\n")
        self.assertEqual(self.findings(), [])

    def test_sound_tree_passes(self):
        self.assertEqual(self.findings(), [])

    def test_platform_includes_nothing_of_ours(self):
        self.refuses("platform/bus.h", '#include "packetdb/query.h"', "platform/ may not")

    def test_library_never_includes_the_host(self):
        self.refuses("src/query/read.cpp", '#include "host/log/log.h"', "src/ may not")

    def test_public_header_never_includes_the_sources(self):
        self.refuses("include/packetdb/registry.h", '#include "src/log.h"')

    def test_bus_never_includes_the_library(self):
        self.refuses("host/bus/frame.cpp", '#include "packetdb/query.h"', "host/bus/ may not")

    def test_bus_never_includes_its_neighbour(self):
        self.refuses("host/bus/frame.cpp", '#include "host/log/log.h"')

    def test_folder_includes_itself_from_the_root(self):
        self.allows("host/bus/frame.cpp", '#include "host/bus/frame.h"')

    def test_sources_include_the_event_record_only(self):
        self.allows("host/sources/text.h", '#include "packetdb/storage.h"')
        self.refuses("host/sources/text.h", '#include "packetdb/query.h"', "host/sources/ may not")

    def test_journals_include_library_record_file_and_log(self):
        self.allows("host/journals/group.cpp", '#include "packetdb/storage.h"',
                    '#include "host/record_file/file.h"', '#include "host/log/log.h"')

    def test_journals_never_include_the_bus(self):
        self.refuses("host/journals/group.cpp", '#include "host/bus/frame.h"')

    def test_programs_include_everything_but_the_sources(self):
        self.allows("host/daemon/main.cpp", '#include "host/bus/frame.h"',
                    '#include "packetdb/query.h"', '#include "platform/log.h"')
        self.refuses("host/daemon/main.cpp", '#include "src/log.h"', "host/daemon/ may not")

    def test_relative_includes_fail(self):
        self.refuses("host/bus/frame.cpp", '#include "frame.h"', "seen from the root")
        self.refuses("host/bus/frame.cpp", '#include "../bus/frame.h"', "seen from the root")

    def test_spaced_include_line_is_seen(self):
        self.refuses("src/a.cpp", '  #  include  "host/log/log.h"', "src/ may not")

    def test_missing_file_fails(self):
        self.refuses("src/a.cpp", '#include "packetdb/gone.h"', "gone.h")

    def test_angle_brackets_do_not_hide_our_files(self):
        self.refuses("src/a.cpp", "#include <host/log/log.h>", "with quotes")

    def test_unknown_folder_fails(self):
        self.refuses("host/new/a.cpp", "#include <string>", "does not know")

    def test_similar_folder_name_is_another_folder(self):
        self.refuses("host/logger/a.cpp", "#include <string>", "does not know")

    def test_tests_may_include_everything(self):
        self.allows("tests/library/a.cpp", '#include "src/log.h"', '#include "host/bus/frame.h"')

    def test_seeing_nothing_fails(self):
        for name in ("platform/log.h", "include/packetdb/query.h", "src/log.h", "host/log/log.h",
                     "host/bus/frame.h"):
            self.write(name)
        with self.assertRaises(tree.Finding):
            self.findings()


if __name__ == "__main__":
    canary.main()
