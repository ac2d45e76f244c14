#!/usr/bin/env python3
"""Canaries for the names that the library exports and needs."""

import os
import subprocess

import canary
import check_symbols
import symbols
import tree

DEFINED = """\
0000000000000000 A PACKETDB_1
0000000000001000 T _ZN8packetdb1A1fEv@@PACKETDB_1
0000000000001010 T _ZN8packetdb1AC1Ev@@PACKETDB_1
0000000000001010 T _ZN8packetdb1AC2Ev@@PACKETDB_1
0000000000002000 V _ZTVN8packetdb1AE@@PACKETDB_1
0000000000003000 B __odr_asan_gen_x
0000000000004000 T __gcov_dump
"""

UNDEFINED = """\
                 w _ITM_registerTMCloneTable
                 w __gmon_start__
                 w __cxa_finalize@GLIBC_2.2.5
                 U _Unwind_Resume@GCC_3.0
                 U _Znwm@GLIBCXX_3.4
                 U __cxa_throw@CXXABI_1.3
                 U __asan_report_load4
                 U __ubsan_vptr_type_cache
                 U memcpy
                 U _ZN7CDbFile4DoneEv
                 U _ZTI7CDbFile
                 U _ZTI5Other
                 U curl_easy_init
                 U inflate@ZLIB_1.2
"""


class Listings(canary.TreeTest):
    def test_exports_are_ours_and_each_once(self):
        self.assertEqual(symbols.demangle(symbols.own_exports(DEFINED)),
                         {"packetdb::A::f()", "packetdb::A::A()", "vtable for packetdb::A"})

    def test_needs_are_not_the_runtimes(self):
        needed = symbols.own_needs(UNDEFINED, foreign={"memcpy"})
        self.assertEqual(needed, {"_ZN7CDbFile4DoneEv", "_ZTI7CDbFile", "_ZTI5Other",
                                  "curl_easy_init", "inflate"})

    def test_unversioned_libc_name_is_a_finding_without_sanitizer(self):
        self.assertIn("memcpy", symbols.own_needs(UNDEFINED))

    def test_tables_come_with_members(self):
        names = {"CDbFile::Done()", "typeinfo for CDbFile", "typeinfo for Other"}
        self.assertEqual(symbols.without_tables(names),
                         {"CDbFile::Done()", "typeinfo for Other"})


class Lists(canary.TreeTest):
    def test_equal_lists_pass(self):
        self.assertEqual(check_symbols.compare("x", {"a"}, {"a"}), [])

    def test_missing_name_fails(self):
        self.assert_one(check_symbols.compare("x", {"a", "b"}, {"a"}), "x: - b")

    def test_new_name_fails(self):
        self.assert_one(check_symbols.compare("x", {"a"}, {"a", "b"}), "x: + b")

    def test_no_names_fail(self):
        with self.assertRaises(tree.Finding):
            check_symbols.compare("x", set(), set())

    def test_missing_list_fails(self):
        with self.assertRaises(tree.Finding):
            check_symbols.read_list(self.root / "gone.txt")

    def test_written_list_reads_back(self):
        path = self.root / check_symbols.EXPORTED
        check_symbols.write_list(path, {"b()", "a()"})
        self.assertEqual(check_symbols.read_list(path), {"a()", "b()"})


class Declarations(canary.TreeTest):
    HEADER = "class CDbFile { void Init(int); T& operator<<(int); };\n// Gone\n"

    def undeclared(self, *names):
        return check_symbols.undeclared(names, [self.HEADER, "namespace N { int Init(); }"])

    def test_declared_names_pass(self):
        self.assertEqual(self.undeclared("CDbFile::Init(int)", "CDbFile::~CDbFile()", "N::Init()",
                                         "CDbFile::operator<<(int)", "Init[abi:cxx11](int)",
                                         "vtable for CDbFile"), [])

    def test_undeclared_name_fails(self):
        self.assert_one(self.undeclared("CDbFile::Inits(int)"), "CDbFile::Inits(int)")

    def test_names_from_two_headers_fail(self):
        self.assert_one(self.undeclared("N::CDbFile::Init(int)"), "N::CDbFile")

    def test_comment_declares_nothing(self):
        self.assert_one(self.undeclared("Gone()"), "Gone")

    def test_no_headers_fail(self):
        with self.assertRaises(tree.Finding):
            check_symbols.undeclared({"a"}, [])


class Library(canary.TreeTest):
    """A real library, built by the compiler of the build."""

    SOURCE = """
    #include <cstdlib>
    #include <cstring>
    struct __attribute__((visibility("default"))) CDbFile { virtual ~CDbFile(); int Done(); };
    namespace packetdb {
    __attribute__((visibility("default"))) int Use(const char* text) {
      CDbFile file;
      return file.Done() + static_cast<int>(std::strlen(text)) + std::abs(file.Done());
    }
    int Hidden() { return EXTRA; }
    }
    """

    VERSIONS = 'PACKETDB_1 { global: extern "C++" { packetdb::*; }; local: *; };\n'

    def build(self, extra="1", flags=""):
        source = self.write("a.cpp", self.SOURCE.replace("EXTRA", extra))
        versions = self.write("a.map", self.VERSIONS)
        self.write("platform/file.h", "class CDbFile { ~CDbFile(); int Done(); };\n")
        library = self.root / "liba.so"
        command = [os.environ.get("CXX", "c++"), "-std=c++20", "-shared", "-fPIC", "-O0",
                   "-fvisibility=hidden", f"-Wl,--version-script={versions}", *flags.split(),
                   "-o", library, source]
        subprocess.run(command, check=True, cwd=self.root)  # coverage leaves its notes there
        return library

    def listed(self, library):
        check_symbols.update(library, self.root)
        return library

    def findings(self, library):
        return check_symbols.check(library, self.root, self.root)[0]

    def test_library_passes_against_its_own_lists(self):
        library = self.listed(self.build())
        self.assertEqual(self.findings(library), [])
        self.assertEqual(check_symbols.read_list(self.root / check_symbols.EXPORTED),
                         {"packetdb::Use(char const*)"})

    def test_sanitizers_and_coverage_change_nothing(self):
        self.listed(self.build())
        for flags in ("-O1", "-fsanitize=address,undefined", "--coverage"):
            self.assertEqual(self.findings(self.build(flags=flags)), [], flags)

    def test_new_need_fails(self):
        self.listed(self.build())
        library = self.build(extra="([] { extern int gone(int); return gone(1); })()")
        self.assert_one(self.findings(library), "+ packetdb::gone(int)")

    def test_new_export_fails(self):
        self.listed(self.build())
        library = self.build(flags="-fvisibility=default")
        self.assert_one(self.findings(library), "+ packetdb::Hidden()")

    def test_missing_library_fails(self):
        with self.assertRaises(tree.Finding):
            symbols.exports(self.root / "gone.so")


if __name__ == "__main__":
    canary.main()
