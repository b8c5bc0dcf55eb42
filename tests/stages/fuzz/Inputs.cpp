// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include "tests/stages/fuzz/Inputs.h"

#include <cstddef>

using namespace std::string_literals;

namespace {

std::string repeated(std::size_t count, const std::string& piece)
{
    std::string text;
    for (std::size_t i = 0; i < count; ++i) {
        text += piece;
    }
    return text;
}

/// A configuration file with the flag and these members.
std::string configWith(const std::string& members)
{
    return "{\"App\":{\"isEncoder\":false}," + members + "}";
}

std::string longStringOf(std::size_t size)
{
    return configWith("\"long\":\"" + std::string(size, 'x') + "\"");
}

}  // namespace

std::vector<Input> seeds()
{
    const std::size_t deep = 4'900;
    return {
        {"decoder", "{\"App\":{\"isEncoder\":false}}"},
        {"encoder", "{\"App\":{\"isEncoder\":true}}"},
        {"handwritten", "{ \"Net\": [ \"eth0\", 1500 ],\n"
                        "  \"App\": { \"isEncoder\": false, \"Name\": \"rack 7\" } }\n"},
        {"every kind", configWith("\"n\":null,\"i\":-17,\"d\":1.5e2,\"b\":true,\"s\":\"text\","
                                  "\"o\":{\"k\":1},\"v\":[1,\"two\",null,[],{}]")},
        {"commas at the end", "{\"App\":{\"isEncoder\":true,},\"v\":[1,2,],}"},
        {"missing values", configWith("\"a\":,\"b\":[,],\"c\":{\"d\":}")},
        {"integers", configWith("\"v\":[0,-0,+5,010,0x1A,-0xff,9223372036854775807,"
                                "-9223372036854775808,9223372036854775808,99999999999999999999]")},
        {"numbers", configWith("\"v\":[1.5,.5,5.,08,1e3,-0.0,0x1.8p3,1e300,5e-324,1e400,0.1]")},
        {"numbers at the bounds", configWith("\"v\":[9223372036854774784.0,9223372036854775808.0,"
                                             "-9223372036854775808.0,1e19,-1e19,1e33,"
                                             "9999999999999999455752309870428160.0,1e34,1e35]")},
        {"infinity", configWith("\"v\":[inf,-inf,+INF,Infinity,-infinity]")},
        {"not a number", configWith("\"v\":[NaN,+nan,NAN(1),\"nan\"]")},
        {"not a number, signed", configWith("\"v\":[-nan,-NaN,-nan(0x7)],\"nan\":\"-nan\"")},
        {"nearly a number", configWith("\"v\":[0x,0b1,1.5.5,1e,--1,0o7]")},
        {"number after a form feed", configWith("\"a\":\f5,\"b\":[\v-1.5]")},
        {"escapes", configWith(R"("s":"\"\\\b\f\n\r\t","\tk\"":"")")},
        {"unknown escapes", configWith(R"("s":"\/\u0041")")},
        {"escape in a bad key", R"({"a\q":1})"},
        {"all bytes of UTF-8", configWith("\"\xc3\xa4\xf0\x9f\x98\x80\":\"\x80\xff\x7f\xc0\"")},
        {"control byte in a string", "{\"a\":\"x\ty\"}"},
        {"control byte after a backslash", "{\"a\":\"x\\\ny\"}"},
        {"duplicate keys", "{\"App\":1,\"App\":{\"isEncoder\":1,\"isEncoder\":true}}"},
        {"unordered keys", configWith("\"b\":1,\"\xff\":2,\"a\":3,\"\x7f\":4,\"ab\":5,\"\":6")},
        {"whitespace everywhere",
         " \r\n{ \"App\"\t: { \"isEncoder\" : false } , \"v\" : [ 1 , 2 ] }\n "},
        {"form feed between tokens", "{\"a\":\"x\"\f}"},
        {"flag missing", "{\"App\":{},\"isEncoder\":true}"},
        {"App no object", "{\"App\":[{\"isEncoder\":true}]}"},
        {"flag a number", "{\"App\":{\"isEncoder\":1}}"},
        {"flag a string", "{\"App\":{\"isEncoder\":\"true\"}}"},
        {"literals", configWith("\"v\":[true,false,null],\"t\":true,\"f\":false")},
        {"misspelt literals", "{\"a\":[true,fals]}"},
        {"literal followed by a letter", "{\"a\":nullx}"},
        {"no colon", "{\"a\" 1}"},
        {"no comma", "{\"a\":1 \"b\":2}"},
        {"no comma in an array", "{\"a\":[1 2]}"},
        {"array ended by a brace", "{\"a\":[1,}"},
        {"no quotes", "{a:1}"},
        {"two objects", "{} {}"},
        {"one brace too many", "{}}"},
        {"empty object", "{}"},
        {"brace alone", "{"},
        {"nothing", ""},
        {"whitespace", " \n\t\r\n"},
        {"byte-order mark", "\xef\xbb\xbf{}"},
        {"NUL bytes at both ends", "\0{\"App\":{\"isEncoder\":false}}\0"s},
        {"NUL byte after the object", "{\"App\":{\"isEncoder\":false}}\0 after }"s},
        {"NUL byte inside", "{\"a\":\0}"s},
        {"NUL byte in a string", "{\"a\":\"\0\"}"s},
        {"literal cut by a NUL byte", "{\"a\":tr\0e}"s},
        {"arrays and objects in turn",
         configWith("\"a\":" + repeated(40, "[{\"k\":") + "1" + repeated(40, "}]"))},
        {"deep arrays", "{\"a\":" + repeated(deep, "[") + repeated(deep, "]") + "}"},
        {"deep objects", repeated(deep / 3, "{\"\":") + "1" + repeated(deep / 3, "}")},
        {"only opening brackets", "{\"a\":" + repeated(9'990, "[") + "}"},
        {"only opening braces", repeated(2'000, "{\"a\":") + "}"},
        {"as large as can be", longStringOf(10'000 - longStringOf(0).size())},
        {"one byte too large", longStringOf(10'001 - longStringOf(0).size())},
        {"much too large", longStringOf(11'900)},
    };
}

std::vector<Input> regressions()
{
    return {};
}
