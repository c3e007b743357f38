"""``vekanalysis completion``: what lets a shell complete the words of a command line."""

import argparse
import re
import shlex
import textwrap
from argparse import Namespace

from ._arguments import Arguments

HELP = "completion with the Tab key"
ARGUMENTS = "{bash,zsh}"
DESCRIPTION = "A script that lets the Tab key complete commands, options and names."
EXAMPLES = """\
  eval "$(%(prog)s bash)"    in bash, or in ~/.bashrc
  eval "$(%(prog)s zsh)"     in zsh, or in ~/.zshrc after compinit"""

_BASH = """\
# Completion of {program} in bash: eval "$({program} completion bash)"
{function}() {{
    local current=${{COMP_WORDS[COMP_CWORD]}} words=
    case $COMP_CWORD,${{COMP_WORDS[1]}},${{COMP_WORDS[COMP_CWORD - 1]}} in
    1,*) words={commands} ;;
{after_option}
    *) case ${{COMP_WORDS[1]}},$current in
{words}
        esac ;;
    esac
    # Where there are no words, the names of files come.
    mapfile -t COMPREPLY < <(compgen -W "$words" -- "$current")
}}
complete -o bashdefault -o default -F {function} {program}
"""
_ZSH = """\
#compdef {program}
# Completion of {program} in zsh, after compinit: eval "$({program} completion zsh)"
{function}() {{
    local state line
    if ((CURRENT == 2)); then
        _alternative 'commands:command:(({commands}))' 'options:option:({options})'
        return
    fi
    local command=$words[2]
    shift words
    ((CURRENT--))
    case $command in
{arguments}
    esac
}}
compdef {function} {names}
"""
# Arguments that are files.
_FILES = ("FILE", "OUT", "OUT.png", "STEPS.csv", "WHITE")


def add_arguments(arguments: Arguments) -> None:
    arguments.add_argument("shell", choices=("bash", "zsh"), help="the shell that is to read it")


def run(arguments: Namespace) -> None:
    from ._parser import make_parser
    from ._terminal import emit

    program: str = arguments.program
    make = {"bash": _bash, "zsh": _zsh}[arguments.shell]
    emit(make(program, "_" + re.sub(r"\W", "_", program), make_parser(program)))


# argparse has no public way to what a parser was given; these attributes are as old as it is.
type _Commands = argparse._SubParsersAction[argparse.ArgumentParser]


def _commands(parser: argparse.ArgumentParser) -> _Commands:
    (commands,) = (a for a in parser._actions if isinstance(a, argparse._SubParsersAction))
    return commands


def _options(parser: argparse.ArgumentParser) -> list[str]:
    return [text for action in parser._actions for text in action.option_strings]


def _words(action: argparse.Action) -> list[str]:
    """What may stand for the argument; nothing where that is a file or free."""
    from ..reports import built_in_names
    from ..units import KINDS

    if action.choices is not None:
        return [str(choice) for choice in action.choices]
    if action.dest in ("reference", "name"):
        return [*built_in_names()]
    return [*KINDS[:-2]] if action.dest == "kind" else []


def _bash(program: str, function: str, parser: argparse.ArgumentParser) -> str:
    after_option, words = [], []
    commands = _commands(parser).choices
    for name, command in commands.items():
        words.append(f"{name},-*) words={_quoted(_options(command))} ;;")
        for action in command._actions:
            listed = _words(action)
            if not action.option_strings:
                words += [f"{name},*) words={_quoted(listed)} ;;"] if listed else []
            elif action.nargs != 0 and action.metavar not in _FILES:
                after = "|".join(f"*,{name},{option}" for option in action.option_strings)
                what = f"words={_quoted(listed)}" if listed else "compopt +o bashdefault +o default"
                after_option.append(f"{after}) {what} ;;")
    return _BASH.format(
        program=program,
        function=function,
        commands=_quoted([*commands, *_options(parser)]),
        after_option=textwrap.indent("\n".join(after_option), "    "),
        words=textwrap.indent("\n".join(words), "        "),
    )


def _quoted(words: list[str]) -> str:
    return shlex.quote(" ".join(words))


def _zsh(program: str, function: str, parser: argparse.ArgumentParser) -> str:
    commands = _commands(parser)
    described = " ".join(
        f'{command.dest}\\:"{command.help}"' for command in commands._get_subactions()
    )
    arguments = []
    for name, command in commands.choices.items():
        specs = " ".join(shlex.quote(_zsh_spec(action)) for action in command._actions)
        arguments.append(f"    {name}) _arguments {specs} ;;")
    # A path is known to zsh as what it stands for, so only its end can be told.
    _, slash, last = program.rpartition("/")
    return _ZSH.format(
        program=program,
        names=f"-p '*/{last}'" if slash else program,
        function=function,
        commands=described,
        options=" ".join(_options(parser)),
        arguments="\n".join(arguments),
    )


def _zsh_spec(action: argparse.Action) -> str:
    """An argument in the language of ``_arguments``."""
    words = _words(action)
    what = f"({' '.join(words)})" if words else "_files" if action.metavar in _FILES else " "
    value = f":{action.metavar or action.dest}:{what}"
    if not action.option_strings:
        return f"*{value}"
    repeated = "*" if isinstance(action.default, list) else ""
    hidden = action.help in (None, argparse.SUPPRESS)
    text = "" if hidden else str(action.help).replace("%(default)s", str(action.default))
    explained = re.sub(r"([\[\]:])", r"\\\1", text)
    option = action.option_strings[-1]
    return f"{repeated}{option}[{explained}]{'' if action.nargs == 0 else value}"
