// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <iostream>
#include <string>

#include "tests/appliance/PrivateRoot.h"
#include "tests/stages/fuzz/Oracles.h"

// The entry points that libFuzzer calls. The build defines ORACLE, the function of the fuzz target.

extern "C" int LLVMFuzzerInitialize(const int* /*argc*/, char*** argv)
{
    enterPrivateRoot(*argv);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string fault = ORACLE(std::string(reinterpret_cast<const char*>(data), size));
    if (!fault.empty()) {
        std::cerr << "FAULT: " << fault << std::endl;
        std::abort();
    }
    return 0;
}
