#!/usr/bin/env python3
"""abi_record.py CONFIGURATION [--record]: what hosts were linked against, as text that a reviewer can read.

For each library two files: the names that it exports, and the types that its installed headers define, with the places of
their members, virtual functions and enumerators. Compares them with what is recorded, or records them. The headers are read
by CastXML, which takes the compiler's own macros and folders, and lays types out as that compiler does.

CONFIGURATION is a JSON file that CMake writes:
  record        the folder of the records
  work          a folder for what is written in between
  castxml       the program
  compiler      g++, for either platform
  includes      folders of headers
  definitions   of the preprocessor
  list_exports  the command that lists the names that a library exports
  compare_types whether the types are compared: another version of Qt brings other members
  libraries     name, file and headers of each
"""

import difflib
import json
import pathlib
import re
import subprocess
import sys
import xml.etree.ElementTree

NAMESPACE = "Brennic"


class Interface:
    """What CastXML tells of the headers."""

    def __init__(self, root):
        self.nodes = {node.get("id"): node for node in root if node.get("id")}
        self.slot_tables = {}
        self.return_types = {
            node.get("mangled"): self.type_name(node.get("returns"))
            for node in root
            if node.tag in ("Function", "Method", "OperatorMethod", "OperatorFunction") and node.get("mangled")
        }

    def of_kind(self, *kinds):
        return [node for node in self.nodes.values() if node.tag in kinds]

    def file_of(self, node):
        file = self.nodes.get(node.get("file"))
        return pathlib.Path(file.get("name")).resolve() if file is not None else None

    def qualified_name(self, node):
        context = self.nodes.get(node.get("context"))
        if context is None or context.get("name") in (None, "::"):
            return node.get("name") or "(unnamed)"
        return self.qualified_name(context) + "::" + (node.get("name") or "(unnamed)")

    def type_name(self, identifier):
        node = self.nodes[identifier]
        kind = node.tag
        if kind == "Typedef" and self.qualified_name(node).startswith(NAMESPACE + "::"):
            return self.type_name(node.get("type"))
        if kind in ("Typedef", "Class", "Struct", "Union", "Enumeration"):
            return self.qualified_name(node)
        if kind == "FundamentalType":
            return node.get("name")
        if kind == "ElaboratedType":
            return self.type_name(node.get("type"))
        if kind == "CvQualifiedType":
            words = [word for word in ("const", "volatile") if node.get(word) == "1"]
            return self.type_name(node.get("type")) + " " + " ".join(words)
        if kind == "ArrayType":
            count = int(node.get("max")) + 1 if node.get("max") else 0
            return f"{self.type_name(node.get('type'))}[{count}]"
        if kind in ("FunctionType", "MethodType"):
            arguments = [self.type_name(argument.get("type")) for argument in node.findall("Argument")]
            return f"{self.type_name(node.get('returns'))}({', '.join(arguments)})"
        suffix = {"PointerType": "*", "ReferenceType": "&", "RValueReferenceType": "&&"}.get(kind)
        return self.type_name(node.get("type")) + suffix if suffix else kind

    def members(self, node):
        """In the order of declaration. CastXML lists first what it has met before, such as a function that is overridden."""
        members = [self.nodes[member] for member in (node.get("members") or "").split() if member in self.nodes]
        return sorted(members, key=lambda member: int(member.get("line") or 0))

    def bases(self, node):
        return [(base, self.nodes[base.get("type")]) for base in node.findall("Base")]

    def signature(self, node):
        if node.tag == "Destructor":
            return "~" + node.get("name") + "()"
        arguments = ", ".join(self.type_name(argument.get("type")) for argument in node.findall("Argument"))
        name = ("operator" if node.tag == "OperatorMethod" else "") + node.get("name")
        return f"{self.type_name(node.get('returns'))} {name}({arguments})" + (" const" if node.get("const") == "1" else "")

    def slots(self, node):
        """The virtual table of a class as (function, slot) in the order of its slots, by the rules of the Itanium ABI: that
        of the first base that has one, with the functions that the class overrides replaced, and its new ones behind them. A
        destructor has two slots."""
        identifier = node.get("id")
        if identifier in self.slot_tables:
            return self.slot_tables[identifier]
        table = next((list(slots) for slots in (self.slots(base) for _, base in self.bases(node)) if slots), [])
        for function in self.members(node):
            if function.get("virtual") != "1" or function.tag not in ("Method", "OperatorMethod", "Destructor"):
                continue
            replaced = self.overridden(function, table)
            if replaced is not None:
                table[replaced] = (function, table[replaced][1])
            else:
                last = table[-1] if table else None
                free = last[1] + (2 if last[0].tag == "Destructor" else 1) if last else 0
                table.append((function, free))
        self.slot_tables[identifier] = table
        return table

    @staticmethod
    def overridden(function, table):
        overridden = (function.get("overrides") or "").split()
        for place, (other, _) in enumerate(table):
            if other.get("id") in overridden or (function.tag == "Destructor" and other.tag == "Destructor"):
                return place
        return None

    def class_lines(self, node):
        yield f"{node.tag.lower()} {self.qualified_name(node)}: {int(node.get('size')) // 8} bytes, aligned to {int(node.get('align')) // 8}"
        for base, base_node in self.bases(node):
            place = "virtual" if base.get("virtual") == "1" else f"at {base.get('offset'):>3}"
            yield f"  {place} base {self.qualified_name(base_node)}"
        for function, slot in self.slots(node):
            owner = self.nodes[function.get("context")]
            if self.qualified_name(owner).startswith(NAMESPACE + "::"):
                of_base = "" if owner is node else f" of {self.qualified_name(owner)}"
                pure = " = 0" if function.get("pure_virtual") == "1" else ""
                yield f"  slot {slot:>2} {self.signature(function)}{pure}{of_base}"
        for field in self.members(node):
            if field.tag == "Field":
                bits = int(field.get("offset"))
                place = str(bits // 8) if not field.get("bits") else f"{bits // 8}.{bits % 8}"
                width = f" : {field.get('bits')}" if field.get("bits") else ""
                yield f"  at {place:>3} {self.type_name(field.get('type'))} {field.get('name')}{width}"

    def enumeration_lines(self, node):
        yield f"enum {self.qualified_name(node)}: {int(node.get('size')) // 8} bytes"
        for value in node.findall("EnumValue"):
            yield f"  {value.get('name')} = {value.get('init')}"


def read_headers(configuration, headers):
    work = pathlib.Path(configuration["work"])
    work.mkdir(parents=True, exist_ok=True)
    source = work / "headers.cpp"
    source.write_text("".join(f'#include "{header}"\n' for header in headers))
    output = work / "headers.xml"
    # Headers that look for clang are to find it: that is what reads them.
    command = [configuration["castxml"], "--castxml-output=1", "--castxml-start", NAMESPACE, "--castxml-cc-gnu", "("]
    # Qt's headers refuse less than position-independent code, where there is a choice.
    position = [] if "mingw" in configuration["compiler"] else ["-fPIC"]
    command += [configuration["compiler"], "-std=c++17", *position, ")", "-std=c++17", "-w", "-fsized-deallocation"]
    command += ["-D__clang__", "-D__clang_major__=14", "-D__clang_minor__=0"]
    command += ["-D" + definition for definition in configuration["definitions"] if definition]
    command += ["-I" + folder for folder in configuration["includes"] if folder not in ("", "/usr/include")]
    subprocess.run(command + ["-o", str(output), str(source)], check=True)
    return Interface(xml.etree.ElementTree.parse(output).getroot())


def exported_symbols(configuration, library):
    """Mangled. Without what the compiler may export or not as it likes: weak functions and those of lambdas."""
    listing = subprocess.run(configuration["list_exports"] + [library], check=True, capture_output=True, text=True).stdout
    wanted = re.compile(rf" (_Z(?:N|NK|TV|TI|TS|TVN|TIN|TSN)[A-Z]*{len(NAMESPACE)}{NAMESPACE}\S*)\r?$")
    lines = [line for line in listing.splitlines() if " W " not in line and not re.search("Ul[A-Z]", line)]
    return sorted(match.group(1) for match in map(wanted.search, lines) if match)


def demangled(symbols):
    text = subprocess.run(["c++filt"], input="\n".join(symbols), check=True, capture_output=True, text=True).stdout
    names = text.splitlines()
    for character, alias in (("char", "string"), ("wchar_t", "wstring")):
        long_name = f"std::__cxx11::basic_string<{character}, std::char_traits<{character}>, std::allocator<{character}> >"
        names = [name.replace(long_name, "std::" + alias) for name in names]
    return names


def export_lines(interface, symbols):
    """A line a function, with what it returns where a header says so; the variants of a constructor or destructor in one."""
    variants = {}
    for symbol, name in zip(symbols, demangled(symbols)):
        returned = interface.return_types.get(symbol)
        line = f"{returned} {name}" if returned else name
        kind = re.search(r"([CD][0-3])E", symbol)
        variants.setdefault(line, set()).update([kind.group(1)] if kind and "(" in name else [])
    return sorted(line + (f" [{' '.join(sorted(kinds))}]" if kinds else "") for line, kinds in variants.items())


def type_lines(interface, headers):
    files = {pathlib.Path(header).resolve() for header in headers}
    blocks = []
    for node in interface.of_kind("Class", "Struct", "Union", "Enumeration"):
        if node.get("incomplete") == "1" or not node.get("name") or interface.file_of(node) not in files:
            continue
        lines = interface.enumeration_lines(node) if node.tag == "Enumeration" else interface.class_lines(node)
        blocks.append((interface.qualified_name(node), list(lines)))
    return [line for _, block in sorted(blocks) for line in block]


def settle(path, lines, is_recording):
    """Records, or compares and tells the difference. Returns whether they are the same."""
    if is_recording:
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_text("".join(line + "\n" for line in lines))
        return True
    recorded = path.read_text().splitlines() if path.exists() else []
    if recorded == lines:
        return True
    print(f"{path.name} has changed:")
    print("\n".join(difflib.unified_diff(recorded, lines, "recorded", "built", lineterm="", n=1)))
    return False


def main():
    configuration = json.loads(pathlib.Path(sys.argv[1]).read_text())
    is_recording = "--record" in sys.argv[2:]
    libraries = configuration["libraries"]
    for library in libraries:
        library["headers"] = [header for header in library["headers"] if header]
    interface = read_headers(configuration, [header for library in libraries for header in library["headers"]])
    record = pathlib.Path(configuration["record"])
    same = True
    for library in libraries:
        symbols = exported_symbols(configuration, library["file"])
        same &= settle(record / f"{library['name']}.exports.txt", export_lines(interface, symbols), is_recording)
        if configuration["compare_types"]:
            lines = type_lines(interface, library["headers"])
            same &= settle(record / f"{library['name']}.types.txt", lines, is_recording)
    if not same:
        sys.exit("If that is meant, build the target record_abi and say so in the changelog. Unless something was only added, "
                 "raise the major version too.")


main()
