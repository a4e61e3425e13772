// Writing and reading messages, compared with bare expat over the same bytes with handlers that do nothing.
#include <benchmark/benchmark.h>
#include <expat.h>

#include <cstdlib>
#include <memory>
#include <string>

#include "IntegerElem.h"
#include "ListElem.h"
#include "MapElem.h"
#include "StringElem.h"
#include "XMLSAXParser.h"
#include "XMLVisitor.h"

namespace {

// A response whose result is a list of `entries` maps of three values each.
std::unique_ptr<ListElem> resultOf(std::int64_t entries) {
  auto list = std::make_unique<ListElem>();
  for (std::int64_t i = 0; i < entries; ++i) {
    auto* map = new MapElem;
    map->addChild("width", new IntegerElem(static_cast<int>(i)));
    map->addChild("name", new StringElem("a page of the scanner"));
    map->addChild("height", new IntegerElem(static_cast<int>(2 * i)));
    list->addChild(static_cast<unsigned int>(i), map);
  }
  return list;
}

std::string write(ListElem& result) {
  XMLVisitor visitor(1, 4711);
  result.accept(&visitor);
  char* bytes = nullptr;
  unsigned int length = 0;
  visitor.createMemoryDump(&bytes, &length);
  std::string message(bytes, length);
  std::free(bytes);
  return message;
}

void BM_Write(benchmark::State& state) {
  const auto result = resultOf(state.range(0));
  std::size_t size = 0;
  for (auto _ : state) size = write(*result).size();
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(size));
}

void BM_Read(benchmark::State& state) {
  std::string message = write(*resultOf(state.range(0)));
  for (auto _ : state) {
    XMLSAXParser parser;
    if (parser.parseMessage(message.data(), static_cast<int>(message.size())) != 0) std::abort();
    delete parser.getResult();
  }
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(message.size()));
}

void BM_BareExpat(benchmark::State& state) {
  const std::string message = write(*resultOf(state.range(0)));
  for (auto _ : state) {
    XML_Parser parser = XML_ParserCreate(nullptr);
    XML_SetElementHandler(
        parser, [](void*, const XML_Char*, const XML_Char**) {}, [](void*, const XML_Char*) {});
    XML_SetCharacterDataHandler(parser, [](void*, const XML_Char*, int) {});
    if (XML_Parse(parser, message.data(), static_cast<int>(message.size()), 0) != XML_STATUS_OK) std::abort();
    XML_ParserFree(parser);
  }
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(message.size()));
}

}  // namespace

BENCHMARK(BM_Write)->Arg(1)->Arg(1000)->Repetitions(3);
BENCHMARK(BM_Read)->Arg(1)->Arg(1000)->Repetitions(3);
BENCHMARK(BM_BareExpat)->Arg(1)->Arg(1000)->Repetitions(3);

BENCHMARK_MAIN();
