#!/usr/bin/env python3
"""Compares each core module's declared dependencies with what its files include.

Every folder core/halyward/<module>/ (with its internal/ folder) is one static library,
declared in core/CMakeLists.txt as `halyward_module(<module> DEPS ...)`. A module must
declare exactly the modules whose headers its files include ("halyward/<other>/..."), and
exactly the outside libraries whose headers they include. A dependency declared but not
used drags a library into every program that links the module; one used but not declared
builds only by luck of link order. Either is reported, and the exit status is 1.

Usage: check_module_deps.py <source root>
"""

import pathlib
import re
import sys

# Outside libraries: the CMake target a module links and the header that shows it is used.
LIBRARIES = {
    "PkgConfig::UTF8PROC": re.compile(r"#include <utf8proc\.h>"),
    "PkgConfig::PCRE2": re.compile(r"#include <pcre2\.h>"),
    "PkgConfig::PLIST": re.compile(r"#include <plist/"),
    "PkgConfig::UUID": re.compile(r"#include <uuid/"),
    "Boost::json": re.compile(r"#include <boost/json"),
    "Boost::url": re.compile(r"#include <boost/url"),
    "FastFloat::fast_float": re.compile(r"#include <fast_float/"),
    # libcrypto and libcurl are opened at run time; modules declare their headers only.
    "halyward_crypto_headers": re.compile(r"#include <openssl/"),
    "halyward_curl_headers": re.compile(r"#include <curl/"),
    "Threads::Threads": re.compile(r"#include <thread>"),
}
MODULE_INCLUDE = re.compile(r'^\s*#\s*include\s+[<"]halyward/([a-z_]+)/', re.MULTILINE)
DECLARATION = re.compile(r"halyward_module\(\s*([a-z_]+)((?:\s+[^)\s]+)*)\s*\)")


def declared(cmake_text):
    modules = {}
    for name, rest in DECLARATION.findall(cmake_text):
        words = rest.split()
        deps = set(words[words.index("DEPS") + 1:]) if "DEPS" in words else set()
        modules[name] = deps
    return modules


def used(folder, module):
    deps = set()
    for path in sorted(folder.rglob("*")):
        if path.suffix not in (".cpp", ".hpp"):
            continue
        text = path.read_text(encoding="utf-8", errors="replace")
        for other in MODULE_INCLUDE.findall(text):
            if other != module:
                deps.add("halyward_" + other)
        for target, pattern in LIBRARIES.items():
            if pattern.search(text):
                deps.add(target)
    return deps


def main():
    root = pathlib.Path(sys.argv[1] if len(sys.argv) > 1 else ".")
    core = root / "core"
    modules = declared((core / "CMakeLists.txt").read_text(encoding="utf-8"))
    problems = []
    folders = {p.name for p in (core / "halyward").iterdir() if p.is_dir()}
    for missing in sorted(folders - set(modules)):
        problems.append(f"core/halyward/{missing}/ is not declared in core/CMakeLists.txt")
    for module, deps in modules.items():
        actual = used(core / "halyward" / module, module)
        for dep in sorted(actual - deps):
            problems.append(f"{module}: includes {dep} but does not declare it")
        for dep in sorted(deps - actual):
            problems.append(f"{module}: declares {dep} but includes nothing of it")
    for problem in problems:
        print(problem)
    if not problems:
        print(f"{len(modules)} modules: declared dependencies match the includes")
    return 1 if problems else 0


if __name__ == "__main__":
    sys.exit(main())
