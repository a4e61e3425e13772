#pragma once

#include <string>

// The part of the help of each command below its options: the syntax of values, lists of names, exit codes.
// Built from the tables of the program.
namespace frontend::help {

std::string ofProgram();
std::string ofScan();
std::string ofDoctor();
std::string ofVirtual();

}  // namespace frontend::help
