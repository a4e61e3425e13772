#include "Program.h"

int main(int argc, char** argv) {
  return frontend::runProgram(argc, argv);
}
