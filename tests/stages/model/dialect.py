# SPDX-FileCopyrightText: The switch querier authors
# SPDX-License-Identifier: MIT
"""A model of the JSON dialect: what the parser takes and refuses, and what the writer writes.

It is slow and obvious on purpose, and shares nothing with the C++ code, so that the two can be
compared (compare.py). Each function below is one rule. A reading function takes the text and the
cursor, an offset into it, and returns what it read and the cursor after it, or raises Refused
with the code and the offset of the byte that the code speaks of.

The tree is made of Python's own types: None, int (64 bits, signed), float, bool, bytes, dict
(bytes to value) and list.

The text that the reading functions see ends in a NUL byte that is not a part of the document. A NUL
fits no rule, so no function moves past it, and one inside the document is taken for the end.
"""

import math
import sys

WHITESPACE = b"\t\n\r "
NUMBER_TERMINATORS = WHITESPACE + b",]}"
DIGITS = b"0123456789"
OCTAL_DIGITS = b"01234567"
HEX_DIGITS = DIGITS + b"abcdefABCDEF"
WORD_BYTES = DIGITS + b"abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ_"
C_WHITE_SPACE = b"\t\n\v\f\r "  # isspace(3) in the "C" locale
INT64_MIN, INT64_MAX = -(2**63), 2**63 - 1

QUOTE, BACKSLASH, COMMA, COLON, POINT = b'"\\,:.'
OPENING_BRACE, CLOSING_BRACE, OPENING_BRACKET, CLOSING_BRACKET = b"{}[]"

ESCAPES = {b'"'[0]: 34, b"\\"[0]: 92, b"b"[0]: 8, b"f"[0]: 12, b"n"[0]: 10, b"r"[0]: 13, b"t"[0]: 9}

SIZE_LIMIT = 10_000

# Three calls a level of nesting, of which a document of the size limit has nearly 10,000.
sys.setrecursionlimit(100_000)


class Refused(Exception):
    def __init__(self, code: int, position: int):
        super().__init__(code, position)
        self.code = code
        self.position = position


# ---- The parser ---------------------------------------------------------------------------------


def parse(document: bytes) -> tuple[int, int, dict | None]:
    """Gives code, position and tree. Where the code is 0 the position means nothing (and is 0)."""
    if len(document) < 2 or document[0] != OPENING_BRACE or document[-1] != CLOSING_BRACE:
        return -1, 0, None
    text = document + b"\0"
    try:
        tree, at = read_members(text, 1)
        if text[at] != 0:
            raise Refused(-2, at)
    except Refused as refused:
        return refused.code, refused.position, None
    return 0, 0, tree


def read_members(text: bytes, at: int) -> tuple[dict, int]:
    """The cursor is just after the opening brace."""
    members: dict = {}
    while True:
        at = skip_whitespace(text, at)
        if text[at] == CLOSING_BRACE:
            return members, at + 1
        if text[at] != QUOTE:
            raise Refused(-1, at)
        key, at = read_key(text, at + 1)
        at = skip_whitespace(text, at)
        if text[at] != COLON:
            raise Refused(-4, at)
        at = skip_whitespace(text, at + 1)
        value, at = read_value(text, at)
        at = skip_whitespace(text, at)
        if text[at] not in (COMMA, CLOSING_BRACE):
            raise Refused(-5, at)
        store_member(members, key, value)
        if text[at] == COMMA:
            at += 1


def read_elements(text: bytes, at: int) -> tuple[list, int]:
    """The cursor is just after the opening bracket."""
    elements: list = []
    while True:
        at = skip_whitespace(text, at)
        if text[at] == CLOSING_BRACKET:
            return elements, at + 1
        value, at = read_value(text, at)
        at = skip_whitespace(text, at)
        if text[at] not in (COMMA, CLOSING_BRACKET):
            raise Refused(-41, at)
        elements.append(value)
        if text[at] == COMMA:
            at += 1


def read_value(text: bytes, at: int):
    """The cursor is on the value's first byte, which decides its kind."""
    first = text[at]
    if first == OPENING_BRACKET:
        return read_elements(text, at + 1)
    if first == OPENING_BRACE:
        return read_members(text, at + 1)
    if first == QUOTE:
        return read_string(text, at + 1)
    if first == b"t"[0]:
        return read_word(text, at, b"true", True, -10)
    if first == b"f"[0]:
        return read_word(text, at, b"false", False, -11)
    if first == b"n"[0]:
        return read_word(text, at, b"null", None, -20)
    return read_number(text, at)


def read_word(text: bytes, at: int, word: bytes, value: bool | None, code: int):
    """The byte after the word is not looked at: what follows is for the separator's rule."""
    if text[at : at + len(word)] != word:
        raise Refused(code, at)
    return value, at + len(word)


def read_key(text: bytes, at: int) -> tuple[bytes, int]:
    """A key's faults have one code, whatever they are."""
    try:
        return read_string(text, at)
    except Refused as refused:
        raise Refused(-3, refused.position) from None


def read_string(text: bytes, at: int) -> tuple[bytes, int]:
    """The cursor is just after the opening quote."""
    collected = bytearray()
    while True:
        byte = text[at]
        if byte < 32:
            raise Refused(-21, at)
        if byte == QUOTE:
            return bytes(collected), at + 1
        if byte == BACKSLASH:
            at += 1
            letter = text[at]
            if letter < 32:
                raise Refused(-21, at)
            if letter not in ESCAPES:
                raise Refused(-22, at)
            byte = ESCAPES[letter]
        collected.append(byte)
        at += 1


def read_number(text: bytes, at: int) -> tuple[int | float, int]:
    """Whatever is of no other kind, also nothing at all: strtoll converts an empty text to 0, and
    where that stands in front of a terminator the integer 0 is the value."""
    for convert in (strtoll, strtod):
        value, end = convert(text, at)
        if text[end] in NUMBER_TERMINATORS:
            return value, end
    raise Refused(-30, at)


def skip_whitespace(text: bytes, at: int) -> int:
    while text[at] in WHITESPACE:
        at += 1
    return at


def store_member(members: dict, key: bytes, value) -> None:
    """The last of several members of one key stays."""
    members[key] = value


# ---- The C library's conversions, in the "C" locale (C11 7.22.1.3 and 7.22.1.4) -----------------
#
# Each returns the value and the offset where it stopped, which is where it began when there was
# nothing to convert. Python's own conversions take more spellings than C's (underscores, digits of
# other alphabets, whitespace at the end), so the spelling is found byte by byte first.


def strtoll(text: bytes, start: int) -> tuple[int, int]:
    """Base 0. A number out of range gives the nearest one in range."""
    negative, at = skip_sign(text, skip_run(text, start, C_WHITE_SPACE))
    if text[at : at + 2] in (b"0x", b"0X") and text[at + 2] in HEX_DIGITS:
        base, digits, at = 16, HEX_DIGITS, at + 2
    elif text[at] == b"0"[0]:
        base, digits = 8, OCTAL_DIGITS
    else:
        base, digits = 10, DIGITS
    end = skip_run(text, at, digits)
    if end == at:
        return 0, start
    magnitude = 0
    for digit in text[at:end]:
        magnitude = min(magnitude * base + digit_value(digit), 2**64)
    value = -magnitude if negative else magnitude
    return max(INT64_MIN, min(INT64_MAX, value)), end


def strtod(text: bytes, start: int) -> tuple[float, int]:
    negative, at = skip_sign(text, skip_run(text, start, C_WHITE_SPACE))
    for convert in (infinity, not_a_number, hexadecimal, decimal):
        value, end = convert(text, at)
        if end != at:
            return math.copysign(value, -1.0 if negative else 1.0), end
    return 0.0, start


def infinity(text: bytes, at: int) -> tuple[float, int]:
    for word in (b"infinity", b"inf"):
        if text[at : at + len(word)].lower() == word:
            return math.inf, at + len(word)
    return 0.0, at


def not_a_number(text: bytes, at: int) -> tuple[float, int]:
    """The word nan, followed perhaps by letters, digits and underscores in parentheses."""
    if text[at : at + 3].lower() != b"nan":
        return 0.0, at
    at += 3
    if text[at] == b"("[0]:
        closing = skip_run(text, at + 1, WORD_BYTES)
        if text[closing] == b")"[0]:
            at = closing + 1
    return math.nan, at


def hexadecimal(text: bytes, start: int) -> tuple[float, int]:
    """0x, hexadecimal digits with or without a point, perhaps a power of two. Rounded alike."""
    if text[start : start + 2] not in (b"0x", b"0X"):
        return 0.0, start
    at, digits = skip_digits_and_point(text, start + 2, HEX_DIGITS)
    if digits == 0:
        return 0.0, start
    end = skip_exponent(text, at, b"pP")
    try:
        return float.fromhex(text[start:end].decode("ascii")), end
    except OverflowError:
        return math.inf, end


def decimal(text: bytes, start: int) -> tuple[float, int]:
    """Decimal digits with or without a point, perhaps a power of ten. Rounded to the nearest
    double; too large is infinity, too small is a subnormal number or zero."""
    at, digits = skip_digits_and_point(text, start, DIGITS)
    if digits == 0:
        return 0.0, start
    end = skip_exponent(text, at, b"eE")
    return float(text[start:end].decode("ascii")), end


def skip_run(text: bytes, at: int, allowed: bytes) -> int:
    while text[at] in allowed:
        at += 1
    return at


def skip_sign(text: bytes, at: int) -> tuple[bool, int]:
    if text[at] in b"+-":
        return text[at] == b"-"[0], at + 1
    return False, at


def skip_digits_and_point(text: bytes, at: int, allowed: bytes) -> tuple[int, int]:
    """Returns the offset after the digits, and how many there are on both sides of the point."""
    point = skip_run(text, at, allowed)
    if text[point] != POINT:
        return point, point - at
    end = skip_run(text, point + 1, allowed)
    return end, end - at - 1


def skip_exponent(text: bytes, at: int, letters: bytes) -> int:
    """An exponent without a digit is none, and nothing of it is skipped."""
    if text[at] not in letters:
        return at
    _, digits = skip_sign(text, at + 1)
    end = skip_run(text, digits, DIGITS)
    return at if end == digits else end


def digit_value(digit: int) -> int:
    return HEX_DIGITS.index(bytes([digit]).lower())


# ---- The writer ---------------------------------------------------------------------------------
#
# Each function appends pieces to a list. Every member and element is followed by a separator as a
# piece of its own, which the closing bracket then replaces after the last one.


def write(tree: dict, level: int) -> bytes:
    pieces: list[bytes] = []
    write_object(tree, level, pieces)
    return b"".join(pieces)


def write_object(members: dict, level: int, pieces: list[bytes]) -> None:
    if not members:
        pieces.append(b"{}")
        return
    pieces.append(b"{" if level == 0 else b"{\n")
    for key in sorted(members):  # bytes are ordered as memcmp does, then the shorter first
        write_member(key, members[key], level, pieces)
        pieces.append(b", " if level == 0 else b",\n")
    pieces[-1] = b"}" if level == 0 else b"\n" + b"  " * (level - 1) + b"}"


def write_member(key: bytes, value, level: int, pieces: list[bytes]) -> None:
    pieces.append(b"  " * level)
    write_string(key, pieces)
    pieces.append(b": ")
    write_value(value, level, pieces)


def write_value(value, level: int, pieces: list[bytes]) -> None:
    if value is None:
        pieces.append(b"null")
    elif isinstance(value, bool):  # before int, of which it is a kind
        pieces.append(b"true" if value else b"false")
    elif isinstance(value, int):
        pieces.append(str(value).encode("ascii"))
    elif isinstance(value, float):
        pieces.append(double_text(value))
    elif isinstance(value, bytes):
        write_string(value, pieces)
    elif isinstance(value, dict):
        write_object(value, 0 if level == 0 else level + 1, pieces)
    else:
        write_array(value, level, pieces)


def write_array(elements: list, level: int, pieces: list[bytes]) -> None:
    if not elements:
        pieces.append(b"[]")
        return
    pieces.append(b"[" if level == 0 else b"[\n")
    for element in elements:
        if level == 0:
            write_value(element, 0, pieces)
            pieces.append(b", ")
        else:
            pieces.append(b"  " * (level + 1))
            write_value(element, level + 1, pieces)
            pieces.append(b",\n")
    pieces[-1] = b"]" if level == 0 else b"\n" + b"  " * level + b"]"


def double_text(value: float) -> bytes:
    """As printf's "%.34g". Python's own leaves out the sign of what is not a number."""
    if math.isnan(value):
        return b"-nan" if math.copysign(1.0, value) < 0 else b"nan"
    return ("%.34g" % value).encode("ascii")


WRITTEN_ESCAPES = {8: b"\\b", 9: b"\\t", 10: b"\\n", 12: b"\\f", 13: b"\\r"}
WRITTEN_ESCAPES |= {34: b'\\"', 92: b"\\\\"}


def write_string(string: bytes, pieces: list[bytes]) -> None:
    pieces.append(b'"')
    for byte in string:
        pieces.append(WRITTEN_ESCAPES.get(byte) or bytes([byte]))
    pieces.append(b'"')


# ---- The program --------------------------------------------------------------------------------


def trim(text: bytes) -> bytes:
    """Every byte up to 32 goes from the end and then from the beginning."""
    while text and text[-1] <= 32:
        text = text[:-1]
    while text and text[0] <= 32:
        text = text[1:]
    return text


def find(tree: dict, keys: list[bytes]):
    """The value that the keys lead to; KeyError where there is none."""
    value = tree
    for key in keys:
        if not isinstance(value, dict):
            raise KeyError(key)
        value = value[key]
    return value


def flip(file: bytes) -> tuple[int, bytes, bytes]:
    """A run of the program with "-flip": its exit status, its error in short, and the new file."""
    if len(file) > SIZE_LIMIT:
        return 163, b"unreadable", file
    code, position, tree = parse(trim(file))
    if code != 0:
        return 174, b"%d at %d" % (code, position), file
    try:
        encoder = find(tree, [b"App", b"isEncoder"])
    except KeyError:
        return 180, b"no flag", file
    if not isinstance(encoder, bool):
        return 186, b"no boolean", file
    tree[b"App"][b"isEncoder"] = not encoder
    return (0 if encoder else 1), b"", write(tree, 2)
