"""Compares sizes and offsets of the records in Python and C# with those of the C compiler.

    layout.py FOLDER COMMAND...    a folder to work in; the command that prints what the C# binding has
"""
import ctypes
import pathlib
import re
import subprocess
import sys

import velkar_connector

root = pathlib.Path(__file__).resolve().parent.parent.parent
folder, command = pathlib.Path(sys.argv[1]), sys.argv[2:]
header = (root / "include/VelkarConnector.h").read_text(encoding="utf-8")
records = {name: re.findall(r"(\w+)(?:\[\w+\])?;|\(\*(\w+)\)\(", re.sub(r"/\*.*?\*/", "", body, flags=re.S))
           for name, body in re.findall(r"typedef struct _(\w+) \{(.*?)\n\} ", header, re.S)}
assert len(records) == header.count("typedef struct") - 1, "a record of the header is missing"

expected = []
for name, fields in records.items():
    expected.append((name, f"sizeof(_{name})"))
    expected += [(f"{name}.{a or b}", f"offsetof(_{name}, {a or b})") for a, b in fields]
lines = "".join(f'printf("{name} %zu\\n", {value});\n' for name, value in expected)
source = folder / "layout.c"
source.write_text(f'#include <stdio.h>\n#include "VelkarConnector.h"\nint main(void) {{\n{lines}return 0;\n}}\n')
subprocess.run(["gcc", "-o", folder / "layout", f"-I{root}/include", source], check=True)
compiler = subprocess.run([folder / "layout"], capture_output=True, text=True, check=True).stdout.splitlines()
csharp = subprocess.run(command, capture_output=True, text=True, check=True).stdout.splitlines()
python = []
for name, record in vars(velkar_connector).items():
    if isinstance(record, type) and issubclass(record, ctypes.Structure) and hasattr(record, "_fields_"):
        python.append(f"{name} {ctypes.sizeof(record)}")
        python += [f"{name}.{field} {getattr(record, field).offset}" for field, *_ in record._fields_]
for language, found in (("Python", python), ("C#", csharp)):
    wrong = set(found) ^ set(compiler)
    assert len(found) == len(compiler) and not wrong, f"{language}: {sorted(wrong)}"
print(f"{len(records)} records have the C compiler's layout in Python and C#")
