#!/usr/bin/env python3
"""Writes man pages and bash completion of the programs from their own help.

Use: scripts/man_pages.py DIRECTORY_OF_PROGRAMS OUTPUT
"""

import pathlib
import re
import subprocess
import sys


def help_of(*words):
    """What the program says of its use; orvixn tells it on the error stream, with a status."""
    done = subprocess.run(words, capture_output=True, text=True, check=False)
    return done.stdout + done.stderr


def page(name, version, summary, text):
    """A man page around the help as it stands."""
    plain = text.expandtabs().replace("\\", "\\e").replace("-", "\\-")
    lines = ["\\&" + line if line[:1] in (".", "'") else line for line in plain.splitlines()]
    heading = f'.TH {name.upper()} 1 "" "{version}"\n.SH NAME\n{name} \\- {summary}\n'
    return heading + ".SH DESCRIPTION\n.nf\n" + "\n".join(lines).strip("\n") + "\n.fi\n"


def options_of(text):
    """Option names of a help of orvix, as completion offers them."""
    heads = re.findall(r"^  (-\S+)", text, re.M)
    names = {re.split("[:{]", name)[0] for head in heads for name in head.split(",")}
    return sorted(name for name in names if re.fullmatch(r"--?[\w-]+", name))


def completion(words):
    """Bash completion: for the words of a subcommand so far, what may follow."""
    cases = "\n".join(
        f'        "{" ".join(subs)}") words="{" ".join(offered)}" ;;'
        for subs, offered in words.items()
    )
    deepest = max(len(subs) for subs in words)
    return f"""# bash completion of orvix; the options are those of its help.
_orvix() {{
    local words="" word=${{COMP_WORDS[COMP_CWORD]}} known="" depth
    for ((depth = COMP_CWORD < {deepest + 1} ? COMP_CWORD : {deepest + 1}; depth > 0; depth--)); do
        known="${{COMP_WORDS[*]:1:depth-1}}"
        case "$known" in
{cases}
        esac
        [ -z "$words" ] || break
    done
    # shellcheck disable=SC2207
    COMPREPLY=($(compgen -W "$words" -- "$word"))
}}
complete -o default -F _orvix orvix
"""


def document(program, subs, version, output, words):
    """The page of a program or subcommand and of all below it; adds what completion offers."""
    text = help_of(program, *subs, "--help")
    name = "-".join(["orvix", *subs])
    (output / f"{name}.1").write_text(
        page(name, version, text.splitlines()[0], text), encoding="utf-8"
    )
    below = re.findall(r"^  (\w+) {2,}\S", text.partition("Subcommands:")[2], re.M)
    words[subs] = below + options_of(text)
    for sub in below:
        document(program, (*subs, sub), version, output, words)


def main():
    programs, output = pathlib.Path(sys.argv[1]), pathlib.Path(sys.argv[2])
    output.mkdir(parents=True, exist_ok=True)
    orvix = str(programs / "orvix")
    version = help_of(orvix, "--version").strip()
    words = {}
    document(orvix, (), version, output, words)
    if len(words) < 2:
        sys.exit("no subcommands in the help of orvix")
    text = help_of(str(programs / "orvixn"), "-help")
    summary = "predict torsion angles from NMR chemical shifts"
    (output / "orvixn.1").write_text(page("orvixn", version, summary, text), encoding="utf-8")
    (output / "orvix.bash").write_text(completion(words), encoding="utf-8")


if __name__ == "__main__":
    main()
