#pragma once

#include "CommandLine.h"

namespace CLI {
class App;
}

// Describe the options of each command to the parser, with their texts for the help: names, ranges and
// defaults from the constants of their headers. The parser writes what is given into the options, which must
// outlive it; their values so far are the defaults. Nothing is parsed here. No errors.
namespace frontend {

void addListOptions(CLI::App& list, ListOptions& options);
void addScanOptions(CLI::App& scan, ScanOptions& options);
void addDoctorOptions(CLI::App& doctor, DoctorOptions& options);
void addServeOptions(CLI::App& serve, ServeOptions& options);

}  // namespace frontend
