// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include "app/MarkerFiles.h"

#include <fstream>

Mode probeMarkerFiles()
{
    std::ifstream file("/config/DECODER");
    if (file.good()) {
        return decoder;
    }
    file.open("/config/ENCODER");
    return file.good() ? encoder : noMode;
}
