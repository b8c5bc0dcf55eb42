// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#pragma once

/// The name of a locale whose decimal point is a comma, and the directory that LOCPATH has to name
/// for the C library to find it (locale(7)).
inline constexpr char commaLocale[] = "comma";
inline constexpr char commaLocalePath[] = "/tmp/locales";

/// Makes the locale in the private root, unless it is there.
void makeCommaLocale();
