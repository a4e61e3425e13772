#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <new>
#include <string>

#include "ExistingDocument.h"
#include "MallocFaults.h"
#include "OutputError.h"
#include "PictureFiles.h"
#include "PictureWriter.h"
#include "TemporaryFolder.h"

namespace {

using frontend::ExistingDocument;
using frontend::PictureFormat;
using testing::HasSubstr;
using testing::StartsWith;

class Existing : public testing::Test {
 protected:
  // Writes a document of so many small pages and returns its path.
  std::string documentOf(PictureFormat format, int pages) {
    const std::string path = folder / (format == PictureFormat::pdf ? "a.pdf" : "a.tiff");
    const int file = open(path.c_str(), O_RDWR | O_CREAT | O_TRUNC, 0600);
    frontend::ByteSink sink(file);
    frontend::PictureSettings settings;
    settings.software = "q750 9.9.9";
    settings.multiPage = true;
    const auto writer = frontend::makePictureWriter(format, sink, settings);
    const std::vector<std::uint8_t> row(40, 0x55);
    for (int page = 0; page < pages; ++page) {
      writer->beginPage({40, 30, 1, 8, 100});
      for (int y = 0; y < 30; ++y) writer->writeRow(row.data());
      writer->endPage();
    }
    writer->finish();
    close(file);
    return path;
  }
  static std::uint32_t pagesOf(const std::string& path, PictureFormat format) {
    return ExistingDocument::open(path, format)->pages();
  }
  std::string complaintAbout(const std::string& path, PictureFormat format) {
    try {
      ExistingDocument::open(path, format);
      return "";
    } catch (const frontend::OutputError& error) {
      EXPECT_THAT(error.what(), StartsWith(path + ": cannot append to this file: "));
      return error.what();
    }
  }
  static std::vector<PictureFormat> formats() { return {PictureFormat::tiff, PictureFormat::pdf}; }

  TemporaryFolder folder;
};

TEST_F(Existing, NeedNotExist) {
  for (const PictureFormat format : formats()) {
    EXPECT_EQ(ExistingDocument::open(folder / "none", format), nullptr);
    EXPECT_EQ(ExistingDocument::open(folder / "no/folder", format), nullptr);
  }
}

TEST_F(Existing, CountsItsPages) {
  for (const PictureFormat format : formats()) {
    for (const int pages : {1, 3}) EXPECT_EQ(pagesOf(documentOf(format, pages), format), pages);
  }
}

TEST_F(Existing, IsRecognisedUntilItChanges) {
  const std::string path = documentOf(PictureFormat::tiff, 1);
  const auto document = ExistingDocument::open(path, PictureFormat::tiff);
  EXPECT_TRUE(document->isUnchanged());
  std::filesystem::rename(path, folder / "moved");
  EXPECT_FALSE(document->isUnchanged());
  writeContent(path, contentOf(folder / "moved"));
  EXPECT_FALSE(document->isUnchanged());
}

TEST_F(Existing, IsNeitherALinkNorAFolderNorAPipe) {
  const std::string path = documentOf(PictureFormat::pdf, 1);
  std::filesystem::create_symlink(path, folder / "link.pdf");
  EXPECT_THAT(complaintAbout(folder / "link.pdf", PictureFormat::pdf), HasSubstr("it is a symbolic link."));
  EXPECT_THAT(complaintAbout(folder.path(), PictureFormat::pdf), HasSubstr("Is a directory."));
  ASSERT_EQ(mkfifo((folder / "pipe").c_str(), 0600), 0);
  EXPECT_THAT(complaintAbout(folder / "pipe", PictureFormat::pdf), HasSubstr("it is not a regular file."));
}

TEST_F(Existing, IsNotInUse) {
  const std::string path = documentOf(PictureFormat::pdf, 1);
  const auto other = ExistingDocument::open(path, PictureFormat::pdf);
  EXPECT_THAT(complaintAbout(path, PictureFormat::pdf), HasSubstr("another program is using it."));
}

TEST_F(Existing, IsOfTheFormat) {
  writeContent(folder / "empty", "");
  writeContent(folder / "text", "Dear Sir or Madam,");
  for (const std::string& path : {folder / "empty", folder / "text", documentOf(PictureFormat::tiff, 1)})
    EXPECT_THAT(complaintAbout(path, PictureFormat::pdf),
                HasSubstr("it is not a PDF file. Scan to a new file."));
  for (const std::string& path : {folder / "empty", folder / "text", documentOf(PictureFormat::pdf, 1)})
    EXPECT_THAT(complaintAbout(path, PictureFormat::tiff),
                HasSubstr("it is not a TIFF file. Scan to a new file."));
}

TEST_F(Existing, IsNotTooLarge) {
  const std::string path = documentOf(PictureFormat::pdf, 1);
  std::filesystem::resize_file(path, frontend::largestExistingDocument + 1);
  EXPECT_THAT(complaintAbout(path, PictureFormat::pdf), HasSubstr("it is too large. Scan to a new file."));
}

TEST_F(Existing, IsWhole) {
  for (const PictureFormat format : formats()) {
    const std::string whole = contentOf(documentOf(format, 2));
    const std::string path = folder / "cut";
    for (std::size_t size = 5; size < whole.size() - 8; size += 11) {
      writeContent(path, whole.substr(0, size));
      ASSERT_THAT(complaintAbout(path, format), HasSubstr("it is damaged")) << size << " of " << whole.size();
    }
  }
}

// Where the first directory of a small TIFF file is, and how many entries it has.
std::size_t firstDirectory(const std::string& content) {
  return static_cast<unsigned char>(content[4]) |
         static_cast<std::size_t>(static_cast<unsigned char>(content[5])) << 8;
}
std::size_t entriesAt(const std::string& content, std::size_t directory) {
  return static_cast<unsigned char>(content[directory]);
}

TEST_F(Existing, HasAllOfTheLinkBehindItsLastPage) {
  const std::string path = documentOf(PictureFormat::tiff, 1);
  std::string content = contentOf(path);
  content.resize((content.size() + 1) / 2 * 2);
  const std::size_t first = firstDirectory(content);
  const std::size_t last = content.size();
  content += content.substr(first, 2 + entriesAt(content, first) * 12 + 4);  // the directory ends the file
  content[4] = static_cast<char>(last & 0xFF);
  content[5] = static_cast<char>(last >> 8);
  writeContent(path, content);
  EXPECT_EQ(pagesOf(path, PictureFormat::tiff), 1U);
  for (std::size_t missing = 1; missing <= 4; ++missing) {
    writeContent(path, content.substr(0, content.size() - missing));
    EXPECT_THAT(complaintAbout(path, PictureFormat::tiff), HasSubstr("it is damaged")) << missing;
  }
}

TEST_F(Existing, HasNoLoopOfPages) {
  const std::string path = documentOf(PictureFormat::tiff, 2);
  std::string content = contentOf(path);
  const std::size_t first = firstDirectory(content);
  const std::size_t entries = entriesAt(content, first);
  content.replace(first + 2 + entries * 12, 4, content.substr(4, 4));  // links to itself, not to the second
  writeContent(path, content);
  EXPECT_THAT(complaintAbout(path, PictureFormat::tiff),
              HasSubstr("it is damaged (its list of pages has no end)"));
}

TEST_F(Existing, HasATreeOfPages) {
  const std::string path = documentOf(PictureFormat::pdf, 1);
  std::string content = contentOf(path);
  content.replace(content.find("/Kids"), 5, "/Kiss");
  writeContent(path, content);
  EXPECT_THAT(complaintAbout(path, PictureFormat::pdf), HasSubstr("it is damaged"));
}

TEST_F(Existing, IsNotEncrypted) {
  const std::string path = documentOf(PictureFormat::pdf, 1);
  for (const char* password : {"''", "secret"}) {
    printedBy("qpdf --encrypt " + std::string(password) + " owner 256 -- '" + path + "' '" +
              (folder / "e.pdf") + "'");
    EXPECT_THAT(complaintAbout(folder / "e.pdf", PictureFormat::pdf),
                HasSubstr("it is encrypted. Scan to a new"));
  }
}

TEST_F(Existing, IsNotSigned) {
  const std::string path = documentOf(PictureFormat::pdf, 1);
  std::string content = printedBy("qpdf --qdf --object-streams=disable '" + path + "' -");
  content.replace(content.find("/Type /Catalog"), 14,
                  "/Type /Catalog /AcroForm << /Fields [] /SigFlags 3 >>");
  writeContent(folder / "raw.pdf", content);
  printedBy("fix-qdf '" + (folder / "raw.pdf") + "' > '" + (folder / "s.pdf") + "'");
  EXPECT_THAT(complaintAbout(folder / "s.pdf", PictureFormat::pdf), HasSubstr("it is signed"));
}

TEST_F(Existing, GivesItsPermissionsToTheNewFile) {
  const std::string path = documentOf(PictureFormat::pdf, 1);
  ASSERT_EQ(chmod(path.c_str(), 0640), 0);
  const int file = open((folder / "new").c_str(), O_RDWR | O_CREAT, 0666);
  ExistingDocument::open(path, PictureFormat::pdf)->copyPermissionsTo(file);
  close(file);
  EXPECT_EQ(modeOf(folder / "new"), 0640U);
}

TEST_F(Existing, IsNotCalledDamagedWhereMemoryRunsOutForAMoment) {
  for (const PictureFormat format : formats()) {
    const std::string path = documentOf(format, 2);
    bool failed = true;
    for (int n = 1; failed; n += 2) {
      const MallocFaults faults = MallocFaults::nth(n);
      try {
        EXPECT_EQ(pagesOf(path, format), 2U) << n;
      } catch (const std::bad_alloc&) {
      }
      failed = faults.happened();
    }
  }
}

}  // namespace
