// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include <cstdlib>
#include <iostream>
#include <string>

#include "tests/appliance/Appliance.h"
#include "tests/appliance/PrivateRoot.h"

// Runs the script of the Debian package that compares the examples of the manual with what the page
// says, in a simulated appliance whose switch is low. Both are in the directory of this program,
// which is visible there.
int main(int /*argc*/, char** argv)
{
    enterPrivateRoot(argv);
    const std::string directory = executableDirectory();
    setenv("PATH", (directory + ":" + std::getenv("PATH")).c_str(), 1);
    setenv("MANUAL_PAGE", (directory + "/switch-querier.8").c_str(), 1);
    Appliance appliance;
    appliance.setSwitch(Switch::low);
    const int status = std::system(("sh '" + directory + "/manual-examples.sh'").c_str());
    return status == 0 ? 0 : 1;
}
