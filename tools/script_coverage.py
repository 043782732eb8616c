#!/usr/bin/env python3
"""Measures what random scripts reach of src/, by line and by branch.

tools/script_coverage.py [--show PART] [FILE|FOLDER]...

Plays the scripts (by default those kept in the repository) in a separate build, build/coverage,
with and without AVX2, and prints a line for each file of src/, the least reached first. Lines and
branches of templates and macros count once, however often they are instantiated. A branch counts
twice, once for each outcome. --show lists what isn't reached in the files whose path contains PART.

Needs clang's profile library, llvm-profdata and llvm-cov; build the tree first.
"""
import argparse
import collections
import json
import os
import pathlib
import shutil
import subprocess

root = pathlib.Path(__file__).resolve().parent.parent
build = root / "build/coverage"
program = build / "bin/script_play"


def tool(name):
    return shutil.which(name) or shutil.which(name + "-14") or name


def run(*command, **options):
    return subprocess.run([str(part) for part in command], check=True, **options)


def make_program():
    flag = "-fprofile-instr-generate"
    run("cmake", "--preset", "dev", "-B", build, "-DORB_TESTS=OFF", "-DORB_BENCH=OFF",
        "-DCMAKE_BUILD_TYPE=None", f"-DCMAKE_CXX_FLAGS=-O1 -g1 {flag} -fcoverage-mapping",
        f"-DCMAKE_EXE_LINKER_FLAGS={flag}", cwd=root, stdout=subprocess.DEVNULL)
    run("ninja", "-C", build, "script_play", stdout=subprocess.DEVNULL)


def play(scripts):
    """The merged profile of all scripts, played in batches because command lines are limited."""
    profiles = []
    for first in range(0, len(scripts), 1000):
        for options in [[], ["--sse2"]]:
            profiles.append(build / f"play{len(profiles)}.profraw")
            run(root / "tools/run32", program, *options, *scripts[first:first + 1000],
                env=dict(os.environ, LLVM_PROFILE_FILE=str(profiles[-1])),
                stdout=subprocess.DEVNULL)
    merged = build / "play.profdata"
    run(tool("llvm-profdata"), "merge", "-o", merged, *profiles)
    for profile in profiles:
        profile.unlink()
    return merged


def export(profile, *options):
    return run(tool("llvm-cov"), "export", "-instr-profile", profile, *options, program,
               stdout=subprocess.PIPE, text=True).stdout


def read_lines(profile):
    lines, name = collections.defaultdict(dict), None
    for text in export(profile, "-format=lcov").splitlines():
        if text.startswith("SF:"):
            name = os.path.normpath(text[3:])
        elif text.startswith("DA:"):
            number, count = map(int, text[3:].split(",")[:2])
            lines[name][number] = max(lines[name].get(number, 0), count)
    return lines


def read_branches(profile):
    """For each branch, the counts of both outcomes over all instantiations."""
    branches = collections.defaultdict(lambda: collections.defaultdict(lambda: [0, 0]))
    for file in json.loads(export(profile, "-skip-functions"))["data"][0]["files"]:
        for branch in file["branches"]:
            ways = branches[os.path.normpath(file["filename"])][tuple(branch[:4])]
            ways[0] += branch[4]
            ways[1] += branch[5]
    return branches


def show(file, lines, branches):
    print(f"\n{file}")
    half = {place[0] for place, ways in branches.items() if not all(ways)}
    for number, text in enumerate(pathlib.Path(file).read_text().splitlines(), 1):
        if lines.get(number, 1) == 0:
            print(f"{number:5} ---- {text}")
        elif number in half:
            print(f"{number:5} half {text}")


def main():
    options = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    options.add_argument("--show", metavar="PART", help="list what isn't reached in these files")
    options.add_argument("scripts", nargs="*", type=pathlib.Path,
                         default=[root / "tests/data/corpus/script"])
    given = options.parse_args()
    scripts = [file for path in given.scripts
               for file in (sorted(path.iterdir()) if path.is_dir() else [path])]
    make_program()
    profile = play(scripts)
    all_lines, all_branches = read_lines(profile), read_branches(profile)

    rows, source = [], str(root / "src") + "/"
    for file in (name for name in all_lines if name.startswith(source)):
        counts, ways = all_lines[file].values(), all_branches[file].values()
        rows.append((sum(map(bool, counts)), len(counts),
                     sum(bool(way) for pair in ways for way in pair), 2 * len(ways), file))
    for reached, of, taken, ways, file in sorted(rows, key=lambda row: row[0] / row[1]):
        print(f"{100 * reached / of:5.1f} %  {reached:4}/{of:<4} lines  {taken:4}/{ways:<4} "
              f"branches  {file.removeprefix(source)}")
    reached, of, taken, ways = (sum(column) for column in list(zip(*rows))[:4])
    print(f"{len(scripts)} scripts: {reached} of {of} lines ({100 * reached / of:.1f} %), "
          f"{taken} of {ways} branches ({100 * taken / ways:.1f} %)")
    for *_, file in rows:
        if given.show and given.show in file:
            show(file, all_lines[file], all_branches[file])


if __name__ == "__main__":
    main()
