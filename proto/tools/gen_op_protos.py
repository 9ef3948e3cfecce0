#!/usr/bin/env python3
"""Writes the operation companion of a store schema file.

Every message FooMsg of the store gets FooOpMsg of the same shape: a field of
the same name and number per field of M, holding the operation on it, and
`self`, the operation on the message as a whole. A scalar field's operation
is a PbOpType; a message field's is that message's OpMsg; a repeated field
has one element per element of the list.

The schemas keep to a plain style that this reads: top-level messages and
enums, `optional` or `repeated` fields, no maps, no oneofs, no nesting.
"""
import re
import sys
from pathlib import Path

SELF_NUMBER = 1000
SCALARS = {
    "double", "float", "int32", "int64", "uint32", "uint64", "sint32", "sint64",
    "fixed32", "fixed64", "sfixed32", "sfixed64", "bool", "string", "bytes",
}

FIELD = re.compile(r"^\s*(optional|repeated|required)\s+([\w.]+)\s+(\w+)\s*=\s*(\d+)")
BLOCK = re.compile(r"^\s*(message|enum)\s+(\w+)\s*\{")
IMPORT = re.compile(r'^\s*import\s+"([^"]+)"\s*;')


def parse(path):
    messages, enums, imports = [], set(), []
    current = None
    depth = 0
    for number, line in enumerate(Path(path).read_text().splitlines(), 1):
        line = line.split("//")[0]
        match = IMPORT.match(line)
        if match:
            imports.append(match.group(1))
        match = BLOCK.match(line)
        if match and depth == 0:
            kind, name = match.groups()
            if kind == "message":
                current = (name, [])
                messages.append(current)
            else:
                enums.add(name)
                current = None
        elif match:
            sys.exit(f"{path}:{number}: nested {match.group(1)} is not supported")
        if current is not None and depth == 1:
            field = FIELD.match(line)
            if field:
                label, ftype, fname, fnum = field.groups()
                if int(fnum) >= SELF_NUMBER:
                    sys.exit(f"{path}:{number}: field numbers stay below {SELF_NUMBER}")
                current[1].append((label, ftype, fname, int(fnum)))
            elif re.match(r"^\s*(oneof|map<)", line):
                sys.exit(f"{path}:{number}: oneof and map are not supported")
        depth += line.count("{") - line.count("}")
        if depth == 0:
            current = None
    return messages, enums, imports


def op_name(message):
    """UuidMsg -> UuidOpMsg; a name without the Msg ending just gains OpMsg."""
    stem = message[: -len("Msg")] if message.endswith("Msg") else message
    return stem + "OpMsg"


def enums_of(paths):
    names = set()
    for path in paths:
        names |= parse(path)[1]
    return names


def main():
    source, target, *others = sys.argv[1:]
    messages, enums, imports = parse(source)
    enums |= enums_of(others)
    src = Path(source).name
    out = [
        "// Generated from " + src + "; do not edit.",
        'syntax = "proto2";',
        "",
        "package halden.zef.loftdb;",
        "",
        'import "loftdb_common.proto";',
    ]
    for imported in imports:
        if imported.startswith("loftdb_") and imported != "loftdb_store.proto":
            out.append('import "' + imported[: -len(".proto")] + '_op.proto";')
    out.append("")
    for name, fields in messages:
        out.append("message " + op_name(name) + " {")
        out.append(f"    optional PbOpType self = {SELF_NUMBER};")
        for label, ftype, fname, fnum in fields:
            short = ftype.split(".")[-1]
            optype = "PbOpType" if ftype in SCALARS or short in enums else op_name(short)
            oplabel = "repeated" if label == "repeated" else "optional"
            out.append(f"    {oplabel} {optype} {fname} = {fnum};")
        out.append("}")
        out.append("")
    Path(target).write_text("\n".join(out))


if __name__ == "__main__":
    main()
