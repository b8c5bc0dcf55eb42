// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include <array>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <span>
#include <string>
#include <string_view>

#include "json/JsonObject.h"
#include "json/JsonParser.h"
#include "json/JsonWriter.h"

// Digests what json/ does with many texts, so that two versions of it can be compared: prints one
// hash per thousand texts. It covers the code, the position, and the text written of the tree at
// levels 2 and 0, of a copy of it and after a merge.
//
//    outcomes COUNT [SEED]             the hashes
//    outcomes --texts FIRST [SEED]     the thousand texts from FIRST on, and the outcome of each
//
// A text depends on its number, the seed and the compiler, which chooses the order of operands. A
// third are well-formed, in every way that the dialect allows; a third are such texts with a few
// bytes changed; the others are single numbers and strings, and sequences of fragments.
namespace {

constexpr std::uint64_t blockSize = 1000;
constexpr std::uint64_t untouchedPosition = 987654321;

/// splitmix64: equal numbers on every machine, and a good start from any seed.
class Choices {
public:
    explicit Choices(std::uint64_t seed) : state(seed) {}

    std::uint64_t next()
    {
        std::uint64_t mixed = state += 0x9e3779b97f4a7c15U;
        mixed = (mixed ^ (mixed >> 30U)) * 0xbf58476d1ce4e5b9U;
        mixed = (mixed ^ (mixed >> 27U)) * 0x94d049bb133111ebU;
        return mixed ^ (mixed >> 31U);
    }
    std::size_t below(std::size_t limit) { return static_cast<std::size_t>(next() % limit); }
    bool oneIn(std::size_t count) { return below(count) == 0; }
    std::string_view of(std::span<const std::string_view> words)
    {
        return words[below(words.size())];
    }

private:
    std::uint64_t state;
};

constexpr std::array<std::string_view, 8> whitespaces = {" ",  "\n",     "\t",   "\r",
                                                         "  ", "\n    ", "\r\n", " \n"};

constexpr std::array<std::string_view, 64> numbers = {"0",
                                                      "-0",
                                                      "+0",
                                                      "7",
                                                      "-7",
                                                      "+7",
                                                      "10",
                                                      "017",
                                                      "08",
                                                      "0x1f",
                                                      "0X",
                                                      "-0x10",
                                                      "0b101",
                                                      "0o17",
                                                      "999999999999999999",
                                                      "1000000000000000000",
                                                      "-999999999999999999",
                                                      "-1000000000000000000",
                                                      "9223372036854775807",
                                                      "9223372036854775808",
                                                      "-9223372036854775808",
                                                      "-9223372036854775809",
                                                      "18446744073709551615",
                                                      "1e19",
                                                      "1e400",
                                                      "-1e400",
                                                      "1e-400",
                                                      "0.1",
                                                      "-0.1",
                                                      ".5",
                                                      "5.",
                                                      "1.0",
                                                      "1e3",
                                                      "1E+3",
                                                      "1e-3",
                                                      "0x1.8p3",
                                                      "inf",
                                                      "-inf",
                                                      "infinity",
                                                      "INF",
                                                      "nan",
                                                      "-nan",
                                                      "nan(1)",
                                                      "123456789.123456789",
                                                      "4.9e-324",
                                                      "2.2250738585072014e-308",
                                                      "1.7976931348623157e308",
                                                      "1e22",
                                                      "1e23",
                                                      "1e33",
                                                      "1e34",
                                                      "1e35",
                                                      "0.00001",
                                                      "0.0001",
                                                      "3.",
                                                      "-",
                                                      "+",
                                                      ".",
                                                      "e",
                                                      "1e",
                                                      "--1",
                                                      "1 2",
                                                      "\v3",
                                                      "1_0"};

constexpr std::array<std::string_view, 48> fragments = {
    "{",    "}",     "[",    "]",    ":",        ",",       "\"",   "\"a\"", "\"b\":",  "\"\":",
    "true", "false", "null", "tru",  "truex",    "nul",     "fals", "1",     "0",       "-1",
    "0.1",  " ",     "\n",   "\t",   "\r",       "\\",      "\\n",  "\\\"",  "\\u0041", "\\/",
    "//",   "/**/",  "'",    "{}",   "[]",       "{\"a\":", "[1,",  ",]",    ",}",      "\"a\":1,",
    "\x7f", "\x80",  "\xff", "\x01", "\xc3\xa9", "t",       "f",    "n"};

class Texts {
public:
    Texts(std::uint64_t number, std::uint64_t seed) : choices(seed * 0x2545f4914f6cdd1dU + number)
    {
    }

    std::string make()
    {
        switch (choices.below(12)) {
        case 0:
        case 1:
        case 2:
        case 3:
            return document();
        case 4:
        case 5:
        case 6:
        case 7:
            return changed(document());
        case 8:
            return "{\"a\":" + number() + "}";
        case 9:
            return "{\"a\":" + string() + "}";
        case 10:
            return "{" + fragmentSequence() + "}";
        default:
            return fragmentSequence();
        }
    }

private:
    std::string whitespace()
    {
        return choices.oneIn(3) ? std::string(choices.of(whitespaces)) : std::string();
    }

    std::string digits(std::size_t most)
    {
        std::string text;
        for (std::size_t left = 1 + choices.below(most); left > 0; --left) {
            text += static_cast<char>('0' + choices.below(10));
        }
        return text;
    }

    std::string number()
    {
        switch (choices.below(6)) {
        case 0:
            return std::string(choices.of(numbers));
        case 1:
            return (choices.oneIn(2) ? "-" : "") + digits(21);
        case 2:
            return digits(4) + "." + digits(20);
        case 3:
            return digits(3) + "." + digits(9) + "e" + (choices.oneIn(2) ? "-" : "") + digits(3);
        default:
            return digits(5);
        }
    }

    std::string string()
    {
        constexpr std::string_view escapes = "bfnrt\"\\";
        std::string text = "\"";
        for (std::size_t left = choices.oneIn(8) ? choices.below(300) : choices.below(14); left > 0;
             --left) {
            if (choices.oneIn(9)) {
                text += '\\';
                text += escapes[choices.below(escapes.size())];
            } else if (choices.oneIn(9)) {
                text += static_cast<char>(128 + choices.below(128));
            } else {
                const char byte = static_cast<char>(' ' + choices.below(96));
                text += byte == '"' || byte == '\\' ? '-' : byte;
            }
        }
        return text + '"';
    }

    /// Short ones repeat within an object; those of 15 and 16 bytes are stored differently.
    std::string key()
    {
        switch (choices.below(4)) {
        case 0:
            return string();
        case 1:
            return "\"" + std::string(13 + choices.below(6), 'k') + digits(1) + "\"";
        default:
            return std::string("\"") + static_cast<char>('a' + choices.below(12)) + "\"";
        }
    }

    std::string value(std::size_t depth)
    {
        switch (choices.below(depth == 0 ? 6 : 9)) {
        case 0:
            return "true";
        case 1:
            return "false";
        case 2:
            return choices.oneIn(3) ? "" : "null";
        case 3:
            return string();
        case 4:
        case 5:
            return number();
        case 6:
            return array(depth - 1);
        default:
            return object(depth - 1);
        }
    }

    std::string separator(bool last)
    {
        return last && !choices.oneIn(5) ? whitespace() : whitespace() + "," + whitespace();
    }

    std::string array(std::size_t depth)
    {
        std::string text = "[" + whitespace();
        for (std::size_t left = choices.below(7); left > 0; --left) {
            text += value(depth) + separator(left == 1);
        }
        return text + "]";
    }

    std::string object(std::size_t depth)
    {
        std::string text = "{" + whitespace();
        for (std::size_t left = choices.below(7); left > 0; --left) {
            text += key() + whitespace() + ":" + whitespace() + value(depth) + separator(left == 1);
        }
        return text + "}";
    }

    std::string document()
    {
        if (choices.oneIn(500)) {
            const std::size_t levels = choices.below(600);
            std::string text = "{\"a\":";
            for (std::size_t level = 0; level < levels; ++level) {
                text += level % 2 == 0 ? "[" : "{\"\":";
            }
            for (std::size_t level = levels; level > 0; --level) {
                text += level % 2 == 1 ? "]" : "}";
            }
            return text + "}";
        }
        return object(choices.below(6));
    }

    std::string changed(std::string text)
    {
        for (std::size_t left = 1 + choices.below(3); left > 0 && !text.empty(); --left) {
            const std::size_t place = choices.below(text.size());
            switch (choices.below(6)) {
            case 0:
                text.erase(place, 1);
                break;
            case 1:
                text[place] = static_cast<char>(choices.below(256));
                break;
            case 2:
                text.insert(place, choices.of(fragments));
                break;
            case 3:
                text.insert(place, 1, '\0');
                break;
            case 4:
                text.insert(place, text.substr(choices.below(text.size()), choices.below(20)));
                break;
            default:
                text.replace(place, 1, choices.of(fragments));
                break;
            }
        }
        return text;
    }

    std::string fragmentSequence()
    {
        std::string text;
        for (std::size_t left = choices.below(12); left > 0; --left) {
            text += choices.of(fragments);
        }
        return text;
    }

    Choices choices;
};

/// Everything observable about parsing and writing the text.
std::string outcomeOf(const std::string& text)
{
    JsonObject root;
    JsonValue earlier;
    earlier.setString("earlier");
    root.insertOrAssign("a", earlier);
    JsonObject target = root;
    target.insertOrAssign("k", earlier);

    std::uint64_t position = untouchedPosition;
    const JsonCode code = JsonParser::parse(root, text, position);
    std::string outcome =
        std::to_string(static_cast<std::int32_t>(code)) + ' ' + std::to_string(position) + '\n';
    for (const std::uint64_t level : {2U, 0U}) {
        outcome += JsonWriter::writeObject(root, level) + '\n';
    }
    target.merge(root);
    JsonValue whole;
    whole.setObject(target);
    const JsonValue copy(whole);
    return outcome + JsonWriter::writeValue(copy, 1) + '\n';
}

/// FNV-1a.
void mix(std::uint64_t& hash, std::string_view bytes)
{
    for (const char byte : bytes) {
        hash = (hash ^ static_cast<unsigned char>(byte)) * 0x100000001b3U;
    }
}

void printHashes(std::uint64_t count, std::uint64_t seed)
{
    for (std::uint64_t first = 0; first < count; first += blockSize) {
        std::uint64_t hash = 0xcbf29ce484222325U;
        for (std::uint64_t number = first; number < first + blockSize; ++number) {
            mix(hash, outcomeOf(Texts(number, seed).make()));
        }
        std::printf("%llu %016llx\n", static_cast<unsigned long long>(first),
                    static_cast<unsigned long long>(hash));
    }
}

void printTexts(std::uint64_t first, std::uint64_t seed)
{
    for (std::uint64_t number = first; number < first + blockSize; ++number) {
        const std::string text = Texts(number, seed).make();
        const std::string outcome = outcomeOf(text);
        std::printf("== %llu\n", static_cast<unsigned long long>(number));
        std::fwrite(text.data(), 1, text.size(), stdout);
        std::printf("\n-- ");
        std::fwrite(outcome.data(), 1, outcome.size(), stdout);
    }
}

}  // namespace

int main(int argc, char** argv)
{
    const std::span<char*> words(argv, static_cast<std::size_t>(argc));
    const bool texts = argc > 1 && std::string_view(words[1]) == "--texts";
    const std::size_t first = texts ? 2 : 1;
    if (words.size() <= first) {
        std::fputs("usage: outcomes COUNT [SEED] | --texts FIRST [SEED]\n", stderr);
        return 2;
    }
    const std::uint64_t number = std::strtoull(words[first], nullptr, 10);
    const std::uint64_t seed =
        words.size() > first + 1 ? std::strtoull(words[first + 1], nullptr, 10) : 1;
    if (texts) {
        printTexts(number, seed);
    } else {
        printHashes(number, seed);
    }
    return 0;
}
