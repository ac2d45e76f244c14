#!/usr/bin/env python3
"""Which mutants are made of a piece of C++, and which are not."""

import unittest

import canary
import mutation
import tree


class Operators(unittest.TestCase):
    def test_comparison(self):
        self.assertEqual(mutation.bodies("x = a == b;"), [";", "x = a != b;"])
        self.assertEqual(mutation.bodies("x = a <= b;"), [";", "x = a < b;", "x = a > b;"])

    def test_logic(self):
        self.assertEqual(mutation.bodies("x = !a && b;"), [";", "x = a && b;", "x = !a || b;"])

    def test_arithmetic_and_bits(self):
        for old, new in ("+-", "-+", "*/", "/*", "&|", "|&", "|^", ("<<", ">>"), (">>", "<<")):
            self.assertIn(f"x = a {new} b;", mutation.bodies(f"x = a {old} b;"))

    def test_assignment_and_steps(self):
        self.assertEqual(mutation.bodies("a += b;"), [";", "a -= b;"])
        self.assertEqual(mutation.bodies("++a;"), ["--a;", ";"])

    def test_types_are_no_operators(self):
        self.assertEqual(mutation.bodies("const std::vector<T>& a = F<B*>(&c, *d, -e);"), [])

    def test_choice(self):
        self.assertEqual(mutation.bodies("x = f(a) ? b : c;"), [";", "x = !(f(a)) ? b : c;"])

    def test_choice_by_comparison_is_turned_by_that(self):
        self.assertEqual(mutation.bodies("x = a == b ? c : d;"), [";", "x = a != b ? c : d;"])


class Constants(unittest.TestCase):
    def test_integer(self):
        self.assertEqual(mutation.mutated("constexpr int kA = 7;"),
                         [f"constexpr int kA = {near};" for near in (0, 6, 8)])

    def test_zero_and_one(self):
        self.assertEqual(mutation.mutated("int kA[] = {0, 1};"),
                         ["int kA[] ;", "int kA[] = {1, 1};", "int kA[] = {0, 0};",
                          "int kA[] = {0, 2};"])

    def test_hexadecimal_with_suffix(self):
        self.assertEqual(mutation.mutated("const auto a = 0x0Fu;"),
                         [f"const auto a = {near};" for near in ("0x00u", "0x0Eu", "0x10u")])

    def test_floating_point_is_left_alone(self):
        self.assertEqual(mutation.mutated("const double a = 1.5;"), [])

    def test_literals(self):
        self.assertEqual(mutation.bodies("f(true, 'a', \"b\");"),
                         [";", "f(false, 'a', \"b\");", "f(true, 'x', \"b\");",
                          "f(true, 'a', \"b~\");"])

    def test_enumerators(self):
        self.assertEqual(mutation.mutated("enum A : int { kB = 1, kC };"),
                         ["enum A : int { kB = 0, kC };", "enum A : int { kB = 2, kC };"])

    def test_use_of_a_constant(self):
        self.assertEqual(mutation.bodies("f(kA);"), [";", "f((decltype(kA)(kA + 1)));"])

    def test_level_of_a_log_line(self):
        self.assertEqual(len([text for text in mutation.bodies("PACKETDB_LOG(log::kA) << b;")
                              if "log::kA +" in text or "log::kA -" in text]), 2)


class Statements(unittest.TestCase):
    def test_return(self):
        self.assertEqual(mutation.bodies("return a;", "int"), ["return {};"])
        self.assertEqual(mutation.bodies("return a;", "bool"), ["return false;", "return true;"])
        self.assertEqual(mutation.bodies("return;"), [";"])
        self.assertEqual(mutation.bodies("return *this;", "A&"), [])

    def test_jumps(self):
        self.assertIn("while (a()) { ; }", mutation.bodies("while (a()) { break; }"))
        self.assertIn("while (a()) { ; }", mutation.bodies("while (a()) { continue; }"))
        self.assertEqual(mutation.bodies("throw A();"), [";"])

    def test_if(self):
        self.assertEqual(mutation.bodies("if (a) { f(); }"),
                         ["if (true) { f(); }", "if (a) { ; }"])

    def test_if_with_more_to_do(self):
        self.assertIn("if (a) {}", mutation.bodies("if (a) { f(); g(); }"))

    def test_if_with_initialiser(self):
        self.assertIn("if (const int a = f(); true) { g(); }",
                      mutation.bodies("if (const int a = f(); a) { g(); }"))

    def test_else(self):
        found = mutation.bodies("if (a) { f(); g(); } else if (b) { h(); } else { i(); j(); }")
        self.assertIn("if (a) { f(); g(); } else if (true) { h(); } else { i(); j(); }", found)
        self.assertIn("if (a) { f(); g(); } else if (b) { h(); } else {}", found)

    def test_loops(self):
        self.assertIn("while (false) { f(); }", mutation.bodies("while (a) { f(); }"))
        self.assertIn("for (; false; ++a) { f(); }", mutation.bodies("for (; a; ++a) { f(); }"))
        self.assertIn("for (int a : b) {}", mutation.bodies("for (int a : b) { f(); g(); }"))

    def test_declaration_stays_but_not_its_value(self):
        self.assertEqual(mutation.bodies("A b = c;"), ["A b ;"])
        self.assertEqual(mutation.bodies("a::B<C>* d{e};"), ["a::B<C>* d;"])
        self.assertEqual(mutation.bodies("const A b = c;"), [])

    def test_log_line_and_its_pieces(self):
        found = mutation.bodies('PACKETDB_LOG(a) << "b" << c;')
        self.assertEqual(found, [";", 'PACKETDB_LOG(a) << "b~" << c;', 'PACKETDB_LOG(a) << "b" ;'])

    def test_body_of_a_lambda(self):
        self.assertIn("f([&](int a) { ; });", mutation.bodies("f([&](int a) { g(a); });"))
        self.assertIn("f([&] { ; });", mutation.bodies("f([&] { g(); });"))

    def test_assertions_are_left_alone(self):
        self.assertEqual(mutation.bodies("static_assert(a == 1);"), [])


class Declarations(unittest.TestCase):
    def test_constructor(self):
        self.assertEqual(mutation.mutated("A::A() : a(b), c{d} {}"),
                         ["A::A() :  c{d} {}", "A::A() : a(b) {}"])

    def test_only_member(self):
        self.assertEqual(mutation.mutated("A::A() : a(b) {}"), ["A::A()  {}"])

    def test_value_of_a_member(self):
        self.assertEqual(mutation.mutated("struct A {\n  B* b = nullptr;\n};"),
                         ["struct A {\n  B* b ;\n};"])

    def test_functions_without_a_body_are_left_alone(self):
        text = ("class A {\n public:\n  virtual int F() = 0;\n  A& operator=(const A&) = delete;\n"
                "  ~A() = default;\n  char b[32];\n  int G(int c = 1);\n};\n"
                "template <class T>\nvoid H(T&& t);\n")
        self.assertEqual(mutation.mutated(text), [])

    def test_function_in_a_class_in_a_namespace(self):
        text = ("namespace a {\nstruct B {\n  bool operator()(int c) const { return c == d; }\n};\n"
                "}\n")
        found = mutation.mutate_mutants.mutants("a.h", text)
        self.assertEqual({mutant.function for mutant in found}, {"operator()"})
        self.assertEqual(len(found), 3)

    def test_body_of_a_macro(self):
        self.assertEqual(mutation.mutated("#define A(x) \\\n  if (!x) b()\n"),
                         ["#define A(x) \\\n  if (x) b()\n"])


class Mutants(unittest.TestCase):
    def test_lines_keep_their_numbers(self):
        self.assertEqual(mutation.mutated("void F() {\n  g(a,\n    b);\n  return;\n}\n")[0],
                         "void F() {\n  ;\n\n  return;\n}\n")

    def test_place_and_content(self):
        text = "void F() {}\nint A::G(int b) {\n  return b + 1;\n}\n"
        found = mutation.mutate_mutants.mutants("a.cpp", text)
        plus = next(mutant for mutant in found if mutant.change == "+ to -")
        self.assertEqual(plus.identifier, "a.cpp:3:12:1")
        self.assertEqual(plus.content, ("a.cpp", "A::G", "return b + 1;", "10: + to -"))

    def test_identifiers_are_unique(self):
        text = "int F() {\n  return a < 3 && b ? 2 : 1;\n}\n"
        names = [mutant.identifier for mutant in mutation.mutate_mutants.mutants("a.cpp", text)]
        self.assertEqual(len(names), len(set(names)))

    def test_brackets_that_do_not_match_are_told(self):
        for text in ("void F() {", "int a = (1;", "}", "void F() { g() }"):
            with self.assertRaises(mutation.mutate_brackets.Unreadable, msg=text):
                mutation.mutated(text)

    def test_every_source_of_the_tree_can_be_read(self):
        texts = mutation.mutate_main.sources(mutation.mutate_main.ROOT)
        self.assertGreater(len(mutation.mutate_main.all_mutants(texts)), 1000)
        names = tree.own_files(mutation.mutate_main.ROOT)
        self.assertEqual(set(texts), set(tree.select(names, folders=("src", "include"))))


if __name__ == "__main__":
    canary.main()
