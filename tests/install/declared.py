"""Lists what C++ headers declare and do not define: the mangled name of every function and variable that somebody else
has to define, one a line.

Reads clang's dump of the syntax tree as JSON (-ast-dump=json with a filter, so one tree after another) from standard
input.
"""

import json
import sys

FUNCTIONS = {"FunctionDecl", "CXXMethodDecl", "CXXConstructorDecl", "CXXDestructorDecl", "CXXConversionDecl"}
# What is made of a template is made where it is used.
TEMPLATES = {
    "ClassTemplateDecl",
    "ClassTemplateSpecializationDecl",
    "ClassTemplatePartialSpecializationDecl",
    "FunctionTemplateDecl",
    "VarTemplateDecl",
}


def trees(text):
    decoder = json.JSONDecoder()
    position = 0
    while position < len(text):
        tree, position = decoder.raw_decode(text, position)
        yield tree
        while position < len(text) and text[position].isspace():
            position += 1


def defines(node):
    if node["kind"] == "VarDecl":
        return any(node.get(key) for key in ("init", "inline", "constexpr"))
    if any(node.get(key) for key in ("explicitlyDefaulted", "explicitlyDeleted", "pure")):
        return True
    return any(part.get("kind") in ("CompoundStmt", "CXXTryStmt") for part in node.get("inner", []))


def collect(node, declared, defined):
    kind = node.get("kind")
    if kind in TEMPLATES:
        return
    if kind in FUNCTIONS or kind == "VarDecl":
        name = node.get("mangledName")
        if name and not node.get("isImplicit"):
            (defined if defines(node) else declared).add(name)
        return
    for part in node.get("inner", []):
        collect(part, declared, defined)


def main():
    declared, defined = set(), set()
    for tree in trees(sys.stdin.read()):
        collect(tree, declared, defined)
    print("\n".join(sorted(declared - defined)))


main()
