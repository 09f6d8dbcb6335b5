// The program gnss.
#include <CLI/CLI.hpp>

#include "host/cli/Commands.h"

int main(int argc, char** argv) {
    CLI::App program("GPS and GLONASS computations. `gnss COMMAND --help` tells more of each command.", "gnss");
    program.require_subcommand(1);
    int exitCode = 0;
    Host::AddOrbitCommand(program, exitCode);
    Host::AddCompareCommand(program, exitCode);
    try {
        program.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return program.exit(error) == 0 ? 0 : 2;
    }
    return exitCode;
}
