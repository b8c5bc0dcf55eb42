// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#pragma once

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

/// The text that json/ writes at level 2, for trees of libraries whose own writer has another
/// layout, other doubles and the members in the order of the text.
class SameBytes {
public:
    void append(std::string_view bytes) { text += bytes; }

    void appendInteger(std::int64_t integer)
    {
        char digits[20];
        text.append(digits, std::to_chars(digits, digits + sizeof digits, integer).ptr);
    }

    void appendReal(double real)
    {
        char digits[48];
        constexpr auto general = std::chars_format::general;
        text.append(digits, std::to_chars(digits, digits + sizeof digits, real, general, 34).ptr);
    }

    void appendString(std::string_view string)
    {
        constexpr std::string_view escaped = "\b\t\n\f\r\"\\";
        constexpr std::string_view letters = "btnfr\"\\";
        text += '"';
        std::size_t written = 0;
        for (std::size_t place = 0; place < string.size(); ++place) {
            const char byte = string[place];
            if (byte == '"' || byte == '\\' || static_cast<unsigned char>(byte) < ' ') {
                const std::size_t escape = escaped.find(byte);
                if (escape != std::string_view::npos) {
                    text.append(string, written, place - written);
                    text += '\\';
                    text += letters[escape];
                    written = place + 1;
                }
            }
        }
        text.append(string, written);
        text += '"';
    }

    /// Writes each of the range on a line of its own.
    template <typename Range, typename WriteOne>
    void appendLines(char opening, const Range& range, char closing, WriteOne writeOne)
    {
        text += opening;
        bool isFirst = true;
        ++level;
        for (const auto& one : range) {
            text += isFirst ? "\n" : ",\n";
            text.append(2 * level, ' ');
            writeOne(one);
            isFirst = false;
        }
        --level;
        if (!isFirst) {
            text += '\n';
            text.append(2 * level, ' ');
        }
        text += closing;
    }

    /// Writes an object of members with a name and a pointer to a value: sorted by name, and of
    /// those with the same name the last one. The values lie in the order of the text.
    template <typename Member, typename WriteValue>
    void appendObject(std::vector<Member>& members, WriteValue writeValue)
    {
        const auto precedes = [](const Member& left, const Member& right) {
            const int order = left.name.compare(right.name);
            return order != 0 ? order < 0 : left.value < right.value;
        };
        const auto hasSameName = [](const Member& left, const Member& right) {
            return left.name == right.name;
        };
        std::sort(members.begin(), members.end(), precedes);
        const auto end = std::unique(members.rbegin(), members.rend(), hasSameName);
        members.erase(members.begin(), end.base());
        appendLines('{', members, '}', [&](const Member& member) {
            appendString(member.name);
            text += ": ";
            writeValue(*member.value);
        });
    }

    std::string release() { return std::move(text); }

private:
    std::string text;
    std::size_t level = 1;
};
