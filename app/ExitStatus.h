// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#pragma once

/// Exit statuses other than a Mode. The numbers are fixed: scripts rely on them.
enum ExitStatus : int {
    exitQueried = 0,
    exitUsage = 96,                 ///< not one or two parameters
    exitBadParameter = 119,         ///< an unknown second parameter
    exitParameterAfterQuery = 152,  ///< a second parameter after "-query"
    exitUnreadable = 163,           ///< the configuration file cannot be read or is too large
    exitSyntaxError = 174,          ///< the configuration file is not in the JSON dialect
    exitFlagMissing = 180,          ///< App/isEncoder is missing
    exitFlagNotBoolean = 186,       ///< App/isEncoder is not a boolean
    exitNothingDecides = 210,       ///< no parameter, no marker file, no readable switch
    exitNotOpened = 226,            ///< the temporary file cannot be opened
    exitNotWritten = 236,           ///< the new file cannot be written or put in place
};
