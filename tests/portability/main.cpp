#include <cstdio>

#include "OutputFolder.h"

// Writes what the library writes, from the same input every time: messages, packets, dumps, rows, pictures
// and what travels over a wire.
//
//   portability-files FOLDER
int main(int count, char** arguments) {
  if (count != 2) return 2;
  const OutputFolder folder(arguments[1]);
  // The driver prints sizes on standard output.
  if (std::freopen((folder / "standard-output.txt").c_str(), "w", stdout) == nullptr) return 1;
  writeNumbers(folder);
  writeMessages(folder);
  writeScans(folder);
  writePictures(folder);
  writeWire(folder);
  return std::fclose(stdout) == 0 ? 0 : 1;
}
