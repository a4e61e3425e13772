#pragma once

#include <cstddef>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>
#include <vector>

// The output folder: one file for each result that must be the same on every machine.
class OutputFolder {
 public:
  explicit OutputFolder(const std::filesystem::path& path) : path_(path) {
    std::filesystem::create_directories(path);
  }

  std::string operator/(const std::string& name) const { return (path_ / name).string(); }
  void write(const std::string& name, std::string_view content) const {
    std::ofstream(path_ / name, std::ios::binary | std::ios::trunc) << content;
  }
  void write(const std::string& name, const void* bytes, std::size_t count) const {
    write(name, {static_cast<const char*>(bytes), count});
  }

 private:
  std::filesystem::path path_;
};

// Each fills the folder with files of its own.
void writeNumbers(const OutputFolder& folder);
void writeMessages(const OutputFolder& folder);
void writeScans(const OutputFolder& folder);
void writePictures(const OutputFolder& folder);
void writeWire(const OutputFolder& folder);
