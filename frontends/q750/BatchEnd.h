#pragma once

#include <cstdint>
#include <string>

#include "CommandError.h"

// How a batch of pages ends. Whatever ends it, the pages that were scanned whole are saved:
//
//   what ends it                       | a document (TIFF, PDF)       | a file per page     | exit code
//   -----------------------------------+------------------------------+---------------------+------------------
//   the last page, q, end of input     | all pages                    | all are there       | 0
//   a signal, also at the prompt       | the complete pages           | those before        | 130
//   a page that fails, a lost scanner  | the complete pages           | those before        | of the scan
//   a full disk, an error of a write   | those that fit on the disk   | those before        | 9
//   a name that must not be replaced   | the complete pages, under    | those before; the   | 9
//   or cannot be taken                 | a name in the message        | page likewise       |
//   memory that runs out               | TIFF: the complete pages;    | those before        | 10
//                                      | PDF: those it is enough for  |                     |
//   a second signal while saving       | nothing                      | those before        | 130
//
// An existing file stays as it was wherever nothing is saved under its name. What was written to standard
// output is out of reach.
namespace frontend {

// The pages of a batch that were saved, for the message about its end.
struct SavedPages {
  enum class Place : std::uint8_t { document, filePerPage, standardOutput };

  Place place = Place::document;
  std::uint32_t complete = 0;  // pages that were scanned whole
  std::uint32_t pages = 0;     // of these, saved
  std::string first;           // the files of the first and the last page; for a document both are its own
  std::string last;
  std::uint32_t before = 0;  // pages that the document had, to which these were appended
  bool elsewhere = false;    // the document has another name than was asked for
  bool incomplete = false;   // standard output ends in a part of a page
  std::string problem;       // sentences: what went wrong when the pages were saved; empty if nothing did
  bool noMemory = false;     // memory ran out then, maybe for those sentences
};

// A clause for the user: "a.pdf holds 2 complete pages", "nothing was saved".
std::string describe(const SavedPages& saved);

// The error that reports why a batch ended (`reason`, sentences) and what was saved. Where nothing could have
// been, in the first page of an output that is undone, the reason is all there is to say.
CommandError errorOfBatch(ExitCode code, const std::string& reason, const SavedPages& saved);

}  // namespace frontend
