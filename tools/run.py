#!/usr/bin/env python3
"""Runs one of the tools of this directory by its module name.

    tools/run.py data.build SOURCE --work WORK
    tools/run.py evaluation.proteins --help

Without a name it lists them. The modules of the packages `data`, `training` and `evaluation` import
each other by these names (`from data import dataset`); no other search path is needed.
"""

import ast
import os
import runpy
import sys

TOOLS = os.path.dirname(os.path.abspath(__file__))
PACKAGES = ("data", "training", "evaluation")


def programs():
    """(module name, first sentence of its description) of every module that runs."""
    for package in PACKAGES:
        for name in sorted(os.listdir(os.path.join(TOOLS, package))):
            if name.endswith(".py"):
                with open(os.path.join(TOOLS, package, name), encoding="utf-8") as stream:
                    text = stream.read()
                if '__name__ == "__main__"' in text:
                    about = ast.get_docstring(ast.parse(text)) or ""
                    sentence = " ".join(about.split("\n\n")[0].split()).split(". ")[0]
                    yield f"{package}.{name[:-3]}", sentence.rstrip(".")


def main():
    known = dict(programs())
    if len(sys.argv) < 2 or sys.argv[1] in ("-h", "--help"):
        print(__doc__)
        for name, summary in known.items():
            print(f"  {name:<28s}{summary}")
        return 0
    name = sys.argv[1]
    if name not in known:
        print(f"no tool {name}; without arguments tools/run.py lists them", file=sys.stderr)
        return 2
    sys.argv = [f"tools/run.py {name}"] + sys.argv[2:]
    runpy.run_module(name, run_name="__main__", alter_sys=False)
    return 0


if __name__ == "__main__":
    sys.exit(main())
