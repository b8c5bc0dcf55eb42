// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

// What a static program costs that does nothing.
int main(void)
{
    return 0;
}
