#pragma once

#include <string>

#include "UserDefaults.h"

// The part of the help of each command below its options: the syntax of values, lists of names, exit codes.
// Built from the tables of the program.
namespace frontend::help {

std::string ofProgram();
// With the defaults that the user has set.
std::string ofScan(const UserDefaults& userDefaults);
std::string ofDoctor();
std::string ofVirtual();

}  // namespace frontend::help
