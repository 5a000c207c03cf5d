"""Writes what follows from the declarations and comments of the public header.

These are docs/exports.md, the function types at the header's end, the list of the loader, and the export
table. With --check, writes nothing and fails if one of them is not current.
"""

import re
import sys
from pathlib import Path

ROOT = Path(__file__).parents[2]
HEADER = ROOT / "include/zelsyshelper.h"
DECLARATION = re.compile(r"^ZELSYSHELPER_API (\w+) (\w+)\((.*?)\);", re.S | re.M)
COLUMNS = 110

# A doc comment before a declaration or macro, or one after a macro on the same line.
TOKEN = re.compile(
    r"/\*\*(?P<doc>(?!<|@).*?)\*/\s*(?P<code>#define[^\n]*?(?=/\*\*<|\n)|ZELSYSHELPER_API[^;]*;|"
    r"typedef struct.*?\} \w+;)?"
    r"|(?P<define>#define ZELSYSHELPER_\w+(?:\s|\\\n)+[^\n]*?)(?:/\*\*<(?P<behind>.*?)\*/|\n)",
    re.S,
)


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
    lines = [
        "# The exports",
        "",
        "Made by `tools/docs/exports.py` from the comments of `include/zelsyshelper.h`.",
    ]
    body = header[: header.index("/** \\name Function types")]
    rules, _, body = body.partition("#ifndef ZELSYSHELPER_H")
    lines += [
        "",
        markdown(text_of(rules.strip().removeprefix("/**").removesuffix("*/")).removeprefix("\\file\n")),
    ]
    in_table = False
    for match in TOKEN.finditer(body[body.index("/** \\name") :]):
        more, is_row = entry(match)
        if is_row and not in_table:
            lines += ["", "| constant | value | meaning |", "|---|---|---|"]
        in_table = is_row or (in_table and not more)
        lines += more
    return re.sub(r"\n{3,}", "\n\n", "\n".join(lines)).strip() + "\n"


def filled(first, parts, indent, end=""):
    """The parts, separated by spaces, in lines of at most COLUMNS characters."""
    lines = [first + parts[0]]
    for part in parts[1:]:
        if len(f"{lines[-1]} {part}{end}") <= COLUMNS:
            lines[-1] += f" {part}"
        else:
            lines.append(indent + part)
    return f"{end}\n".join(lines)


def function_type(declaration):
    result, name, parameters = declaration
    start = f"typedef {result} (*PFN_{name})("
    return filled(start, re.sub(r",\s+", ",\n", parameters + ");").split("\n"), " " * len(start))


def between(text, begin, end, part):
    """The text with another part between two marks."""
    before, mark, rest = text.partition(begin)
    return before + mark + part + rest[rest.index(end) :]


def files():
    """The contents that each file must have."""
    header, loader = HEADER.read_text(), ROOT / "include/zelsyshelper_load.hpp"
    declarations = DECLARATION.findall(header)
    names = [name for _, name, _ in declarations]
    types = "\n".join(map(function_type, declarations))
    title = header[header.index("/** \\name Function types") :].partition("/**@{*/\n")
    return {
        HEADER: between(header, title[0] + title[1], "/**@}*/", types + "\n"),
        loader: between(
            loader.read_text(),
            "#define ZELSYSHELPER_FUNCTIONS(X) \\\n",
            "\n/* clang-format on */",
            filled("    ", [f"X({name})" for name in names], "    ", " \\"),
        ),
        ROOT
        / "modules/zelsyshelper/src/zelsyshelper.def": "\n    ".join(
            ["LIBRARY zelsyshelper.dll\nEXPORTS", *names]
        )
        + "\n",
        ROOT / "docs/exports.md": reference(header),
    }


def main():
    stale = {path: text for path, text in files().items() if path.read_text() != text}
    if "--check" in sys.argv:
        if stale:
            names = ", ".join(str(path.relative_to(ROOT)) for path in stale)
            raise SystemExit(f"not current: {names}; run python3 tools/docs/exports.py")
        return
    for path, text in stale.items():
        path.write_text(text)


main()
