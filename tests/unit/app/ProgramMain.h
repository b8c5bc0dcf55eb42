// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#pragma once

/// The program's main.
int programMain(int argc, char** argv);
