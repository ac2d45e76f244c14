#!/usr/bin/env python3
"""Compares what libpacketdb.so exports and needs with the two lists beside this program.

exported_symbols.txt is the library's binary interface: a name that goes breaks programs, a name
that comes is a promise. platform_symbols.txt is what another host must implement, so each of its
names is declared in a header of platform/. With --update the lists are written anew from the
library; read the difference before committing it.
"""

import pathlib
import re

import cpp_blank
import symbols
import tree

FOLDER = pathlib.Path(__file__).resolve().parent
EXPORTED = "exported_symbols.txt"
PLATFORM = "platform_symbols.txt"
HEADINGS = {
    EXPORTED: "# What libpacketdb.so exports, written by check_symbols.py --update.\n",
    PLATFORM: "# What libpacketdb.so needs from its host, written by check_symbols.py --update.\n",
}


def read_list(path):
    try:
        lines = path.read_text().splitlines()
    except OSError as problem:
        raise tree.Finding(f"no list of names: {problem}") from None
    return {line for line in lines if line and not line.startswith("#")}


def write_list(path, names):
    path.write_text(HEADINGS[path.name] + "".join(f"{name}\n" for name in sorted(names)))


def compare(list_name, listed, found):
    """The differences between a list and the library, in both directions."""
    if not found:
        raise tree.Finding(f"the library shows no names to compare with {list_name}")
    return ([f"{list_name}: - {name}  (listed; the library does not have it)"
             for name in sorted(listed - found)] +
            [f"{list_name}: + {name}  (in the library; not listed)"
             for name in sorted(found - listed)])


def identifiers(name):
    """The identifiers of a demangled function or table: `A::f(int) const` gives A and f."""
    qualified = re.sub(r"\[abi:\w+\]", "", re.sub(r"^[\w ]+ for ", "", name)).split("(")[0]
    return [part.lstrip("~") for part in qualified.split("::")]


def declared(name, headers):
    """Whether one of the headers' texts has all identifiers of `name`."""
    patterns = [re.compile(rf"(?<!\w){re.escape(each)}(?!\w)") for each in identifiers(name)]
    return any(all(pattern.search(text) for pattern in patterns) for text in headers)


def undeclared(names, headers):
    if not headers:
        raise tree.Finding("no platform headers to look at")
    headers = [cpp_blank.blank(text) for text in headers]
    return [f"{PLATFORM}: {name}  (no header of platform/ declares it)"
            for name in sorted(names) if not declared(name, headers)]


def check(library, root, folder=FOLDER):
    exported, needed = symbols.exports(library), symbols.needs(library)
    listed_exports, listed_needs = read_list(folder / EXPORTED), read_list(folder / PLATFORM)
    headers = [path.read_text() for path in sorted(pathlib.Path(root).glob("platform/*.h"))]
    findings = (compare(EXPORTED, listed_exports, exported) +
                compare(PLATFORM, listed_needs, needed) + undeclared(listed_needs, headers))
    return findings, f"{len(exported)} exported and {len(needed)} needed names"


def update(library, folder=FOLDER):
    write_list(folder / EXPORTED, symbols.exports(library))
    write_list(folder / PLATFORM, symbols.needs(library))


def main():
    parser = tree.arguments(__doc__)
    parser.add_argument("--library", help="default: that of the preset dev")
    parser.add_argument("--update", action="store_true", help="write the lists anew")
    options = parser.parse_args()
    library = options.library or pathlib.Path(options.root) / "build/dev/src/libpacketdb.so"
    if options.update:
        update(library)
    tree.run(check, library, options.root)


if __name__ == "__main__":
    main()
