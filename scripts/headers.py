"""What the public headers say: sections, declarations, and the comments that are their contract.

A comment covers all declarations up to the next blank line; one that stands alone belongs to its
section. A comment's text becomes a list of parts:

    ("text", text)              a paragraph
    ("list", [text, ...])       lines that begin with "- "
    ("rows", [(label, text)])   labels with their texts beside them
    ("code", [line, ...])       what is indented by four

A newline in a text is a line break of the comment that is meant: the next word would have fitted.
"""

import re
from dataclasses import dataclass, field

WIDTH = 100  # of the headers' lines
HIDDEN = {"MOLTE_API", "MOLTE_DLL", "MOLTE_FIELD"}  # how the interface is exported, not what it is


@dataclass
class Declaration:
    kind: str  # of Sphinx's domain: function, var, type, struct, macro
    name: str
    text: str  # as C declares it, without macros of export; of a macro its value
    remark: str = ""  # the comment behind it on its line
    fields: list = None  # of a record: (name, declaration, remark)


@dataclass
class Unit:
    """Declarations under one comment."""

    declarations: list
    parts: list


@dataclass
class Section:
    title: str
    parts: list  # what is said of the section itself
    units: list = field(default_factory=list)  # and notes, which are lists of parts


@dataclass
class Header:
    name: str  # as it is included
    parts: list
    sections: list

    def units(self):
        return [(s, u) for s in self.sections for u in s.units if isinstance(u, Unit)]


def comment_lines(comment):
    """The lines of a comment without its frame, and the room that each left on its line."""
    lines = []
    for number, line in enumerate(comment.split("\n")):
        room = WIDTH - len(line.rstrip(" */"))
        line = re.sub(r"^\s*/\*\s?" if number == 0 else r"^\s*\* ?(?!/)", "", line)
        lines.append((re.sub(r"\s*\*/$", "", line).rstrip(), room))
    while lines and not lines[0][0]:
        lines.pop(0)
    while lines and not lines[-1][0]:
        lines.pop()
    return lines


def parts_of(lines):
    parts = []
    fresh = True  # at the start or behind a blank line
    left = 0  # the room of the line before

    def joined(text, line):
        meant = left > len(line.split()[0]) + 16 and not text.endswith(",")
        return text + ("\n" if meant else " ") + line

    for line, room in lines:
        kind = parts[-1][0] if parts else None
        indent = len(line) - len(line.lstrip())
        row = re.match(r"( {2,3})(?!- )(\S.*?) {2,}(\S.*)|()(\w+) {3,}(\S.*)", line)
        row = row or re.match(r"( {2,4})(\d+) +(.*)", line) or re.match(r"()(-?\d+): (.*)", line)
        if not line:
            if kind == "code":
                parts[-1][1].append("")
            fresh = True
            continue
        opens = fresh and not row and kind not in ("list", "rows")
        if indent >= 4 and (kind == "code" or opens):
            if kind != "code":
                parts.append(("code", []))
            parts[-1][1].append(line[4:])
        elif line.lstrip().startswith("- ") and indent <= 2:
            if kind != "list":
                parts.append(("list", []))
            parts[-1][1].append(line.lstrip()[2:])
        elif row:
            if kind != "rows":
                parts.append(("rows", []))
            parts[-1][1].append(tuple(filter(None, row.groups()))[-2:])
        elif indent and kind == "list":
            parts[-1][1][-1] = joined(parts[-1][1][-1], line.strip())
        elif indent and kind == "rows":
            label, text = parts[-1][1][-1]
            parts[-1][1][-1] = (label, joined(text, line.strip()))
        elif kind == "text" and not fresh:
            parts[-1] = ("text", joined(parts[-1][1], line.strip()))
        else:
            parts.append(("text", line.strip()))
        fresh, left = False, room
    for kind, content in parts:
        while kind == "code" and not content[-1]:
            content.pop()
    return parts


def plain(comment):
    return " ".join(line.strip() for line, _ in comment_lines(comment))


def end_of_declaration(text, start):
    depth = 0
    for match in re.compile(r"/\*.*?\*/|[{};]", re.S).finditer(text, start):
        depth += {"{": 1, "}": -1}.get(match[0], 0)
        if depth == 0 and (match[0] == ";" or match[0] == "}" and "static inline" in
                           text[start:match.start()].replace("MOLTE_FIELD", "static inline")):
            return match.end()
    raise ValueError("a declaration without an end: " + text[start:start + 60])


def fields_of(body):
    """Of a record's body: name, declaration and remark of each field."""
    found = []
    body = re.sub(r"\bunion \{|\};", "", body)  # the fields of a union lie at one offset
    for match in re.finditer(r"((?:/\*.*?\*/|[^;/])+);[ \t]*(/\*.*?\*/)?", body, re.S):
        before = re.findall(r"/\*.*?\*/", match[1], re.S)  # a comment of its own line
        declared = " ".join(re.sub(r"/\*.*?\*/", "", match[1], flags=re.S).split())
        name = re.search(r"\(\*(\w+)\)|(\w+)\s*(?:\[[^\]]*\])*$", declared)
        remark = " ".join(plain(c) for c in before + [match[2] or "/**/"]).strip()
        if not name:
            raise ValueError("a field that isn't understood: " + declared)
        found.append((name[1] or name[2], declared, remark))
    return found


def constants_of(body):
    pattern = r"(\w+) = ([^,/]+?)\s*(?:,|$)[ \t]*(/\*.*?\*/)?"
    return [Declaration("macro", name, value, plain(remark or "/**/"))
            for name, value, remark in re.findall(pattern, body.strip(), re.S)]


def declarations_of(text):
    """Of a declaration or a directive; none where it is not of the interface."""
    if text.startswith("#"):
        match = re.match(r"#define (\w+)(?:\([^)]*\))?\s*(.*)", text, re.S)
        if not match or re.fullmatch(r"MOLTELIB_(\w+_)?H", match[1]) or match[1] in HIDDEN:
            return []
        return [Declaration("macro", match[1], match[2].strip())]
    match = re.match(r"enum(?: \w+)? \{(.*)\};", text, re.S)
    if match:
        return constants_of(match[1])
    match = re.match(r"typedef struct \w+ \{(.*)\} (\w+);", text, re.S)
    if match:
        return [Declaration("struct", match[2], match[2], fields=fields_of(match[1]))]
    bare = " ".join(re.sub(r"/\*.*?\*/", "", text, flags=re.S).split())
    bare = re.sub(r"\b(MOLTE_API|MOLTE_FIELD|static inline)\b|MOLTE_PRINTF\([^)]*\)", "", bare)
    bare = re.sub(r"\s*(\{.*\}|;)$", "", bare).strip()
    if re.match(r"static_assert|struct \w+$", bare):
        return []
    match = re.match(r"typedef struct (\w+) \1$", bare)
    if match:
        return [Declaration("struct", match[1], match[1])]
    match = re.match(r"typedef (.*?(?:\(\*(\w+)\).*|(\w+)))$", bare)
    if match:
        return [Declaration("type", match[2] or match[3], match[1])]
    match = re.search(r"(\w+)\(", bare)
    if match:
        return [Declaration("function", match[1], bare)]
    match = re.search(r"(\w+)\s*(?:\[[^\]]*\])*$", bare)
    if match:
        return [Declaration("var", match[1], bare)]
    raise ValueError("a declaration that isn't understood: " + text)


def section_of(lines):
    """A heading says its title, and after a mark of punctuation what holds in the section."""
    match = re.match(r"---- (.*) ----$", lines[0][0])
    title, mark, rest = re.match(r"(.*?)(: |; |\. |$)(.*)", match[1]).groups()
    said = [(rest[0].upper() + rest[1:].rstrip(".") + ".", 0)] if mark else []
    return Section(title, parts_of(said + [("", 0)] + lines[1:]))


def read(path, name):
    text = path.read_text()
    head = re.match(r"/\*.*?\*/", text, re.S)
    header = Header(name, parts_of(comment_lines(head[0])), [Section("", [])])
    seen = set()  # a macro has a body for each platform
    comments, declarations = [], []

    def close():
        """At the end of a block."""
        section = header.sections[-1]
        if declarations:
            section.units.append(Unit(declarations[:], sum(comments, [])))
        else:
            section.units += comments
        comments.clear()
        declarations.clear()

    position, behind = head.end(), head.end()
    directive = re.compile(r"#(?:\\\n|(?!/\*)[^\n])*")
    while True:
        start = position + len(re.match(r"\s*", text[position:])[0])
        gap = text[behind:start]
        if start == len(text):
            break
        if gap.count("\n") > 1:
            close()
        if text.startswith("/*", start):
            position = text.index("*/", start) + 2
            lines = comment_lines(text[start:position])
            if "\n" not in gap and declarations:
                declarations[-1].remark = plain(text[start:position])
            elif lines[0][0].startswith("----"):
                close()
                header.sections.append(section_of(lines))
            else:
                if declarations:  # a further comment in the block: both hold for what follows
                    above = comments[:]
                    close()
                    comments += above
                comments.append(parts_of(lines))
        else:
            match = directive.match(text, start)
            position = match.end() if match else end_of_declaration(text, start)
            for declaration in declarations_of(text[start:position].strip()):
                if declaration.name not in seen:
                    declarations.append(declaration)
                    seen.add(declaration.name)
        behind = position
    close()
    return header
