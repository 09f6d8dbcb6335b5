// The program gnss.
#include <cerrno>
#include <exception>
#include <fcntl.h>
#include <iostream>
#include <new>
#include <string>
#include <unistd.h>

#include <CLI/CLI.hpp>

#include "host/cli/Commands.h"
#include "host/cli/Inputs.h"

namespace {

// A descriptor that the caller left closed would become that of the next file opened, and messages would end up there.
// It is opened the wrong way round, so that what needs it still fails.
void OccupyStandardFiles() {
    for (const int file : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (::fcntl(file, F_GETFD) < 0 && errno == EBADF) {
            // The lowest free number is this one.
            static_cast<void>(::open("/dev/null", file == STDIN_FILENO ? O_WRONLY : O_RDONLY));
        }
    }
}

// "orbit, compare and decode"
std::string ListCommands(const CLI::App& program, const char* last) {
    const auto commands = program.get_subcommands([](const CLI::App*) { return true; });
    std::string list;
    for (std::size_t i = 0; i < commands.size(); ++i) {
        if (i > 0) list += i + 1 == commands.size() ? " " + std::string(last) + " " : ", ";
        list += commands[i]->get_name();
    }
    return list;
}

// What the parser says of an option that there is not, without the password that somebody tried to give by it.
std::string WithoutPassword(std::string text) {
    constexpr const char* Option = "password=";
    if (const std::size_t at = text.find(Option); at != std::string::npos) {
        text.erase(at + std::char_traits<char>::length(Option));
        text += "***";
    }
    return text;
}

int Run(int argc, char** argv) {
    CLI::App program("GPS and GLONASS computations. `gnss COMMAND --help` tells more of each command.", "gnss");
    program.require_subcommand(1);
    program.set_version_flag("--version", "gnss " GNSS_VERSION, "print the version");
    program.footer(
        "To begin with:\n"
        "  gnss decode LOG                               what a receiver's log holds\n"
        "  gnss run LOG --output DIR                     positions with their quality, report and pictures\n"
        "  gnss run OBSERVATIONS NAVIGATION --output DIR the same from RINEX files\n"
        "  gnss sky NAVIGATION --at LAT,LON,HEIGHT --time T --output sky.svg");
    int exitCode = 0;
    Host::AddRunCommand(program, exitCode);
    Host::AddReplayCommand(program, exitCode);
    Host::AddOrbitCommand(program, exitCode);
    Host::AddCompareCommand(program, exitCode);
    Host::AddDecodeCommand(program, exitCode);
    Host::AddStoreCommand(program, exitCode);
    Host::AddShowCommand(program, exitCode);
    Host::AddSkyCommand(program, exitCode);
    Host::AddPlanCommand(program, exitCode);
    Host::AddSimulateCommand(program, exitCode);

    const std::string first = argc > 1 ? argv[1] : "";
    const auto isCommand = [&first](const CLI::App* command) { return command->get_name() == first; };
    if (argc < 2) {
        Host::Complain("say which command: " + ListCommands(program, "or") + "; --help tells more");
        return 2;
    }
    if (first != "-h" && first != "--help" && first != "--version" && program.get_subcommands(isCommand).empty()) {
        Host::Complain(Host::Quoted(first) + " is no command; there are " + ListCommands(program, "and"));
        return 2;
    }
    try {
        program.parse(argc, argv);
    } catch (const CLI::Success& help) {
        program.exit(help);
        if (std::cout.flush()) return 0;
        Host::Complain("standard output cannot be written");
        return 1;
    } catch (const CLI::ParseError& error) {
        Host::Complain(WithoutPassword(error.what()));
        return 2;
    }
    return exitCode;
}

}  // namespace

int main(int argc, char** argv) {
    OccupyStandardFiles();
    try {
        return Run(argc, argv);
    } catch (const std::bad_alloc&) {
        Host::Complain("not enough memory");
    } catch (const std::exception& error) {
        Host::Complain(error.what());
    } catch (...) {
        Host::Complain("stopped by an unknown error");
    }
    return 1;
}
