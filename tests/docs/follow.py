#!/usr/bin/env python3
"""Follows a page of the documentation word for word and compares what it shows with what happens.

    follow.py PAGE... [--path DIR] [--python DIR] [--replace OLD=NEW] [--write]

Blocks fenced as `console` hold commands behind "$ ", continued behind "> ", and their output,
standard error with it. They are run in one shell a page, in an empty directory. A block behind
<!-- file: NAME --> is that file of the sources; one behind <!-- save: NAME --> is saved under that
name for the commands. --replace puts the place of a file of this machine for the one that the page
names, in commands, and the other way round in output. --write renews output and files in the page.
"""

import argparse
import difflib
import os
import pathlib
import re
import shlex
import subprocess
import sys
import tempfile

SOURCES = pathlib.Path(__file__).resolve().parents[2]
BLOCK = re.compile(
    r"(?:^<!-- (?P<role>file|save): (?P<name>\S+) -->\n)?^```(?P<kind>\w*)\n(?P<body>.*?)^```$",
    re.M | re.S,
)
LIMIT = 600


class Shell:
    """A bash that keeps its directory and variables from one command to the next."""

    END = "end-of-the-command"

    def __init__(self, directory, arguments):
        environment = {name: text for name, text in os.environ.items() if name != "ORVIXN_DIR"}
        environment.update(LC_ALL="C.UTF-8", COLUMNS="100", PYTHONDONTWRITEBYTECODE="1")
        # The interpreter that runs this script is the one that has the packages of the module.
        own = pathlib.Path(directory, ".bin")
        own.mkdir()
        (own / "python3").symlink_to(sys.executable)
        places = [str(own), arguments.path or "", environment["PATH"]]
        environment["PATH"] = os.pathsep.join(filter(None, places))
        if arguments.python:
            environment["PYTHONPATH"] = arguments.python
        self.replace = [pair.split("=", 1) for pair in arguments.replace]
        self.bash = subprocess.Popen(
            ["bash"],
            cwd=directory,
            env=environment,
            text=True,
            stdin=subprocess.PIPE,
            stdout=subprocess.PIPE,
            stderr=subprocess.STDOUT,
        )

    def run(self, command):
        """Output and status."""
        for old, new in self.replace:
            command = command.replace(old, shlex.quote(new))
        self.bash.stdin.write(f'{{ {command}\n}} </dev/null\necho "{self.END} $?"\n')
        self.bash.stdin.flush()
        lines = []
        for line in self.bash.stdout:
            end = line.find(self.END)
            if end >= 0:
                lines.append(line[:end])
                text = "".join(lines)
                for old, new in self.replace:
                    text = text.replace(new, old)
                return text, int(line[end:].split()[-1])
            lines.append(line)
        sys.exit(f"the shell ended within: {command}")


def commands_of(body):
    """Pairs of the lines of a command as shown and the output that follows it."""
    found = []
    for line in body.splitlines():
        if line.startswith("$ "):
            found.append(([line], []))
        elif not found:
            sys.exit(f"output before any command: {line}")
        elif line.startswith("> ") and not found[-1][1]:
            found[-1][0].append(line)
        else:
            found[-1][1].append(line)
    return found


def followed(body, shell, problems):
    """The block as it should be."""
    lines = []
    for shown, expected in commands_of(body):
        command = "\n".join(line[2:] for line in shown)
        output, status = shell.run(command)
        got = [line.rstrip() for line in output.splitlines()]
        if status != 0:
            problems.append(f"$ {command}\nends with status {status}:\n" + "\n".join(got))
        elif got != expected:
            difference = difflib.unified_diff(expected, got, "shown", "real", lineterm="", n=1)
            problems.append(f"$ {command}\n" + "\n".join(difference))
        lines += shown + got
    return "".join(line + "\n" for line in lines)


def follow(page, arguments):
    """Problems of a page, and how many commands and files it has."""
    text = page.read_text(encoding="utf-8")
    problems, count = [], 0
    with tempfile.TemporaryDirectory() as directory:
        shell = Shell(directory, arguments)

        def renewed(block):
            nonlocal count
            body = block["body"]
            if block["role"] == "file":
                count += 1
                real = (SOURCES / block["name"]).read_text(encoding="utf-8")
                if real != body:
                    problems.append(f"{block['name']} is not what the page shows")
                body = real
            elif block["role"] == "save":
                shell.run(f"cat >{block['name']} <<'{Shell.END}'\n{body}{Shell.END}")
            elif block["kind"] == "console":
                count += len(commands_of(body))
                body = followed(body, shell, problems)
            start = block.start("body") - block.start()
            return block[0][:start] + body + "```"

        after = BLOCK.sub(renewed, text)
        shell.bash.stdin.close()
        shell.bash.wait(LIMIT)
    if arguments.write:
        page.write_text(after, encoding="utf-8")
    return problems, count


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n", 1)[0])
    parser.add_argument("pages", nargs="+", type=pathlib.Path)
    parser.add_argument("--path", help="where the programs are")
    parser.add_argument("--python", help="where the Python module is")
    parser.add_argument("--replace", action="append", default=[], help="OLD=NEW")
    parser.add_argument("--write", action="store_true", help="renew the pages")
    arguments = parser.parse_args()
    failed = False
    for page in arguments.pages:
        problems, count = follow(page, arguments)
        for problem in problems:
            print(f"{page}: {problem}\n")
        failed = failed or bool(problems) or not count
        print(f"{page}: {count} commands and files, {len(problems)} differ")
    return 1 if failed and not arguments.write else 0


if __name__ == "__main__":
    sys.exit(main())
