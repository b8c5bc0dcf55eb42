// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include "tests/appliance/CommaLocale.h"

#include <sys/wait.h>
#include <unistd.h>

#include <bit>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <string>

#include "tests/appliance/Files.h"
#include "tests/appliance/PrivateRoot.h"

namespace fs = std::filesystem;

void makeCommaLocale()
{
    const fs::path directory = commaLocalePath;
    const fs::path locale = directory / commaLocale;
    if (fs::exists(locale)) {
        return;
    }
    fs::create_directories(directory);
    const std::string source = directory / "source";
    writeFile(source, "LC_NUMERIC\n"
                      "decimal_point \",\"\n"
                      "thousands_sep \".\"\n"
                      "grouping 3;3\n"
                      "END LC_NUMERIC\n");
    const pid_t child = fork();
    if (child == 0) {
        // It may be another processor's than the test. The other categories are missing, which it
        // takes with --force and tells.
        const bool big = std::endian::native == std::endian::big;
        becomeProgram("localedef", {"localedef", "--force", "--quiet", "--charmap=UTF-8",
                                    big ? "--big-endian" : "--little-endian",
                                    "--inputfile=" + source, locale.string()});
    }
    waitpid(child, nullptr, 0);
    if (!fs::exists(locale / "LC_NUMERIC")) {
        std::cerr << "cannot make a locale; is the package locales installed?\n";
        std::abort();
    }
}
