#!/usr/bin/env python3
"""Makes the man page and the shell completions of `tvq` from what its --help says.

    make_pages.py TVQ FOLDER

SPDX-License-Identifier: BSD-2-Clause-Patent
"""

import dataclasses
import pathlib
import re
import subprocess
import sys


@dataclasses.dataclass
class Entry:
    """A positional argument, an option or a command: how it is written, and what it is."""

    usage: str
    text: str

    def names(self):
        """The option's names, without its value."""
        return self.usage.split(" ")[0].split(",")

    def takes_value(self):
        return " " in self.usage


@dataclasses.dataclass
class Help:
    """What --help says of `tvq` or one of its commands."""

    summary: str
    usage: str
    sections: dict  # "Positionals", "Options", "Subcommands": entries
    footer: str

    def entries(self, section):
        return self.sections.get(section, [])


def parse_help(text):
    lines = text.splitlines()
    usage = next(line for line in lines if line.startswith("Usage: "))
    help_text = Help(lines[0], usage.removeprefix("Usage: "), {}, "")
    section = None
    rest = lines.index(usage) + 1
    for number in range(rest, len(lines)):
        line = lines[number]
        if heading := re.fullmatch(r"(Positionals|Options|Subcommands):", line):
            section = help_text.sections.setdefault(heading[1], [])
        elif entry := re.fullmatch(r"  (\S.*?)(?:  +(\S.*))?", line):
            if section is None:
                break
            section.append(Entry(entry[1].strip(), entry[2] or ""))
        elif continued := re.fullmatch(r" {8,}(\S.*)", line):
            section[-1].text = f"{section[-1].text} {continued[1]}".strip()
        elif line:
            break
        rest = number + 1
    help_text.footer = "\n".join(lines[rest:]).strip()
    return help_text


def read_help(tvq):
    """The help of `tvq`, and that of each of its commands by name."""

    def ask(*arguments):
        return subprocess.run(
            [tvq, *arguments, "--help"], check=True, capture_output=True, text=True
        ).stdout

    top = parse_help(ask())
    return top, {
        entry.usage: parse_help(ask(entry.usage)) for entry in top.entries("Subcommands")
    }


# --- The man page ---


def roff(text):
    """Text as roff has to have it."""
    text = text.replace("\\", "\\e").replace("-", "\\-")
    return re.sub(r"^([.'])", r"\\&\1", text, flags=re.MULTILINE)


def roff_entries(entries):
    return "".join(f".TP\n.B {roff(entry.usage)}\n{roff(entry.text)}\n" for entry in entries)


def roff_footer(footer):
    """Paragraphs, with the examples as they stand."""
    page = ""
    for paragraph in footer.split("\n\n"):
        if paragraph.startswith("Examples:"):
            examples = "\n".join(line.strip() for line in paragraph.splitlines()[1:])
            page += f".PP\nExamples:\n.PP\n.RS 4\n.nf\n{roff(examples)}\n.fi\n.RE\n"
        else:
            page += f".PP\n{roff(paragraph)}\n"
    return page


def man_page(top, commands):
    page = '.\\" SPDX-License-Identifier: BSD-2-Clause-Patent\n.TH TVQ 1\n'
    page += f".SH NAME\ntvq \\- {roff(top.summary.rstrip('.'))}\n"
    page += ".SH SYNOPSIS\n.B tvq\n.I COMMAND\n[\n.I ARGUMENTS\n]\n"
    page += f".SH DESCRIPTION\n{roff(top.footer)}\n.SH COMMANDS\n"
    for name, command in commands.items():
        page += f".SS tvq {name}\n{roff(command.summary)}.\n"
        page += roff_footer(command.footer)
        page += roff_entries(command.entries("Positionals"))
        page += roff_entries(
            entry for entry in command.entries("Options") if "--help" not in entry.names()
        )
    return page


# --- Completion ---


def long_names(command):
    return [name for entry in command.entries("Options") for name in entry.names()]


def bash_completion(commands):
    cases = "".join(
        f'    {name}) words="{" ".join(long_names(command))}" ;;\n'
        for name, command in commands.items()
    )
    return f"""# bash completion of tvq
# SPDX-License-Identifier: BSD-2-Clause-Patent
_tvq() {{
  local word="${{COMP_WORDS[COMP_CWORD]}}" words="--help"
  COMPREPLY=()
  if ((COMP_CWORD == 1)); then
    mapfile -t COMPREPLY < <(compgen -W "{" ".join(commands)} --help" -- "$word")
    return
  fi
  [[ "$word" == -* ]] || return 0
  case "${{COMP_WORDS[1]}}" in
{cases}  esac
  mapfile -t COMPREPLY < <(compgen -W "$words" -- "$word")
}}
complete -o default -F _tvq tvq
"""


def quoted(text):
    """For a shell, between single quotation marks."""
    return "'" + text.replace("'", "'\\''") + "'"


def zsh_completion(commands):
    def spec(name, entry):
        text = re.sub(r"([\[\]:\\])", r"\\\1", entry.text)
        return quoted(f"{name}[{text}]" + (":value:_files" if entry.takes_value() else ""))

    page = "#compdef tvq\n# SPDX-License-Identifier: BSD-2-Clause-Patent\n"
    page += "if ((CURRENT == 2)); then\n  local -a commands=(\n"
    for name, command in commands.items():
        page += f"    {quoted(f'{name}:{command.summary}')}\n"
    page += "  )\n  _describe command commands\n  return\nfi\ncase $words[2] in\n"
    for name, command in commands.items():
        specs = " ".join(
            spec(option, entry) for entry in command.entries("Options") for option in entry.names()
        )
        page += f"  {name}) _arguments -s '1:command:' {specs} '*:file:_files' ;;\n"
    return page + "esac\n"


def fish_completion(commands):
    page = "# SPDX-License-Identifier: BSD-2-Clause-Patent\n"
    for name, command in commands.items():
        page += f"complete -c tvq -n __fish_use_subcommand -f -a {name} -d {quoted(command.summary)}\n"
        for entry in command.entries("Options"):
            for option in entry.names():
                flag = f"-l {option[2:]}" if option.startswith("--") else f"-s {option[1:]}"
                value = " -r" if entry.takes_value() else ""
                page += (
                    f"complete -c tvq -n '__fish_seen_subcommand_from {name}' {flag}{value}"
                    f" -d {quoted(entry.text)}\n"
                )
    return page


def main(arguments):
    if len(arguments) != 2:
        sys.exit("usage: make_pages.py TVQ FOLDER")
    top, commands = read_help(arguments[0])
    folder = pathlib.Path(arguments[1])
    folder.mkdir(parents=True, exist_ok=True)
    (folder / "tvq.1").write_text(man_page(top, commands))
    (folder / "tvq.bash").write_text(bash_completion(commands))
    (folder / "_tvq").write_text(zsh_completion(commands))
    (folder / "tvq.fish").write_text(fish_completion(commands))


if __name__ == "__main__":
    main(sys.argv[1:])
