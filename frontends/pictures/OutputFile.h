#pragma once

#include <cstdint>
#include <string>

#include "OwnedDescriptor.h"

namespace frontend {

// What becomes of a file that exists under the final name.
enum class ExistingFile : std::uint8_t { replace, keep };

// A file while it is being written, in the folder of the final one: without a name where the file system has
// such files, under a private name elsewhere. It takes its final name only when it is complete and on the
// disk; a power cut leaves the older file or the new one, and nothing in between. An object that is destroyed
// before that removes the file. Whatever exists under the final name stays untouched until then; a symbolic
// link there is replaced, never followed. Owns the descriptor. Errors throw OutputError. Blocks like the file
// system. One thread.
//
// All names are made by the constructor: where memory runs out later, commit() and keep() succeed without it,
// and only the text of their errors is lost (std::bad_alloc).
//
// A process that is killed leaves at most a file with a private name, which the next run in the folder
// removes (PrivateName.h).
class OutputFile {
 public:
  // Creates the file, with the permissions of any new file of this user.
  explicit OutputFile(const std::string& path);
  ~OutputFile();
  OutputFile(const OutputFile&) = delete;
  OutputFile& operator=(const OutputFile&) = delete;

  // For reading and writing; it stays the object's.
  int descriptor() const { return descriptor_.get(); }
  // Waits until the content is on the disk, gives the file its final name, and waits for that too. With
  // ExistingFile::keep the name is taken only if it is free, without a moment in which another process could
  // take it. Once.
  void commit(ExistingFile existing = ExistingFile::replace);
  // After a commit() that threw: gives the file an unused name in the same folder, for the user, and returns
  // its path, "folder/q750-saved-1f2e3d4c.pdf"; or its final one, if it has that already. Throws where the
  // content did not reach the disk. Once.
  std::string keep();

  // Checks, before the scanner is set to work, that a file can be written at this path, and leaves nothing
  // behind. Throws where it cannot, and where the path names something that a picture must not replace (a
  // folder, a device, a pipe). Returns whether there is a file that commit() would replace.
  static bool check(const std::string& path);

 private:
  void createPrivateFile();
  void sync();
  void takeName(const std::string& name, ExistingFile existing);
  bool link(const std::string& name);  // false with an errno

  std::string path_;
  const std::string folder_;
  std::string savedPath_;        // of keep()
  std::string privatePath_;      // until commit() or keep()
  bool hasPrivateName_ = false;  // or none at all
  platform::OwnedDescriptor descriptor_;
  int syncError_ = 0;  // an errno: the system reports it once, though the bytes are lost for good
  bool committed_ = false;
};

}  // namespace frontend
