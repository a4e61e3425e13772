#pragma once

#include <string>

namespace frontend {

// A picture's file while it is being written: a private name beside the final one, which it takes only when
// it is whole. Goes away without a trace unless it was put in place. What stands under the final name stays
// untouched until then; a link there is replaced, never followed. Failures are OutputErrors.
class OutputFile {
 public:
  // Creates the private file, with the permissions that a new file of this user gets.
  explicit OutputFile(const std::string& path);
  ~OutputFile();
  OutputFile(const OutputFile&) = delete;
  OutputFile& operator=(const OutputFile&) = delete;

  int descriptor() const { return descriptor_; }
  // Closes the file and puts it under its final name.
  void putInPlace();

  // Finds out before a scan whether a file could be written there, and leaves nothing behind. Throws
  // OutputError where not, and where something stands there that a picture must not replace (a folder, a
  // device, a pipe).
  static void check(const std::string& path);

 private:
  void discard();

  std::string path_;
  std::string privatePath_;
  int descriptor_ = -1;
};

}  // namespace frontend
