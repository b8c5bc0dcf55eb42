# SPDX-FileCopyrightText: The switch querier authors
# SPDX-License-Identifier: MIT

"""Documents to measure with: realistic ones, and shapes that are hard on one part of the code.

They are the same on every machine and with every version of Python.
"""

FLAG = '"App":{"isEncoder":true}'


class Choices:
    """Pseudo-random numbers; those of the module random may change with its version."""

    def __init__(self, seed):
        self.state = seed

    def below(self, limit):
        self.state = (self.state * 6364136223846793005 + 1442695040888963407) % 2**64
        return (self.state >> 33) % limit

    def of(self, values):
        return values[self.below(len(values))]


def quoted(text):
    for byte, letter in (("\\", "\\\\"), ('"', '\\"'), ("\n", "\\n"), ("\t", "\\t")):
        text = text.replace(byte, letter)
    return f'"{text}"'


def by_hand(value, indentation=""):
    """The value as somebody would write it by hand: a list of plain values on one line."""
    inner = indentation + "  "
    if isinstance(value, dict):
        members = [
            f"{inner}{quoted(key)}: {by_hand(member, inner)}" for key, member in value.items()
        ]
        return "{\n" + ",\n".join(members) + f"\n{indentation}}}" if members else "{}"
    if isinstance(value, list):
        if any(isinstance(element, (dict, list)) for element in value):
            elements = [inner + by_hand(element, inner) for element in value]
            return "[\n" + ",\n".join(elements) + f"\n{indentation}]"
        return "[" + ", ".join(by_hand(element) for element in value) + "]"
    return scalar(value, repr)


def by_the_tool(value, indentation="  "):
    """The value as the tool writes it, so that every later run reads it like this."""
    inner = indentation + "  "
    if isinstance(value, dict):
        lines = [f"{inner}{quoted(key)}: {by_the_tool(value[key], inner)}" for key in sorted(value)]
        return "{\n" + ",\n".join(lines) + f"\n{indentation}}}"
    if isinstance(value, list):
        lines = [inner + by_the_tool(element, inner) for element in value]
        return "[\n" + ",\n".join(lines) + f"\n{indentation}]"
    return scalar(value, "{:.34g}".format)


def scalar(value, number):
    if isinstance(value, bool):
        return "true" if value else "false"
    if value is None:
        return "null"
    if isinstance(value, str):
        return quoted(value)
    return number(value)


def channel(choices, number):
    names = [
        "North stand",
        "Pitch side",
        "Studio 2",
        "Roof",
        "Press room",
        'Camera "B"',
        "Gate\t4",
        "Zürich HB",
        "Backup",
    ]
    return {
        "name": f"{choices.of(names)} {number}",
        "enabled": choices.below(4) != 0,
        "address": f"239.{choices.below(256)}.{choices.below(256)}.{choices.below(256)}",
        "port": 5000 + 2 * choices.below(400),
        "ttl": choices.of([1, 4, 16, 64]),
        "codec": choices.of(["h264", "h265", "jpeg-xs"]),
        "bitrate": 250000 * (4 + choices.below(60)),
        "framerate": choices.of([25, 50, 29.97, 59.94]),
        "gain": choices.of([0, -3.5, 1.25, -6, 0.5]),
        "pids": [256 + choices.below(3840) for _ in range(choices.below(4) + 1)],
        "fallback": choices.of([None, "slate", "black", "C:\\slates\\off.png"]),
    }


def realistic(size, layout=by_hand):
    """A configuration of exactly this many bytes."""

    def length(value):
        return len(layout(value).encode())

    choices = Choices(17)
    root = {
        "App": {"isEncoder": True, "name": "venue-4", "logLevel": 3, "note": ""},
        "Network": {
            "hostname": "venue-4.example.com",
            "dhcp": False,
            "address": "192.0.2.17",
            "netmask": "255.255.255.0",
            "dns": ["192.0.2.1", "192.0.2.2"],
            "mtu": 1500,
        },
    }
    channels = [channel(choices, 1)]
    total = length({**root, "Channels": channels})
    while total <= size:
        channels.append(channel(choices, len(channels) + 1))
        last = channels[-1:]
        total += length({"Channels": last * 2}) - length({"Channels": last})
    if len(channels) > 1:
        root["Channels"] = channels[:-1]
    missing = size - length(root)
    words = "Rack 2, second shelf. Ask the desk before changing the multicast range. "
    root["App"]["note"] = (words * (missing // len(words) + 1))[:missing]
    text = layout(root).encode()
    assert len(text) == size, (len(text), size)
    return text


def nested(size, opening, closing, middle=""):
    head = "{" + FLAG + ',"a":'
    levels = (size - len(head) - len(middle) - 1) // (len(opening) + len(closing))
    return head + opening * levels + middle + closing * levels + "}"


def flat(size, opening, pieces, closing):
    text = "{" + FLAG + "," + opening
    room = size - len(closing) - 1
    for piece in pieces:
        if len(text) + len(piece) > room:
            break
        text += piece
    return text + closing + "}"


def cycle(pieces):
    while True:
        yield from pieces


def reversed_keys():
    return (f'"k{number:04}":1,' for number in range(9999, 0, -1))


def short_keys():
    letters = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789"
    yield from (f'"{one}":,' for one in letters)
    yield from (f'"{one}{two}":,' for one in letters for two in letters)


def numbers():
    choices = Choices(4)
    while True:
        yield f"{choices.below(10 ** (1 + choices.below(9)))},"


def many(keys):
    return ("{" + FLAG + "".join(f',"{key}":1' for key in keys) + "}").encode()


def shuffled(count):
    choices = Choices(9)
    numbers = list(range(count))
    for last in range(count - 1, 0, -1):
        place = choices.below(last + 1)
        numbers[last], numbers[place] = numbers[place], numbers[last]
    return numbers


# Objects of a given number of members. Their text is equally long per member at every count.
MANY = {
    "members in random order": lambda count: many(f"{number:08}" for number in shuffled(count)),
    "members in descending order": lambda count: many(
        f"{number:08}" for number in range(count, 0, -1)
    ),
    "members of ten names": lambda count: many(f"{number % 10:08}" for number in shuffled(count)),
    "members with a prefix of 64 bytes": lambda count: many(
        "p" * 64 + f"{number:08}" for number in shuffled(count)
    ),
}
NESTED = {
    "deep arrays": lambda size: nested(size, "[", "]"),
    "deep objects": lambda size: nested(size, '{"":', "}", "1"),
    "arrays and objects": lambda size: nested(size, '[{"":', "}]", "1"),
    "a deep string": lambda size: nested(size, "[", "]", '"' + "x" * (size // 2) + '"'),
}
UNCLOSED = {"unclosed arrays": lambda size: '{"a":' + "[" * (size - 6) + "}"}
FLAT = {
    "reversed keys": lambda size: flat(size, "", reversed_keys(), ""),
    "short keys, no values": lambda size: flat(size, "", short_keys(), ""),
    "empty elements": lambda size: flat(size, '"a":[', cycle([","]), "]"),
    "numbers": lambda size: flat(size, '"a":[', numbers(), "]"),
    "doubles, long texts": lambda size: flat(size, '"a":[', cycle([".1,", ".3,", ".7,"]), "]"),
}
REALISTIC = {
    "0.5 kB": realistic(500),
    "2 kB": realistic(2000),
    "9.9 kB": realistic(9900),
    "9.9 kB, written by the tool": realistic(9900, by_the_tool),
}
LARGE = {"100 kB": 100_000, "1 MB": 1_000_000, "10 MB": 10_000_000}


def shape(name, size):
    return {**NESTED, **UNCLOSED, **FLAT}[name](size).encode()
