// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include <iostream>

// What a static program costs that has the standard streams and does nothing with them.
int main() {}
