#!/usr/bin/env python3
"""Checks the Markdown pages: one title each, and links within the tree that lead somewhere."""

import posixpath
import re
import urllib.parse

import markdown
import tree

_TITLE = re.compile(r"^# +\S")
_HEADING = re.compile(r"^#{1,6} +(.*?)(?: +#+)?$")
_CODE = re.compile(r"(`+)(?!`).*?(?<!`)\1(?!`)")
_LINK = re.compile(r"\]\(\s*<?([^)\s>]*)>?(?:\s+\"[^\"]*\")?\s*\)|^ {0,3}\[[^\]]+\]:\s*<?([^\s>]+)")
_ELSEWHERE = re.compile(r"^[a-z][a-z0-9+.-]*:", re.IGNORECASE)


def anchor(heading):
    """The name under which a heading can be linked to, as code hosts build it."""
    words = re.sub(r"[^\w\- ]", "", re.sub(r"\[([^\]]*)\]\([^)]*\)", r"\1", heading).lower())
    return words.strip().replace(" ", "-")


def anchors(text):
    headings = (_HEADING.match(line) for _, line in markdown.prose(text))
    return {anchor(heading.group(1)) for heading in headings if heading}


def links(text):
    """The links of a page within the tree, as (line, target)."""
    for number, line in markdown.prose(text):
        for match in _LINK.finditer(_CODE.sub("", line)):
            target = match.group(1) or match.group(2) or ""
            if not _ELSEWHERE.match(target):
                yield number, urllib.parse.unquote(target)


def link_problem(root, page, target):
    """Why a link leads nowhere; None when it leads somewhere."""
    path, _, fragment = target.partition("#")
    if not target or path.startswith("/"):
        return f"`{target}` is no relative link"
    goal = posixpath.normpath(posixpath.join(posixpath.dirname(page), path)) if path else page
    if goal.startswith("../") or not (root / goal).exists():
        return f"`{target}` leads nowhere"
    if fragment and goal.endswith(".md") and fragment not in anchors(tree.read_text(root, goal)):
        return f"`{target}`: {goal} has no heading of that name"
    return None


def page_problems(root, page, text):
    titles = [number for number, line in markdown.prose(text) if _TITLE.match(line)]
    if len(titles) != 1:
        yield (titles or [1])[-1], f"{len(titles)} titles; a page has one line `# ...`"
    for number, target in links(text):
        if problem := link_problem(root, page, target):
            yield number, problem


def check(root):
    root = tree.pathlib.Path(root)
    pages = tree.select(tree.own_files(root), suffixes=(".md",))
    findings = [f"{page}:{number}: {problem}" for page in pages
                for number, problem in page_problems(root, page, tree.read_text(root, page) or "")]
    return findings, f"{len(pages)} pages"


if __name__ == "__main__":
    tree.run(check, tree.arguments(__doc__).parse_args().root)
