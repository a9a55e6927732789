#include "cli/Cli.h"

int main(int argc, char** argv) {
    return CliMain(argc, argv);
}
