// The commands of the program, one file each.
#pragma once

namespace CLI {
class App;
}

namespace Host {

// Each adds its command to the program; running it leaves the exit code in `exitCode`.
//   0  done; warnings are on standard error
//   1  an input cannot be used, or an output cannot be written; of run also: no epoch has a position
//   2  the command line is wrong
void AddRunCommand(CLI::App& program, int& exitCode);
void AddReplayCommand(CLI::App& program, int& exitCode);
void AddOrbitCommand(CLI::App& program, int& exitCode);
void AddCompareCommand(CLI::App& program, int& exitCode);
void AddDecodeCommand(CLI::App& program, int& exitCode);
void AddStoreCommand(CLI::App& program, int& exitCode);
void AddShowCommand(CLI::App& program, int& exitCode);
void AddSkyCommand(CLI::App& program, int& exitCode);
void AddPlanCommand(CLI::App& program, int& exitCode);
void AddSimulateCommand(CLI::App& program, int& exitCode);

}  // namespace Host
