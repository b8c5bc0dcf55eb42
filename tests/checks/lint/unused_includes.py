#!/usr/bin/env python3
# SPDX-FileCopyrightText: The switch querier authors
# SPDX-License-Identifier: MIT

"""Fails if a file of the product includes a header and uses none of its names.

usage: unused_includes.py [TOP]

clang-tidy does this from version 17 on (misc-include-cleaner); Debian 12 has an older one. A
standard header that is not in the table below fails too: add the names that it is included for.
"""

import pathlib
import re
import sys

DIRECTORIES = ("app", "json", "gpio", "log", "fileio", "demo")

STANDARD = {
    "algorithm": r"std::(any_of|copy\w*|equal|fill|find\w*|lower_bound|max|merge|min|sort|"
    r"stable_sort|unique|upper_bound|all_of|none_of|is_sorted|count\w*|ranges::\w+)",
    "array": r"std::(array|to_array)",
    "cerrno": r"\b(errno|E[A-Z]{3,})\b",
    "cfloat": r"\b(DBL|FLT|LDBL)_\w+",
    "charconv": r"std::(from_chars|to_chars|chars_format)",
    "chrono": r"\bchrono\b",
    "cstddef": r"std::(size_t|ptrdiff_t|byte|nullptr_t)|\boffsetof\b",
    "cstdint": r"(?<!\w)u?int(8|16|32|64|ptr)_t\b",
    "cstdio": r"std::(rename|remove|snprintf|fopen|fclose|FILE)|\b(EOF|SEEK_\w+)\b",
    "cstdlib": r"std::(getenv|exit|abort|strto\w+|malloc|free)|\bEXIT_\w+|\bsetenv\b",
    "cstring": r"std::(mem\w+|str\w+)|\bstrerror\b",
    "ctime": r"std::(time\w*|tm|localtime|strftime|timespec)|\b(nanosleep|localtime_r|timespec)\b",
    "dirent.h": r"\b(opendir|readdir|closedir|dirfd|DIR)\b",
    "fcntl.h": r"\b(O_[A-Z]+|open|openat|fcntl|F_[A-Z]+|AT_[A-Z_]+)\b",
    "filesystem": r"\bfilesystem\b",
    "fstream": r"std::(basic_)?(if|of|f)stream|std::(basic_)?filebuf",
    "functional": r"std::(function|hash|less|greater|ref|cref|invoke|equal_to|plus)",
    "iomanip": r"std::(setw|setfill|setprecision|put_time|get_time|quoted|setbase)",
    "ios": r"std::(ios|ios_base|streamsize|streamoff|hex|dec|boolalpha|left|right|fixed|streampos)",
    "iostream": r"std::(cin|cout|cerr|clog)",
    "iterator": r"std::(\w+_iterator|begin|end|size|next|prev|advance|distance|\w*inserter)",
    "limits": r"std::numeric_limits",
    "memory": r"std::(unique_ptr|shared_ptr|make_unique|make_shared|allocator|addressof|\w+_at)",
    "new": r"std::(bad_alloc|nothrow|launder)|\bnew \(",
    "optional": r"std::(optional|nullopt)",
    "ostream": r"std::(ostream|endl|flush|ends|basic_ostream)",
    "span": r"std::(span|as_bytes)",
    "sstream": r"std::\w*stringstream|std::stringbuf",
    "streambuf": r"std::(basic_)?streambuf",
    "string": r"std::(string|to_string|getline|char_traits|basic_string)\b",
    "string_view": r"std::string_view|\bsv\b",
    "sys/mount.h": r"\b(mount|umount2?|MS_\w+)\b",
    "sys/wait.h": r"\b(waitpid|W[A-Z]{3,})\b",
    "syslog.h": r"\b(syslog|openlog|closelog|LOG_\w+)\b",
    "system_error": r"std::(error_code|system_error|errc|generic_category|system_category)",
    "thread": r"std::(thread|this_thread|jthread)",
    "type_traits": r"std::(is_\w+|remove_\w+|decay\w*|conditional\w*|enable_if\w*|make_\w+)",
    "unistd.h": r"\b(read|write|close|fsync|unlink|lseek|access|getpid|\w+_FILENO|dup2?|fork|"
    r"exec\w+|_exit|usleep|pread|pwrite|ftruncate|readlink|isatty)\b",
    "utility": r"std::(move|forward|swap|exchange|pair|make_pair|as_const|in_place\w*)",
    "variant": r"std::(variant|visit|get|get_if|holds_alternative|monostate|in_place_\w+)",
    "vector": r"std::vector",
}


def code_of(text):
    """The text without comments, strings and includes."""
    text = re.sub(r"^[ \t]*#[ \t]*include.*$", "", text, flags=re.M)
    return re.sub(r'//[^\n]*|/\*.*?\*/|"(?:\\.|[^"\\\n])*"', " ", text, flags=re.S)


def declared_by(header):
    """The names that a header of ours may be included for."""
    code = code_of(header.read_text(encoding="utf-8"))
    names = re.findall(r"\b(?:class|struct|enum|using) (\w+)", code)
    names += re.findall(r"^ +(\w+) = -?\d+,?", code, re.M)  # enumerators
    for line in re.findall(r"^\w.*|^\[\[.*", code, re.M):  # functions and constants
        names += re.findall(r"\b(\w+)(?= = |\(|\[|\{)", line)
    return set(names) - {"class", "operator", "noexcept"}


def unused_in(path, top):
    text = path.read_text(encoding="utf-8")
    code = code_of(text)
    for number, line in enumerate(text.splitlines(), 1):
        match = re.match(r'\s*#\s*include\s*([<"])([^>"]+)[>"]', line)
        if match is None:
            continue
        kind, name = match.groups()
        if kind == '"':
            header = top / name
            if header.stem == path.stem:
                continue
            used = declared_by(header) & set(re.findall(r"\w+", code))
        elif name in STANDARD:
            used = re.search(STANDARD[name], code)
        else:
            yield f"{path.relative_to(top)}:{number}: <{name}> is not in the table of this check"
            continue
        if not used:
            yield f"{path.relative_to(top)}:{number}: includes {name} and uses none of its names"


def main():
    top = pathlib.Path(sys.argv[1] if len(sys.argv) > 1 else ".").resolve()
    found = [
        line
        for directory in DIRECTORIES
        for path in sorted((top / directory).glob("*.[ch]*"))
        for line in unused_in(path, top)
    ]
    for line in found:
        print(line)
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main())
