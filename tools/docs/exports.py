"""Writes docs/exports.md, the reference of the exports, from the comments of the public header.

With --check, writes nothing and fails if the file is not current.
"""

import re
import sys
from pathlib import Path

ROOT = Path(__file__).parents[2]
TARGET = ROOT / "docs/exports.md"

# A doc comment before a declaration or macro, or one after a macro on the same line.
TOKEN = re.compile(r"/\*\*(?P<doc>(?!<|@).*?)\*/\s*(?P<code>#define[^\n]*?(?=/\*\*<|\n)|ZELSYSHELPER_API[^;]*;|"
                   r"typedef struct.*?\} \w+;)?"
                   r"|(?P<define>#define ZELSYSHELPER_\w+(?:\s|\\\n)+[^\n]*?)(?:/\*\*<(?P<behind>.*?)\*/|\n)", re.S)


def text_of(comment):
    """Returns the text of a comment without delimiters and leading asterisks."""
    return "\n".join(re.sub(r"^\s*\* ?", "", line).rstrip() for line in comment.strip().splitlines()).strip()


def markdown(text):
    text = re.sub(r"\\param\s+(\S+)\s*", lambda m: f"\n- `{m[1]}`: ", text)
    text = re.sub(r"\\return\s+", "\n\nReturns: ", text)
    text = re.sub(r"\\since\s+", "\n\nSince version ", text)
    text = re.sub(r"\n +", " ", text)
    return re.sub(r"(?m)^(- `.*)\n\n+(?=- `)", r"\1\n", re.sub(r"\n{3,}", "\n\n", text)).strip()


def signature(code):
    return " ".join(code.removeprefix("ZELSYSHELPER_API").split())


def constant(define, text):
    _, name, value = re.sub(r"\\\n", " ", define).split(None, 2)
    return f"| `{name}` | `{value.strip()}` | {' '.join(text.split())} |"


def entry(match):
    """Returns the Markdown lines for a match of TOKEN, and whether they are a table row."""
    if match["define"]:
        return [constant(match["define"], text_of(match["behind"] or ""))], True
    text = text_of(match["doc"])
    if match["code"] and match["code"].startswith("#define"):
        return [constant(match["code"], text)], True
    if match["code"]:
        name = re.search(r"(\w+)(?:\(|;$)", match["code"])[1]
        return ["", f"### `{name}`", "", "```c", signature(match["code"]), "```", "", markdown(text)], False
    if text.startswith("\\name"):
        title, _, rest = text.removeprefix("\\name ").partition("\n")
        level = "###" if title.endswith("codes") or title.startswith(("Error stages", "Steps")) else "##"
        return ["", f"{level} {title}", "", markdown(rest)], False
    return [], False


def reference(header):
    lines = ["# The exports", "", "Made by `tools/docs/exports.py` from the comments of `include/zelsyshelper.h`."]
    body = header[:header.index("/** \\name Function types")]
    rules, _, body = body.partition("#ifndef ZELSYSHELPER_H")
    lines += ["", markdown(text_of(rules.strip().removeprefix("/**").removesuffix("*/")).removeprefix("\\file\n"))]
    in_table = False
    for match in TOKEN.finditer(body[body.index("/** \\name"):]):
        more, is_row = entry(match)
        if is_row and not in_table:
            lines += ["", "| constant | value | meaning |", "|---|---|---|"]
        in_table = is_row or (in_table and not more)
        lines += more
    return re.sub(r"\n{3,}", "\n\n", "\n".join(lines)).strip() + "\n"


def main():
    text = reference((ROOT / "include/zelsyshelper.h").read_text())
    if "--check" not in sys.argv:
        TARGET.write_text(text)
    elif TARGET.read_text() != text:
        raise SystemExit("docs/exports.md is not current: run python3 tools/docs/exports.py")


main()
