#!/usr/bin/env python3
"""Canaries for the pages."""

import canary
import check_docs
import tree


class Pages(canary.TreeTest):
    def findings(self, text, name="docs/a.md"):
        self.write("docs/guide/b.md", "# The B page\n\n## One `x`, two\n")
        self.write(name, text)
        return check_docs.check(self.root)[0]

    def passes(self, text):
        self.assertEqual(self.findings(text), [])

    def fails(self, text, *parts):
        self.assert_one(self.findings(text), "docs/a.md:", *parts)

    def test_one_title_passes(self):
        self.passes("# A\n\n## More\n")

    def test_no_title_fails(self):
        self.fails("## A\n", ":1:", "0 titles")

    def test_two_titles_fail(self):
        self.fails("# A\n\n# B\n", ":3:", "2 titles")

    def test_code_has_no_titles(self):
        self.passes("# A\n\n```sh\n# a comment\n[a](gone.md)\n```\n\n~~~~\n# b\n~~~\n# c\n~~~~\n")

    def test_title_behind_a_code_block_counts(self):
        self.fails("# A\n```\n```\n# B\n", "2 titles")

    def test_links_that_lead_somewhere(self):
        self.passes("# A\n[b](guide/b.md) [c](guide/) ![d](../docs/a.md) [e](#a)\n")
        self.passes('# A\n[b](guide/b.md#one-x-two "title") [c](<guide/b.md>)\n\n[d]: guide/b.md\n')

    def test_dead_link_fails(self):
        self.fails("# A\n\nsee [b](gone.md)\n", ":3:", "gone.md")

    def test_dead_reference_fails(self):
        self.fails("# A\n\n[b]: gone.md\n", "gone.md")

    def test_dead_heading_fails(self):
        self.fails("# A\n[b](guide/b.md#three)\n", "no heading")
        self.fails("# A\n[b](#three)\n", "no heading")

    def test_link_out_of_the_tree_fails(self):
        self.fails("# A\n[b](../../etc)\n", "nowhere")

    def test_absolute_link_fails(self):
        self.fails("# A\n[b](/docs/guide/b.md)\n", "no relative link")

    def test_empty_link_fails(self):
        self.fails("# A\n[b]()\n", "no relative link")

    def test_links_elsewhere_and_in_code_are_left_alone(self):
        self.passes("# A\n[b](https://example.net/x) [c](mailto:a@example.net) `[d](gone.md)`\n")

    def test_seeing_nothing_fails(self):
        self.write("docs/a.txt", "x")
        with self.assertRaises(tree.Finding):
            check_docs.check(self.root)


if __name__ == "__main__":
    canary.main()
