#pragma once

#include <string>

namespace frontend {

// A file while it is being written: under a private name in the folder of the final one, which it takes only
// when it is complete. An object that is destroyed before that removes the private file. Whatever exists
// under the final name stays untouched until then; a symbolic link there is replaced, never followed. Owns
// the descriptor. Errors throw OutputError. One thread.
class OutputFile {
 public:
  // Creates the private file, with the permissions of any new file of this user.
  explicit OutputFile(const std::string& path);
  ~OutputFile();
  OutputFile(const OutputFile&) = delete;
  OutputFile& operator=(const OutputFile&) = delete;

  // For reading and writing, until commit().
  int descriptor() const { return descriptor_; }
  // Closes the file and renames it to its final name. At most once.
  void commit();

  // Checks, before the scanner is set to work, that a file can be written at this path, and leaves nothing
  // behind. Throws where it cannot, and where the path names something that a picture must not replace (a
  // folder, a device, a pipe).
  static void check(const std::string& path);

 private:
  std::string path_;
  std::string privatePath_;
  int descriptor_ = -1;
};

}  // namespace frontend
