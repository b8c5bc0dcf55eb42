// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include "app/StandardDescriptors.h"
#include "app/SwitchQuerier.h"

int main(int argc, char** argv)
{
    openClosedStandardDescriptors();
    return runSwitchQuerier(argc, argv);
}
