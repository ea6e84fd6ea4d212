#!/usr/bin/env python3
"""Writes the manual page faxolino(1) from the program's own help, so the two cannot drift.

    make-manpage.py FAXOLINO OUTPUT --version V --date YYYY-MM-DD --summary TEXT

`faxolino --help` gives the synopsis, the description, the options, the list of commands and
the sections EXIT STATUS, ENVIRONMENT, FILES and SEE ALSO; `faxolino COMMAND --help` gives
each command's part. A help text is read as blocks separated by blank lines: a "Usage:"
block, a heading line ending in ':' followed by entries (a term indented by two spaces, its
text after two or more spaces or on the lines below, indented further), or a paragraph.
"""
import argparse
import os
import re
import subprocess
import sys
import tempfile

PLACEHOLDER = re.compile(r"^[A-Z][A-Z0-9_]*(\.[a-z]+)?$")
ENTRY = re.compile(r"^  (\S(?:.*?\S)?)(?:\s{2,}(\S.*))?$")


def run_help(program, arguments, home):
    # --help must not touch the user's settings, which a command creates on start.
    env = {k: v for k, v in os.environ.items()
           if k not in ("DISPLAY", "WAYLAND_DISPLAY", "FAXOLINO_SPOOL_ROOT")}
    env.update(HOME=home, XDG_CONFIG_HOME=home + "/config", XDG_DATA_HOME=home + "/data",
               XDG_CACHE_HOME=home + "/cache", QT_QPA_PLATFORM="offscreen", LC_ALL="C.UTF-8",
               ASAN_OPTIONS="detect_leaks=0")
    done = subprocess.run([program, *arguments, "--help"], env=env, capture_output=True,
                          text=True, timeout=60)
    if done.returncode != 0 or not done.stdout.startswith("Usage: "):
        sys.exit(f"make-manpage: {' '.join(arguments) or 'faxolino'} --help failed "
                 f"({done.returncode}): {done.stderr.strip()}")
    return done.stdout


def blocks(text):
    """[('usage', [lines]) | ('section', title, [(term, text)]) | ('para', text)]"""
    result = []
    for chunk in re.split(r"\n\s*\n", text.strip("\n")):
        lines = chunk.split("\n")
        if lines[0].startswith("Usage: "):
            result.append(("usage", [line.replace("Usage: ", "", 1).strip() for line in lines]))
        elif re.fullmatch(r"[A-Z][^:]*:", lines[0]) and len(lines) > 1:
            entries = []
            for line in lines[1:]:
                match = ENTRY.match(line)
                if match:
                    entries.append([match.group(1), match.group(2) or ""])
                elif entries and line.startswith("   "):
                    entries[-1][1] = (entries[-1][1] + " " + line.strip()).strip()
                else:
                    sys.exit(f"make-manpage: cannot read the line {line!r} of {lines[0]}")
            result.append(("section", lines[0][:-1], entries))
        else:
            result.append(("para", " ".join(line.strip() for line in lines)))
    return result


def escape(text):
    text = text.replace("\\", "\\e")
    # An option's dashes are minus signs, so that it can be copied; a word's hyphen is not.
    text = re.sub(r"(?<![\w-])--?\w[\w-]*", lambda m: m.group(0).replace("-", "\\-"), text)
    text = re.sub(r"`([^`]+)`", r"\\fB\1\\fR", text)
    return "\\&" + text if text[:1] in (".", "'") else text


def styled(usage):
    """Literal words bold, placeholders italic, brackets and bars plain."""
    out = []
    for piece in re.split(r"(\[|\]|\||\.\.\.|\s+)", usage):
        if not piece or piece.isspace() or piece in "[]|" or piece == "...":
            out.append(escape(piece))
        elif PLACEHOLDER.match(piece):
            out.append(f"\\fI{escape(piece)}\\fR")
        else:
            out.append(f"\\fB{escape(piece)}\\fR")
    return "".join(out)


def entry_list(entries, term_style):
    lines = []
    for term, text in entries:
        lines += [".TP", term_style(term)]
        if text:
            lines.append(escape(text))
    return lines


def see_also(entries):
    refs = ", ".join(term for term, _ in entries)
    return re.sub(r"([\w.-]+)\((\d)\)", r"\\fB\1\\fR(\2)", refs)


def page(program, version, date, summary):
    with tempfile.TemporaryDirectory(prefix="faxolino-man-") as home:
        main = blocks(run_help(program, [], home))
        sections = {b[1]: b[2] for b in main if b[0] == "section"}
        commands = [term.split()[0] for term, _ in sections.get("Commands", [])]
        command_help = {name: blocks(run_help(program, [name], home)) for name in commands}

    out = [f'.TH FAXOLINO 1 "{date}" "Faxolino {version}" "User Commands"',
           ".SH NAME", f"faxolino \\- {escape(summary[0].lower() + summary[1:])}",
           ".SH SYNOPSIS"]
    for block in main:
        if block[0] == "usage":
            for line in block[1]:
                out += [styled(line), ".br"]
    out.append(".SH DESCRIPTION")
    for block in main:
        if block[0] == "para":
            out += [".PP", escape(block[1])]

    out += [".SH OPTIONS"] + entry_list(sections.get("Options", []), styled)

    out.append(".SH COMMANDS")
    for name in commands:
        out.append(f".SS {name}")
        for block in command_help[name]:
            if block[0] == "usage":
                out += [".PP"] + [part for line in block[1] for part in (styled(line), ".br")]
            elif block[0] == "para":
                out += [".PP", escape(block[1])]
            else:
                out += [".PP", escape(block[1] + ":"), ".RS"]
                out += entry_list(block[2], styled) + [".RE"]

    # The remaining sections of the main help, in its order.
    styles = {"Exit status": lambda t: f"\\fB{escape(t)}\\fR",
              "Environment": lambda t: f"\\fB{escape(t)}\\fR",
              "Files": lambda t: f"\\fI{escape(t)}\\fR"}
    for block in main:
        if block[0] != "section" or block[1] in ("Options", "Commands"):
            continue
        title = block[1].upper()
        out.append(f'.SH "{title}"' if " " in title else f".SH {title}")
        if block[1] == "See also":
            out.append(see_also(block[2]))
        else:
            out += entry_list(block[2], styles.get(block[1], styled))
    return "\n".join(out) + "\n"


def main():
    parser = argparse.ArgumentParser(description="Writes faxolino(1) from the program's help.")
    parser.add_argument("program")
    parser.add_argument("output")
    parser.add_argument("--version", required=True)
    parser.add_argument("--date", required=True)
    parser.add_argument("--summary", required=True)
    args = parser.parse_args()
    text = page(args.program, args.version, args.date, args.summary)
    with open(args.output, "w", encoding="utf-8") as out:
        out.write(text)


if __name__ == "__main__":
    main()
