#!/usr/bin/env python3
"""What the check of the types' names finds."""

import canary
import check_types

HEADER = "namespace packetdb::host {{\n\n{}\n\n}}  // namespace packetdb::host\n"


class Types(canary.TreeTest):
    def check(self, **headers):
        for name, text in headers.items():
            self.write(f"host/{name}/{name}.h", HEADER.format(text))
        return check_types.check(self.root)[0]

    def test_class_and_struct_of_one_name_are_found(self):
        findings = self.check(bus="struct Row {\n  int a;\n};", rows="class Row {\n};")
        self.assert_one(findings, "host/rows/rows.h:3", "packetdb::host::Row", "host/bus/bus.h:3")

    def test_derived_class_is_found(self):
        self.assert_one(self.check(a="class B : public C {\n};", b="enum class B : int { kOne };"))

    def test_declaration_and_nested_type_are_none(self):
        self.assertEqual(self.check(a="class B {\n  struct C {};\n};",
                                    b="class B;\nstruct D {\n  struct C {};\n};"), [])

    def test_other_namespace_has_other_names(self):
        self.write("host/a/a.h", "namespace packetdb::host::a {\nstruct B {\n};\n}\n")
        self.assertEqual(self.check(b="struct B {\n};"), [])


if __name__ == "__main__":
    canary.main()
