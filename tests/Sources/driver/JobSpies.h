#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

// Intercepts the calls from the driver to the packet parser, the dump file and the conversion (the linker
// routes them through it) and records them. Everything is passed on unless a failure is requested.
//
//   JobSpies spies;
//   driver->startScan();
//   EXPECT_THAT(spies.convertFlags(), ElementsAre(1, 1, 0));
class JobSpies {
 public:
  JobSpies();
  ~JobSpies();
  JobSpies(const JobSpies&) = delete;
  JobSpies& operator=(const JobSpies&) = delete;

  void failConversion() { conversionFails = true; }
  void failParserCreation() { parserFails = true; }

  // "receive 8 bytes, convert 1", "dump 12 bytes", "dump nothing", "convert 30 bytes, 75 x 150", ...
  std::vector<std::string> events;
  int parsersMade = 0;
  int parsersReleased = 0;
  bool conversionFails = false;
  bool parserFails = false;
};
