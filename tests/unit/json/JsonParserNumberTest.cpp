// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include <gtest/gtest.h>

#include <cinttypes>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <random>
#include <string>

#include "tests/unit/json/JsonParserOutcome.h"
#include "tests/unit/json/Trees.h"

namespace {

// Takes the place of the C library's, for this executable: it reads "0b101" as C23 has it
// (7.24.1.7) and "0o17" likewise, whichever library the tests run with. The rows of tests/dialect/
// say that neither is a number.
extern "C" long long strtoll(const char* text, char** end, int base) noexcept
{
    const char* const sign = text + std::strspn(text, " \t\n\v\f\r");
    const char* const prefix = sign + (*sign == '+' || *sign == '-' ? 1 : 0);
    const bool binary = std::strncmp(prefix, "0b", 2) == 0 || std::strncmp(prefix, "0B", 2) == 0;
    const bool octal = std::strncmp(prefix, "0o", 2) == 0 || std::strncmp(prefix, "0O", 2) == 0;
    if (base != 0 || !(binary || octal)) {
        return strtoimax(text, end, base);
    }
    const std::intmax_t value = strtoimax(prefix + 2, end, binary ? 2 : 8);
    return *sign == '-' ? -value : value;
}

TEST(JsonParser, ReadsEveryDecimalAsStrtodDoes)
{
    std::mt19937_64 bits(1);
    const auto digits = [&bits](std::uint64_t count) {
        std::string text;
        for (; count > 0; --count) {
            text += static_cast<char>('0' + bits() % 10);
        }
        return text;
    };
    for (std::uint64_t before = 0; before <= 18; ++before) {
        for (std::uint64_t after = before == 0 ? 1 : 0; after <= 18; ++after) {
            for (int times = 0; times < 20; ++times) {
                const std::string text =
                    (times % 2 == 0 ? "" : "-") + digits(before) + "." + digits(after);
                SCOPED_TRACE(text);
                const JsonValue expected = real(std::strtod(text.c_str(), nullptr));
                EXPECT_EQ(parse("{\"a\":[" + text + "," + text + "]}"),
                          accepted(members({{"a", array({expected, expected})}})));
            }
        }
    }
}

}  // namespace
