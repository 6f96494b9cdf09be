#!/usr/bin/env python3
"""Takes the code out of a guide, and runs what it says to run.

    guide.py extract GUIDE FOLDER    writes each fenced block that names a file ("```cpp file=main.cpp") into the folder; blocks
                                     of one name go into one file, in order
    guide.py run GUIDE FOLDER        runs the commands of the "console" blocks in the folder, line by line behind "$ ", and
                                     compares what they print with what stands there. "..." stands for anything within a
                                     line, and alone on a line for any lines.
"""
import pathlib
import re
import subprocess
import sys


def blocks(path):
    """The fenced blocks: the words behind the fence, and the lines."""
    words, lines = None, []
    for number, line in enumerate(path.read_text().splitlines(), 1):
        if line.startswith("```"):
            if words is None:
                words, lines = line[3:].split(), []
            else:
                yield words, lines
                words = None
        elif words is not None:
            lines.append(line)
    if words is not None:
        sys.exit(f"{path}: the last block has no end")


def extract(guide, folder):
    files = {}
    for words, lines in blocks(guide):
        for word in words:
            if word.startswith("file="):
                files.setdefault(word[5:], []).extend(lines)
    if not files:
        sys.exit(f"{guide}: no block names a file")
    folder.mkdir(parents=True, exist_ok=True)
    for old in folder.iterdir():
        if old.name not in files:
            old.unlink()
    for name, lines in files.items():
        text = "\n".join(lines) + "\n"
        file = folder / name
        if not file.exists() or file.read_text() != text:
            file.write_text(text)


def pattern(expected):
    parts = []
    for line in expected:
        if line.strip() == "...":
            parts.append(r"(?:.*\n)*?")
        else:
            parts.append(".*".join(re.escape(piece) for piece in line.split("...")) + r"\n")
    return "".join(parts)


def commands(guide):
    for words, lines in blocks(guide):
        if words[:1] != ["console"]:
            continue
        command, expected = None, []
        for line in lines + ["$ "]:
            if not line.startswith("$ "):
                expected.append(line)
                continue
            if command is not None:
                yield command, expected
            command, expected = line[2:], []


def run(guide, folder):
    count = 0
    for command, expected in commands(guide):
        done = subprocess.run(["sh", "-c", command], cwd=folder, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True,
                              errors="replace", timeout=120)
        if re.fullmatch(pattern(expected), done.stdout) is None:
            sys.exit(f"$ {command}\nprinted:\n{done.stdout}\nand not:\n" + "\n".join(expected))
        print(f"$ {command}\n{done.stdout}", end="")
        count += 1
    if count == 0:
        sys.exit(f"{guide}: there is nothing to run")


if len(sys.argv) != 4 or sys.argv[1] not in ("extract", "run"):
    sys.exit(__doc__)
{"extract": extract, "run": run}[sys.argv[1]](pathlib.Path(sys.argv[2]), pathlib.Path(sys.argv[3]))
