# SPDX-FileCopyrightText: The switch querier authors
# SPDX-License-Identifier: MIT
"""The texts that the model and the program are compared on: all short ones, and documents."""

import decimal
import itertools
import math
import random
import struct
from collections.abc import Iterator
from dataclasses import dataclass

import dialect

# ---- All short texts ----------------------------------------------------------------------------


@dataclass(frozen=True)
class Region:
    """All sequences of up to so many tokens, put between a beginning and an end."""

    name: str
    before: bytes
    tokens: list[bytes]
    longest: int
    after: bytes

    def texts(self) -> Iterator[bytes]:
        """Each text once. Two sequences can make the same only if a token begins another."""
        ambiguous = any(b.startswith(a) for a, b in itertools.permutations(self.tokens, 2))
        seen = set()
        for length in range(self.longest + 1):
            for tokens in itertools.product(self.tokens, repeat=length):
                text = self.before + b"".join(tokens) + self.after
                if ambiguous:
                    if text in seen:
                        continue
                    seen.add(text)
                yield text

    def longer_text(self, rng: random.Random) -> bytes:
        length = self.longest + rng.randint(1, 6)
        return self.before + b"".join(rng.choices(self.tokens, k=length)) + self.after


def bytes_of(characters: bytes) -> list[bytes]:
    return [bytes([byte]) for byte in characters]


BOUNDS = b"9223372036854775807 9223372036854775808 7fffffffffffffff 777777777777777777777".split()

REGIONS = [
    Region("whole texts", b"", bytes_of(b'{}[],:" a\\\x01'), 4, b""),
    Region("root object", b"{", bytes_of(b'{}[],:" a\\\x01'), 6, b"}"),
    Region("nesting", b"{", [b"{", b"}", b"[", b"]", b",", b'"a":', b"1"], 7, b"}"),
    Region("member value", b'{"a":', bytes_of(b'{}[],:"1 t'), 4, b"}"),
    Region("element", b'{"a":[', bytes_of(b'{}[],:"1 t'), 4, b"]}"),
    Region("keys", b"{", [b'"a"', b'"b"', b'"a":', b"1", b"2", b",", b" ", b"null"], 5, b"}"),
    Region(
        "order of keys",
        b"{",
        [b'"":1,', b'"a":2,', b'"ab":3,', b'"b":4,', b'"Z":5,']
        + [b'"\xc3":6,', b'"\\\\":7,', b'"\\t":8,'],
        4,
        b"}",
    ),
    Region("decimal and octal", b'{"a":', bytes_of(b"018-+.ex"), 6, b"}"),
    Region("hexadecimal", b'{"a":0x', bytes_of(b"01f.pP+-x"), 6, b"}"),
    Region("prefixes", b'{"a":', bytes_of(b"01xXbBoOaE-"), 5, b"}"),
    Region(
        "infinity",
        b'{"a":',
        [b"i", b"I", b"n", b"f", b"inf", b"INF", b"inity", b"y", b"-", b"+", b" ", b"1"],
        4,
        b"}",
    ),
    Region(
        "not a number",
        b'{"a":',
        [b"N", b"a", b"n", b"NaN", b"(", b")", b"_", b"1", b"z", b"-", b" ", b"\xe9"],
        4,
        b"}",
    ),
    Region(
        "range of integers",
        b'{"a":',
        [b"-", b"0x", b"0", b"1", b".", b"9" * 16, *BOUNDS],
        4,
        b"}",
    ),
    Region(
        "range of doubles",
        b'{"a":',
        [b"17976931348623157", b"1", b"9", b"0", b".", b"e", b"p", b"0x"]
        + [b"-", b"291", b"292", b"308", b"324", b"1023", b"1074"],
        4,
        b"}",
    ),
    Region("bytes about a number", b'{"a":', bytes_of(b"1-\t\n\v\f\r ,:\0\x1c\x1f"), 4, b"}"),
    Region("bytes about an element", b'{"a":[', bytes_of(b"1-\t\n\v\f\r ,:\0}"), 4, b"]}"),
    Region(
        "words after whitespace",
        b'{"a":',
        [b"\f", b"\v", b" ", b"-", b"1", b".5", b"0x1", b"nan", b"NaN", b"inf", b"null", b"true"],
        4,
        b"}",
    ),
    Region("true", b'{"a":', bytes_of(b"true ,T"), 5, b"}"),
    Region("false", b'{"a":', bytes_of(b"false,"), 6, b"}"),
    Region("null", b'{"a":', bytes_of(b"nul ,N\0"), 5, b"}"),
    Region(
        "words",
        b'{"a":[',
        [b"true", b"false", b"null", b"tru", b"fals", b"nul", b"e", b"x", b" ", b",", b"]"],
        4,
        b"]}",
    ),
    Region("strings", b'{"a":"', bytes_of(b'\\"nu/q}\x1f\x20\x7f\xc3\0'), 5, b'"}'),
    Region("string keys", b'{"', bytes_of(b'\\"nu/q}\x1f\x20\x7f\xc3\0'), 5, b'":1}'),
]

TEMPLATE = b'{"a" : "b\\n" , "c" : [ 1.5e3 , -0x1f , { "d" : null } ] , "e" : true }'


def every_byte_at_every_place() -> Iterator[bytes]:
    """One byte of a document replaced, and one put in front of one, by each of the 256."""
    for place in range(len(TEMPLATE)):
        for byte in range(256):
            yield TEMPLATE[:place] + bytes([byte]) + TEMPLATE[place + 1 :]
            yield TEMPLATE[:place] + bytes([byte]) + TEMPLATE[place:]


def every_pair_of_bytes(before: bytes, after: bytes) -> Iterator[bytes]:
    for first in range(256):
        for second in range(256):
            yield before + bytes([first, second]) + after


def all_short_texts() -> Iterator[tuple[str, Iterator[bytes]]]:
    for region in REGIONS:
        yield region.name, region.texts()
    yield "every byte at every place", every_byte_at_every_place()
    yield "every pair of bytes as a value", every_pair_of_bytes(b'{"a":', b"}")
    yield "every pair of bytes in a string", every_pair_of_bytes(b'{"a":"', b'"}')


# ---- Documents ----------------------------------------------------------------------------------

LIMIT_SIZES = [dialect.SIZE_LIMIT - 1, dialect.SIZE_LIMIT, dialect.SIZE_LIMIT + 1]

BLANKS = [b"", b"", b"", b" ", b" ", b"\n", b"\t", b"\r\n", b"\n    ", b" \t\r\n"]
WORDS = [b"true", b"false", b"null"]
GOOD_ESCAPES = [b"\\" + bytes([letter]) for letter in dialect.ESCAPES]
ODD_VALUES = [b"", b"\f5", b"\v-1.5", b"\fnan", b"+7", b"08", b"0x", b"1x", b"tru", b"nan", b"nul"]
ODD_VALUES += [b"1e", b"0x1p", b"--1", b"'a'", b'"\\u0041"', b'"\\/"', b'"\t"', b"\xef\xbb\xbf1"]
ODD_VALUES += [b"0b101", b"0o17", b"1_000", b"\xd9\xa1", b"1\0", b"infinit", b"NAN(", b"1.5f"]
SMALL_KEYS = [b"a", b"b", b"ab", b"", b"App", b"isEncoder", b"\xc3\xa4", b"Z", b"a b"]
SMALL_KEYS += [b'\\"', b"\\n"]


def limit_documents() -> Iterator[bytes]:
    """The deepest, widest and longest texts about the size limit, whole and with an open end."""
    for size in LIMIT_SIZES:
        yield filled(b'{"a":', b"[", b"]", b"}", size)
        yield filled(b'{"a":', b'{"a":', b"}", b"}", size)
        yield filled(b'{"a":', b'[{"":', b"}]", b"}", size)
        yield filled(b"{", b'"a":1,', b"", b"}", size)
        yield filled(b'{"a":[', b"0.1,", b"", b"]}", size)
        yield filled(b'{"a":[', b",", b"", b"]}", size)
        yield filled(b'{"a":"', b"x", b"", b'"}', size)
        yield filled(b'{"', b"\\n", b"", b'":0}', size)
        yield filled(b'{"a":', b"9", b"", b"}", size)
        yield filled(b'{"a":0.', b"0", b"", b"1}", size)
        yield filled(b'{"a":1', b"0", b"", b"e-9000}", size)
        yield filled(b'{"a":0x', b"f", b"", b"}", size)
        yield filled(b'{"a":NaN(', b"a", b"", b")}", size)
        yield filled(b"{", b"\n", b"", b"}", size)
        yield filled(b'{"a":', b"[", b"", b"}", size)
        yield filled(b'{"a":', b'{"a":', b"", b"}", size)


def filled(before: bytes, opening: bytes, closing: bytes, after: bytes, size: int) -> bytes:
    """As many times the opening and the closing as there is room for; whitespace fills the rest."""
    room = size - len(before) - len(after)
    times, rest = divmod(room, len(opening) + len(closing))
    return before[:1] + b" " * rest + before[1:] + opening * times + closing * times + after


def document(seed: int, number: int) -> bytes:
    """The same for the same seed and number, on every machine."""
    rng = random.Random(f"{seed} {number}")
    if rng.random() < 0.3:
        return rng.choice(REGIONS).longer_text(rng)
    text = generated(rng)
    kind = rng.random()
    if kind < 0.3:
        return text
    if kind < 0.45:
        return rewritten(text, rng.choice([0, 1, 2, 3]))
    return mutated(text, rng)


def rewritten(text: bytes, level: int) -> bytes:
    """What the writer makes of it, which is the next run's text. The text itself if that is
    refused, or if it grows past all limits because it is deeply nested."""
    code, _, tree = dialect.parse(text)
    again = dialect.trim(dialect.write(tree, level)) if code == 0 else text
    return again if len(again) <= 4 * dialect.SIZE_LIMIT else text


def mutated(text: bytes, rng: random.Random) -> bytes:
    for _ in range(rng.choice([1, 1, 1, 2, 3, 6])):
        text = rng.choice(MUTATIONS)(text, rng)
    if rng.random() < 0.8:  # the rest would nearly always end at the first rule
        text = (b"" if text[:1] == b"{" else b"{") + text
        text = text + (b"" if text[-1:] == b"}" else b"}")
    return text


def piece(text: bytes, rng: random.Random) -> tuple[int, int]:
    begin = rng.randint(0, len(text))
    length = rng.choice([1, 1, 2, 4, 16, 256])
    return begin, min(len(text), begin + length)


def flip_bit(text: bytes, rng: random.Random) -> bytes:
    begin, end = piece(text, rng)
    flipped = bytes(byte ^ (1 << rng.randrange(8)) for byte in text[begin : begin + 1])
    return text[:begin] + flipped + text[begin + 1 :]


def replace_byte(text: bytes, rng: random.Random) -> bytes:
    begin, _ = piece(text, rng)
    return text[:begin] + bytes([rng.randrange(256)]) + text[begin + 1 :]


def insert_byte(text: bytes, rng: random.Random) -> bytes:
    begin, _ = piece(text, rng)
    return text[:begin] + bytes([rng.choice(b'{}[],:"\\ \n\t\f\v\0\x7f10-ntfx')]) + text[begin:]


def delete(text: bytes, rng: random.Random) -> bytes:
    begin, end = piece(text, rng)
    return text[:begin] + text[end:]


def duplicate(text: bytes, rng: random.Random) -> bytes:
    begin, end = piece(text, rng)
    return text[:end] + text[begin:end] + text[end:]


def splice(text: bytes, rng: random.Random) -> bytes:
    other = generated(rng)
    begin, _ = piece(text, rng)
    other_begin, other_end = piece(other, rng)
    return text[:begin] + rng.choice([other[other_begin:], other[other_begin:other_end]])


def truncate(text: bytes, rng: random.Random) -> bytes:
    return text[: rng.randint(0, len(text))]


MUTATIONS = [flip_bit, replace_byte, insert_byte, delete, duplicate, splice, truncate]


# ---- Generated documents ------------------------------------------------------------------------


def generated(rng: random.Random) -> bytes:
    size = rng.choice(LIMIT_SIZES) if rng.random() < 0.1 else int(2 * 5000 ** rng.random())
    shape = rng.choice([deep, wide, long, mixed, mixed])
    text = b"{" + shape(size - 2, rng)
    padding = max(0, size - len(text) - 1)
    padded = bytes(rng.choices(dialect.WHITESPACE, k=padding))
    return text + padded + b"}"


def deep(room: int, rng: random.Random) -> bytes:
    """The members of an object, one inside another."""
    opened, closed, object_around = b"", b"", True
    while len(opened) + len(closed) < room - 40:
        if object_around:
            opened += member_start(rng)
        elif rng.random() < 0.1:
            opened += small_value(rng) + b","
        object_around = rng.random() < 0.4
        opened += (b"{" if object_around else b"[") + rng.choice(BLANKS)
        comma = b"," if rng.random() < 0.05 else b""
        closed = rng.choice(BLANKS) + comma + (b"}" if object_around else b"]") + closed
    return opened + (member_start(rng) + small_value(rng) if object_around else b"1") + closed


def wide(room: int, rng: random.Random) -> bytes:
    text = b""
    while len(text) < room - 40:
        text += member_start(rng) + small_value(rng) + rng.choice(BLANKS) + b","
    return text if rng.random() < 0.5 else text[:-1]


def long(room: int, rng: random.Random) -> bytes:
    kind = rng.randrange(3)
    if kind == 0:
        value = string(rng, max(0, room - 10))
    elif kind == 1:
        value = bytes(rng.choices(dialect.DIGITS, k=max(1, room - 20)))
        value = rng.choice([value, value[:1] + b"." + value[1:], value + b"e-%d" % len(value)])
    else:
        elements = []
        while sum(map(len, elements)) < room // 2:
            elements.append(small_value(rng))
        value = b"[" + b",".join(elements) + b"]"
    return b'"long":' + value


def mixed(room: int, rng: random.Random) -> bytes:
    members = []
    while room > 0:
        share = rng.randint(1, room)
        members.append(member_start(rng) + tree_value(share - 8, rng) + rng.choice(BLANKS))
        room -= max(len(members[-1]) + 1, share // 4)
    comma = b"," if members and rng.random() < 0.1 else b""
    return b",".join(members) + comma


def tree_value(room: int, rng: random.Random) -> bytes:
    if room < 12:
        return small_value(rng)
    if rng.random() < 0.5:
        return b"{" + rng.choice(BLANKS) + mixed(room - 2, rng) + b"}"
    elements = []
    while room > 0:
        elements.append(tree_value(rng.randint(0, room) // 2, rng) + rng.choice(BLANKS))
        room -= len(elements[-1]) + 1
    return b"[" + rng.choice(BLANKS) + (b"," + rng.choice(BLANKS)).join(elements) + b"]"


def member_start(rng: random.Random) -> bytes:
    key = b'"' + rng.choice(SMALL_KEYS) + b'"' if rng.random() < 0.5 else string(rng, 6)
    return rng.choice(BLANKS) + key + rng.choice(BLANKS) + b":" + rng.choice(BLANKS)


def small_value(rng: random.Random) -> bytes:
    kind = rng.random()
    if kind < 0.01:
        return rng.choice(ODD_VALUES)
    if kind < 0.2:
        return rng.choice(WORDS)
    if kind < 0.4:
        return string(rng, rng.randrange(12))
    if kind < 0.45:
        return rng.choice([b"[]", b"{}", b"[ ]", b"{\n}", b""])
    return number(rng)


def string(rng: random.Random, length: int) -> bytes:
    text = b""
    while len(text) < length:
        kind = rng.random()
        if kind < 0.1:
            text += rng.choice(GOOD_ESCAPES)
        elif kind < 0.3:
            text += bytes([rng.choice(range(128, 256))])
        else:
            text += bytes([rng.choice(range(32, 128))]).translate(None, b'"\\')
    return b'"' + text + b'"'


def number(rng: random.Random) -> bytes:
    return rng.choice([b"", b"", b"-", b"+"]) + rng.choice(NUMBERS)(rng).encode("ascii")


def any_double(rng: random.Random) -> float:
    value = abs(struct.unpack("<d", rng.randbytes(8))[0])
    return value if math.isfinite(value) else 1.0


def halfway(rng: random.Random) -> str:
    """All the digits of the middle between two doubles, or of a number a little off it."""
    low = any_double(rng) if rng.random() < 0.5 else rng.uniform(0, 10)
    with decimal.localcontext(decimal.Context(prec=1200)):
        middle = (decimal.Decimal(low) + decimal.Decimal(math.nextafter(low, math.inf))) / 2
        return f"{middle:e}".replace("e", rng.choice(["", "1", "0", "00000001"]) + "e")


NUMBERS = [
    lambda rng: str(rng.randrange(10 ** rng.randint(1, 20))),
    lambda rng: str(2**63 + rng.randint(-2, 2)),
    lambda rng: "0" * rng.randint(1, 3) + f"{rng.getrandbits(rng.randint(1, 66)):o}",
    lambda rng: rng.choice(["0x", "0X"]) + f"{rng.getrandbits(rng.randint(1, 66)):x}",
    lambda rng: str(rng.randrange(1000)) + "." + str(rng.randrange(1000)),
    lambda rng: f"{rng.randrange(10**6)}{rng.choice('eE')}{rng.randint(-340, 320)}",
    lambda rng: repr(any_double(rng)),
    lambda rng: f"{any_double(rng):.{rng.randint(0, 40)}e}",
    lambda rng: any_double(rng).hex(),
    lambda rng: f"0x{rng.getrandbits(60):x}.{rng.getrandbits(8):x}p{rng.randint(-1150, 1030)}",
    lambda rng: rng.choice(["inf", "INFINITY", "Inf", "NaN", "NAN", "NaN()", "NaN(0x1f_Z)"]),
    halfway,
]


# ---- Configuration files ------------------------------------------------------------------------

FLAGS = [b"true", b"false", b"true", b"false", b"true", b"1", b'"true"', b"null", b"", b"{}"]
APPS = [b'"App":{"isEncoder":%s}', b'"App":{"a":[1.5],"isEncoder":%s,}', b'"App":[%s]', b'"A":%s']
EDGES = [b"", b"", b" ", b"\n", b"\r\n\t", b"\0", b"\x1f\x01 ", b"\v\f", b"\x7f", b"\x80", b"\xa0"]


def config_file(seed: int, number: int) -> bytes:
    """A document that mostly holds the flag, with bytes about it that trimming takes or leaves."""
    rng = random.Random(f"{seed} file {number}")
    app = rng.choice(APPS[:1] * 6 + APPS) % rng.choice(FLAGS)
    body = rng.choice([b"", b',"Z":0x10', b"," + wide(rng.choice([60, 600, 5000]), rng)])
    text = b"{" + rng.choice(BLANKS) + app + body + b"}"
    if rng.random() < 0.15:
        text = mutated(text, rng)
    text = rng.choice(EDGES) + text + rng.choice(EDGES)
    if rng.random() < 0.1:
        padding = rng.choice(LIMIT_SIZES) - len(text)
        text = rng.choice([text + b"\n" * padding, b" " * padding + text])
    return text
