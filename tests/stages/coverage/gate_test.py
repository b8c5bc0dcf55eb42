#!/usr/bin/env python3
# SPDX-FileCopyrightText: The switch querier authors
# SPDX-License-Identifier: MIT

"""Tests the gate with small exports. Silent on success."""

import io
import sys
import unittest

import gate

SOURCE = {
    "/top/json/A.cpp": [
        "int f(int a, int b)",
        "{",
        "    if (a || b) {",
        "        return 1;",
        "    }",
        "    return 0;",
        "}",
    ],
    "/top/tests/T.cpp": ["int g();"],
}


def info(**counts):
    """What lcov's format says of A.cpp, a count a line, and of a test."""
    lines = [f"DA:{number},{counts.get(f'line{number}', 1)}" for number in (1, 3, 4, 5, 6)]
    return "\n".join(
        [
            "SF:/top/json/A.cpp",
            *lines,
            "end_of_record",
            "SF:/top/tests/T.cpp",
            "DA:1,0",
            "end_of_record",
        ]
    )


def export(*branches):
    return {
        "data": [
            {
                "files": [
                    {"filename": "/top/json/A.cpp", "branches": list(branches)},
                    {"filename": "/top/tests/T.cpp", "branches": [[1, 1, 1, 4, 0, 0]]},
                ]
            }
        ]
    }


def first(true, false):
    return [3, 9, 3, 10, true, false, 0, 0, 4]


def second(true, false):
    return [3, 14, 3, 15, true, false, 0, 0, 4]


def judged(lines, branches, table=""):
    report, failed = gate.judge(
        gate.read_lines(lines, "/top", SOURCE.get),
        gate.read_sides(branches, "/top", SOURCE.get),
        gate.read_list(table),
    )
    return "\n".join(report), failed


class Gate(unittest.TestCase):
    def test_passes_when_all_is_taken(self):
        report, failed = judged(info(), export(first(1, 2), second(3, 4)))
        self.assertFalse(failed)
        self.assertIn("lines: 4 of 4 taken, 100.00 %", report)
        self.assertIn("sides of conditions: 4 of 4 taken", report)

    def test_fails_for_an_untaken_side_and_names_it(self):
        report, failed = judged(info(), export(first(1, 2), second(3, 0)))
        self.assertTrue(failed)
        self.assertIn("sides of conditions: 3 of 4 taken, 75.00 %", report)
        self.assertIn("| `json/A.cpp` | `if (a \\|\\| b) {` | `b false` | |", report)

    def test_fails_for_an_untaken_line(self):
        report, failed = judged(info(line4=0), export(first(1, 2)))
        self.assertTrue(failed)
        self.assertIn("| `json/A.cpp` | `return 1;` | `line` | |", report)

    def test_takes_a_brace_for_no_code(self):
        self.assertFalse(judged(info(line5=0), export(first(1, 2)))[1])

    def test_adds_up_what_several_programs_took(self):
        self.assertFalse(judged(info(), export(first(1, 0), first(0, 1)))[1])

    def test_passes_for_what_is_listed(self):
        table = (
            "| file | line | side | why |\n|---|---|---|---|\n"
            "| `json/A.cpp` | `if (a \\|\\| b) {` | `b false` | because |\n"
            "| `json/A.cpp` | `return 0;` | `line` | because |"
        )
        report, failed = judged(info(line6=0), export(first(1, 2), second(3, 0)), table)
        self.assertFalse(failed, report)

    def test_fails_for_what_is_listed_and_taken(self):
        table = "| `json/A.cpp` | `return 0;` | `line` | because |"
        report, failed = judged(info(), export(first(1, 2)), table)
        self.assertTrue(failed)
        self.assertIn("listed, and taken or gone", report)

    def test_refuses_a_row_without_a_reason(self):
        with self.assertRaises(ValueError):
            gate.read_list("| `json/A.cpp` | `return 0;` | `line` | |")

    def test_fails_when_nothing_of_the_product_is_there(self):
        self.assertTrue(judged("", {"data": []})[1])

    def test_joins_a_condition_of_several_lines(self):
        self.assertEqual(gate.condition_text(["if (a &&", "    b)"], 1, 5, 2, 6), "a && b")


if __name__ == "__main__":
    result = unittest.main(
        exit=False, testRunner=unittest.TextTestRunner(stream=io.StringIO())
    ).result
    for _, trace in result.errors + result.failures:
        print(trace)
    sys.exit(0 if result.wasSuccessful() else 1)
