#include "ShareProgram.h"
#include "ShareVersion.h"

int main(int argc, char** argv) {
  return frontend::share::runShareProgram(argc, argv, frontend::version);
}
