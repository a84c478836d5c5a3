"""kivsr.raw from the C headers: generate.py COMPILER INCLUDE FOLDER

Writes to the folder _raw.c, which cffi compiles in API mode, _raw_table.py, what is known of each function's arguments,
and raw.pyi. Nothing is written by hand: prototypes and documentation say all.
"""

import pprint
import re
import subprocess
import sys
import tempfile
from pathlib import Path

import cffi
import shapes


def flat_header(compiler, include):
    """kivsr.h and what it includes, without the preprocessor's and the system's part."""
    with tempfile.TemporaryDirectory() as empty:
        for name in ("stddef.h", "stdint.h"):
            (Path(empty) / name).touch()
        command = [compiler, "-E", "-P", "-nostdinc", "-D__attribute__(x)=", f"-I{empty}", f"-I{include}",
                   f"{include}/kivsr.h"]
        text = subprocess.run(command, check=True, capture_output=True, text=True).stdout
    # Of an inline function the prototype: the module is compiled with the header.
    inline = re.compile(r"static inline ([^{};]*\))\s*\{")
    while match := inline.search(text):
        depth, end = 1, match.end()
        while depth:
            depth += {"{": 1, "}": -1}.get(text[end], 0)
            end += 1
        text = f"{text[:match.start()]}{match[1]};{text[end:]}"
    return text


PROTOTYPE = re.compile(r"\b(\w[\w *]*?)\b(kivs?[A-Z]\w*|Free2d|GetLogAddConst\w*)\(([^()]*)\)\s*[;{]", re.S)
PARAMETER = re.compile(r"(.*?)(\w+)\s*(\[\w*\])?$", re.S)


def parameters_of(text):
    """(type, name) of each parameter; int a[3] is int *."""
    if text.strip() in ("", "void"):
        return []
    result = []
    for parameter in text.split(","):
        kind, name, array = PARAMETER.match(parameter.strip()).groups()
        kind = re.sub(r"\s+", " ", kind + (" *" if array else "")).strip()
        result.append((re.sub(r"\s*\*", "*", kind), name))
    return result


def documented_functions(include):
    """(name, result, parameters, texts of the parameters, text) of every prototype, in the order of the headers."""
    for header in sorted(Path(include).glob("kivsr/*/*.h")) + [Path(include) / "kivsr" / "status.h"]:
        source = header.read_text()
        texts, summary = {}, ""
        for piece in re.split(r"(/\*.*?\*/)", source, flags=re.S):
            if piece.startswith("/*"):
                if not piece.startswith("/**"):
                    continue
                if "@}" in piece or "@name" in piece:
                    texts, summary = {}, ""
                if "@param" in piece or "@return" in piece:
                    texts, summary = shapes.parameter_texts(piece), shapes.summary(piece)
                continue
            code = "\n".join(line for line in piece.splitlines() if not line.startswith("#"))
            for result, name, arguments in PROTOTYPE.findall(code):
                result = re.sub(r"\b(KIVSR_API|extern|static|inline)\b", "", result).strip()
                yield name, re.sub(r"\s*\*", "*", result), parameters_of(arguments), texts, summary


def stub(name, result, parameters):
    arguments = ", ".join(f"{parameter}: {'float' if kind in ('Kiv32f', 'Kiv64f') else 'Any' if '*' in kind else 'int'}"
                          for kind, parameter in parameters)
    value = "int" if "*" not in result and result not in ("void", "Kiv32f", "Kiv64f") else "Any"
    return f"def {name}({arguments}) -> {value}: ...\n"


def main(compiler, include, folder):
    folder = Path(folder)
    header = flat_header(compiler, include)
    builder = cffi.FFI()
    builder.cdef(header)
    builder.set_source("kivsr._raw", "#include <kivsr.h>")
    builder.emit_c_code(str(folder / "_raw.c"))
    table, stubs = {}, []
    for name, result, parameters, texts, summary in documented_functions(include):
        kinds = [(parameter, kind, shapes.shape(parameter, kind, texts.get(parameter, ""), parameters))
                 for kind, parameter in parameters]
        table[name] = (result, kinds, summary)
        stubs.append(stub(name, result, parameters))
    declared = set(re.findall(r"\b(kivs?[A-Z]\w*|Free2d|GetLogAddConst\w*)\(", header))
    if declared != set(table):
        sys.exit(f"generate.py: not understood: {sorted(declared ^ set(table))}")
    (folder / "_raw_table.py").write_text(
        '"""Generated from the headers: result, (parameter, type, shape) and text of each function."""\n\n'
        f"FUNCTIONS = {pprint.pformat(table, width=120, sort_dicts=False)}\n")
    (folder / "raw.pyi").write_text(
        "from typing import Any\n\nffi: Any\nlib: Any\nclass StatusError(RuntimeError):\n    status: int\n\n"
        "def functions() -> list[str]: ...\ndef unchecked(function: str) -> list[str]: ...\n\n" + "".join(stubs))


if __name__ == "__main__":
    main(*sys.argv[1:])
