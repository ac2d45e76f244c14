"""Reads the dynamic symbols of a shared library, and tells the runtime's names from its own.

A name belongs to the runtime, not to us or to a platform, when
- its version is one of libc, libstdc++ or libgcc (GLIBC_, GLIBCXX_, CXXABI_, GCC_);
- it is one of the weak hooks that every link brings (_ITM_..., __gmon_start__);
- it is a name of a sanitizer or of coverage counting, by its prefix;
- the library needs a sanitizer's library, and that defines the name: it takes over functions such
  as memcpy and operator new, which then carry no version;
- the library needs a library of Boost's, and that defines the name.
"""

import re
import subprocess

import tree

_RUNTIME_VERSION = re.compile(r"(?:GLIBC|GLIBCXX|CXXABI|GCC)_")
_WEAK_HOOK = re.compile(r"_ITM_\w+|__gmon_start__")
_INSTRUMENTED = re.compile(r"__(?:odr_)?(?:asan|lsan|msan|tsan|ubsan|sanitizer|sancov|gcov|llvm)_")
_FOREIGN_LIBRARY = re.compile(r"\[(lib(?:(?:a|hwa|l|t|ub)san|boost_\w+)\.so[\w.]*)\]")
_TABLE = re.compile(r"(?:vtable|VTT|typeinfo|typeinfo name) for (.+)")


def _output(*command):
    try:
        return subprocess.run(command, capture_output=True, text=True, check=True).stdout
    except (OSError, subprocess.CalledProcessError) as problem:
        raise tree.Finding(f"{problem} {getattr(problem, 'stderr', '') or ''}".strip()) from None


def parse(listing):
    """The symbols of an `nm -D` listing as (kind, name, version); version is "" for none."""
    for line in listing.splitlines():
        kind, symbol = line.split()[-2:]
        name, _, version = symbol.partition("@")
        yield kind, name, version.lstrip("@")


def demangle(names):
    """The names as people write them, each once; the variants of a constructor become one."""
    text = "\n".join(sorted(names))
    filtered = subprocess.run(["c++filt"], input=text, capture_output=True, text=True, check=True)
    return set(filter(None, filtered.stdout.split("\n")))


def of_others(library):
    """The names in those libraries of sanitizers and Boost that `library` needs, mangled."""
    needed = set(_FOREIGN_LIBRARY.findall(_output("readelf", "-d", str(library))))
    names = set()
    for line in _output("ldd", str(library)).splitlines() if needed else ():
        soname, _, rest = line.strip().partition(" => ")
        if soname in needed:
            path = rest.rpartition(" (")[0]
            names.update(name for _, name, _ in parse(_output("nm", "-D", "--defined-only", path)))
    return names


def own_exports(listing):
    """The names that a library defines for others, mangled. Version nodes are no names."""
    return {name for kind, name, version in parse(listing)
            if kind not in "AUwv" and not _INSTRUMENTED.match(name)}


def own_needs(listing, foreign=frozenset()):
    """The names that a library needs from someone who is not the runtime, mangled."""
    return {name for kind, name, version in parse(listing)
            if kind in "Uwv" and not _RUNTIME_VERSION.match(version)
            and not (kind in "wv" and _WEAK_HOOK.fullmatch(name))
            and not _INSTRUMENTED.match(name) and name not in foreign}


def without_tables(names):
    """Demangled names without the tables of classes that have members among them.

    Whether a library refers to such a table (vtable, typeinfo) depends on compiler, optimisation
    and sanitizer, and the table comes with the members.
    """
    return {name for name in names if not (table := _TABLE.match(name))
            or not any(other.startswith(table.group(1) + "::") for other in names)}


def exports(library):
    return demangle(own_exports(_output("nm", "-D", "--defined-only", str(library))))


def needs(library):
    listing = _output("nm", "-D", "--undefined-only", str(library))
    return without_tables(demangle(own_needs(listing, of_others(library))))
