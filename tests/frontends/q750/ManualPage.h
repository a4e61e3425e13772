#pragma once

#include <string>
#include <vector>

// A manual page in the man(7) language, as far as the command's page uses it, without fonts:
//
//   const ManualPage page(Q750_MANUAL_PAGE);
//   EXPECT_EQ(page.entries("EXIT STATUS").front().tag, "0");
class ManualPage {
 public:
  explicit ManualPage(const std::string& path);

  // A paragraph with a tag: "-r, --resolution N" and what follows.
  struct Entry {
    std::string tag;
    std::string text;
  };
  // Those of a section and its subsections, in order.
  std::vector<Entry> entries(const std::string& section) const;
  // Everything, line feeds as blanks.
  std::string text() const;

 private:
  struct Section {
    std::string name;
    std::vector<Entry> entries;
    std::string text;
  };
  std::vector<Section> sections_;
};
