#pragma once

#include <string>

// What the help of each command says below its options: the syntax of values, lists of names, exit codes.
// Built from the tables of the program.
namespace frontend::help {

std::string ofProgram();
std::string ofScan();
std::string ofDoctor();
std::string ofVirtual();

}  // namespace frontend::help
