// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include "tests/dialect/Rows.h"

#include <charconv>
#include <cstddef>
#include <sstream>

namespace {

struct Table {
    const char* name;
    const char* rows;
};

// Each file is a string literal.
constexpr Table textTables[] = {
    {
        "doubles",
#include "tests/dialect/doubles.tsv"
    },
    {
        "integers",
#include "tests/dialect/integers.tsv"
    },
    {
        "keys",
#include "tests/dialect/keys.tsv"
    },
    {
        "strings",
#include "tests/dialect/strings.tsv"
    },
    {
        "structure",
#include "tests/dialect/structure.tsv"
    },
    {
        "terminators",
#include "tests/dialect/terminators.tsv"
    },
    {
        "words",
#include "tests/dialect/words.tsv"
    },
};

constexpr Table fileTable = {
    "files",
#include "tests/dialect/files.tsv"
};

/// "%0A" is a line feed, as in a URL.
std::string unescaped(const std::string& column)
{
    std::string bytes;
    for (std::size_t at = 0; at < column.size(); ++at) {
        unsigned byte = static_cast<unsigned char>(column[at]);
        if (column[at] == '%') {
            std::from_chars(&column.at(at + 1), &column.at(at + 2) + 1, byte, 16);
            at += 2;
        }
        bytes += static_cast<char>(byte);
    }
    return bytes;
}

/// The columns of each row, without their escapes; the first is the name, with the table's.
std::vector<std::vector<std::string>> rowsOf(const Table& table)
{
    std::vector<std::vector<std::string>> rows;
    std::istringstream lines(table.rows);
    for (std::string line; std::getline(lines, line);) {
        if (line.empty() || line.starts_with('#')) {
            continue;
        }
        std::vector<std::string>& row = rows.emplace_back();
        std::istringstream columns(line);
        for (std::string column; std::getline(columns, column, '\t');) {
            row.push_back(unescaped(column));
        }
        row.front() = std::string(table.name) + ": " + row.front();
    }
    return rows;
}

}  // namespace

std::vector<TextRow> textRows()
{
    std::vector<TextRow> rows;
    for (const Table& table : textTables) {
        for (std::vector<std::string>& columns : rowsOf(table)) {
            TextRow& row = rows.emplace_back();
            row.name = columns.at(0);
            row.text = columns.at(1);
            if (columns.at(2) == "ok") {
                row.compact = columns.at(3);
                row.kinds = columns.at(4);
                row.layout = columns.size() > 5 ? columns.at(5) : "";
                continue;
            }
            const std::size_t separator = columns.at(2).find(" at ");
            row.code = JsonCode{std::stoi(columns.at(2).substr(0, separator))};
            row.position = std::stoul(columns.at(2).substr(separator + 4));
        }
    }
    return rows;
}

std::vector<FileRow> fileRows()
{
    std::vector<FileRow> rows;
    for (const std::vector<std::string>& columns : rowsOf(fileTable)) {
        rows.push_back({columns.at(0), columns.at(1)});
    }
    return rows;
}
