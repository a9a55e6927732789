// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/Cli.h"

int main(int argc, char** argv) {
    return CliMain(argc, argv);
}
