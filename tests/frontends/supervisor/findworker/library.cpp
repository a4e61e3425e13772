#include <string>

#include "SupervisedScan.h"

// A library that reports where it would find its worker.
extern "C" const char* whereIsTheWorker() {
  static std::string place;
  place = frontend::findWorker();
  return place.c_str();
}
