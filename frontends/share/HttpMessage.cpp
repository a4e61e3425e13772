#include "HttpMessage.h"

namespace frontend::share {

HttpResponse plainResponse(unsigned code, std::string_view sentence) {
  return {.code = code, .contentType = "text/plain; charset=utf-8", .body = std::string(sentence) + "\n"};
}

}  // namespace frontend::share
