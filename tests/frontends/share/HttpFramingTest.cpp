#include <gtest/gtest.h>

#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include "HttpFraming.h"

namespace {

using frontend::share::HttpFraming;

struct FramedRequest {
  const char* name;
  std::vector<std::pair<const char*, const char*>> headers;
  unsigned code;  // 0 where it is accepted
  bool hasBody = false;
  const char* version = "HTTP/1.1";
  std::size_t headerBytes = 100;
};

void PrintTo(const FramedRequest& request, std::ostream* out) {
  *out << request.name;
}

const FramedRequest requests[] = {
    {"nothing", {}, 0},
    {"oneHost", {{"host", "a"}}, 0},
    {"twoHosts", {{"Host", "a"}, {"HOST", "a"}}, 400},
    {"aLength", {{"Content-Length", "65536"}}, 0, true},
    {"noLength", {{"Content-Length", "0"}}, 0},
    {"aLargeLength", {{"content-length", "65537"}}, 413, true},
    {"aLengthBeyondAllNumbers", {{"Content-Length", "18446744073709551616"}}, 413, true},
    {"aLengthWithASign", {{"Content-Length", "+1"}}, 413, true},
    {"twoLengths", {{"Content-Length", "1"}, {"Content-Length", "1"}}, 400, true},
    {"chunks", {{"Transfer-Encoding", "Chunked"}}, 0, true},
    {"chunksAndALength", {{"Transfer-Encoding", "chunked"}, {"Content-Length", "1"}}, 400, true},
    {"aLengthOfZeroAndChunks", {{"Content-Length", "0"}, {"Transfer-Encoding", "chunked"}}, 400, true},
    {"twoEncodings", {{"Transfer-Encoding", "chunked"}, {"Transfer-Encoding", "chunked"}}, 400, true},
    {"compression", {{"Transfer-Encoding", "gzip, chunked"}}, 501, true},
    {"anEncodingThatIsNone", {{"Transfer-Encoding", "xchunked"}}, 501, true},
    {"aBlankBeforeTheColon", {{"Content-Length ", "1"}}, 400},
    {"aTabBeforeTheColon", {{"Transfer-Encoding\t", "chunked"}, {"Content-Length", "1"}}, 400, true},
    {"aHeaderWithoutAName", {{"", "a"}}, 400},
    {"aNameWithMarks", {{"X-a_b.c!", "a"}}, 0},
    {"anOldVersion", {}, 0, false, "HTTP/1.0"},
    {"aLaterVersion", {}, 505, false, "HTTP/2.0"},
    {"noVersion", {}, 505, false, ""},
    {"largeHeaders", {}, 0, false, "HTTP/1.1", 8192},
    {"tooLargeHeaders", {}, 431, false, "HTTP/1.1", 8193},
};

class Framing : public testing::TestWithParam<FramedRequest> {};

TEST_P(Framing, HasOneMeaning) {
  HttpFraming framing;
  framing.version = GetParam().version;
  framing.headerBytes = GetParam().headerBytes;
  for (const auto& [name, value] : GetParam().headers) framing.note(name, value);
  const auto refusal = framing.refusal();
  EXPECT_EQ(refusal ? refusal->code : 0, GetParam().code);
  EXPECT_EQ(framing.hasBody(), GetParam().hasBody);
}

INSTANTIATE_TEST_SUITE_P(Requests, Framing, testing::ValuesIn(requests),
                         [](const auto& test) { return std::string(test.param.name); });

}  // namespace
