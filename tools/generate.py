#!/usr/bin/python3
"""Writes the table of operations that `visora` serves, from the description of everything public.

usage: generate.py DESCRIPTION.json EXAMPLES.toml OUTPUT.cpp"""
import json
import pathlib
import re
import sys
import tomllib

IMAGES = ("source", "mask", "destination")
SERVED = IMAGES + ("list", "result", "scratch", "width", "height", "stride", "count", "channels", "enum", "scalar")


def served(function):
    """Operations whose arguments are pictures, numbers and lists of numbers."""
    return function["kind"] == "operation" and function["newest"] and all(
        parameter["role"] in SERVED and parameter["element"] and not parameter["element"].startswith("vsr")
        and "SIZE(" not in parameter.get("value", "") and "TOTAL(" not in parameter.get("count", "") for parameter in function["parameters"]) and any(
        parameter["role"] in IMAGES for parameter in function["parameters"])


def text(value):
    return json.dumps(value, ensure_ascii=False)


def add_examples(function, examples):
    """Values that come before the defaults; later patterns win."""
    names = {parameter["name"] for parameter in function["parameters"]}
    for pattern, values in examples.items():
        if re.fullmatch(pattern, function["name"]):
            for parameter in function["parameters"]:
                value = values.get(parameter["name"])
                # An expression over parameters of other functions says nothing here.
                if value is not None and set(re.findall(r"\b[a-z]\w*", str(value))) <= names:
                    parameter["example"] = value


def parameter_entry(parameter, function):
    names = [each["name"] for each in function["parameters"]]

    def index(name):
        return names.index(name) if name in names else -1

    images = parameter["role"] in IMAGES
    example = parameter.get("example", parameter.get("default"))
    given = "" if example is None else ",".join(map(str, example)) if isinstance(example, list) else str(example)
    sized = [index(parameter.get(side, "")) if parameter["pointer"] else -1 for side in ("width", "height", "count")]
    fields = [text(parameter["name"]), text(parameter["text"]), f"Role::{parameter['role'].capitalize()}",
              f"Element::{parameter['element'].upper()}",
              "true" if parameter.get("direction") in ("in", "inout") else "false",
              "true" if parameter.get("direction") in ("out", "inout") else "false",
              "true" if parameter.get("optional") else "false", text(given),
              str(index(parameter.get("stride") or "") if images else -1), str(index(parameter.get("used", ""))),
              *map(str, sized), text(parameter.get("enum", "")), text(", ".join(parameter.get("of", [])))]
    return "{" + ", ".join(fields) + "}"


def locals_of(function):
    return "\n".join(f"    [[maybe_unused]] const auto {parameter['name']} = static_cast<{number(parameter)}>"
                     f"(v[{i}].number);"
                     for i, parameter in enumerate(function["parameters"]) if not parameter["pointer"])


def number(parameter):
    return "double" if parameter["element"] in ("f32", "f64") else "int64_t"


def operation_code(i, function):
    parameters = function["parameters"]
    lines = [f"namespace operation{i}", "{", "const Parameter parameters[] = {"]
    lines += [f"    {parameter_entry(parameter, function)}," for parameter in parameters]
    lines += ["};", "", "Shape shape([[maybe_unused]] const Values& v, size_t parameter)", "{", locals_of(function),
              "    switch (parameter)", "    {"]
    for at, parameter in enumerate(parameters):
        if not parameter["pointer"]:
            continue
        if "width" in parameter:
            shape = f"{parameter['width']}, {parameter['height']}, {parameter['channels']}"
        else:
            shape = f"{parameter.get('count', 1)}, 1, {parameter.get('pairs', 1)}"
        lines.append(f"        case {at}: return {{{shape}}};")
    lines += ["        default: return {};", "    }", "}", "", "double value([[maybe_unused]] const Values& v, size_t parameter)",
              "{", locals_of(function), "    switch (parameter)", "    {"]
    for at, parameter in enumerate(parameters):
        example = parameter.get("example", parameter.get("default"))
        if not parameter["pointer"] and example is not None:
            lines.append(f"        case {at}: return static_cast<double>({example});")
    lines += ["        default: return 0;", "    }", "}", "", "const char* refusal([[maybe_unused]] const Values& v)", "{",
              locals_of(function)]
    for each in function["require"]:
        lines.append(f"    if (!({each['condition']})) return {text(each['parameter'] + ' ' + each['text'])};")
    lines += ["    return nullptr;", "}", "", "double call(const Values& v)", "{"]
    arguments = []
    for at, parameter in enumerate(parameters):
        kind = parameter["type"].replace("[]", "*")
        kind = re.sub(r"\[\d+\]", "*", kind)
        arguments.append(f"static_cast<{kind}>(v[{at}].{'pointer' if parameter['pointer'] else 'number'})")
    call = f"{function['name']}({', '.join(arguments)})"
    lines += [f"    {call};\n    return 0;" if function["returns"] == "nothing" else f"    return static_cast<double>({call});",
              "}", f"}}  // namespace operation{i}", ""]
    return "\n".join(line for line in lines if line)


def article(function, comments):
    """First sentence and whole text; where a comment refers to another function's, that one's too."""
    comment = function["comment"]
    brief = function["brief"]
    seen = {function["name"]}
    referred = re.match(r"(?:As )?`?(vsr\w+)", comment)
    while referred and referred.group(1) in comments and referred.group(1) not in seen:
        other = comments[referred.group(1)]
        seen.add(other["name"])
        comment += f"\n\n{other['name']}: {other['comment']}"
        if other.get("operation") == function["operation"]:
            brief = other["brief"]
        referred = re.match(r"(?:As )?`?(vsr\w+)", other["comment"])
    return brief, comment


def main():
    description, examples, output = map(pathlib.Path, sys.argv[1:])
    document = json.loads(description.read_text())
    values = tomllib.loads(examples.read_text())
    newest = {}
    for function in filter(served, document["functions"]):
        known = newest.setdefault(function["operation"], function)
        if known["version"] < function["version"]:
            newest[function["operation"]] = function
    functions = sorted(newest.values(), key=lambda function: function["operation"].lower())
    comments = {function["name"]: function for function in document["functions"]}
    code = ["// Made by generate.py.", '#include "catalogue.h"', '#include "visora/operations.h"', "",
            "// NOLINTBEGIN", "namespace tool", "{", "namespace", "{", ""]
    for i, function in enumerate(functions):
        add_examples(function, values)
        code.append(operation_code(i, function))
    code += ["}  // namespace", "", "const std::vector<Operation>& operations()", "{",
             "    static const std::vector<Operation> list = {"]
    for i, function in enumerate(functions):
        fields = [function["operation"].removeprefix("vsr"), function["name"], function["header"], function["family"],
                  *article(function, comments), function["notes"], function["common"]]
        code.append(f"        {{{', '.join(map(text, fields))}, {function['row']}, "
                    f"{str(function['returns'] == 'status').lower()}, operation{i}::parameters, operation{i}::shape, "
                    f"operation{i}::value, operation{i}::refusal, operation{i}::call}},")
    code += ["    };", "    return list;", "}", "", "const std::vector<Constant>& constants()", "{",
             "    static const std::vector<Constant> list = {"]
    for enum in document["enums"]:
        code += [f"        {{{text(enum['name'] or '')}, {text(value['name'])}, {text(value['text'])}, {value['value']}}},"
                 for value in enum["values"] if enum["name"]]
    code += ["    };", "    return list;", "}", "}  // namespace tool", "// NOLINTEND", ""]
    output.write_text("\n".join(code))


if __name__ == "__main__":
    main()
