// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include "tests/appliance/Command.h"

#include <unistd.h>

#include <cstdio>
#include <cstdlib>

void becomeProgram(const std::string& program, std::vector<std::string> words)
{
    std::vector<char*> pointers;
    pointers.reserve(words.size() + 1);
    for (std::string& word : words) {
        pointers.push_back(word.data());
    }
    pointers.push_back(nullptr);
    execvp(program.c_str(), pointers.data());
    std::perror(program.c_str());
    std::_Exit(99);
}
