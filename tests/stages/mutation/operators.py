# SPDX-FileCopyrightText: The switch querier authors
# SPDX-License-Identifier: MIT

"""Finds the single changes ("mutants") that can be made to a C++ source file.

It reads tokens, not a syntax tree: clang-format keeps the sources in one shape (spaces around a
binary "<", none around a template's), and a change that makes no sense does not compile.
"""

import collections
import dataclasses
import os
import re

TOKEN = re.compile(
    r"""
      (?P<skip>\s+|\[\[[\w:]+\]\]|//[^\n]*|/\*.*?\*/|^[ \t]*\#(?:[^\n\\]|\\.)*)
    | (?P<raw>R"\(.*?\)")
    | (?P<string>"(?:[^"\\\n]|\\.)*")
    | (?P<char>'(?:[^'\\\n]|\\.)+')
    | (?P<number>\d[\w']*(?:\.\w+)?)
    | (?P<word>[A-Za-z_]\w*)
    | (?P<op><=>|<<=|>>=|\.\.\.|->|\+\+|--|<<|>>|<=|>=|==|!=|&&|\|\||[-+*/%&|^]=|::|.)
    """,
    re.VERBOSE | re.DOTALL | re.MULTILINE,
)

# Each to its neighbours and to its negation.
RELATIONAL = {
    "<": ["<=", ">=", ">"],
    "<=": ["<", ">"],
    ">": [">=", "<=", "<"],
    ">=": [">", "<"],
    "==": ["!=", "<=", ">="],
    "!=": ["==", "<", ">"],
}
BINARY = {
    "&&": ["||"],
    "||": ["&&"],
    "+": ["-"],
    "-": ["+"],
    "*": ["/"],
    "/": ["*"],
    "%": ["*"],
    "|": ["&", "^"],
    "&": ["|"],
    "^": ["|"],
    "+=": ["-=", "="],
    "-=": ["+=", "="],
    "|=": ["&=", "="],
}
INCREMENTS = {"++": "--", "--": "++"}

# Names that stand for one another, besides the enumerators of the sources, by what precedes
# them: a scope, an operator, or neither.
KINDRED = [
    (None, ["decoder", "encoder", "noMode", "modeNotRead"]),
    (None, ["parameterNone", "parameterFlip"]),
    (None, ["LOG_ERR", "LOG_INFO"]),
    (None, ["O_RDWR", "O_RDONLY", "O_WRONLY"]),
    (None, ["STDIN_FILENO", "STDOUT_FILENO", "STDERR_FILENO"]),
    (None, ["SEEK_SET", "SEEK_CUR", "SEEK_END"]),
    (".", ["front", "back"]),
    ("chrono", ["milliseconds", "microseconds"]),
    ("chars_format", ["general", "fixed", "scientific"]),
]
STREAM_FLAGS = {"end": "beg", "trunc": "app", "binary": "in", "out": "app"}

TYPE_WORDS = {
    "auto", "bool", "char", "class", "const", "constexpr", "double", "enum", "friend", "int",
    "long", "namespace", "signed", "static", "struct", "template", "typedef", "union", "unsigned",
    "using", "void", "static_assert", "public", "private", "protected", "case", "default", "else",
    "if", "for", "while", "do", "switch",
}  # fmt: skip
OPEN, CLOSE = list("([{"), list(")]}")
CONTROL = ["if", "for", "while", "do", "switch", "case", "default", "else", "return", "break",
           "continue"]  # fmt: skip

# What an operand of these operators does not reach beyond.
OPERAND_ENDS = {"||": [",", ";", "?", ":", "=", "return", "||"]}
OPERAND_ENDS["&&"] = [*OPERAND_ENDS["||"], "&&"]
OPERAND_ENDS["|"] = [*OPERAND_ENDS["&&"], *RELATIONAL, "|"]


@dataclasses.dataclass(frozen=True)
class Mutant:
    """Source text from start to end gives way to the replacement."""

    file: str
    start: int
    end: int
    replacement: str
    function: str
    line: int
    old: str  # the lines that change, without indentation
    new: str

    @property
    def name(self):
        """What names the mutant wherever its lines stand in the file: the file, the function and
        the change in the notation of wdiff(1), [-what goes-]{+what comes+}.
        """
        old, new = (
            re.findall(r"\w+|[-+<>=!&|]+|.", text.replace("\n", " "))
            for text in (self.old, self.new)
        )
        first = len(os.path.commonprefix([old, new]))
        last = len(os.path.commonprefix([old[first:][::-1], new[first:][::-1]]))
        goes, comes = old[first : len(old) - last], new[first : len(new) - last]
        change = [*(["[-", *goes, "-]"] if goes else []), *(["{+", *comes, "+}"] if comes else [])]
        place = f"{self.file} {self.function}".strip()
        return f"{place}: {''.join(old[:first] + change + old[len(old) - last :])}"


Token = collections.namedtuple("Token", ["kind", "text", "start", "end"])


def enumerators_of(source):
    """The enumerators of each enumeration in a source, with the scope that they are named in."""
    source = re.sub(r"//[^\n]*", "", source)
    found = []
    for scope, name, body in re.findall(r"\benum\s+(class\s+)?(\w+)[^{;]*\{([^}]*)\}", source):
        found.append((name if scope else None, re.findall(r"(?:^|,)\s*([A-Za-z_]\w*)", body)))
    return found


def squeezed(text):
    """Lines without indentation and empty ones; a long passage by its first and last line."""
    lines = [line.strip() for line in text.splitlines() if line.strip()]
    if len(lines) > 4:
        lines = [*lines[:2], "...", lines[-1]]
    return "\n".join(lines)


class Source:
    """One file, its tokens and how they nest."""

    def __init__(self, file, text, kindred):
        self.file = file
        self.text = text
        self.kindred = kindred
        found = [m for m in TOKEN.finditer(text) if m.lastgroup != "skip"]
        self.tokens = [Token(m.lastgroup, m.group(), m.start(), m.end()) for m in found]
        self.found = {}
        self.nest()

    # Structure

    def nest(self):
        """Notes for each token the bracket around it, its partner, and its function."""
        count = len(self.tokens)
        self.partner = [None] * count
        self.around = [None] * count  # index of the innermost open bracket
        self.function = [None] * count  # index of the brace that opens the function's body
        self.block = set()  # braces that hold statements
        self.names = {}
        self.returns_bool = set()  # braces of such functions
        self.ignored = set()
        stack = []
        body = None
        for i, token in enumerate(self.tokens):
            self.around[i] = stack[-1] if stack else None
            self.function[i] = body
            if token.kind == "word" and token.text in ("static_assert", "using", "template"):
                self.ignored.update(range(i, self.next_of(i, ";") + 1))
            if token.text in OPEN:
                if token.text == "{":
                    name = self.function_name(i) if body is None else None
                    if name is not None:
                        body = i
                        self.names[i] = name
                    if body is not None and self.opens_block(i):
                        self.block.add(i)
                stack.append(i)
            elif token.text in CLOSE and stack:
                opened = stack.pop()
                self.partner[opened], self.partner[i] = i, opened
                self.around[i] = stack[-1] if stack else None
                if opened == body:
                    body = None

    def next_of(self, i, text):
        while self.tokens[i].text != text:
            i += 1
        return i

    def function_name(self, brace):
        """The name of the function whose body this brace opens, or None."""
        i = brace
        # Back over an initialiser list, to what stands before the parameters.
        while i > 0 and self.tokens[i - 1].text not in (";", "}", "{"):
            i -= 1
        header = self.tokens[i:brace]
        words = {t.text for t in header}
        if words & {"namespace", "class", "struct", "union", "enum"} or "(" not in words:
            return None
        if "=" in words and "operator" not in words:
            return None
        first = next(n for n, t in enumerate(header) if t.text == "(")
        if "bool" in {t.text for t in header[:first]}:
            self.returns_bool.add(brace)
        name = ""
        for token in reversed(header[:first]):
            if token.kind != "word" and token.text not in ("::", "~", "="):
                break
            if token.kind == "word" and name and name[0] not in ":=" and not name.startswith("~"):
                break
            name = token.text + name
        return name

    def opens_block(self, brace):
        before = self.tokens[brace - 1].text
        return before in ("{", "}", ";", ")", ":", "else", "do", "noexcept", "const", "override")

    # Statements

    def starts_statement(self, i):
        opened = self.around[i]
        if opened not in self.block or self.tokens[i].text in CLOSE:
            return False
        before = self.tokens[i - 1].text
        if before in ("{", "}", ";", "else"):
            return True
        if before == ":":
            n = i - 2
            while self.tokens[n].text not in ("case", "default", "?", ";", "{", "}"):
                n -= 1
            return self.tokens[n].text in ("case", "default")
        if before == ")":
            word = self.tokens[self.partner[i - 1] - 1].text
            return word in ("if", "for", "while")
        return False

    def statement_end(self, i):
        """The index of the last token of the statement that begins here."""
        text = self.tokens[i].text
        if text == "{":
            return self.partner[i]
        if text in ("case", "default"):
            return self.statement_end(self.next_of(i, ":") + 1)
        if text in ("if", "for", "while", "switch"):
            end = self.statement_end(self.partner[i + 1] + 1)
            if text == "if" and self.tokens[end + 1].text == "else":
                end = self.statement_end(end + 2)
            return end
        return self.beyond(i, [";"])

    def beyond(self, i, ends):
        """The first of these tokens from here on, outside of brackets."""
        while self.tokens[i].text not in ends:
            i = self.partner[i] + 1 if self.tokens[i].text in OPEN else i + 1
        return i

    def declares(self, i):
        """Whether a declaration begins here, the deletion of which makes no sense."""
        if self.tokens[i].text in TYPE_WORDS:
            return True
        if self.tokens[i].kind != "word" or self.tokens[i].text in ("return", "delete"):
            return False
        i += 1
        while self.tokens[i].text == "::":
            i += 2
        if self.tokens[i].text == "<" and not self.spaced(i):
            while self.tokens[i].text != ">":
                i += 1
            i += 1
        after = self.tokens[i]
        return after.kind == "word" or after.text in "*&" and not self.blank_before(i)

    # Where spaces are

    def blank_before(self, i):
        return self.text[self.tokens[i].start - 1].isspace()

    def spaced(self, i):
        return self.blank_before(i) and self.text[self.tokens[i].end].isspace()

    def text_of(self, first, last):
        return self.text[self.tokens[first].start : self.tokens[last].end]

    # Mutants

    def add(self, i, start, end, replacement):
        if self.text[start:end] == replacement:
            return
        first = self.text.rfind("\n", 0, start) + 1
        last = self.text.find("\n", end)
        before, after = self.text[first:start], self.text[end:last]
        mutant = Mutant(
            file=self.file,
            start=start,
            end=end,
            replacement=replacement,
            function=self.names.get(self.function[i], ""),
            line=self.text.count("\n", 0, start) + 1,
            old=squeezed(before + self.text[start:end] + after),
            new=squeezed(before + replacement + after),
        )
        self.found.setdefault((start, end, replacement), mutant)

    def replace(self, i, replacement):
        self.add(i, self.tokens[i].start, self.tokens[i].end, replacement)

    def replace_range(self, first, last, replacement):
        start, end = self.tokens[first].start, self.tokens[last].end
        newlines = "\n" * self.text.count("\n", start, end)
        self.add(first, start, end, replacement + newlines)

    def mutants(self):
        for i, token in enumerate(self.tokens):
            if i in self.ignored:
                continue
            if token.kind == "word":
                self.word(i, token.text)
            elif token.kind == "op":
                self.operator(i, token.text)
            elif token.kind == "number":
                self.number(i, token.text)
            elif token.kind in ("string", "raw"):
                self.string(i, token)
            elif token.kind == "char":
                self.replace(i, "'~'" if token.text != "'~'" else "'#'")
            if self.function[i] is not None and self.starts_statement(i):
                self.statement(i)
        return list(self.found.values())

    def operator(self, i, text):
        if self.tokens[i - 1].text == "operator":
            return
        if text in RELATIONAL and self.spaced(i):
            pointer = self.tokens[i + 1].text in ("nullptr", "std")
            for other in RELATIONAL[text][: 1 if pointer else None]:
                self.replace(i, other)
        elif text in BINARY and self.spaced(i):
            joined = text == "+" and "string" in (self.tokens[i - 1].kind, self.tokens[i + 1].kind)
            for other in () if joined else BINARY[text]:
                self.replace(i, other)
            if text in ("|", "&&", "||"):
                self.operands(i)
        elif text in INCREMENTS:
            self.replace(i, INCREMENTS[text])
        elif text in ("!", "~"):
            if self.function[i] is not None:  # outside it is a destructor's
                self.replace(i, "")
        elif text == "-" and self.tokens[i + 1].kind == "number":
            self.replace(i, "")
        elif text == "?":
            self.conditional(i)

    def operands(self, i):
        """Leaves out one operand: the one after the operator; of the first also that before it."""
        first, last = self.operand(i, -1), self.operand(i, 1)
        self.replace_range(first, last, self.text_of(first, i - 1))
        if self.tokens[first - 1].text != self.tokens[i].text:
            self.replace_range(first, last, self.text_of(i + 1, last))

    def operand(self, i, step):
        """The last token, in this direction, of the operand of the operator i."""
        ends = OPERAND_ENDS[self.tokens[i].text] + (OPEN if step < 0 else CLOSE)
        n = i
        while self.tokens[n + step].text not in ends:
            n += step
            if self.tokens[n].text in (CLOSE if step < 0 else OPEN):
                n = self.partner[n]
        return n

    def conditional(self, i):
        """Swaps the arms of ?:."""
        colon = self.beyond(i + 1, [":"])
        end = self.beyond(colon + 1, [";", ",", *CLOSE])
        swapped = self.text_of(colon + 1, end - 1) + " : " + self.text_of(i + 1, colon - 1)
        self.add(i, self.tokens[i + 1].start, self.tokens[end - 1].end, swapped)

    def number(self, i, text):
        if self.tokens[i - 1].text == "=" and self.tokens[i - 2].text == ")":
            return  # a pure virtual function
        plain = text.replace("'", "")
        if plain.isdigit() and (plain == "0" or plain[0] != "0"):
            value = int(plain)
            for other in (value + 1, value - 1, 0):
                self.replace(i, str(other) if other >= 0 else f"({other})")
            if value >= 1000 and value % 1000 == 0:
                self.replace(i, str(value // 1000))  # another unit

    def string(self, i, token):
        raw = token.kind == "raw"
        first, last = token.start + (3 if raw else 1), token.end - (2 if raw else 1)
        if last == first:
            return self.replace(i, '"x"')
        self.add(i, first, last, "")
        middle = (first + last) // 2
        while middle > first and (self.text[middle] in '\\"\n' or self.text[middle - 1] == "\\"):
            middle -= 1
        if self.text[middle] == "\\":
            self.add(i, middle, middle + 2, "#")
        else:
            self.add(i, middle, middle + 1, "#")
        return None

    def word(self, i, text):
        if text in ("true", "false"):
            self.replace(i, "false" if text == "true" else "true")
        if text in ("if", "while") and self.tokens[i + 1].text == "(":
            self.condition(i + 1, text)
        if text == "for":
            self.loop(i + 1)
        if text == "return":
            self.returned(i)
        if text == "else":
            self.replace_range(i, self.statement_end(i + 1), "")
        if text in ("case", "default") and self.tokens[i + 1].text != ";":
            self.label(i)
        before = self.tokens[i - 1].text
        defined = self.tokens[i + 1].text == "=" and self.function[i] is None
        if not defined:
            for scope, other in self.kindred.get(text, ()):
                if (
                    scope is None
                    and before not in ("::", ".", "->")
                    or before == scope
                    or (before == "::" and self.tokens[i - 2].text == scope)
                ):
                    self.replace(i, other)
            if before == "::" and self.tokens[i - 2].text == "ios" and text in STREAM_FLAGS:
                self.replace(i, STREAM_FLAGS[text])

    def condition(self, opened, word):
        first, last = opened + 1, self.partner[opened] - 1
        for n in range(first, last):
            if self.tokens[n].text == ";" and self.around[n] == opened:
                first = n + 1
        self.replace_range(first, last, "false")
        if word == "if":
            self.replace_range(first, last, "true")
        else:
            self.replace(opened - 1, "if")  # at most once

    def loop(self, opened):
        """The body of a loop is never entered."""
        parts = [n for n in range(opened, self.partner[opened])
                 if self.tokens[n].text == ";" and self.around[n] == opened]  # fmt: skip
        if len(parts) == 2:
            self.replace_range(parts[0] + 1, parts[1] - 1, "false")
        else:
            body = self.partner[opened] + 1
            self.replace_range(body, self.statement_end(body), "{}")

    def returned(self, i):
        end = self.statement_end(i)
        literal = self.tokens[i + 1].text in ("{", "0", "true", "false")
        if end == i + 1 or end == i + 2 and literal:
            return
        self.replace_range(i + 1, end - 1, "{}")
        if self.function[i] in self.returns_bool and end > i + 2:
            self.replace_range(i + 1, end - 1, "true")

    def label(self, i):
        colon = self.next_of(i, ":")
        if self.tokens[i].text == "case":
            self.replace_range(i, colon, "")
        if self.tokens[colon + 1].text in ("case", "default"):
            return
        # The label's body, up to the next label or the end of the switch.
        last = colon
        while self.tokens[last + 1].text not in ("case", "default", "}"):
            last = self.statement_end(last + 1)
        if self.tokens[colon + 1].text != "break":
            self.replace_range(colon + 1, last, "break;")

    def statement(self, i):
        if self.tokens[i].text in ("{", "}", ";"):
            return
        if self.calls(i):
            self.swap(i)
        if self.declares(i):
            return
        end = self.statement_end(i)
        name = i + 1 if self.tokens[i].text == "::" else i
        if self.tokens[name + 1].text == "<<" or self.partner[name + 1] == end - 1:
            text = self.text_of(i, end)
            self.replace_range(i, end, text + " " + text)
        self.replace_range(i, end, ";")

    def swap(self, i):
        """Swaps two neighbouring calls."""
        end = self.statement_end(i)
        if self.starts_statement(end + 1) and self.calls(end + 1):
            last = self.statement_end(end + 1)
            self.replace_range(i, last, self.text_of(end + 1, last) + " " + self.text_of(i, end))

    def calls(self, i):
        """Whether the statement that begins here is a plain one with a call or an insertion."""
        if self.tokens[i].text in CONTROL or self.tokens[i].text in OPEN:
            return False
        return any(t.text in ("(", "<<") for t in self.tokens[i : self.statement_end(i)])


def kindred_names(sources):
    """Maps a name to those that may stand in its place."""
    groups = [group for text in sources for group in enumerators_of(text)] + KINDRED
    others = {}
    for scope, group in groups:
        for n, name in enumerate(group):
            # The next one and another: two are enough to show a name that is not tested.
            chosen = {group[(n + 1) % len(group)], group[n - 2] if len(group) > 3 else group[n - 1]}
            others[name] = others.get(name, []) + [(scope, c) for c in sorted(chosen - {name})]
    return others


def mutants_of(files):
    """All mutants of the files, given as a map from name to text; no two have the same name."""
    kindred = kindred_names(files.values())
    found = []
    counts = collections.Counter()
    for file, text in sorted(files.items()):
        for mutant in Source(file, text, kindred).mutants():
            counts[mutant.name] += 1
            if counts[mutant.name] > 1:
                again = f"{mutant.function} ({counts[mutant.name]})".strip()
                mutant = dataclasses.replace(mutant, function=again)
            found.append(mutant)
    return found
