#!/usr/bin/env python3
"""What the recogniser of functions must see, and must not mistake for a function."""

import unittest

import canary
import check_functions
import cpp_functions
import tree


def seen(text):
    """The functions of `text` as (line, lines)."""
    return [(found.line, found.lines) for found in cpp_functions.functions(text)]


class Sees(unittest.TestCase):
    def test_function(self):
        self.assertEqual(seen("int F(int a) {\n  return a;\n}\n"), [(1, 3)])

    def test_head_line_names_it(self):
        found = cpp_functions.functions("\nTEST(Journal, Wraps) {\n}\n")
        self.assertEqual(found[0].head, "TEST(Journal, Wraps) {")

    def test_head_over_several_lines(self):
        self.assertEqual(seen("int\nF(int a,\n  int b) {\n}\n"), [(1, 4)])

    def test_functions_in_namespaces(self):
        text = ("namespace a::b {\nnamespace {\nvoid F() {\n}\n}\n"
                "inline namespace c {\nvoid G() {}\n}\n}")
        self.assertEqual(seen(text), [(3, 2), (7, 1)])

    def test_functions_in_extern_c(self):
        self.assertEqual(seen('extern "C" {\nint F() {\n}\n}\nextern "C" int G() {}'),
                         [(2, 2), (5, 1)])

    def test_methods_in_classes(self):
        text = ("class A final : public B<int> {\n public:\n  A() = default;\n  int F() const {\n"
                "  }\n private:\n  int G() override {}\n};\n")
        self.assertEqual(seen(text), [(4, 2), (7, 1)])

    def test_methods_in_attributed_classes(self):
        self.assertEqual(seen("struct alignas(8) S {\n void F() {}\n};"), [(2, 1)])
        self.assertEqual(seen("class __attribute__((packed)) S {\n void F() {}\n};"), [(2, 1)])

    def test_methods_in_class_templates(self):
        text = "template <class T = std::map<int, int>>\nstruct S {\n  void F() {}\n};"
        self.assertEqual(seen(text), [(3, 1)])

    def test_function_templates(self):
        text = "template <class T, int n = 3>\nstruct T<n> F(T t) {\n}\n"
        self.assertEqual(seen(text), [(1, 3)])

    def test_constrained_templates(self):
        text = "template <class T>\n  requires requires(T t) { t.Size(); }\nvoid F(T t) {\n}\n"
        self.assertEqual(seen(text), [(1, 4)])

    def test_qualifiers_and_trailing_types(self):
        text = "auto A::F() const noexcept(true) -> std::map<int, B> {\n}"
        self.assertEqual(seen(text), [(1, 2)])

    def test_operators(self):
        text = ("A& A::operator=(const A& a) {\n}\nbool operator==(A, A) {\n}\n"
                "int A::operator()() {\n}\n")
        self.assertEqual(seen(text), [(1, 2), (3, 2), (5, 2)])

    def test_constructors_with_initialisers(self):
        self.assertEqual(seen("A::A(int x) : x_(x), y_{x},\n  z_{F(x), {1}} {\n}\n"), [(1, 3)])

    def test_constructors_with_base_templates(self):
        self.assertEqual(seen("A::A() : B<int>{1}, c_() {\n}\nint F() {}"), [(1, 2), (3, 1)])

    def test_default_arguments(self):
        self.assertEqual(seen("void F(A a = {}, int b = 3) {\n}\n"), [(1, 2)])

    def test_lambdas_inside_count_as_the_function(self):
        text = "void F() {\n  auto g = [&](int a) {\n  };\n  struct L {\n    void H() {}\n  };\n}\n"
        self.assertEqual(seen(text), [(1, 7)])

    def test_lambda_that_initialises_a_constant(self):
        self.assertEqual(seen("const auto kF = [](int a) -> int {\n  return a;\n};\n"), [(1, 3)])

    def test_lambdas_in_a_table(self):
        text = 'const Option kTable[] = {\n  {"a", [](A& a) {\n  }},\n  {"b", [] { F(); }},\n};\n'
        self.assertEqual(seen(text), [(2, 2), (4, 1)])

    def test_lambdas_among_arguments(self):
        self.assertEqual(seen("const int k = F(1, [=]() mutable {\n});\n"), [(1, 2)])

    def test_what_follows_a_lambda(self):
        self.assertEqual(seen("auto a = [] { };\nvoid F() {\n}\n"), [(1, 1), (2, 2)])


class DoesNotMistake(unittest.TestCase):
    def test_declarations(self):
        self.assertEqual(seen("int F(int a);\nclass A;\nusing B = int (*)(int);\n"), [])

    def test_types(self):
        self.assertEqual(seen("enum class E : int {\n  kA,\n};\nunion U {\n  int a;\n};\n"), [])
        self.assertEqual(seen("typedef struct {\n  int a;\n} S;\n"), [])

    def test_initialisers(self):
        self.assertEqual(seen("const int kA[] = {\n  1,\n};\nint b{\n 3\n};"), [])
        self.assertEqual(seen("int c[2]{\n1, 2};\nint d = F({c[2], c[0]});"), [])
        self.assertEqual(seen("struct A kA = {\n  1,\n};\nA kB = A{F(1),\n  2};\n"), [])

    def test_members_with_values(self):
        self.assertEqual(seen("struct A {\n  int a_{\n 0};\n  int b_ = 1;\n};\n"), [])

    def test_concepts(self):
        text = "template <class T>\nconcept C = requires(T t) {\n  t.F();\n};\n"
        self.assertEqual(seen(text), [])


class IgnoresWhatIsNotCode(unittest.TestCase):
    def test_comments(self):
        self.assertEqual(seen("// void F() {\n/* {\n} } */\nvoid G() {\n  // }\n}\n"), [(4, 3)])

    def test_strings(self):
        self.assertEqual(seen('void F() {\n  G("}\\"}", \'}\', \'\\\'\');\n}\n'), [(1, 3)])

    def test_raw_strings(self):
        self.assertEqual(seen('void F() {\n  G(R"x(}\n)" } )x");\n}\n'), [(1, 4)])

    def test_digit_separators(self):
        text = "void F() {\n  G(1'000, 0xff'ff);\n}\nvoid H() {}\n"
        self.assertEqual(seen(text), [(1, 3), (4, 1)])

    def test_preprocessor_lines(self):
        text = "#define F(x) \\\n  void x() {\n# if 0 // {\nvoid G() {}\n"
        self.assertEqual(seen(text), [(4, 1)])


class RefusesWhatItCannotRead(unittest.TestCase):
    def test_brace_that_is_never_closed(self):
        with self.assertRaisesRegex(cpp_functions.Unbalanced, "line 2"):
            seen("\nvoid F() {\n")

    def test_brace_that_opens_nowhere(self):
        with self.assertRaisesRegex(cpp_functions.Unbalanced, "line 3"):
            seen("void F() {\n}\n}\n")

    def test_brackets_that_cross(self):
        with self.assertRaises(cpp_functions.Unbalanced):
            seen("void F( { ) }\n")


class Length(canary.TreeTest):
    def findings(self, body_lines):
        self.write("src/a.cpp", "\nvoid F() {\n" + "  G();\n" * body_lines + "}\n")
        return check_functions.check(self.root)[0]

    def test_seventy_lines_pass(self):
        self.assertEqual(self.findings(68), [])

    def test_seventy_one_lines_fail(self):
        self.assert_one(self.findings(69), "src/a.cpp:2:", "71 lines", "void F() {")

    def test_unreadable_file_fails(self):
        self.write("src/b.cpp", "void F() {\n")
        self.assert_one(self.findings(1), "src/b.cpp", "never closed")

    def test_seeing_nothing_fails(self):
        self.write("src/a.cpp", "int a;\n")
        with self.assertRaises(tree.Finding):
            check_functions.check(self.root)


if __name__ == "__main__":
    canary.main()
